#pragma once

#include "NivexWorkers/Document/Model/Document.hpp"
#include "NivexWorkers/Document/Model/Source.hpp"

#include "NivexKit/Archive/ZipArchive.hpp"

#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>

namespace nivex::document {

/// The parts of a document that is a ZIP archive. Errors of members: unreadableSource for what is damaged,
/// resourceLimit for a part above `mostTextBytes`.
class Package {
public:
    explicit Package(const Source& source) : archive_{source.bytes, source.limits} {}

    bool has(std::string_view name) const { return entry(name) != nullptr; }
    /// The bytes of a part; none where there is none.
    std::optional<std::string> bytes(std::string_view name) const;
    /// A part that is XML; an empty one where there is none. Entities that it declares are not expanded.
    pugi::xml_document xml(std::string_view name) const;
    /// The same of a part without which the text can still be read: an empty one where it is damaged.
    pugi::xml_document xmlIfSound(std::string_view name) const;
    /// The picture in a part; none where there is none.
    std::optional<Image> image(std::string_view name) const;

private:
    const ZipArchive::Entry* entry(std::string_view name) const;

    ZipArchive::Reader archive_;
};

/// Parses XML; what is ill-formed throws unreadableSource with `name` in its cause.
pugi::xml_document parsedXml(std::string_view text, std::string_view name);

/// The path of a part that another one of the folder names: "../media/a.png" from "word/" is "media/a.png".
std::string resolvedPart(std::string_view folder, std::string_view target);
/// The folder of a part with its slash; empty at the top.
std::string_view folderOfPart(std::string_view name);

/// A name without the prefix of its name space.
std::string_view localName(const pugi::xml_node& node);
/// The first child and the attribute of that name, whatever their prefixes.
pugi::xml_node childOf(const pugi::xml_node& node, std::string_view name);
std::string_view attributeOf(const pugi::xml_node& node, std::string_view name);
/// Finds the first node of that name anywhere below.
pugi::xml_node foundBelow(const pugi::xml_node& node, std::string_view name);

/// What a ZIP entry says of its moment: nothing, so that the same document makes the same file.
std::tm firstZipDay();

} // namespace nivex::document
