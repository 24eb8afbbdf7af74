#include "NivexKit/Detection/HeaderBytes.hpp"

#include <algorithm>

namespace nivex {
namespace {

// Headers are read in small neighbouring pieces; one read fetches this much.
constexpr std::size_t readAhead = 1024;

/// The part of `bytes`, which stand at `start` in the file, that was asked for, when all of it is there.
std::span<const std::byte> part(std::span<const std::byte> bytes, std::uint64_t start, std::uint64_t offset,
                                std::size_t count)
{
    if (offset < start || offset - start > bytes.size() || bytes.size() - (offset - start) < count)
        return {};
    return bytes.subspan(static_cast<std::size_t>(offset - start), count);
}

} // namespace

std::span<const std::byte> HeaderBytes::slice(std::uint64_t offset, std::size_t count) const
{
    if (offset >= size())
        return {};
    count = static_cast<std::size_t>(std::min<std::uint64_t>(count, size() - offset));
    if (const auto found = part(head_, 0, offset, count); found.size() == count)
        return found;
    // The latest window is the likeliest.
    for (auto window = windows_.rbegin(); window != windows_.rend(); ++window)
        if (const auto found = part(window->bytes, window->offset, offset, count); found.size() == count)
            return found;

    const std::size_t left = maxBytes - bytesRead_;
    if (left < count)
        reachedBound_ = true;
    const std::size_t wanted = std::min(left, std::max(count, readAhead));
    if (wanted == 0)
        return {};
    const Window& window = windows_.emplace_back(Window{offset, source_.read(offset, wanted)});
    bytesRead_ += wanted;
    return std::span{window.bytes}.first(std::min(count, window.bytes.size()));
}

std::size_t HeaderBytes::read(std::uint64_t offset, std::span<std::byte> buffer) const
{
    const auto found = slice(offset, buffer.size());
    std::copy(found.begin(), found.end(), buffer.begin());
    return found.size();
}

bool HeaderBytes::hasText(std::uint64_t offset, std::string_view text) const
{
    return reader(offset, text.size(), ByteOrder::big).text(text.size()) == text;
}

} // namespace nivex
