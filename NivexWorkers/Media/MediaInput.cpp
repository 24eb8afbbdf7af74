#include "NivexWorkers/Media/MediaInput.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Structures/EbmlElements.hpp"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <optional>

namespace nivex::media {
namespace {

constexpr std::size_t studiedBytes = 64 * 1'024; // to tell the containers of one format apart

/// The containers that files of a format are, by the library's names.
struct Reader {
    std::string_view format;
    const char* containers[3];
};

// clang-format off
constexpr Reader readers[] = {
    {"mp3", {"mp3"}},   {"wav", {"wav", "w64"}},  {"aiff", {"aiff"}},   {"flac", {"flac"}},    {"alac", {"mov"}},
    {"aac", {"aac", "loas"}},  {"m4a", {"mov"}},  {"ogg", {"ogg"}},     {"opus", {"ogg"}},     {"wma", {"asf"}},
    {"amr", {"amr"}},   {"caf", {"caf"}},         {"mp4", {"mov"}},     {"mov", {"mov"}},      {"mkv", {"matroska"}},
    {"avi", {"avi"}},   {"webm", {"matroska"}},   {"wmv", {"asf"}},     {"flv", {"flv"}},      {"m4v", {"mov"}},
    {"mpeg", {"mpeg", "mpegvideo"}},              {"mpeg-ts", {"mpegts"}}, {"m2ts", {"mpegts"}}, {"3gp", {"mov"}},
    {"vob", {"mpeg"}},
};
// clang-format on

int refuseOtherFiles(AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) { return AVERROR(EACCES); }

bool isProtected(const AVStream& stream)
{
    constexpr std::uint32_t protectedTags[] = {MKTAG('e', 'n', 'c', 'a'), MKTAG('e', 'n', 'c', 'v'),
                                               MKTAG('d', 'r', 'm', 's'), MKTAG('d', 'r', 'm', 'i'),
                                               MKTAG('p', '6', '0', '8')};
    return std::ranges::find(protectedTags, stream.codecpar->codec_tag) != std::end(protectedTags) ||
           av_stream_get_side_data(&stream, AV_PKT_DATA_ENCRYPTION_INIT_INFO, nullptr) != nullptr;
}

/// The container of a file of the format: the one that its beginning looks like, where there are several. None where
/// the format has no reader.
const AVInputFormat* containerOf(std::string_view format, const ByteSource& file)
{
    const auto reader = std::ranges::find(readers, format, &Reader::format);
    if (reader == std::end(readers))
        return nullptr;
    if (!reader->containers[1])
        return av_find_input_format(reader->containers[0]);
    std::vector<std::byte> beginning = file.read(0, studiedBytes);
    const auto size = static_cast<int>(beginning.size());
    beginning.resize(beginning.size() + AVPROBE_PADDING_SIZE);
    AVProbeData studied = {.filename = "",
                           .buf = reinterpret_cast<unsigned char*>(beginning.data()),
                           .buf_size = size,
                           .mime_type = nullptr};
    const AVInputFormat* best = nullptr;
    int bestScore = -1;
    for (const char* name : reader->containers)
        if (const AVInputFormat* each = name ? av_find_input_format(name) : nullptr)
            if (const int score = each->read_probe ? each->read_probe(&studied) : 0; score > bestScore) {
                best = each;
                bestScore = score;
            }
    return best;
}

} // namespace

MediaInput::MediaInput(FileSource file)
    : bytes_{std::make_unique<Bytes>(std::move(file))}, channel_{avio_alloc_context(
                                                            static_cast<unsigned char*>(av_malloc(channelBytes)),
                                                            int{channelBytes}, 0, bytes_.get(), readBytes, nullptr,
                                                            seekBytes)}
{
}

MediaInput MediaInput::open(const std::filesystem::path& file, std::string_view format)
{
    std::optional<FileSource> source = FileSource::open(file);
    if (!source)
        throw ConversionError::unreadableSource("lecture impossible"_fr);
    MediaInput input{std::move(*source)};
    input.openAs(format);
    input.refuseCut();
    input.refuseProtected();
    input.refuseEmpty();
    return input;
}

void MediaInput::openAs(std::string_view format)
{
    const AVInputFormat* container = containerOf(format, bytes_->file);
    if (!container)
        throw ConversionError::unsupported(std::string{format});
    AVFormatContext* context = avformat_alloc_context();
    context->pb = channel_.get();
    context->io_open = refuseOtherFiles;
    context->flags |= AVFMT_FLAG_CUSTOM_IO | AVFMT_FLAG_GENPTS;
    context->protocol_whitelist = av_strdup("none");
    context->format_whitelist = av_strdup(container->name);
    orUnreadable(avformat_open_input(&context, "", container, nullptr)); // which frees it on failure
    context_.reset(context);
    noteAnnouncedLengths();
    orUnreadable(avformat_find_stream_info(context, nullptr));
}

/// Before the library fills in what it reckons or finds in other streams. At the streams of ASF it has put the length
/// of the whole.
void MediaInput::noteAnnouncedLengths()
{
    const std::string_view container = context_->iformat->name;
    announced_ = std::max(0.0, secondsOf(orZero(context_->duration), microseconds));
    for (const AVStream* stream : streams()) {
        const AVCodecParameters& codec = *stream->codecpar;
        const double seconds = std::max(0.0, secondsOf(orZero(stream->duration), stream->time_base));
        const bool isUncompressed = av_get_exact_bits_per_sample(codec.codec_id) > 0 && codec.sample_rate > 0;
        if (container == "asf")
            announced_ = std::max(announced_, seconds);
        announcedOfStreams_.push_back(container == "asf" ? 0
                                      : container == "caf" && isUncompressed
                                          ? static_cast<double>(stream->nb_frames) / codec.sample_rate
                                          : seconds);
    }
}

double MediaInput::announcedSeconds(const AVStream& stream) const
{
    const auto index = static_cast<std::size_t>(stream.index);
    return index < announcedOfStreams_.size() ? announcedOfStreams_[index] : 0;
}

bool MediaInput::announcesEachStream() const
{
    return std::ranges::all_of(
        streams(), [this](const AVStream* stream) { return announcedSeconds(*stream) > 0 || !isDecodable(stream); });
}

void MediaInput::refuseCut() const
{
    if (std::string_view{context_->iformat->name}.starts_with("matroska") && isCutMatroska(bytes_->file))
        orUnreadable(AVERROR_EOF);
}

void MediaInput::refuseProtected() const
{
    if (std::ranges::any_of(streams(), [](const AVStream* stream) { return isProtected(*stream); }))
        throw ConversionError::unreadableSource("le fichier est protégé (DRM)"_fr);
}

void MediaInput::refuseEmpty() const
{
    if (std::ranges::none_of(streams(), isDecodable))
        throw ConversionError::unreadableSource("aucune piste audio ou vidéo lisible"_fr);
}

bool MediaInput::isDecodable(const AVStream* stream)
{
    const AVCodecParameters& found = *stream->codecpar;
    const bool isSound =
        found.codec_type == AVMEDIA_TYPE_AUDIO && found.sample_rate > 0 && found.ch_layout.nb_channels > 0;
    const bool isFilm = found.codec_type == AVMEDIA_TYPE_VIDEO && found.width > 0 && found.height > 0 &&
                        !(stream->disposition & AV_DISPOSITION_ATTACHED_PIC);
    return (isSound || isFilm) && avcodec_find_decoder(found.codec_id) != nullptr;
}

const AVStream* MediaInput::best(AVMediaType type) const
{
    const int index = av_find_best_stream(context_.get(), type, -1, -1, nullptr, 0);
    const AVStream* stream = index < 0 ? nullptr : context_->streams[index];
    return stream && isDecodable(stream) ? stream : nullptr;
}

int MediaInput::readBytes(void* opaque, std::uint8_t* buffer, int size)
{
    Bytes& bytes = *static_cast<Bytes*>(opaque);
    const auto wanted = static_cast<std::size_t>(size);
    const std::size_t got = bytes.file.read(bytes.position, std::as_writable_bytes(std::span{buffer, wanted}));
    bytes.position += got;
    const bool isEnd = bytes.position >= bytes.file.size();
    bytes.wasCut |= got < wanted && !isEnd;
    if (got > 0)
        return static_cast<int>(got);
    return isEnd ? AVERROR_EOF : AVERROR(EIO);
}

std::int64_t MediaInput::seekBytes(void* opaque, std::int64_t offset, int whence)
{
    Bytes& bytes = *static_cast<Bytes*>(opaque);
    const auto size = static_cast<std::int64_t>(bytes.file.size());
    if (whence & AVSEEK_SIZE)
        return size;
    std::int64_t target = 0;
    if (__builtin_add_overflow(offset,
                               whence == SEEK_CUR   ? static_cast<std::int64_t>(bytes.position)
                               : whence == SEEK_END ? size
                                                    : 0,
                               &target) ||
        target < 0)
        return AVERROR(EINVAL);
    bytes.position = static_cast<std::uint64_t>(target);
    return target;
}

} // namespace nivex::media
