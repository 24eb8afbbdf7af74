#include "NivexKit/Engines/Subtitle/SubtitleEngine.hpp"

#include "NivexKit/Engines/Subtitle/Subtitles.hpp"
#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Foundation/Bytes/ByteSource.hpp"
#include "NivexKit/Foundation/Bytes/LargeBuffer.hpp"
#include "NivexKit/Foundation/Files/OutputFile.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/TextDecoder.hpp"

#include <algorithm>
#include <optional>
#include <span>
#include <utility>

namespace nivex {
namespace {

using Reader = std::size_t (*)(std::string_view, const Subtitles::CueSink&, const Subtitles::Pulse&);
using Counter = std::size_t (*)(std::string_view, const Subtitles::Pulse&);
using Writer = void (*)(std::string& file, std::size_t index, const SubtitleCue&);

/// What the engine can do with one format. What a format cannot do is null.
struct FormatRow {
    std::string_view id;
    Reader read;
    Writer append;
    Counter count;               // for the check of what was written
    ConversionLoss lostAsSource; // by every conversion from it
    ConversionLoss lostAsTarget; // by every conversion into it
};

constexpr ConversionLoss nothing;
constexpr ConversionLoss styles = ConversionLoss::formatting;
constexpr ConversionLoss stylesAndPositions = ConversionLoss::formatting | ConversionLoss::layout;

// clang-format off
constexpr FormatRow formats[] = {
    {"srt", Subtitles::readSRT,        Subtitles::appendSRT,        Subtitles::countSRT, nothing,            nothing},
    {"vtt", Subtitles::readVTT,        Subtitles::appendVTT,        Subtitles::countVTT, styles,             nothing},
    {"ass", Subtitles::readSubStation, nullptr,                     nullptr,             stylesAndPositions, nothing},
    {"ssa", Subtitles::readSubStation, nullptr,                     nullptr,             stylesAndPositions, nothing},
    {"txt", nullptr,                   Subtitles::appendTranscript, nullptr,             nothing, ConversionLoss::timing},
};
// clang-format on

/// How much is gathered before it is written.
constexpr std::size_t bytesPerWrite = 256 * 1024;

/// The row of a format; none when the engine does not know it.
const FormatRow* rowOf(const FormatID& id)
{
    const auto* row = std::find_if(std::begin(formats), std::end(formats),
                                   [&](const FormatRow& each) { return each.id == id.rawValue; });
    return row == std::end(formats) ? nullptr : row;
}

/// What a conversion is expected to lose of an ordinary file.
ConversionLoss losses(const FormatRow& source, const FormatRow& target)
{
    return source.lostAsSource | target.lostAsTarget;
}

/// Replaces `bytes` by those of the file, in the memory that it has; false when they cannot all be read.
bool readWhole(const FileSource& file, std::string& bytes)
{
    const auto size = static_cast<std::size_t>(file.size());
    bytes.clear();
    reserveLarge(bytes, size);
    bytes.resize(size);
    return file.read(0, std::as_writable_bytes(std::span{bytes})) == bytes.size();
}

/// The text of the source as UTF-8; empty when it is none.
std::string sourceText(const EngineRequest& request)
{
    const auto file = FileSource::open(request.input);
    if (!file)
        throw ConversionError::unreadableSource("fichier introuvable ou inaccessible"_fr);
    // The cues are held in memory, several times the size of the file.
    if (file->size() > static_cast<std::uint64_t>(request.limits.maxUnzippedEntryBytes))
        throw ConversionError::resourceLimit("fichier de sous-titres trop volumineux"_fr);
    std::string bytes;
    if (!readWhole(*file, bytes))
        throw ConversionError::unreadableSource("lecture interrompue"_fr);
    return decodedText(std::move(bytes)).value_or(std::string{});
}

void warnOfLines(std::size_t lost, const EngineRequest& request)
{
    if (lost == 1)
        request.warn("Une ligne du fichier ne fait partie d'aucun sous-titre valide et n'a pas été reprise."_fr);
    else if (lost > 1)
        request.warn(
            filled("{} lignes du fichier ne font partie d'aucun sous-titre valide et n'ont pas été reprises."_fr,
                   {std::to_string(lost)}));
}

/// Reads back what was written: a text that another program would read as more or fewer cues must not be delivered.
/// `memory` is what the file is read into.
void verify(const std::filesystem::path& output, Counter count, std::size_t written, std::string memory,
            const Subtitles::Pulse& pulse)
{
    const auto file = FileSource::open(output);
    if (!file || !readWhole(*file, memory))
        throw ConversionError::outputVerificationFailed("le fichier écrit ne peut pas être relu"_fr);
    const std::size_t readBack = count(memory, pulse);
    if (readBack != written)
        throw ConversionError::outputVerificationFailed(
            filled("{} sous-titres relus au lieu de {}"_fr, {std::to_string(readBack), std::to_string(written)}));
}

} // namespace

SubtitleEngine::SubtitleEngine(const FormatRegistry& registry)
{
    for (const FileFormat& source : registry.known({"srt", "vtt", "ass", "ssa"}))
        for (const FileFormat& target : registry.known({"srt", "vtt", "txt"}))
            capabilities_.push_back({.source = source.id,
                                     .target = target.id,
                                     // Any source may hold colours or positions that no target of ours keeps.
                                     .potentialLosses = losses(*rowOf(source.id), *rowOf(target.id)) | styles,
                                     .reportsProgress = true,
                                     .supportsCancellation = true});
}

std::string SubtitleEngine::displayName() const { return "Sous-titres (SRT, WebVTT, ASS)"_fr; }

ConversionLoss SubtitleEngine::expectedLosses(const FileFormat& source, const SourceProperties&,
                                              const FileFormat& target, const ConversionOptions&) const
{
    const FormatRow* from = rowOf(source.id);
    const FormatRow* to = rowOf(target.id);
    return from && to ? losses(*from, *to) : nothing;
}

std::vector<std::filesystem::path> SubtitleEngine::convert(const EngineRequest& request,
                                                           const ProgressCallback& progress,
                                                           const CancellationFlag& cancellation) const
{
    const FormatRow* source = rowOf(request.sourceFormat.id);
    const FormatRow* target = rowOf(request.targetFormat.id);
    if (!source || !target || !source->read || !target->append)
        throw ConversionError::unsupported(
            filled("{} vers {}"_fr, {request.sourceFormat.name, request.targetFormat.name}));
    // The pulse of a step that spans a part of the whole work.
    const auto step = [&](double begin, double end) -> Subtitles::Pulse {
        return [&, begin, end](double fraction) {
            cancellation.check();
            if (progress)
                progress(begin + (end - begin) * fraction);
        };
    };

    // Each cue is written as soon as it is read, through memory that stays in the processor's cache: a file of a
    // million cues needs little more than its own size.
    std::string text = sourceText(request);
    const auto output = request.outputLocation();
    std::optional<NewFile> file; // made with the first cue
    std::string pending;
    const auto flush = [&] {
        if (!file)
            file.emplace(output);
        file->write(pending);
        pending.clear();
    };
    std::size_t count = 0;
    const auto append = [&](const SubtitleCue& cue) {
        target->append(pending, count++, cue);
        if (pending.size() >= bytesPerWrite)
            flush();
    };
    const std::size_t lost = source->read(text, append, step(0.1, 0.7));
    if (count == 0)
        throw ConversionError::unreadableSource("aucun sous-titre trouvé"_fr)
            .because("lines with words that are part of no cue: " + std::to_string(lost));
    flush();
    file->finish();
    warnOfLines(lost, request);
    if (target->count)
        verify(output, target->count, count, std::move(text), step(0.8, 1.0));
    return {output};
}

} // namespace nivex
