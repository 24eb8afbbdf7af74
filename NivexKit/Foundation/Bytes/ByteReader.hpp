#pragma once

#include "NivexKit/Foundation/ConversionError.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

namespace nivex {

enum class ByteOrder { little, big };

/// Reads numbers and slices out of foreign bytes; the only place where their bounds are tested. The caller chooses what
/// an overrun means: with an error given it is thrown; without, the reader turns `failed`, yields zeros and empty
/// slices from then on and never reads outside the bytes.
class ByteReader {
public:
    explicit ByteReader(std::span<const std::byte> bytes, ByteOrder order = ByteOrder::little)
        : bytes_{bytes}, order_{order}
    {
    }
    ByteReader(std::span<const std::byte> bytes, ConversionError overrun, ByteOrder order = ByteOrder::little)
        : bytes_{bytes}, order_{order}, overrun_{std::move(overrun)}
    {
    }

    std::size_t position() const { return position_; }
    std::size_t left() const { return bytes_.size() - position_; }
    bool failed() const { return failed_; }
    ByteOrder order() const { return order_; }
    void setOrder(ByteOrder order) { order_ = order; }

    std::uint8_t u8() { return static_cast<std::uint8_t>(number(1)); }
    std::uint16_t u16() { return static_cast<std::uint16_t>(number(2)); }
    std::uint32_t u24() { return static_cast<std::uint32_t>(number(3)); }
    std::uint32_t u32() { return static_cast<std::uint32_t>(number(4)); }
    std::uint64_t u64() { return number(8); }

    /// The next `count` bytes.
    std::span<const std::byte> bytes(std::size_t count);

    /// The next `count` bytes as characters.
    std::string_view text(std::size_t count)
    {
        const auto slice = bytes(count);
        return {reinterpret_cast<const char*>(slice.data()), slice.size()};
    }

    void skip(std::size_t count) { bytes(count); }

    /// Continues at `position`, counted from the first byte.
    void seek(std::size_t position);

    /// An overrun unless the next 32-bit number is `signature`.
    void expect(std::uint32_t signature)
    {
        if (u32() != signature)
            overrun();
    }

private:
    std::uint64_t number(std::size_t width);
    void overrun();

    std::span<const std::byte> bytes_;
    std::size_t position_ = 0;
    ByteOrder order_;
    bool failed_ = false;
    std::optional<ConversionError> overrun_;
};

} // namespace nivex
