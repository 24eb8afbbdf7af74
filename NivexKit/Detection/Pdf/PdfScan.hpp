#pragma once

#include "NivexKit/Detection/HeaderBytes.hpp"

#include <cstdint>
#include <optional>

namespace nivex {

/// What a bounded look at a PDF file tells; absent fields cannot be told from it.
struct PdfFacts {
    std::optional<std::int64_t> pageCount;
    std::optional<bool> needsPassword; // encrypted, and not readable with the empty password

    bool operator==(const PdfFacts&) const = default;
};

/// Reads the trailer, the catalogue and the root of the page tree. Never throws.
PdfFacts scanPdf(HeaderBytes& file);

} // namespace nivex
