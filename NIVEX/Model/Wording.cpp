#include "NIVEX/Model/Wording.hpp"

#include "NivexKit/Formats/FormatRegistry.hpp"

#include <cmath>

namespace nivex {
namespace {

/// Before this share is done, or this time has passed, nobody can tell what is left.
constexpr double leastShare = 0.01;
constexpr std::chrono::seconds leastTime{2};

std::string twoDigits(std::int64_t number) { return (number < 10 ? "0" : "") + std::to_string(number); }

/// The formats between the first and the last.
std::string namesBetween(const ConversionPlan& plan)
{
    std::vector<std::string> names;
    for (const FormatID& id : plan.intermediateFormats()) {
        const FileFormat* format = FormatRegistry::standard().format(id);
        names.push_back(format ? format->name : id.rawValue);
    }
    return joined(names, ", ");
}

} // namespace

std::string joined(const std::vector<std::string>& parts, std::string_view separator)
{
    std::string text;
    for (const std::string& part : parts)
        text.append(text.empty() ? std::string_view{} : separator).append(part);
    return text;
}

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

std::string describeRoute(const ConversionPlan& plan)
{
    return plan.isDirect() ? filled("{}, directement"_fr, {plan.target.longName})
                           : filled("{}, en passant par {}"_fr, {plan.target.longName, namesBetween(plan)});
}

std::string describeWay(const ConversionPlan& plan)
{
    return plan.isDirect() ? "Directement"_fr.localized() : filled("En passant par {}"_fr, {namesBetween(plan)});
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

std::string shownTimeLeft(double share, std::chrono::steady_clock::duration elapsed)
{
    if (share < leastShare || elapsed < leastTime)
        return {};
    const std::chrono::duration<double> left{std::chrono::duration<double>{elapsed}.count() * (1 - share) / share};
    return filled("reste {}"_fr, {shownTime(std::chrono::round<std::chrono::seconds>(left))});
}

} // namespace nivex
