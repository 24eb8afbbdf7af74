#pragma once

#include "NivexKit/Formats/SourceProperties.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Planning/ConversionPlan.hpp"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace nivex {

/// The wording for one or for several.
struct Counted {
    Text one;
    Text several;

    std::string of(std::size_t count) const { return filled(count == 1 ? one : several, {std::to_string(count)}); }
};

std::string joined(const std::vector<std::string>& parts, std::string_view separator);

/// What was measured of a file, as far as a person asks for it ("4032 × 3024 px", "transparence").
std::vector<std::string> measurements(const SourceProperties& properties);

/// "WebVTT, directement" or "… en passant par PNG".
std::string describeRoute(const ConversionPlan& plan);
/// The same where the target is named already: "Directement" or "En passant par PNG".
std::string describeWay(const ConversionPlan& plan);

/// "−65 %", "+12 %"; empty where there was nothing before.
std::string shownChange(std::int64_t bytesBefore, std::int64_t bytesAfter);

/// "0,4 s", "42 s", "3 min 05 s", "2 h 07 min".
std::string shownTime(std::chrono::steady_clock::duration time);

/// "reste 42 s", once so much is done, in so much time, that it means something; empty before.
std::string shownTimeLeft(double share, std::chrono::steady_clock::duration elapsed);

} // namespace nivex
