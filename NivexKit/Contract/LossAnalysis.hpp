#pragma once

#include "NivexKit/Contract/ConversionLoss.hpp"
#include "NivexKit/Formats/FileFormat.hpp"
#include "NivexKit/Formats/SourceProperties.hpp"

namespace nivex {

/// What losses weigh, which ones no conversion can avoid, and what is left of a file after a step.
struct LossAnalysis {
    /// 5.0 for each major loss and 0.5 for each other one.
    static double cost(ConversionLoss losses);

    /// What even a direct conversion of this file into `target` must lose.
    static ConversionLoss inherent(const FileFormat& source, const SourceProperties& properties,
                                   const FileFormat& target);

    /// The properties of the file after it has become `to`.
    static SourceProperties propagate(SourceProperties properties, const FileFormat& from, const FileFormat& to);
};

} // namespace nivex
