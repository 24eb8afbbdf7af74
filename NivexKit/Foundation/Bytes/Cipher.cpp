#include "NivexKit/Foundation/Bytes/Cipher.hpp"

#include <nettle/aes.h>
#include <nettle/arcfour.h>
#include <nettle/cbc.h>

#include <cassert>
#include <cstdint>

namespace nivex {
namespace {

const std::uint8_t* input(std::string_view bytes) { return reinterpret_cast<const std::uint8_t*>(bytes.data()); }

std::uint8_t* output(std::string& bytes) { return reinterpret_cast<std::uint8_t*>(bytes.data()); }

} // namespace

std::string rc4(std::string_view key, std::string_view bytes)
{
    assert(key.size() >= ARCFOUR_MIN_KEY_SIZE && key.size() <= ARCFOUR_MAX_KEY_SIZE);
    arcfour_ctx context;
    arcfour_set_key(&context, key.size(), input(key));
    std::string result(bytes.size(), '\0');
    arcfour_crypt(&context, bytes.size(), output(result), input(bytes));
    return result;
}

std::string aes128CbcEncrypted(std::string_view key, std::string_view start, std::string_view bytes)
{
    assert(key.size() == AES128_KEY_SIZE && start.size() == AES_BLOCK_SIZE && bytes.size() % AES_BLOCK_SIZE == 0);
    aes128_ctx context;
    aes128_set_encrypt_key(&context, input(key));
    std::string previous{start};
    std::string result(bytes.size(), '\0');
    cbc_aes128_encrypt(&context, output(previous), bytes.size(), output(result), input(bytes));
    return result;
}

} // namespace nivex
