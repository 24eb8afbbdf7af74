#include "NivexWorkers/Image/Conversion.hpp"

#include "NivexWorkers/Image/Budget/BudgetedWriting.hpp"
#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/LibraryErrors.hpp"
#include "NivexWorkers/Image/PassingThrough.hpp"
#include "NivexWorkers/Image/Pixels/Adaptation.hpp"
#include "NivexWorkers/Image/Reading.hpp"
#include "NivexWorkers/Image/Removal/Removal.hpp"
#include "NivexWorkers/Image/Writing.hpp"

#include "NivexKit/Contract/OutputBudget.hpp"
#include "NivexKit/Engines/Image/PictureLosses.hpp"
#include "NivexKit/Foundation/Files/OutputFile.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <string>
#include <utility>

namespace nivex::image {

namespace fs = std::filesystem;

namespace {

const WrittenPictures& writtenOf(const FileFormat& format)
{
    const PictureFormat* row = pictureFormat(format.id.rawValue);
    if (!row || !row->written)
        throw ConversionError::unsupported(filled("le format {} n'est pas une image"_fr, {format.name}));
    return *row->written;
}

Picture adaptedTo(const WrittenPictures& target, Picture picture, const EngineRequest& request)
{
    picture = adapted(std::move(picture), target, request.options);
    if (!target.hasIptc)
        picture.metadata = withoutIptc(std::move(picture.metadata));
    return picture;
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
    if (copiedAsItIs(picture, request))
        return;
    const Codec& encoder = codec(request.targetFormat.id.rawValue);
    const WriteRequest writing = writingOf(request, output, request.options.quality, progress);
    if (const auto jpeg = fits(request.input) ? untouchedJpeg(picture, target, request, progress) : std::nullopt) {
        encoder.takeOver(adaptedTo(target, std::move(picture), request), *jpeg, writing);
        if (fits(output))
            return;
        fs::remove(output); // by less than what surrounds the picture, which has been read to its end
        picture = readSource(source, target, request);
    }
    picture = adaptedTo(target, std::move(picture), request);
    if (mostBytes)
        writeWithinBudget(std::move(picture), target, request, progress);
    else
        encoder.write(picture, writing);
}

} // namespace

std::vector<fs::path> convertPicture(const EngineRequest& request, const ProgressCallback& progress)
{
    if (onlyLosesMetadata(request.sourceFormat, request.targetFormat, request.options)) {
        removeMetadata(request);
        return {request.outputLocation()};
    }
    const WrittenPictures& target = writtenOf(request.targetFormat);
    const Codec& source = codec(request.sourceFormat.id.rawValue);
    if (!source.read || !codec(request.targetFormat.id.rawValue).write)
        throw ConversionError::unsupported(
            filled("{} vers {}"_fr, {request.sourceFormat.name, request.targetFormat.name}));
    if (request.options.removeBackground)
        throw ConversionError::unsupported("le retrait de l'arrière-plan n'est pas disponible sur cette machine"_fr);

    const fs::path output = request.outputLocation();
    forgetErrors();
    try {
        produce(source, target, request, progress);
        if (hasErrorBehind() && !hasGuessBehind()) {
            const OneThread thread;
            fs::remove(output);
            produce(source, target, request, progress);
        }
        if (hasGuessBehind())
            throw damaged(errorsBehind());
    } catch (const vips::VError&) {
        const std::string cause = errorsBehind(); // before it is lost in further messages
        requireReadable(request);
        requireSpace(output.parent_path());
        throw notSaved(request.targetFormat.name).because(cause);
    } catch (const ConversionError& error) {
        if (error.kind() == ConversionError::Kind::encodingFailed)
            requireSpace(output.parent_path());
        throw;
    }
    return {output};
}

} // namespace nivex::image
