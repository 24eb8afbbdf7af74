#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace nivex {

/// A message that breaks the rules of the worker protocol. What it says is for developers; the pool shows a sentence of
/// its own.
struct WorkerMessageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Cuts what arrives on a channel into lines, and bounds what a sender can make the receiver hold.
class MessageLines {
public:
    static constexpr std::size_t maxLineBytes = 2 << 20;
    static constexpr std::size_t maxLines = 20'000;
    static constexpr std::size_t maxTotalBytes = 16 << 20;

    /// Takes in what was received. Throws WorkerMessageError once the sender has sent more than is allowed in all.
    void append(std::string_view received);

    /// The next whole line without its end; none while the rest of it is still to come.
    /// Throws WorkerMessageError for a line that is too long and for one line too many.
    std::optional<std::string> next();

private:
    std::string pending_;
    std::size_t start_ = 0;    // of the first line not yet handed out
    std::size_t searched_ = 0; // no line ends before this position
    std::size_t lines_ = 0;
    std::size_t totalBytes_ = 0;
};

} // namespace nivex
