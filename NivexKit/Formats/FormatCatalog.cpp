#include "NivexKit/Formats/FormatCatalog.hpp"

#include "NivexKit/Foundation/Text/Words.hpp"

#include <algorithm>
#include <string>

namespace nivex {
namespace {

std::vector<FileFormat> everyFormat()
{
    std::vector<FileFormat> formats;
    for (const FormatFamily family : allFamilies())
        for (const FormatRow& row : FormatCatalog::rows(family))
            formats.push_back(row.format(family));
    return formats;
}

} // namespace

FileFormat FormatRow::format(FormatFamily family) const
{
    return {
        .id = id,
        .name = std::string{name},
        .longName = longName.french.empty() ? std::string{name} : longName.localized(),
        .family = family,
        .otherFamilies = alsoIn ? std::vector{*alsoIn} : std::vector<FormatFamily>{},
        .extensions = wordsAs<std::string>(extensions.empty() ? id : extensions),
        .typeIdentifiers = wordsAs<std::string>(typeIdentifiers),
        .traits = traits,
    };
}

std::span<const FormatRow> FormatCatalog::rows(FormatFamily family)
{
    switch (family) {
    case FormatFamily::image:
        return images;
    case FormatFamily::graphics:
        return graphics;
    case FormatFamily::document:
        return documents;
    case FormatFamily::spreadsheet:
        return spreadsheets;
    case FormatFamily::presentation:
        return presentations;
    case FormatFamily::audio:
        return audio;
    case FormatFamily::video:
        return video;
    case FormatFamily::threeD:
        return threeD;
    case FormatFamily::archive:
        return archives;
    case FormatFamily::font:
        return fonts;
    case FormatFamily::publication:
        return publications;
    case FormatFamily::subtitle:
        return subtitles;
    case FormatFamily::geo:
        return geo;
    case FormatFamily::scientific:
        return scientific;
    case FormatFamily::communication:
        return communication;
    case FormatFamily::code:
        return code;
    case FormatFamily::system:
        return system;
    case FormatFamily::project:
        return projects;
    }
    return {};
}

const std::vector<FileFormat>& FormatCatalog::all()
{
    static const auto& formats = *new std::vector<FileFormat>{everyFormat()}; // until the program ends
    return formats;
}

} // namespace nivex
