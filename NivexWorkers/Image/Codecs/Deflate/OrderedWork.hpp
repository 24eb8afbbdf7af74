#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <future>
#include <utility>

namespace nivex::image {

/// Pieces of work that threads do side by side and whose results are handed over in the order in which they were given.
/// One thread uses it; ended early it waits for what has begun.
template <class Result>
class OrderedWork {
public:
    /// `take` is called from add and finish, and may throw.
    OrderedWork(unsigned processors, std::function<void(Result)> take) : mostAtOnce_{processors}, take_{std::move(take)}
    {
    }

    /// Begins a piece, once fewer than `processors` are under way. Throws what a piece before it threw.
    void add(std::function<Result()> piece)
    {
        if (running_.size() >= mostAtOnce_)
            takeFirst();
        running_.push_back(std::async(std::launch::async, std::move(piece)));
    }

    /// Waits for all.
    void finish()
    {
        while (!running_.empty())
            takeFirst();
    }

private:
    void takeFirst()
    {
        Result result = running_.front().get();
        running_.pop_front();
        take_(std::move(result));
    }

    std::size_t mostAtOnce_;
    std::function<void(Result)> take_;
    std::deque<std::future<Result>> running_;
};

} // namespace nivex::image
