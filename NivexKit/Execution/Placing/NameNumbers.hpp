#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace nivex {

/// Which numbers of a name were taken a moment ago, so that ten thousand results of one name do not each ask for all
/// the numbers before theirs. Any thread.
class NameNumbers {
public:
    using Clock = std::function<std::chrono::steady_clock::time_point()>;

    /// How long an answer counts: a name that becomes free meanwhile may be passed over.
    static constexpr std::chrono::seconds validity{1};
    /// Numbers up to here are always asked for. It keeps what few names need exact, and those out of the memory.
    static constexpr std::size_t alwaysAsked = 16;

    explicit NameNumbers(Clock now = std::chrono::steady_clock::now) : now_{std::move(now)} {}

    struct Key {
        std::filesystem::path folder;
        std::string baseName;
        std::string extension;

        auto operator<=>(const Key&) const = default;
    };

    /// The number up to which all beyond `alwaysAsked` were taken; 0 when that is not known.
    std::size_t takenUpTo(const Key& name);

    /// Remembers that every number up to `number` was found taken, or in the part that takenUpTo told of remembered so.
    void remember(const Key& name, std::size_t number);

    /// Forgets everything, because names have become free.
    void forget();

private:
    struct Taken {
        std::size_t upTo = 0;
        std::chrono::steady_clock::time_point since; // when all the numbers were last asked for
    };

    bool isValid(const Taken& taken) const { return now_() - taken.since < validity; }

    Clock now_;
    std::mutex mutex_;
    std::map<Key, Taken> taken_;
};

} // namespace nivex
