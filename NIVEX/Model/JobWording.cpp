#include "NIVEX/Model/JobWording.hpp"

#include "NIVEX/Model/Wording.hpp"

#include "NivexKit/Foundation/Text/ByteCount.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <cmath>

namespace nivex {
namespace {

constexpr Counted files{"{} fichier"_fr, "{} fichiers"_fr};
constexpr Counted converted{"{} converti"_fr, "{} convertis"_fr};
constexpr Counted failures{"{} en échec"_fr, "{} en échec"_fr};
constexpr Counted cancellations{"{} annulé"_fr, "{} annulés"_fr};
constexpr Counted filesConverted{"{} fichier converti"_fr, "{} fichiers convertis"_fr};

void addCount(std::vector<std::string>& parts, const Counted& wording, std::size_t count)
{
    if (count > 0)
        parts.push_back(wording.of(count));
}

struct StateWording {
    std::string operator()(const ConversionJob::Waiting&) const { return "En attente"_fr; }
    std::string operator()(const ConversionJob::Running& running) const
    {
        const std::string working = "Conversion…"_fr;
        if (!running.fraction)
            return working;
        const auto percent = static_cast<int>(std::clamp(*running.fraction, 0.0, 1.0) * 100);
        return working + " " + filled("{} %"_fr, {std::to_string(percent)});
    }
    std::string operator()(const ConversionJob::Succeeded& succeeded) const
    {
        const std::string change = shownChange(sourceBytes, succeeded.outcome.totalBytes);
        std::vector<std::string> parts{"Terminé"_fr, shownByteCount(succeeded.outcome.totalBytes)};
        if (succeeded.outcome.outputs.size() > 1)
            parts.push_back(files.of(succeeded.outcome.outputs.size()));
        if (!change.empty())
            parts.push_back(change);
        return joined(parts, " · ");
    }
    std::string operator()(const ConversionJob::Failed& failed) const { return failed.message; }
    std::string operator()(const ConversionJob::Cancelled&) const { return "Annulé"_fr; }

    std::int64_t sourceBytes;
};

} // namespace

std::string batchTitle(const std::vector<const ConversionJob*>& jobs)
{
    if (jobs.empty())
        return {};
    const ConversionJob& first = *jobs.front();
    const std::size_t sources = jobs.size() == 1 ? 1 + first.others.size() : jobs.size();
    return (sources == 1 ? shownPath(first.source.fileName()) : files.of(sources)) + " → " + first.plan.target.name;
}

std::string describeState(const ConversionJob& job)
{
    std::int64_t sourceBytes = job.source.fileSize;
    for (const JoinedSource& other : job.others)
        sourceBytes += other.source.fileSize;
    return std::visit(StateWording{sourceBytes}, job.state);
}

std::optional<double> fractionOf(const ConversionJob& job)
{
    if (const auto* running = std::get_if<ConversionJob::Running>(&job.state))
        return running->fraction;
    return job.isFinished() ? 1.0 : 0.0;
}

std::string describeBatch(const BatchProgress& progress, ConversionJob::Time startedAt, ConversionJob::Time now)
{
    std::vector<std::string> parts;
    if (!progress.isFinished()) {
        parts.push_back(filled("{} sur {}"_fr, {std::to_string(progress.finished), std::to_string(progress.total)}));
        const std::string left =
            shownTimeLeft(progress.fraction.value_or(0),
                          std::chrono::duration_cast<std::chrono::steady_clock::duration>(now - startedAt));
        if (!left.empty())
            parts.push_back(left);
    }
    if (progress.isFinished())
        addCount(parts, converted, progress.succeeded);
    addCount(parts, failures, progress.failed);
    addCount(parts, cancellations, progress.cancelled);
    return joined(parts, " · ");
}

std::string batchSummary(const BatchProgress& progress)
{
    std::vector<std::string> parts;
    addCount(parts, filesConverted, progress.succeeded);
    addCount(parts, failures, progress.failed);
    addCount(parts, cancellations, progress.cancelled);
    return joined(parts, ", ");
}

bool matches(const HistoryEntry& entry, std::string_view text)
{
    const std::string all = entry.sourcePath + "\n" + entry.sourceFormat.rawValue + "\n" + entry.targetFormat.rawValue +
                            "\n" + joined(entry.outputPaths, "\n");
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find(' ', begin), text.size());
        if (!containsIgnoringCase(all, text.substr(begin, end - begin)))
            return false;
        begin = end + 1;
    }
    return true;
}

} // namespace nivex
