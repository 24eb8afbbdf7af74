#pragma once

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"

#include <cstddef>
#include <span>
#include <string_view>
#include <vector>

namespace nivex::data {

/// The bytes of the first stream of a compound file (MS-CFB) that has one of the names, of ASCII letters of any case;
/// empty where there is none.
///
/// errors   unreadableSource for a file whose sectors lead nowhere or in circles
std::vector<std::byte> compoundStream(const ByteSource& file, std::span<const std::string_view> names);

} // namespace nivex::data
