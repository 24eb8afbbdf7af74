#include "NIVEX/CommandLine/Tally.hpp"

#include "NivexKit/Foundation/Text/ByteCount.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <cmath>
#include <vector>

namespace nivex::commandline {
namespace {

/// The wording for one or for several.
struct Counted {
    Text one;
    Text several;

    std::string of(std::size_t count) const { return filled(count == 1 ? one : several, {std::to_string(count)}); }
};

constexpr Counted convertedInto{"{} fichier converti en"_fr, "{} fichiers convertis en"_fr};
constexpr Counted lightened{"{} fichier traité"_fr, "{} fichiers traités"_fr};
constexpr Counted failures{"{} en échec"_fr, "{} en échec"_fr};
constexpr Counted cancellations{"{} annulé"_fr, "{} annulés"_fr};
constexpr Counted skipped{"{} déjà là"_fr, "{} déjà là"_fr};

std::string twoDigits(std::int64_t number) { return (number < 10 ? "0" : "") + std::to_string(number); }

} // namespace

std::size_t Tally::convertedFiles() const
{
    std::size_t count = 0;
    for (const auto& [target, files] : converted)
        count += files;
    return count;
}

std::string Tally::line() const
{
    std::vector<std::string> parts;
    const std::size_t done = convertedFiles();
    if (done == 0)
        parts.push_back("aucun fichier converti"_fr);
    else if (areLighter)
        parts.push_back(lightened.of(done));
    else
        for (const auto& [target, files] : converted)
            parts.push_back(convertedInto.of(files) + " " + target);
    if (done > 0) {
        const std::string change = shownChange(bytesBefore, bytesAfter);
        parts.push_back(shownByteCount(bytesBefore) + " → " + shownByteCount(bytesAfter) +
                        (change.empty() ? "" : " (" + change + ")"));
    }
    const auto add = [&](const Counted& wording, std::size_t count) {
        if (count > 0)
            parts.push_back(wording.of(count));
    };
    add(failures, failed);
    add(cancellations, cancelled);
    add(skipped, thereBefore);
    parts.push_back(shownTime(time));
    std::string line;
    for (const std::string& part : parts)
        line.append(line.empty() ? "" : " · ").append(part);
    return line;
}

std::string shownChange(std::int64_t bytesBefore, std::int64_t bytesAfter)
{
    if (bytesBefore <= 0)
        return {};
    const double change = static_cast<double>(bytesAfter - bytesBefore) / static_cast<double>(bytesBefore);
    const std::int64_t percent = std::llround(100 * change);
    return (percent < 0 ? "−" : percent > 0 ? "+" : "") + std::to_string(std::abs(percent)) + " %";
}

std::string shownTime(std::chrono::steady_clock::duration time)
{
    using namespace std::chrono;
    const std::int64_t tenths = duration_cast<milliseconds>(time).count() / 100;
    if (tenths < 100)
        return filled("{},{} s"_fr, {std::to_string(tenths / 10), std::to_string(tenths % 10)});
    const std::int64_t seconds = tenths / 10;
    if (seconds < 60)
        return filled("{} s"_fr, {std::to_string(seconds)});
    if (seconds < 3600)
        return filled("{} min {} s"_fr, {std::to_string(seconds / 60), twoDigits(seconds % 60)});
    return filled("{} h {} min"_fr, {std::to_string(seconds / 3600), twoDigits(seconds / 60 % 60)});
}

} // namespace nivex::commandline
