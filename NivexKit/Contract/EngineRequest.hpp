#pragma once

#include "NivexKit/Contract/ConversionOptions.hpp"
#include "NivexKit/Formats/FileFormat.hpp"
#include "NivexKit/Foundation/ResourceLimits.hpp"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace nivex {

/// What an engine is given for one step.
struct EngineRequest {
    std::filesystem::path input;
    FileFormat sourceFormat;
    FileFormat targetFormat;
    ConversionOptions options;
    std::filesystem::path workingDirectory; // private to the step; the engine writes only there
    std::string baseName;                   // stem that the outputs carry
    ResourceLimits limits;

    /// Where the single output of a step goes: the base name with the target's preferred extension.
    std::filesystem::path outputLocation() const
    {
        return workingDirectory / (baseName + "." + targetFormat.preferredExtension());
    }
};

/// Receives a fraction 0…1, or nothing while the amount of work is unknown. Any thread may call it.
using ProgressCallback = std::function<void(std::optional<double>)>;

} // namespace nivex
