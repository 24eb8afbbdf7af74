#include "NivexWorkers/Media/MediaConversion.hpp"

#include "NivexWorkers/Media/MediaJob.hpp"

#include "NivexKit/Contract/OutputBudget.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <cmath>

namespace nivex::media {
namespace {

constexpr double containersShare = 0.02;   // of the bytes, for what the container itself needs
constexpr double bitsPerPixel = 0.03;      // below, fewer pixels look better than coarser ones
constexpr std::int64_t leastRate = 24'000; // bits per second of pictures; nobody recognises anything below
constexpr double closeEnough = 0.95;       // of the limit: a result that wastes no more is not made again
constexpr int mostAttempts = 4;

/// Films at rates that meet a number of bytes. Each attempt tells how far the encoder missed its rate, and the next
/// asks for as much less or more: the last one that fits is the result.
class FilmUnderLimit {
public:
    FilmUnderLimit(const EngineRequest& request, const ProgressCallback& progress, std::int64_t bytes)
        : request_{request}, progress_{progress}, bytes_{bytes}
    {
    }

    std::filesystem::path make()
    {
        measure();
        FilmRates rates = firstRates();
        std::filesystem::path best;
        for (int attempt = 0; attempt < mostAttempts && rates.picture >= leastRate; ++attempt) {
            const std::filesystem::path file = fileOf(attempt);
            const std::int64_t size = MediaJob{request_, progressOf(attempt), file, rates}.run();
            const bool fits = size <= bytes_;
            if (fits && !best.empty())
                std::filesystem::remove(best);
            if (fits)
                best = file;
            else
                std::filesystem::remove(file);
            if (fits && static_cast<double>(size) >= closeEnough * static_cast<double>(bytes_))
                break;
            rates.picture = corrected(rates, size);
        }
        if (best.empty())
            throw ConversionError::encodingFailed(
                "poids cible impossible avec ces réglages ; réduisez les dimensions ou augmentez la limite"_fr);
        return best;
    }

private:
    std::filesystem::path fileOf(int attempt) const
    {
        return request_.workingDirectory / (std::to_string(attempt) + "." + request_.targetFormat.preferredExtension());
    }

    void measure();
    FilmRates firstRates() const;
    std::int64_t corrected(const FilmRates& rates, std::int64_t size) const;
    ProgressCallback progressOf(int attempt) const;

    const EngineRequest& request_;
    const ProgressCallback& progress_;
    std::int64_t bytes_;
    double seconds_ = 0;
    double framesPerSecond_ = 25;
    int soundTracks_ = 0;
    int width_ = 0;
    int height_ = 0;
};

void FilmUnderLimit::measure()
{
    const MediaInput input = MediaInput::open(request_.input, request_.sourceFormat.id.rawValue);
    const AVStream* film = input.best(AVMEDIA_TYPE_VIDEO);
    seconds_ = secondsOf(input.context().duration, microseconds);
    if (seconds_ <= 0)
        orUnreadable(AVERROR_INVALIDDATA);
    soundTracks_ = static_cast<int>(std::ranges::count_if(input.streams(), [](const AVStream* stream) {
        return stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO && MediaInput::isDecodable(stream);
    }));
    if (!film)
        return;
    width_ = film->codecpar->width;
    height_ = film->codecpar->height;
    const AVRational rate = av_guess_frame_rate(nullptr, const_cast<AVStream*>(film), nullptr);
    if (rate.num > 0 && rate.den > 0)
        framesPerSecond_ = av_q2d(rate);
}

FilmRates FilmUnderLimit::firstRates() const
{
    const double all = static_cast<double>(bytes_) * 8 * (1 - containersShare) / seconds_;
    FilmRates rates;
    rates.sound = soundTracks_ == 0
                      ? 0
                      : std::clamp<std::int64_t>(static_cast<std::int64_t>(all / 8 / soundTracks_), 32'000, 128'000);
    rates.picture = static_cast<std::int64_t>(all) - rates.sound * soundTracks_;
    const double pixels = static_cast<double>(rates.picture) / framesPerSecond_ / bitsPerPixel;
    const std::int64_t shorter = std::min(width_, height_);
    rates.pixels = shorter;
    for (const std::int64_t step : {1'080, 720, 480})
        if (step<rates.pixels&& static_cast<double>(rates.pixels) * static_cast<double>(rates.pixels) *
                 std::max(width_, height_) / std::max<double>(1, static_cast<double>(shorter))>
                pixels)
            rates.pixels = step;
    return rates;
}

std::int64_t FilmUnderLimit::corrected(const FilmRates& rates, std::int64_t size) const
{
    const double sound = static_cast<double>(rates.sound * soundTracks_) * seconds_ / 8;
    const double wanted = std::max(1.0, static_cast<double>(bytes_) * (1 - containersShare) - sound);
    const double got = std::max(1.0, static_cast<double>(size) - sound);
    return static_cast<std::int64_t>(static_cast<double>(rates.picture) * std::clamp(wanted / got, 0.1, 1.5));
}

/// The first attempt mostly is the last but one.
ProgressCallback FilmUnderLimit::progressOf(int attempt) const
{
    return [this, attempt](std::optional<double> fraction) {
        const double done = 1 - std::pow(0.5, attempt);
        progress_(fraction ? std::optional{done + *fraction * std::pow(0.5, attempt + 1)} : std::nullopt);
    };
}

} // namespace

std::vector<std::filesystem::path> convertMedia(const EngineRequest& request, const ProgressCallback& progress)
{
    const std::filesystem::path result = request.outputLocation();
    const auto limit = OutputBudget::isOffered(request.targetFormat.id) ? request.options.maxFileBytes : std::nullopt;
    const bool isShrunk = request.sourceFormat.id == request.targetFormat.id;
    if (!limit || !isShrunk) {
        const std::int64_t size = MediaJob{request, progress, result}.run();
        const auto most = isShrunk ? static_cast<std::int64_t>(std::filesystem::file_size(request.input)) : limit;
        if (!most || size <= *most)
            return {result};
        std::filesystem::remove(result);
    }
    if (limit)
        std::filesystem::rename(FilmUnderLimit{request, progress, *limit}.make(), result);
    else // encoding it anew made it no smaller
        std::filesystem::copy_file(request.input, result);
    return {result};
}

} // namespace nivex::media
