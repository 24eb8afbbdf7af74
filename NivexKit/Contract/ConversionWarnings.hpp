#pragma once

#include <cstddef>
#include <mutex>
#include <string>
#include <vector>

namespace nivex {

/// What engines have to say of a conversion that succeeds nonetheless, as a person reads it: what was left out or read
/// in another way than it may have been meant. One for all steps of a conversion. Any thread.
class ConversionWarnings {
public:
    static constexpr std::size_t most = 20;

    /// Keeps a sentence. One that was said before, of another page or file, is kept once; beyond the first `most` they
    /// are counted.
    void add(std::string warning);

    /// The sentences in the order said and, where there were more, one that tells how many.
    std::vector<std::string> all() const;

private:
    mutable std::mutex mutex_;
    std::vector<std::string> warnings_;
    std::size_t dropped_ = 0;
};

} // namespace nivex
