#pragma once

#include <cstddef>
#include <string_view>

namespace nivex::data {

/// How a table of delimited text is written.
struct CsvDialect {
    static constexpr char noQuote = '\0';

    char separator = ',';
    char quote = '"';              // around values that hold separators or line breaks, doubled inside; or noQuote
    std::size_t prologueBytes = 0; // a first line that only names the separator ("sep=;")
    bool hasDecimalComma = false;

    bool operator==(const CsvDialect&) const = default;
};

/// Finds the dialect from the beginning of a table, by which separator makes its rows alike.
///
/// sample          whole lines, save perhaps the last
/// isTabSeparated  what the format says: the dialect of a table of one column, and a preference
CsvDialect dialectOf(std::string_view sample, bool isTabSeparated);

} // namespace nivex::data
