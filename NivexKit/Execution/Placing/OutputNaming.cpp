#include "NivexKit/Execution/Placing/OutputNaming.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <cstddef>

namespace nivex {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t longestBaseName = 240;             // bytes
constexpr std::size_t longestFileName = 255;             // bytes, on every volume in use
constexpr std::string_view longestCommonNumber = " 999"; // so that numbers up to it do not shorten the name further
constexpr int moveAttempts = 1000;

/// What Windows-1252 has at 80 to 9F; the rest of it is Latin-1. The five bytes without a character stay themselves.
constexpr char32_t windows1252[] = {
    U'€', 0x81, U'‚', U'ƒ', U'„', U'…', U'†', U'‡', U'ˆ', U'‰', U'Š', U'‹', U'Œ', 0x8D, U'Ž', 0x8F,
    0x90, U'‘', U'’', U'“', U'”', U'•', U'–', U'—', U'˜', U'™', U'š', U'›', U'œ', 0x9D, U'ž', U'Ÿ',
};

std::string fromWindows1252(std::string_view bytes)
{
    std::string text;
    for (const char each : bytes) {
        const auto byte = static_cast<unsigned char>(each);
        appendScalar(text, byte >= 0x80 && byte < 0xA0 ? windows1252[byte - 0x80] : byte);
    }
    return text;
}

char32_t replacement(char32_t scalar)
{
    if (isControl(scalar))
        return U' ';
    return scalar == U'/' || scalar == U':' || scalar == U'\\' ? U'-' : scalar;
}

/// Without the dot; a lone dot at the end of a name begins no extension.
std::string extensionOf(const fs::path& file)
{
    const std::string extension = file.extension();
    return extension.size() > 1 ? extension.substr(1) : std::string{};
}

bool isTaken(const fs::path& location)
{
    // A link that points nowhere is in the way too. What cannot be examined is left to the move to report.
    std::error_code ignored;
    return fs::exists(fs::symlink_status(location, ignored));
}

} // namespace

void AvoidedLocations::insert(const fs::path& location)
{
    lowercased_.insert(lowercased(location.lexically_normal().native()));
}

bool AvoidedLocations::contains(const fs::path& location) const
{
    return !lowercased_.empty() && lowercased_.contains(lowercased(location.lexically_normal().native()));
}

std::string OutputNaming::sanitizedBaseName(std::string_view name)
{
    const std::string text = isValidUtf8(name) ? std::string{name} : fromWindows1252(name);
    std::string cleaned;
    for (std::size_t position = 0; position < text.size();)
        appendScalar(cleaned, replacement(nextScalar(text, position)));
    std::string_view base = trimmed(cleaned);
    base.remove_prefix(std::min(base.find_first_not_of('.'), base.size()));
    base = cutToBytes(base, longestBaseName);
    return base.empty() ? "Sans titre"_fr.localized() : std::string{base};
}

fs::path OutputNaming::uniqueURL(const fs::path& folder, std::string_view baseName, std::string_view pathExtension,
                                 const AvoidedLocations& avoiding, NameNumbers* numbers)
{
    const std::string extension = pathExtension.empty() ? std::string{} : "." + std::string{pathExtension};
    const fs::path place = folder.lexically_normal();
    const NameNumbers::Key key{place, std::string{baseName}, extension};
    std::string_view base;
    std::size_t reserved = 0; // bytes that `base` leaves for the number
    for (std::size_t n = 1;; ++n) {
        if (numbers && n == NameNumbers::alwaysAsked + 1) {
            n = std::max(n, numbers->takenUpTo(key) + 1);
        }
        const std::string number = n == 1 ? std::string{} : " " + std::to_string(n);
        if (n == 1 || number.size() > reserved) {
            reserved = std::max(number.size(), longestCommonNumber.size());
            const std::size_t behind = reserved + extension.size();
            base = cutToBytes(baseName, behind < longestFileName ? longestFileName - behind : 0);
        }
        fs::path candidate = place / (std::string{base} + number + extension);
        if (isTaken(candidate) || avoiding.contains(candidate))
            continue;
        if (numbers)
            numbers->remember(key, n - 1); // not `n` itself: the move may still fail
        return candidate;
    }
}

fs::path OutputNaming::moveIntoPlace(const Place& file, const OpenFolder& folder, const AvoidedLocations& avoiding,
                                     NameNumbers* numbers)
{
    const fs::path name = file.name;
    return moveIntoPlace(file, folder, sanitizedBaseName(name.stem().native()), extensionOf(name), avoiding, numbers);
}

fs::path OutputNaming::moveIntoPlace(const Place& file, const OpenFolder& folder, std::string_view baseName,
                                     std::string_view pathExtension, const AvoidedLocations& avoiding,
                                     NameNumbers* numbers)
{
    for (int attempt = 0; attempt < moveAttempts; ++attempt) {
        fs::path location = uniqueURL(folder.location(), baseName, pathExtension, avoiding, numbers);
        if (moveExclusively(file, {folder, location.filename()}) == MoveResult::moved)
            return location;
    }
    throw ConversionError::destinationUnavailable("impossible de trouver un nom de fichier libre"_fr);
}

} // namespace nivex
