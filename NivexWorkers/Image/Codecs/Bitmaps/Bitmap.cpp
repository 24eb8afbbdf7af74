#include "NivexWorkers/Image/Codecs/Bitmaps/Bitmap.hpp"

#include "NivexWorkers/Image/Codecs/Codec.hpp"

#include <algorithm>
#include <cstring>
#include <string>

namespace nivex::image {

std::vector<std::byte> readExactly(const ByteSource& file, std::uint64_t offset, std::size_t count)
{
    if (offset > file.size() || file.size() - offset < count)
        throw damaged(std::to_string(count) + " bytes at " + std::to_string(offset) + ": behind the end of the file");
    std::vector<std::byte> bytes(count);
    readExactly(file, offset, std::span{bytes});
    return bytes;
}

void readExactly(const ByteSource& file, std::uint64_t offset, std::span<std::byte> buffer)
{
    if (file.read(offset, buffer) != buffer.size())
        throw damaged(std::to_string(buffer.size()) + " bytes at " + std::to_string(offset) + ": not to be read");
}

ByteStream::ByteStream(const ByteSource& file, std::uint64_t begin, std::uint64_t end, std::size_t window)
    : file_{file}, windowBegin_{begin}, end_{std::min(end, file.size())}, most_{window}
{
}

void ByteStream::advance()
{
    windowBegin_ += window_.size();
    next_ = 0;
    if (windowBegin_ >= end_)
        throw damaged("pixels: the file ends at " + std::to_string(end_));
    window_.resize(static_cast<std::size_t>(std::min<std::uint64_t>(most_, end_ - windowBegin_)));
    readExactly(file_, windowBegin_, std::span{window_});
}

void ByteStream::read(std::span<std::byte> buffer)
{
    while (!buffer.empty()) {
        if (next_ == window_.size())
            advance();
        const std::size_t count = std::min(buffer.size(), window_.size() - next_);
        std::memcpy(buffer.data(), window_.data() + next_, count);
        next_ += count;
        buffer = buffer.subspan(count);
    }
}

void ByteStream::skip(std::uint64_t count)
{
    if (count <= window_.size() - next_) {
        next_ += static_cast<std::size_t>(count);
        return;
    }
    if (position() > end_ || count > end_ - position())
        throw damaged("pixels: a jump behind the end of the file");
    windowBegin_ = position() + count;
    window_.clear();
    next_ = 0;
}

} // namespace nivex::image
