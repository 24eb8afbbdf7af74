#include "NivexKit/Formats/FormatRegistry.hpp"

#include "NivexKit/Formats/FormatCatalog.hpp"
#include "NivexKit/Formats/UniformType.hpp"
#include "NivexKit/Foundation/Text/Ascii.hpp"

#include <algorithm>

namespace nivex {

FormatRegistry::FormatRegistry(std::vector<FileFormat> formats) : formats_{std::move(formats)}
{
    for (const FileFormat& format : formats_) {
        byId_.emplace(format.id.rawValue, &format);
        for (const std::string& extension : format.extensions)
            byExtension_[extension].push_back(&format);
        // Should two formats declare one type, the earlier row keeps it, as it does for an extension.
        for (const std::string& identifier : format.typeIdentifiers)
            byTypeIdentifier_.emplace(identifier, &format);
    }
}

const FormatRegistry& FormatRegistry::standard()
{
    static const FormatRegistry& registry = *new FormatRegistry{FormatCatalog::all()}; // until the program ends
    return registry;
}

const FileFormat* FormatRegistry::format(const FormatID& id) const
{
    const auto found = byId_.find(id.rawValue);
    return found == byId_.end() ? nullptr : found->second;
}

std::vector<const FileFormat*> FormatRegistry::formats(std::string_view forExtension) const
{
    // Extensions of the catalogue are ASCII, so no other letters need folding.
    const auto found = byExtension_.find(asciiLowercased(forExtension));
    return found == byExtension_.end() ? std::vector<const FileFormat*>{} : found->second;
}

const FileFormat* FormatRegistry::declared(std::string_view forExtension) const
{
    for (const FileFormat* format : formats(forExtension))
        if (!format->has(FormatTrait::contentDetectedOnly))
            return format;
    return nullptr;
}

const FileFormat* FormatRegistry::formatForTypeIdentifier(std::string_view identifier) const
{
    if (const auto found = byTypeIdentifier_.find(identifier); found != byTypeIdentifier_.end())
        return found->second;
    const auto isParent = [identifier](const std::string& type) { return UniformType::conforms(identifier, type); };
    for (const FileFormat& format : formats_)
        if (std::ranges::any_of(format.typeIdentifiers, isParent))
            return &format;
    return nullptr;
}

std::vector<const FileFormat*> FormatRegistry::formats(FormatFamily in) const
{
    std::vector<const FileFormat*> members;
    for (const FileFormat& format : formats_)
        if (format.belongs(in))
            members.push_back(&format);
    return members;
}

std::vector<FileFormat> FormatRegistry::known(std::initializer_list<std::string_view> ids) const
{
    std::vector<FileFormat> formats;
    for (const std::string_view id : ids)
        if (const FileFormat* found = format(id))
            formats.push_back(*found);
    return formats;
}

} // namespace nivex
