#pragma once

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// The sentences that several readers and writers share.
namespace nivex::data {

/// format  as a person calls it, for example "JSON"
/// line    counted from 1
inline ConversionError invalidAtLine(std::string_view format, std::uint64_t line)
{
    return ConversionError::unreadableSource(filled("{} invalide à la ligne {}"_fr, {format, std::to_string(line)}));
}

inline ConversionError tooDeep(std::size_t levels)
{
    return ConversionError::resourceLimit(
        filled("données imbriquées sur plus de {} niveaux"_fr, {std::to_string(levels)}));
}

inline ConversionError tooManyColumns(std::size_t most)
{
    return ConversionError::resourceLimit(filled("plus de {} colonnes"_fr, {std::to_string(most)}));
}

inline ConversionError nothingToConvert()
{
    return ConversionError::unreadableSource("il ne contient aucune donnée"_fr);
}

inline ConversionError damagedContent() { return ConversionError::unreadableSource("son contenu est endommagé"_fr); }

} // namespace nivex::data
