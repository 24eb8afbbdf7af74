#pragma once

#include <string>
#include <string_view>

// The ciphers that document formats prescribe, for reading their files; nothing of ours is kept secret with them.
namespace nivex {

/// RC4, both ways. The key has 1 to 256 bytes.
std::string rc4(std::string_view key, std::string_view bytes);

/// AES-128 in CBC mode without padding: `key` and `start` have 16 bytes, `bytes` a multiple of 16.
std::string aes128CbcEncrypted(std::string_view key, std::string_view start, std::string_view bytes);

} // namespace nivex
