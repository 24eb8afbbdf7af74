#pragma once

#include "NivexKit/Foundation/Files/FileDescriptor.hpp"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <utility>
#include <vector>

namespace nivex {

/// Bytes that can be read at any offset: a file that must not be loaded whole, or a buffer.
class ByteSource {
public:
    virtual ~ByteSource() = default;

    virtual std::uint64_t size() const = 0;

    /// Fills `buffer` from `offset` on. Returns how many bytes were read: fewer than asked at the end of the source or
    /// where reading failed. Any thread.
    virtual std::size_t read(std::uint64_t offset, std::span<std::byte> buffer) const = 0;

    /// Up to `count` bytes from `offset` on, in a buffer of their own. `count` is the caller's bound on memory.
    std::vector<std::byte> read(std::uint64_t offset, std::size_t count) const;
};

/// A buffer that the caller keeps alive.
class MemorySource : public ByteSource {
public:
    explicit MemorySource(std::span<const std::byte> bytes) : bytes_{bytes} {}

    std::uint64_t size() const override { return bytes_.size(); }
    using ByteSource::read;
    std::size_t read(std::uint64_t offset, std::span<std::byte> buffer) const override;

private:
    std::span<const std::byte> bytes_;
};

/// An open file, read by position. It is not mapped into memory: a file that another program shortens meanwhile would
/// then end this program.
class FileSource : public ByteSource {
public:
    /// Opens a regular file for reading; none when that is impossible (`errno` tells why).
    static std::optional<FileSource> open(const std::filesystem::path& file);

    /// A regular file that is open for reading; none for anything else.
    static std::optional<FileSource> of(FileDescriptor file);

    std::uint64_t size() const override { return size_; }
    using ByteSource::read;
    std::size_t read(std::uint64_t offset, std::span<std::byte> buffer) const override;

private:
    FileSource(FileDescriptor file, std::uint64_t size) : descriptor_{std::move(file)}, size_{size} {}

    FileDescriptor descriptor_;
    std::uint64_t size_ = 0; // when it was opened
};

} // namespace nivex
