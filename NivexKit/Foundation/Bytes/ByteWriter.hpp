#pragma once

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

namespace nivex {

/// Puts numbers and slices one after another into a buffer.
class ByteWriter {
public:
    explicit ByteWriter(ByteOrder order) : order_{order} {}

    ByteWriter& u8(std::uint8_t value) { return number(value, 1); }
    ByteWriter& u16(std::uint16_t value) { return number(value, 2); }
    ByteWriter& u24(std::uint32_t value) { return number(value, 3); }
    ByteWriter& u32(std::uint32_t value) { return number(value, 4); }
    ByteWriter& bytes(std::span<const std::byte> slice)
    {
        bytes_.insert(bytes_.end(), slice.begin(), slice.end());
        return *this;
    }
    ByteWriter& zeros(std::size_t count)
    {
        bytes_.resize(bytes_.size() + count);
        return *this;
    }
    ByteWriter& text(std::string_view characters) { return bytes(std::as_bytes(std::span{characters})); }

    std::size_t size() const { return bytes_.size(); }
    std::string_view view() const { return {reinterpret_cast<const char*>(bytes_.data()), bytes_.size()}; }
    std::vector<std::byte> release() && { return std::move(bytes_); }

private:
    ByteWriter& number(std::uint32_t value, unsigned width)
    {
        for (unsigned i = 0; i < width; ++i)
            bytes_.push_back(static_cast<std::byte>(value >> (8 * (order_ == ByteOrder::little ? i : width - 1 - i))));
        return *this;
    }

    ByteOrder order_;
    std::vector<std::byte> bytes_;
};

} // namespace nivex
