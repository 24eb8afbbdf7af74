#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace nivex {

std::vector<std::byte> ByteSource::read(std::uint64_t offset, std::size_t count) const
{
    if (offset >= size())
        return {};
    std::vector<std::byte> bytes(static_cast<std::size_t>(std::min<std::uint64_t>(count, size() - offset)));
    bytes.resize(read(offset, std::span{bytes}));
    return bytes;
}

std::size_t MemorySource::read(std::uint64_t offset, std::span<std::byte> buffer) const
{
    if (offset >= bytes_.size() || buffer.empty())
        return 0;
    const auto available = bytes_.subspan(static_cast<std::size_t>(offset));
    const std::size_t count = std::min(buffer.size(), available.size());
    std::memcpy(buffer.data(), available.data(), count);
    return count;
}

std::optional<FileSource> FileSource::open(const std::filesystem::path& file)
{
    // Without O_NONBLOCK, opening a named pipe waits for a writer that may never come.
    FileDescriptor descriptor{::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)};
    return descriptor.isOpen() ? of(std::move(descriptor)) : std::nullopt;
}

std::optional<FileSource> FileSource::of(FileDescriptor file)
{
    struct stat status {};
    if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        errno = EINVAL;
        return std::nullopt;
    }
    return FileSource{std::move(file), static_cast<std::uint64_t>(status.st_size)};
}

std::size_t FileSource::read(std::uint64_t offset, std::span<std::byte> buffer) const
{
    if (offset >= size_)
        return 0;
    // No further read is needed to learn that the file ends.
    buffer = buffer.first(static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size(), size_ - offset)));
    std::size_t filled = 0;
    while (filled < buffer.size()) {
        const ssize_t count = ::pread(descriptor_.get(), buffer.data() + filled, buffer.size() - filled,
                                      static_cast<off_t>(offset + filled));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        filled += static_cast<std::size_t>(count);
    }
    return filled;
}

} // namespace nivex
