#include "NIVEX/CommandLine/Descriptions.hpp"

#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Foundation/Text/ByteCount.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <vector>

namespace nivex::commandline {
namespace {

std::string joined(const std::vector<std::string>& parts, std::string_view separator)
{
    std::string text;
    for (const std::string& part : parts)
        text.append(text.empty() ? std::string_view{} : separator).append(part);
    return text;
}

/// What was measured, as far as a person asks for it.
std::vector<std::string> measurements(const SourceProperties& properties)
{
    std::vector<std::string> parts;
    if (properties.pixelWidth && properties.pixelHeight)
        parts.push_back(
            filled("{} × {} px"_fr, {std::to_string(*properties.pixelWidth), std::to_string(*properties.pixelHeight)}));
    if (properties.isHighBitDepth() && properties.bitsPerComponent)
        parts.push_back(filled("{} bits"_fr, {std::to_string(*properties.bitsPerComponent)}));
    if (properties.hasAlpha.value_or(false))
        parts.push_back("transparence"_fr);
    if (properties.hasSeveralImages())
        parts.push_back(filled("{} images"_fr, {std::to_string(*properties.imageCount)}));
    if (properties.hasSeveralPages())
        parts.push_back(filled("{} pages"_fr, {std::to_string(*properties.pageCount)}));
    if (properties.hasLocation.value_or(false))
        parts.push_back("localisation"_fr);
    return parts;
}

} // namespace

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

std::string describeRoute(const ConversionPlan& plan)
{
    if (plan.isDirect())
        return filled("{}, directement"_fr, {plan.target.longName});
    std::vector<std::string> names;
    for (const FormatID& id : plan.intermediateFormats()) {
        const FileFormat* format = FormatRegistry::standard().format(id);
        names.push_back(format ? format->name : id.rawValue);
    }
    return filled("{}, en passant par {}"_fr, {plan.target.longName, joined(names, ", ")});
}

} // namespace nivex::commandline
