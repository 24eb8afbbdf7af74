#include "NivexWorkers/Document/Package/Package.hpp"

#include "NivexWorkers/Document/Model/Images.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"

#include <algorithm>
#include <vector>

namespace nivex::document {

const ZipArchive::Entry* Package::entry(std::string_view name) const
{
    if (const ZipArchive::Entry* found = archive_.entry(name))
        return found;
    const auto found = std::ranges::find_if(archive_.entries(), [name](const ZipArchive::Entry& each) {
        return equalsIgnoringCase(each.storedName, name);
    });
    return found == archive_.entries().end() ? nullptr : &*found;
}

std::optional<std::string> Package::bytes(std::string_view name) const
{
    const ZipArchive::Entry* found = entry(name);
    if (!found)
        return std::nullopt;
    if (found->uncompressedSize > mostTextBytes)
        throw tooLongDocument();
    const std::vector<std::byte> contents = archive_.contents(*found);
    return std::string{reinterpret_cast<const char*>(contents.data()), contents.size()};
}

pugi::xml_document Package::xml(std::string_view name) const
{
    const std::optional<std::string> text = bytes(name);
    return text ? parsedXml(*text, name) : pugi::xml_document{};
}

pugi::xml_document Package::xmlIfSound(std::string_view name) const
{
    try {
        return xml(name);
    } catch (const ConversionError&) {
        return {};
    }
}

std::optional<Image> Package::image(std::string_view name) const
{
    try {
        std::optional<std::string> contents = bytes(name);
        return contents ? imageOf(std::move(*contents)) : std::nullopt;
    } catch (const ConversionError&) { // the text is worth more
        return std::nullopt;
    }
}

pugi::xml_document parsedXml(std::string_view text, std::string_view name)
{
    pugi::xml_document document;
    const pugi::xml_parse_result result =
        document.load_buffer(text.data(), text.size(), pugi::parse_default | pugi::parse_ws_pcdata);
    if (!result)
        throw damagedDocument(std::string{name} + ": " + result.description());
    return document;
}

std::string resolvedPart(std::string_view folder, std::string_view target)
{
    std::vector<std::string_view> names;
    const auto walk = [&](std::string_view path) {
        while (!path.empty()) {
            const std::string_view name = path.substr(0, path.find('/'));
            path.remove_prefix(std::min(path.size(), name.size() + 1));
            if (name == ".." && !names.empty())
                names.pop_back();
            else if (!name.empty() && name != "." && name != "..")
                names.push_back(name);
        }
    };
    if (!target.starts_with('/'))
        walk(folder);
    walk(target);
    std::string path;
    for (const std::string_view name : names)
        path.append(path.empty() ? "" : "/").append(name);
    return path;
}

std::string_view folderOfPart(std::string_view name)
{
    const std::size_t slash = name.rfind('/');
    return slash == name.npos ? std::string_view{} : name.substr(0, slash + 1);
}

std::string_view localName(const pugi::xml_node& node)
{
    const std::string_view name = node.name();
    const std::size_t colon = name.find(':');
    return colon == name.npos ? name : name.substr(colon + 1);
}

pugi::xml_node childOf(const pugi::xml_node& node, std::string_view name)
{
    for (const pugi::xml_node child : node)
        if (localName(child) == name)
            return child;
    return {};
}

std::string_view attributeOf(const pugi::xml_node& node, std::string_view name)
{
    for (const pugi::xml_attribute attribute : node.attributes()) {
        const std::string_view full = attribute.name();
        const std::size_t colon = full.find(':');
        if ((colon == full.npos ? full : full.substr(colon + 1)) == name)
            return attribute.value();
    }
    return {};
}

pugi::xml_node foundBelow(const pugi::xml_node& node, std::string_view name)
{
    return node.find_node([name](const pugi::xml_node& each) { return localName(each) == name; });
}

std::tm firstZipDay()
{
    std::tm day = {};
    day.tm_year = 80;
    day.tm_mday = 1;
    return day;
}

} // namespace nivex::document
