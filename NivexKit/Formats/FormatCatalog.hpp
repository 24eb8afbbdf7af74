#pragma once

#include "NivexKit/Formats/FileFormat.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <cstddef>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace nivex {

/// One format as the catalogue writes it down. Lists are words with one space between them.
struct FormatRow {
    std::string_view id;
    std::string_view name;
    Text longName{};               // left out: the same as `name`
    std::string_view extensions{}; // left out: the identifier
    std::string_view typeIdentifiers{};
    FormatTraits traits{};
    std::optional<FormatFamily> alsoIn{}; // a further family that lists it

    /// The record; its family is that of the list that holds the row.
    FileFormat format(FormatFamily family) const;
};

/// True when no two rows share an identifier.
constexpr bool everyIdOnce(std::span<const FormatRow> rows)
{
    for (std::size_t i = 0; i < rows.size(); ++i)
        for (std::size_t j = 0; j < i; ++j)
            if (rows[i].id == rows[j].id)
                return false;
    return true;
}

/// The 203 formats that exist for the system, one list per family. Their order decides look-ups: the first format of
/// an extension is the one that the extension declares.
struct FormatCatalog {
    static const std::span<const FormatRow> images, graphics, documents, spreadsheets, presentations, audio, video,
        threeD, archives, fonts, publications, subtitles, geo, scientific, communication, code, system, projects;

    /// The list of one family.
    static std::span<const FormatRow> rows(FormatFamily family);

    /// All lists, one after the other, as records. Built on first use.
    static const std::vector<FileFormat>& all();
};

} // namespace nivex
