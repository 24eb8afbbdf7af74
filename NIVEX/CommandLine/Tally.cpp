#include "NIVEX/CommandLine/Tally.hpp"

#include "NIVEX/Model/Wording.hpp"

#include "NivexKit/Foundation/Text/ByteCount.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <vector>

namespace nivex::commandline {
namespace {

constexpr Counted convertedInto{"{} fichier converti en"_fr, "{} fichiers convertis en"_fr};
constexpr Counted lightened{"{} fichier traité"_fr, "{} fichiers traités"_fr};
constexpr Counted failures{"{} en échec"_fr, "{} en échec"_fr};
constexpr Counted cancellations{"{} annulé"_fr, "{} annulés"_fr};
constexpr Counted skipped{"{} déjà là"_fr, "{} déjà là"_fr};

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

} // namespace nivex::commandline
