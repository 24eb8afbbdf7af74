#pragma once

#include "NivexWorkers/Image/Picture.hpp"

#include "NivexKit/Contract/EngineRequest.hpp"
#include "NivexKit/Formats/SourceProperties.hpp"
#include "NivexKit/Foundation/Bytes/ByteSource.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"

#include <filesystem>
#include <optional>
#include <span>
#include <string_view>

namespace nivex::image {

struct ReadRequest {
    const std::filesystem::path& file;
    std::string_view format;
    const ResourceLimits& limits;
    bool wantsAllFrames = true; // else the first picture is enough; of icons the largest
    /// The longest side that is needed; 0 for all pixels. A reader that decodes a smaller picture faster may do so, but
    /// never one smaller than this.
    std::int64_t longestSide = 0;
};

/// A JPEG file that shows just what a picture shows, once its orientation is obeyed.
struct JpegSource {
    const std::filesystem::path& file;
    int orientation;  // as Exif counts it, 1…8
    bool isUntouched; // what the file says of itself stays in it, down to the last byte
};

struct WriteRequest {
    const std::filesystem::path& file; // does not exist yet
    double quality = 0.85;             // 0…1; 1.0 is lossless where the format can be
    const ProgressCallback& progress;  // of the writing, which includes the decoding of what is pulled
    unsigned processors = 1;
};

/// How an encoder answers the search for a file below a target size (Budget/).
struct SearchUnderSize {
    double lowestQuality = 0;  // below it a picture with fewer pixels looks better at the same size
    double qualityStep = 0.01; // the smallest difference that the encoder makes
    double steepness = 2.5;    // by how much the logarithm of the size grows from quality 0 to 1, roughly
    bool isSlow = false;       // a sample of the picture is searched first
    /// Pictures lie on pages whose size their resolution tells: one with fewer pixels fills the same page.
    bool keepsPageSize = false;

    /// Of an encoder that meets a number of bytes, to about 0.1 % from below unless so many are not needed; metadata
    /// come on top. `quality` then only chooses between lossy and lossless coding.
    void (*writeOfBytes)(const Picture&, const WriteRequest&, std::int64_t bytes) = nullptr;
    double lowestBitsPerPixel = 0; // of such an encoder: what lowestQuality is of others
};

/// How one format is read and written; either may be missing.
struct Codec {
    std::string_view format;

    /// Opens a file of the format. Refuses pictures above the limit before anything is allocated for their pixels
    /// (requireAcceptableSize). Throws ConversionError, `unreadableSource` for a damaged file, or vips::VError.
    Picture (*read)(const ReadRequest&) = nullptr;

    /// Writes a picture that has been adapted to what the format holds (WrittenPictures): kind of frames, size, bands,
    /// depth, profile, upright; and embeds picture.metadata. Throws ConversionError, `encodingFailed` where it is the
    /// encoder's fault, or vips::VError.
    void (*write)(const Picture&, const WriteRequest&) = nullptr;

    /// The metadata of a file; what cannot be read counts as absent. Missing where files of the format hold none, and
    /// where `read` hands them on with the picture. Never throws for the file's sake.
    Metadata (*readMetadata)(const std::filesystem::path&) = nullptr;

    /// Missing where no target size is offered.
    std::optional<SearchUnderSize> search = std::nullopt;

    /// Writes a file that shows a JPEG file (one for which there is jpegInPdf) with its data as they are; the picture
    /// is the same, adapted. Missing where the format takes over none (WrittenPictures::takesOver).
    void (*takeOver)(const Picture&, const JpegSource&, const WriteRequest&) = nullptr;
};

/// The codec of a format of the image engine; without functions for any other.
const Codec& codec(std::string_view format);

/// Every codec, one for each of pictureFormats().
std::span<const Codec> codecs();

/// What `file` says of the picture that the codec's reader made of it.
Metadata metadataOf(const Codec& codec, const Picture& picture, const std::filesystem::path& file);

/// Throws `resourceLimit` when `width` × `height` × `frames` is above limits.maxImagePixels, and `unreadableSource`
/// when a side is not positive.
void requireAcceptableSize(std::int64_t width, std::int64_t height, std::int64_t frames, const ResourceLimits& limits);

/// "son contenu est endommagé ou incomplet": what a reader throws for anything malformed.
///
/// cause  what exactly: where it was found and what was wrong there ("IDAT: checksum"), or a library's own message
ConversionError damaged(std::string_view cause);
/// A cause: the file was there a moment ago.
inline constexpr std::string_view cannotOpen = "the file cannot be opened";

/// "l'image n'a pas pu être enregistrée au format {}": what a writer throws where its encoder fails.
ConversionError notSaved(std::string_view format);

// Readers and writers, one family of libraries a file.
Picture readPng(const ReadRequest&);
Picture readJpeg(const ReadRequest&);
Picture readTiff(const ReadRequest&);
Picture readGif(const ReadRequest&);
Picture readWebp(const ReadRequest&);
Picture readHdr(const ReadRequest&);
void writePng(const Picture&, const WriteRequest&);
void writeJpeg(const Picture&, const WriteRequest&);
void writeTiff(const Picture&, const WriteRequest&);
void writeGif(const Picture&, const WriteRequest&);
void writeWebp(const Picture&, const WriteRequest&);
void writeHdr(const Picture&, const WriteRequest&);

Picture readHeif(const ReadRequest&); // heic, heif, avif
void writeHeic(const Picture&, const WriteRequest&);
void writeAvif(const Picture&, const WriteRequest&);

Picture readJxl(const ReadRequest&);
void writeJxl(const Picture&, const WriteRequest&);
Picture readJpeg2000(const ReadRequest&);
Picture readJpeg2000(const ByteSource& file, const ReadRequest&); // a file inside another
void writeJpeg2000(const Picture&, const WriteRequest&);
void writeJpeg2000OfBytes(const Picture&, const WriteRequest&, std::int64_t bytes);
Picture readExr(const ReadRequest&);
void writeExr(const Picture&, const WriteRequest&);
Picture readRaw(const ReadRequest&); // dng and the cameras' own formats
Picture readAstc(const ReadRequest&);
void writeAstc(const Picture&, const WriteRequest&);

Picture readBmp(const ReadRequest&);
void writeBmp(const Picture&, const WriteRequest&);
Picture readTga(const ReadRequest&);
void writeTga(const Picture&, const WriteRequest&);
Picture readIco(const ReadRequest&);
void writeIco(const Picture&, const WriteRequest&);
Picture readIcns(const ReadRequest&);
void writeIcns(const Picture&, const WriteRequest&);
Picture readPsd(const ReadRequest&); // psd and psb
void writePsd(const Picture&, const WriteRequest&);

void writePdf(const Picture&, const WriteRequest&);
void writePdfOfJpeg(const Picture&, const JpegSource&, const WriteRequest&);

} // namespace nivex::image
