#pragma once

#include <span>
#include <string_view>

namespace nivex {

/// One format of the data engine. The declaration derives edges and losses from it, and the work is held to it.
struct DataFormat {
    std::string_view id;
    bool isRead = true;
    bool isWritten = true;
    bool isTabular = false;  // rows of values; otherwise values that hold others
    bool isWorkbook = false; // several sheets, with formulas and looks of which only the values are read
    bool hasTypes = true;    // numbers differ from texts of digits
};

/// Every format of the engine, in the order of the catalogue.
std::span<const DataFormat> dataFormats();

/// The row of a format, or null.
const DataFormat* dataFormat(std::string_view id);

} // namespace nivex
