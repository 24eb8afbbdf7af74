#include "NivexKit/Detection/Pdf/PdfPassword.hpp"

#include "NivexKit/Detection/Pdf/PdfSyntax.hpp"
#include "NivexKit/Foundation/Bytes/Cipher.hpp"
#include "NivexKit/Foundation/Bytes/Digest.hpp"

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <string>

namespace nivex {
namespace {

// A password is filled up to this length with these bytes, so they alone stand for the empty one.
constexpr std::string_view padding{"\x28\xBF\x4E\x5E\x4E\x75\x8A\x41\x64\x00\x4E\x56\xFF\xFA\x01\x08"
                                   "\x2E\x2E\x00\xB6\xD0\x68\x3E\x80\x2F\x0C\xA9\xFE\x64\x53\x69\x7A",
                                   32};

std::int64_t integer(std::string_view dictionary, std::string_view key, std::int64_t otherwise)
{
    const auto value = pdfEntry(dictionary, key);
    return value ? pdfInteger(*value).value_or(otherwise) : otherwise;
}

std::string string(std::string_view dictionary, std::string_view key)
{
    const auto value = pdfEntry(dictionary, key);
    return value ? pdfString(*value).value_or("") : "";
}

/// The length of the file's key in bytes.
std::size_t keyLength(std::string_view encryption, std::int64_t revision)
{
    constexpr std::int64_t version128 = 4;
    constexpr std::size_t shortKey = 5;
    constexpr std::size_t longKey = 16;
    if (revision == 2)
        return shortKey;
    if (integer(encryption, "/V", 0) == version128)
        return longKey;
    const std::int64_t bits = integer(encryption, "/Length", 40);
    return std::clamp(static_cast<std::size_t>(std::max<std::int64_t>(bits, 0) / 8), shortKey, longKey);
}

/// The file's key as the empty password makes it, in revisions 2 to 4.
std::string keyOfEmptyPassword(std::string_view encryption, std::string_view identifier, std::int64_t revision)
{
    const auto permissions = static_cast<std::uint32_t>(integer(encryption, "/P", 0));
    std::string seed{padding};
    seed += string(encryption, "/O").substr(0, 32);
    for (unsigned shift = 0; shift < 32; shift += 8)
        seed += static_cast<char>(permissions >> shift & 0xFF);
    seed += identifier;
    if (revision >= 4 && pdfEntry(encryption, "/EncryptMetadata") == "false")
        seed += "\xFF\xFF\xFF\xFF";
    std::string key = digest(DigestKind::md5, seed);
    const std::size_t length = keyLength(encryption, revision);
    key.resize(length);
    constexpr int rounds = 50;
    for (int i = 0; revision >= 3 && i < rounds; ++i)
        key = digest(DigestKind::md5, key).substr(0, length);
    return key;
}

bool opensByKey(std::string_view encryption, std::string_view identifier, std::int64_t revision)
{
    const std::string key = keyOfEmptyPassword(encryption, identifier, revision);
    const std::string stored = string(encryption, "/U");
    if (revision == 2)
        return stored == rc4(key, padding);
    std::string check = digest(DigestKind::md5, std::string{padding}.append(identifier));
    constexpr char rounds = 20;
    for (char i = 0; i < rounds; ++i) {
        std::string roundKey = key;
        std::transform(roundKey.begin(), roundKey.end(), roundKey.begin(),
                       [i](char each) { return static_cast<char>(each ^ i); });
        check = rc4(roundKey, check);
    }
    return stored.starts_with(check);
}

/// The slow digest of revision 6: rounds of encrypting and digesting, each round's digest chosen by its data. `user` is
/// what is mixed into an owner's password.
std::string hardened(std::string key, std::string_view user)
{
    constexpr int leastRounds = 64;
    constexpr std::size_t repetitions = 64;
    constexpr std::size_t block = 16;
    constexpr DigestKind kinds[] = {DigestKind::sha256, DigestKind::sha384, DigestKind::sha512};
    int last = 0;
    for (int i = 0; i < leastRounds || last > i - 32; ++i) {
        std::string repeated;
        for (std::size_t j = 0; j < repetitions; ++j)
            repeated.append(key).append(user);
        const std::string data = aes128CbcEncrypted(key.substr(0, block), key.substr(block, block), repeated);
        const auto sum = std::accumulate(data.begin(), data.begin() + block, 0U, [](unsigned total, char each) {
            return total + static_cast<unsigned char>(each);
        });
        key = digest(kinds[sum % std::size(kinds)], data);
        last = static_cast<unsigned char>(data.back());
    }
    return key.substr(0, 32);
}

/// Revisions 5 and 6 store a digest of the password with 8 bytes of salt behind it; that of the owner's has the user's
/// entry mixed in.
bool opensByDigest(std::string_view stored, std::string_view user, std::int64_t revision)
{
    constexpr std::size_t digestSize = 32;
    constexpr std::size_t saltSize = 8;
    if (stored.size() < digestSize + saltSize)
        return false;
    const std::string simple =
        digest(DigestKind::sha256, std::string{stored.substr(digestSize, saltSize)}.append(user));
    return stored.starts_with(revision == 5 ? simple : hardened(simple, user));
}

bool opensByDigest(std::string_view encryption, std::int64_t revision)
{
    constexpr std::size_t entrySize = 48; // digest and both salts; writers may fill it up with zeros
    const std::string user = string(encryption, "/U").substr(0, entrySize);
    return opensByDigest(user, {}, revision) || opensByDigest(string(encryption, "/O"), user, revision);
}

} // namespace

bool opensWithEmptyPassword(std::string_view encryption, std::string_view identifier)
{
    if (pdfEntry(encryption, "/Filter") != "/Standard")
        return false;
    const std::int64_t revision = integer(encryption, "/R", 0);
    if (revision >= 2 && revision <= 4)
        return opensByKey(encryption, identifier, revision);
    return (revision == 5 || revision == 6) && opensByDigest(encryption, revision);
}

} // namespace nivex
