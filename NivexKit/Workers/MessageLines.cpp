#include "NivexKit/Workers/MessageLines.hpp"

namespace nivex {

void MessageLines::append(std::string_view received)
{
    if (received.size() > maxTotalBytes - totalBytes_)
        throw WorkerMessageError{"more bytes than a job may send"};
    totalBytes_ += received.size();
    pending_.erase(0, start_);
    searched_ -= start_;
    start_ = 0;
    pending_ += received;
}

std::optional<std::string> MessageLines::next()
{
    const std::size_t end = pending_.find('\n', searched_);
    const std::size_t length = (end == std::string::npos ? pending_.size() : end) - start_;
    if (length > maxLineBytes)
        throw WorkerMessageError{"line too long"};
    if (end == std::string::npos) {
        searched_ = pending_.size();
        return std::nullopt;
    }
    if (++lines_ > maxLines)
        throw WorkerMessageError{"more messages than a job may send"};
    std::string line = pending_.substr(start_, length);
    start_ = searched_ = end + 1;
    return line;
}

} // namespace nivex
