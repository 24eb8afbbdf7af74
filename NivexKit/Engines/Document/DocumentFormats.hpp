#pragma once

#include <span>
#include <string_view>

namespace nivex {

/// One format of the document engine. The declaration derives edges and losses from it, and the work is held to it.
struct DocumentFormat {
    /// What a format can hold of a document, each level what the one before it holds too.
    enum class Holds { words, structure, everything };

    std::string_view id;
    bool isRead = true;
    bool isWritten = true;
    Holds holds = Holds::everything;
};

/// Every format of the engine, in the order of the catalogue.
std::span<const DocumentFormat> documentFormats();

/// The row of a format, or null.
const DocumentFormat* documentFormat(std::string_view id);

} // namespace nivex
