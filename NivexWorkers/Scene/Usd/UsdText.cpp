#include "NivexWorkers/Scene/Usd/UsdText.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

namespace nivex::scene {

std::string UsdText::quoted(std::string_view text)
{
    std::string quoted = "\"";
    for (const char each : validUtf8(text)) {
        if (each == '"' || each == '\\')
            quoted += '\\';
        quoted += static_cast<unsigned char>(each) < ' ' ? ' ' : each;
    }
    return quoted + "\"";
}

std::string UsdText::identifier(std::string_view name)
{
    std::string identifier;
    for (const char each : name)
        identifier += isAsciiLetter(each) || isAsciiDigit(each) ? each : '_';
    if (identifier.empty() || isAsciiDigit(identifier.front()))
        identifier.insert(identifier.begin(), '_');
    return identifier;
}

} // namespace nivex::scene
