#include "NIVEX/CommandLine/Descriptions.hpp"

#include "NivexKit/Foundation/Text/ByteCount.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <vector>

namespace nivex::commandline {

std::string describe(const DetectionResult& detection)
{
    if (!detection.format)
        return "format inconnu"_fr;
    std::vector<std::string> parts{detection.format->name};
    if (detection.format->longName != detection.format->name)
        parts.push_back(detection.format->longName);
    parts.push_back(label(detection.confidence));
    parts.push_back(shownByteCount(detection.fileSize));
    for (std::string& each : measurements(detection.properties))
        parts.push_back(std::move(each));
    return joined(parts, ", ");
}

Line describe(const DetectionIssue& issue, bool verbose)
{
    return issue.message() + describeCause(verbose ? issue.cause() : std::string{});
}

Line describeCause(const std::string& cause)
{
    return cause.empty() ? Line{""} : Line{Meaning::aside, " [" + cause + "]"};
}

} // namespace nivex::commandline
