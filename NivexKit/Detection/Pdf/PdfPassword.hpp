#pragma once

#include <string_view>

namespace nivex {

/// Whether readers open an encrypted document without asking: its password for opening is the empty one, and only
/// rights are restricted. False for every way of encryption that is not the standard one.
///
/// encryption  the dictionary that the trailer calls /Encrypt
/// identifier  the first string of the trailer's /ID, decoded
bool opensWithEmptyPassword(std::string_view encryption, std::string_view identifier);

} // namespace nivex
