#pragma once

#include <string>
#include <string_view>

namespace nivex {

enum class DigestKind { md5, sha256, sha384, sha512 };

/// The digest of the bytes, as bytes. MD5 serves formats that prescribe it, never a decision about trust.
std::string digest(DigestKind kind, std::string_view bytes);

} // namespace nivex
