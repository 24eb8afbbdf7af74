#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

namespace nivex {

/// How finely a picture file stores one component.
enum class PixelDepth {
    eight,    // up to 8 bits
    sixteen,  // up to 16 bits, at least 10
    floating, // floating point, linear light
};

/// Which pictures beyond the first a written file keeps.
enum class KeptPictures {
    first,
    pages,     // pictures of any size
    sizes,     // the same picture in several sizes, as icons are
    animation, // frames of one size, each with its time
};

/// One format of the image engine. The declaration derives edges and losses from it and the work adapts pictures to it,
/// so what is announced is what is done. All but the first three fields are about written files.
struct PictureFormat {
    std::string_view id;
    bool isRead = true;
    bool isWritten = true;
    PixelDepth depth = PixelDepth::eight;
    std::int64_t mostBits = 16; // of whole numbers of more than 8 bits: what the encoder keeps of them
    KeptPictures pictures = KeptPictures::first;
    std::int64_t longestSide = 0; // pixels; 0 where no picture that NIVEX accepts is too large
    bool isLossy = false;         // the encoder honours a quality, and 1.0 need not be lossless
    bool hasAlpha = false;
    bool hasProfile = false;         // an ICC profile can be embedded; else pixels are sRGB
    bool refusesGreyProfile = false; // its readers take every profile for one of red, green and blue
    bool hasCmyk = false;            // four inks can be stored
    bool hasMetadata = false;        // Exif, XMP and what IPTC says can be embedded
    bool hasIptc = false;            // IPTC datasets have a place of their own; else XMP says what they say
    bool hasPalette = false;         // no more than 256 colours
};

/// Which pictures beyond the first a file of a format may hold, whoever wrote it, and its reader hands on.
struct HeldPictures {
    KeptPictures kind = KeptPictures::first;
    bool mayMove = false; // a sequence of frames may stand beside the pictures, with a duration; none of it is read
};
HeldPictures heldPictures(std::string_view id);

/// Whether a written file that keeps such pictures keeps all that a source of several holds; never where only the first
/// is read.
constexpr bool keepsAll(KeptPictures held, KeptPictures kept)
{
    return held != KeptPictures::first &&
           (held == kept || (held == KeptPictures::sizes && kept == KeptPictures::pages));
}

/// Bytes of pixels from which a TIFF file takes offsets of 64 bits; metadata are embedded in smaller files only.
constexpr double mostBytesOfClassicTiff = 4e9;

/// Every format of the engine, in the order of the catalogue, those that are only read and of another family last.
std::span<const PictureFormat> pictureFormats();

/// The row of a format, or null.
const PictureFormat* pictureFormat(std::string_view id);

} // namespace nivex
