#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace nivex::testing {

/// Bytes written as hexadecimal pairs, white space ignored: bytes("89 50 4E 47").
std::vector<std::byte> bytes(std::string_view hexadecimal);

/// The bytes of a text, as they are.
std::vector<std::byte> textBytes(std::string_view text);

/// The parts one after the other.
std::vector<std::byte> joined(std::initializer_list<std::vector<std::byte>> parts);

/// `count` bytes of one value.
std::vector<std::byte> repeated(unsigned char value, std::size_t count);

/// Bytes as characters, to write them into a file.
inline std::string_view characters(std::span<const std::byte> data)
{
    return {reinterpret_cast<const char*>(data.data()), data.size()};
}

} // namespace nivex::testing
