#pragma once

#include "NivexKit/Contract/ConversionOptions.hpp"
#include "NivexKit/Contract/ConversionWarnings.hpp"
#include "NivexKit/Formats/FileFormat.hpp"
#include "NivexKit/Formats/FormatID.hpp"
#include "NivexKit/Formats/SourceProperties.hpp"
#include "NivexKit/Foundation/ResourceLimits.hpp"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace nivex {

/// A file that a joining step takes after its first.
struct FurtherInput {
    std::filesystem::path location;
    FormatID format;
    SourceProperties properties; // as far as they were measured

    bool operator==(const FurtherInput&) const = default;
};

/// What an engine is given for one step.
struct EngineRequest {
    std::filesystem::path input;
    FileFormat sourceFormat;
    FileFormat targetFormat;
    ConversionOptions options;
    std::filesystem::path workingDirectory; // private to the step; the engine writes only there
    std::string baseName;                   // stem that the outputs carry
    ResourceLimits limits;
    SourceProperties properties; // of the input, as far as they were measured; no engine need measure again
    std::shared_ptr<ConversionWarnings> warnings; // where the engine's go; none where nobody wants to know
    std::vector<FurtherInput> furtherInputs;      // of a step that joins files: those after the first, in order
    /// The files that the input refers to and that were found, as paths from its folder. A worker can open these and
    /// nothing else of that folder.
    std::vector<std::filesystem::path> companions;

    /// Tells the person, in one sentence, what was left out or read otherwise than it may have been meant. The work
    /// goes on; what makes it worthless is thrown.
    void warn(std::string warning) const
    {
        if (warnings)
            warnings->add(std::move(warning));
    }

    /// The companion that the input calls by this name, a path from its folder; none where there is no such companion.
    /// Where none is called so to the letter, one that differs in the case of letters is meant: many programs that
    /// write such files do not tell them apart.
    std::optional<std::filesystem::path> companion(const std::filesystem::path& name) const;

    /// Where the single output of a step goes: the base name with the target's preferred extension.
    std::filesystem::path outputLocation() const
    {
        return workingDirectory / (baseName + "." + targetFormat.preferredExtension());
    }

    /// Where one of several outputs goes: "name-07.png" for the 7th of 24, so that names sort as pages do.
    std::filesystem::path outputLocation(std::int64_t number, std::int64_t count) const
    {
        std::string digits = std::to_string(number);
        digits.insert(0, std::to_string(count).size() - std::min(std::to_string(count).size(), digits.size()), '0');
        return workingDirectory / (baseName + "-" + digits + "." + targetFormat.preferredExtension());
    }
};

/// Receives a fraction 0…1, or nothing while the amount of work is unknown. Any thread may call it.
using ProgressCallback = std::function<void(std::optional<double>)>;

} // namespace nivex
