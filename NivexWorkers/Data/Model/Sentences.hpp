#pragma once

#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <string>

/// Remarks that several writers make on what their format has no place for.
namespace nivex::data::sentences {

inline std::string nullMembers()
{
    return "les valeurs vides (null) n'existent pas dans ce format et ont été laissées de côté"_fr;
}
inline std::string nullElements()
{
    return "dans les listes, les valeurs vides (null) sont devenues des textes vides"_fr;
}
inline std::string numbersAsTexts()
{
    return "des nombres qui dépassent les types du format ont été gardés comme textes"_fr;
}
inline std::string replacedCharacters()
{
    return "des caractères que le format ne peut pas contenir ont été remplacés"_fr;
}
inline std::string lastOfSameName()
{
    return "des valeurs de même nom se remplaçaient l'une l'autre : la dernière est gardée"_fr;
}

} // namespace nivex::data::sentences
