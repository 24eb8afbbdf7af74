#include "NivexKit/Foundation/Bytes/Digest.hpp"

#include <nettle/md5.h>
#include <nettle/sha2.h>

#include <cstdint>

namespace nivex {
namespace {

template <typename Context>
std::string digested(std::string_view bytes, std::size_t size, void (*begin)(Context*),
                     void (*add)(Context*, std::size_t, const std::uint8_t*),
                     void (*end)(Context*, std::size_t, std::uint8_t*))
{
    Context context;
    begin(&context);
    add(&context, bytes.size(), reinterpret_cast<const std::uint8_t*>(bytes.data()));
    std::string result(size, '\0');
    end(&context, size, reinterpret_cast<std::uint8_t*>(result.data()));
    return result;
}

} // namespace

std::string digest(DigestKind kind, std::string_view bytes)
{
    switch (kind) {
    case DigestKind::md5:
        return digested<md5_ctx>(bytes, MD5_DIGEST_SIZE, md5_init, md5_update, md5_digest);
    case DigestKind::sha256:
        return digested<sha256_ctx>(bytes, SHA256_DIGEST_SIZE, sha256_init, sha256_update, sha256_digest);
    case DigestKind::sha384:
        return digested<sha512_ctx>(bytes, SHA384_DIGEST_SIZE, sha384_init, sha384_update, sha384_digest);
    case DigestKind::sha512:
        return digested<sha512_ctx>(bytes, SHA512_DIGEST_SIZE, sha512_init, sha512_update, sha512_digest);
    }
    return {};
}

} // namespace nivex
