#pragma once

#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Workers/WorkerEngine.hpp"

namespace nivex {

/// Takes the text out of pages.
class TextRecognitionEngine final : public WorkerEngine {
public:
    TextRecognitionEngine(const FormatRegistry& registry, std::shared_ptr<WorkerPool> pool);

    ConversionLoss expectedLosses(const FileFormat& source, const SourceProperties& properties,
                                  const FileFormat& target, const ConversionOptions& options) const override;
};

} // namespace nivex
