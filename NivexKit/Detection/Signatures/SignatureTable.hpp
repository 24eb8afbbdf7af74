#pragma once

#include "NivexKit/Detection/Signatures/SniffResult.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace nivex {

/// Fixed bytes at a fixed place; without bytes it matches everything.
struct BytePattern {
    std::array<char, 20> bytes{};
    std::uint8_t length = 0;
    std::uint16_t offset = 0;

    bool matches(std::span<const std::byte> head) const;
};

/// One line of the signature table: all of its conditions have to hold.
struct Signature {
    BytePattern when[2]{};
    std::size_t binaryWithin = 0; // a zero byte lies in so many first bytes: no text, whatever its first letters
    std::string_view contains{};  // stands somewhere in the head …
    std::size_t containsWithin{}; // … or, unless zero, in so many first bytes
    bool (*test)(std::span<const std::byte>) = nullptr;

    std::string_view then{};                                           // the formats, likeliest first, as words
    std::string_view (*chooses)(std::span<const std::byte>) = nullptr; // tells the formats where `then` cannot
    std::optional<ContainerKind> container{};
};

/// The first line of the table that the head fulfils; null when none.
const Signature* matchingSignature(std::span<const std::byte> head);

} // namespace nivex
