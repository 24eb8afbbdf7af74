#pragma once

#include "NivexKit/Contract/ConversionEngine.hpp"
#include "NivexKit/Detection/DetectionResult.hpp"
#include "NivexKit/Foundation/Text/Json.hpp"
#include "NivexKit/Planning/ConversionPlan.hpp"

#include <filesystem>
#include <span>
#include <string>
#include <string_view>

namespace nivex::commandline {

// The objects that --json prints. Their member names are a contract: members may be added, none renamed.

/// Sets a path as a text; where its bytes are not UTF-8 they stand beside it in base64, under the name with "Bytes".
void setPath(JsonObject& object, std::string_view name, const std::filesystem::path& path);

JsonObject identifyLine(const DetectionResult& detection);
JsonObject plansLine(const DetectionResult& detection, std::span<const ConversionPlan> plans);
JsonObject formatLine(const FileFormat& format, bool readable, bool writable);
JsonObject engineLine(const ConversionEngine& engine);

/// What became of one file.
struct FinishedFile {
    std::filesystem::path source;
    std::optional<FormatID> sourceFormat;
    std::int64_t sourceBytes = 0;
    FormatID target;
    std::string_view state; // "succeeded", "failed" or "cancelled"; "planned" where nothing was to be done
    std::vector<std::filesystem::path> outputs;
    std::int64_t totalBytes = 0;
    std::optional<std::string> message; // of a failure
    std::string cause = {};             // of a failure; may be empty
    std::vector<std::string> warnings;
    double seconds = 0;
    const ConversionPlan* plan = nullptr;
};
/// `hasPlan` adds the plan, which is null where there was none.
JsonObject finishedLine(const FinishedFile& file, bool hasPlan = false);

} // namespace nivex::commandline
