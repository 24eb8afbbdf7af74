#include "NivexWorkers/Image/Conversion.hpp"

#include "NivexWorkers/Image/Budget/BudgetedWriting.hpp"
#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Codecs/Pdf/JpegInPdf.hpp"
#include "NivexWorkers/Image/Codecs/Progress.hpp"
#include "NivexWorkers/Image/Codecs/Vips/VipsFiles.hpp"
#include "NivexWorkers/Image/Metadata/MetadataLibrary.hpp"
#include "NivexWorkers/Image/Pixels/Adaptation.hpp"

#include "NivexKit/Contract/OutputBudget.hpp"
#include "NivexKit/Foundation/Files/OutputFile.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

namespace nivex::image {

namespace fs = std::filesystem;

namespace {

using vips::VImage;

/// Loaders of libvips that nothing here asks for, some of which take whatever they are given, and one that damages the
/// memory of the process on a valid file (jp2k, libvips 8.14.1).
constexpr const char* blockedOperations[] = {
    "VipsForeignLoadMagick", "VipsForeignLoadMagick7", "VipsForeignLoadOpenslide", "VipsForeignLoadMat",
    "VipsForeignLoadFits",   "VipsForeignLoadAnalyze", "VipsForeignLoadCsv",       "VipsForeignLoadRaw",
    "VipsForeignLoadVips",   "VipsForeignLoadPdf",     "VipsForeignLoadJp2k",      "VipsForeignLoadSvg",
    "VipsForeignLoadOpenexr"};

/// Sets up the classes of libvips' operations once, rather than in the child of each job that uses them.
void* prepareClass(GType type, void*)
{
    if (!G_TYPE_IS_ABSTRACT(type))
        g_type_class_ref(type);
    return nullptr;
}

void ignoreMessage(const char*, GLogLevelFlags, const char*, void*) {}

const WrittenPictures& writtenOf(const FileFormat& format)
{
    const PictureFormat* row = pictureFormat(format.id.rawValue);
    if (!row || !row->written)
        throw ConversionError::unsupported(filled("le format {} n'est pas une image"_fr, {format.name}));
    return *row->written;
}

/// libvips computes with one thread as long as this lives.
class OneThread {
public:
    OneThread() { vips_concurrency_set(1); }
    ~OneThread() { vips_concurrency_set(before_); }
    OneThread(const OneThread&) = delete;
    OneThread& operator=(const OneThread&) = delete;

private:
    int before_ = vips_concurrency_get();
};

/// Pulls every pixel of the source, to learn whether a failure to write was a failure to read.
bool isReadableThroughout(const EngineRequest& request)
{
    const OneThread thread; // several may lose an error: see hasErrorBehind
    try {
        const ReadRequest reading{
            .file = request.input, .format = request.sourceFormat.id.rawValue, .limits = request.limits};
        for (const VImage& frame : codec(reading.format).read(reading).frames)
            frame.avg();
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

/// True when something failed although libvips told of no failure. When several threads compute a picture, version 8.14
/// takes stock as soon as the last piece is handed out (vips_threadpool_run), and an error in a piece that is not done
/// yet goes unnoticed; only its message stays.
bool hasErrorBehind() { return *vips_error_buffer() != '\0'; }

/// True when libjpeg met data that mean nothing and went on with a guess, which libvips counts as a warning. Of several
/// such messages only the first is kept; bytes too many before a marker, which some cameras write, are no damage.
bool hasGuessBehind()
{
    constexpr std::string_view guesses[] = {"premature end of data segment", "bad Huffman code", "bad arithmetic code",
                                            "instead of RST"};
    const std::string_view told = vips_error_buffer();
    return std::ranges::any_of(guesses, [told](std::string_view guess) { return told.find(guess) != told.npos; });
}

/// True for a file that is only to become smaller, is small enough and is to be changed in no other way. Its quality
/// is no reason to encode it again: that could only make it look worse.
bool isAsAskedAlready(const Picture& picture, const EngineRequest& request)
{
    const ConversionOptions& options = request.options;
    if (request.sourceFormat.id != request.targetFormat.id || options.metadata != MetadataPolicy::keep ||
        options.colorProfile != ColorProfilePolicy::preserve)
        return false;
    if (options.maxFileBytes && std::cmp_greater(fs::file_size(request.input), *options.maxFileBytes))
        return false;
    return std::ranges::all_of(picture.frames, [&](const VImage& frame) {
        return !options.maxPixelDimension || std::max(frame.width(), frame.height()) <= *options.maxPixelDimension;
    });
}

/// The source itself where a PDF file can show it as it is. It is decoded once, for the sake of its damages alone.
std::optional<JpegSource> untouchedJpeg(const Picture& picture, const EngineRequest& request,
                                        const ProgressCallback& progress)
{
    const ConversionOptions& options = request.options;
    const VImage& image = picture.first();
    const std::int64_t longest = std::max(image.width(), image.height());
    const bool isAsked = request.targetFormat.id == "pdf" && request.sourceFormat.id == "jpeg" &&
                         options.colorProfile == ColorProfilePolicy::preserve &&
                         options.quality >= ConversionOptions{}.quality &&
                         options.maxPixelDimension.value_or(longest) >= longest;
    const auto file = isAsked ? FileSource::open(request.input) : std::nullopt;
    if (!file || !jpegInPdf(*file))
        return std::nullopt;
    VImage decoded = image.copy();
    const PullProgress pulled{decoded, progress};
    decoded.avg();
    return JpegSource{.file = request.input,
                      .orientation = numberField(image, VIPS_META_ORIENTATION, 1),
                      .isUntouched = options.metadata == MetadataPolicy::keep};
}

Picture readSource(const Codec& source, const WrittenPictures& target, const EngineRequest& request)
{
    Picture picture = source.read({.file = request.input,
                                   .format = source.format,
                                   .limits = request.limits,
                                   .wantsAllFrames = target.pictures != KeptPictures::first,
                                   .longestSide = request.options.maxPixelDimension.value_or(0)});
    if (target.hasMetadata && request.options.metadata != MetadataPolicy::removeAll && picture.metadata.isEmpty())
        picture.metadata = readMetadata(request.input, source.format);
    return picture;
}

Picture adaptedTo(const WrittenPictures& target, Picture picture, const EngineRequest& request)
{
    picture = adapted(std::move(picture), target, request.options);
    if (!target.hasIptc)
        picture.metadata = withoutIptc(std::move(picture.metadata));
    return picture;
}

void write(const Picture& picture, const EngineRequest& request, const std::optional<JpegSource>& jpeg,
           const ProgressCallback& progress)
{
    const fs::path output = request.outputLocation();
    const std::string_view format = request.targetFormat.id.rawValue;
    codec(format).write(picture, {.file = output,
                                  .quality = encoderQuality(request, request.options.quality),
                                  .progress = progress,
                                  .processors = std::max(1u, std::thread::hardware_concurrency()),
                                  .jpeg = jpeg});
    embedMetadata(output, format, picture.metadata);
}

/// Says so where an encoder failed because the volume is full; libraries do not tell.
void requireSpace(const fs::path& folder)
{
    constexpr std::size_t bytes = 1 << 20;
    NewFile probe{folder / "probe"};
    probe.write(std::string(bytes, '\0'));
}

/// Makes the output. May leave half a picture where hasErrorBehind.
void produce(const Codec& source, const WrittenPictures& target, const EngineRequest& request,
             const ProgressCallback& progress)
{
    const fs::path output = request.outputLocation();
    const auto mostBytes =
        OutputBudget::isOffered(request.targetFormat.id) ? request.options.maxFileBytes : std::nullopt;
    const auto fits = [&](const fs::path& file) {
        return !mostBytes || std::cmp_less_equal(fs::file_size(file), *mostBytes);
    };
    Picture picture = readSource(source, target, request);
    if (isAsAskedAlready(picture, request)) {
        if (!isReadableThroughout(request))
            throw damaged();
        fs::copy_file(request.input, output);
        return;
    }
    if (const auto jpeg = fits(request.input) ? untouchedJpeg(picture, request, progress) : std::nullopt) {
        write(adaptedTo(target, std::move(picture), request), request, jpeg, progress);
        if (fits(output))
            return;
        fs::remove(output); // by less than what surrounds the picture, which has been read to its end
        picture = readSource(source, target, request);
    }
    picture = adaptedTo(target, std::move(picture), request);
    if (mostBytes)
        writeWithinBudget(std::move(picture), target, request, progress);
    else
        write(picture, request, std::nullopt, progress);
}

} // namespace

void startLibraries()
{
    ::setenv("VIPSHOME", "/nonexistent", 1); // no plug-ins: what they read is read here without them
    if (VIPS_INIT("nivex-worker-image") != 0)
        std::abort();
    startMetadataLibrary();
    vips_cache_set_max(0); // a result for a path must not outlive the file behind it
    for (const char* operation : blockedOperations)
        vips_operation_block_set(operation, TRUE);
    vips_type_map_all(VIPS_TYPE_OPERATION, prepareClass, nullptr);
    g_log_set_default_handler(ignoreMessage, nullptr);
}

std::vector<fs::path> convertPicture(const EngineRequest& request, const ProgressCallback& progress)
{
    const WrittenPictures& target = writtenOf(request.targetFormat);
    const Codec& source = codec(request.sourceFormat.id.rawValue);
    if (!source.read || !codec(request.targetFormat.id.rawValue).write)
        throw ConversionError::unsupported(
            filled("{} vers {}"_fr, {request.sourceFormat.name, request.targetFormat.name}));
    if (request.options.removeBackground)
        throw ConversionError::unsupported("le retrait de l'arrière-plan n'est pas disponible sur cette machine"_fr);

    const fs::path output = request.outputLocation();
    vips_error_clear();
    try {
        produce(source, target, request, progress);
        if (hasErrorBehind() && !hasGuessBehind()) {
            const OneThread thread;
            fs::remove(output);
            produce(source, target, request, progress);
        }
        if (hasGuessBehind())
            throw damaged();
    } catch (const vips::VError&) {
        if (!isReadableThroughout(request))
            throw damaged();
        requireSpace(output.parent_path());
        throw notSaved(request.targetFormat.name);
    } catch (const ConversionError& error) {
        if (error.kind() == ConversionError::Kind::encodingFailed)
            requireSpace(output.parent_path());
        throw;
    }
    return {output};
}

} // namespace nivex::image
