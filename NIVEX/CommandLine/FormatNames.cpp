#include "NIVEX/CommandLine/FormatNames.hpp"

#include "NIVEX/CommandLine/Suggestion.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <vector>

namespace nivex::commandline {

const FileFormat* formatNamed(const FormatRegistry& registry, std::string_view word)
{
    std::string name = lowercased(word);
    if (name.starts_with('.'))
        name.erase(0, 1);
    if (name.empty())
        return nullptr;
    if (const FileFormat* format = registry.format(name))
        return format;
    if (const FileFormat* declared = registry.declared(name))
        return declared;
    const auto sharing = registry.formats(name);
    return sharing.empty() ? nullptr : sharing.front();
}

std::vector<std::string> formatIdentifiers(const FormatRegistry& registry)
{
    std::vector<std::string> identifiers;
    for (const FileFormat& format : registry.formats())
        identifiers.push_back(format.id.rawValue);
    return identifiers;
}

std::string unknownFormat(const FormatRegistry& registry, const std::string& word)
{
    std::vector<std::string> names;
    for (const FileFormat& format : registry.formats()) {
        names.push_back(format.id.rawValue);
        names.insert(names.end(), format.extensions.begin(), format.extensions.end());
    }
    return filled("format inconnu : « {} »."_fr, {validUtf8(word)}) + suggestion(lowercased(word), names);
}

} // namespace nivex::commandline
