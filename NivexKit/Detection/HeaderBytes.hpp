#pragma once

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>
#include <string_view>
#include <vector>

namespace nivex {

/// The few parts of a file that a header reader looks at. However large the file and whatever it claims, no more than
/// `maxBytes` of it are read. Slices stay valid as long as this object; past the end of the file or past the bound they
/// are short, and a reader over them fails. One thread: looking fills it.
class HeaderBytes : public ByteSource {
public:
    static constexpr std::size_t maxBytes = 384 * 1024;

    /// `head` holds the first bytes of `source`, already read; both outlive this object.
    HeaderBytes(const ByteSource& source, std::span<const std::byte> head) : source_{source}, head_{head} {}

    std::uint64_t size() const override { return source_.size(); }

    using ByteSource::read;
    std::size_t read(std::uint64_t offset, std::span<std::byte> buffer) const override;

    /// True once something was not read because of the bound, so that a count may be too low.
    bool reachedBound() const { return reachedBound_; }

    /// Up to `count` bytes from `offset` on.
    std::span<const std::byte> slice(std::uint64_t offset, std::size_t count) const;

    /// A reader of up to `count` bytes from `offset` on. It does not throw.
    ByteReader reader(std::uint64_t offset, std::size_t count, ByteOrder order) const
    {
        return ByteReader{slice(offset, count), order};
    }

    /// True when `text` stands at `offset`.
    bool hasText(std::uint64_t offset, std::string_view text) const;

private:
    struct Window {
        std::uint64_t offset;
        std::vector<std::byte> bytes;
    };

    const ByteSource& source_;
    std::span<const std::byte> head_;
    mutable std::deque<Window> windows_; // a deque, so that slices survive the next window
    mutable std::size_t bytesRead_ = 0;
    mutable bool reachedBound_ = false;
};

} // namespace nivex
