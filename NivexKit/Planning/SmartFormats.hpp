#pragma once

#include "NivexKit/Formats/SourceProperties.hpp"
#include "NivexKit/Planning/ConversionPlan.hpp"

#include <span>
#include <vector>

namespace nivex {

/// The order in which targets are proposed: the likeliest first.
struct SmartFormats {
    /// The targets that a file like this is most often wanted in; none for most kinds of files.
    static std::vector<FormatID> preferredOrder(const FileFormat& source, const SourceProperties& properties);

    /// Common targets, whatever the source.
    static std::span<const FormatID> popularity();

    /// The plans in proposal order: preferred targets first; then those without a major loss, the popular before the
    /// rare, the shorter route before the longer. What is equal is ordered by the target's name, then its identifier.
    static std::vector<ConversionPlan> rank(std::vector<ConversionPlan> plans, const FileFormat& source,
                                            const SourceProperties& properties);
};

} // namespace nivex
