#pragma once

#include "NivexKit/Formats/FormatFamily.hpp"
#include "NivexKit/Formats/FormatID.hpp"
#include "NivexKit/Formats/FormatTraits.hpp"

#include <string>
#include <vector>

namespace nivex {

/// One record of the format catalogue.
struct FileFormat {
    FormatID id;
    std::string name;     // short label: "PNG"
    std::string longName; // display name: "Portable Network Graphics"
    FormatFamily family{};
    std::vector<FormatFamily> otherFamilies;
    std::vector<std::string> extensions;      // lower case, without the dot, the preferred one first
    std::vector<std::string> typeIdentifiers; // uniform type identifiers
    FormatTraits traits;

    /// The first extension; the identifier when there is none.
    const std::string& preferredExtension() const { return extensions.empty() ? id.rawValue : extensions.front(); }

    bool belongs(FormatFamily to) const;
    bool has(FormatTrait trait) const { return traits.has(trait); }

    bool operator==(const FileFormat&) const = default;
};

} // namespace nivex
