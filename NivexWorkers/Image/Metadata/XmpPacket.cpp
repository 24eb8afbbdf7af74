#include "NivexWorkers/Image/Metadata/XmpPacket.hpp"

#include "NivexKit/Foundation/Bytes/Digest.hpp"
#include "NivexKit/Foundation/Text/Ascii.hpp"
#include "NivexKit/Foundation/Text/Hexadecimal.hpp"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlsave.h>

#include <algorithm>
#include <array>
#include <limits>
#include <set>
#include <vector>

namespace nivex::image {
namespace {

constexpr std::string_view rdf = "http://www.w3.org/1999/02/22-rdf-syntax-ns#";
constexpr std::string_view tiff = "http://ns.adobe.com/tiff/1.0/";
constexpr std::string_view exif = "http://ns.adobe.com/exif/1.0/";
constexpr std::string_view basic = "http://ns.adobe.com/xap/1.0/";
constexpr std::string_view note = "http://ns.adobe.com/xmp/note/";
constexpr std::string_view geo = "http://www.w3.org/2003/01/geo/wgs84_pos#";

struct Name {
    std::string_view space;
    std::string_view local;

    bool operator==(const Name&) const = default;
};

std::string_view view(const xmlChar* text)
{
    return text ? std::string_view{reinterpret_cast<const char*>(text)} : std::string_view{};
}
const xmlChar* xml(const std::string& text) { return reinterpret_cast<const xmlChar*>(text.c_str()); }

/// Attributes are nodes too as far as their first members go, namespace included.
Name nameOf(const xmlNode* node) { return {node->ns ? view(node->ns->href) : std::string_view{}, view(node->name)}; }

bool isElement(const xmlNode* node, Name name) { return node->type == XML_ELEMENT_NODE && nameOf(node) == name; }

xmlNode* asNode(xmlAttr* attribute) { return reinterpret_cast<xmlNode*>(attribute); }

std::vector<xmlNode*> attributesOf(const xmlNode* element)
{
    std::vector<xmlNode*> attributes;
    for (xmlAttr* each = element->properties; each; each = each->next)
        attributes.push_back(asNode(each));
    return attributes;
}

std::vector<xmlNode*> childElements(const xmlNode* element)
{
    std::vector<xmlNode*> elements;
    for (xmlNode* each = element->children; each; each = each->next)
        if (each->type == XML_ELEMENT_NODE)
            elements.push_back(each);
    return elements;
}

xmlNode* rdfElement(xmlDoc* document)
{
    xmlNode* root = xmlDocGetRootElement(document);
    if (!root || isElement(root, {rdf, "RDF"}))
        return root;
    for (xmlNode* child : childElements(root))
        if (isElement(child, {rdf, "RDF"}))
            return child;
    return nullptr;
}

/// The properties of the picture itself: attributes and elements of the descriptions at the top.
std::vector<xmlNode*> propertiesOf(xmlDoc* document)
{
    std::vector<xmlNode*> properties;
    for (const xmlNode* description : childElements(rdfElement(document))) {
        for (xmlNode* attribute : attributesOf(description))
            if (attribute->ns && nameOf(attribute).space != rdf && nameOf(attribute).space != view(XML_XML_NAMESPACE))
                properties.push_back(attribute);
        for (xmlNode* element : childElements(description))
            properties.push_back(element);
    }
    return properties;
}

std::string textOf(const xmlNode* node)
{
    xmlChar* content = xmlNodeGetContent(node);
    std::string text{view(content)};
    xmlFree(content);
    return text;
}

void remove(xmlNode* node)
{
    if (node->type == XML_ATTRIBUTE_NODE)
        xmlRemoveProp(reinterpret_cast<xmlAttr*>(node));
    else {
        xmlUnlinkNode(node);
        xmlFreeNode(node);
    }
}

/// Makers of cameras and drones invent names of their own for coordinates, so the name decides in every namespace.
bool isPosition(const xmlNode* node)
{
    const Name name = nameOf(node);
    return name.space == geo || namesPosition(name.local);
}

/// The parser bounds the depth of elements, and with it this recursion.
bool removePositionsBelow(xmlNode* element)
{
    bool isChanged = false;
    for (xmlNode* attribute : attributesOf(element))
        if (isPosition(attribute)) {
            remove(attribute);
            isChanged = true;
        }
    for (xmlNode* child : childElements(element))
        if (isPosition(child)) {
            remove(child);
            isChanged = true;
        } else {
            isChanged |= removePositionsBelow(child);
        }
    return isChanged;
}

xmlNs* namespaceFor(xmlNode* element, const xmlNs* wanted)
{
    if (xmlNs* known = xmlSearchNsByHref(element->doc, element, wanted->href); known && known->prefix)
        return known;
    if (xmlNs* made = xmlNewNs(element, wanted->href, wanted->prefix))
        return made;
    return xmlNewNs(element, wanted->href, reinterpret_cast<const xmlChar*>("ns0"));
}

/// Copies a property or an item, also from another packet, into a description or a list.
void copyInto(xmlNode* description, xmlNode* property)
{
    if (property->type == XML_ATTRIBUTE_NODE) {
        if (xmlNs* space = namespaceFor(description, property->ns))
            xmlNewNsProp(description, space, property->name, xml(textOf(property)));
        return;
    }
    if (xmlNode* copy = xmlDocCopyNode(property, description->doc, 1)) {
        xmlAddChild(description, copy);
        xmlReconciliateNs(description->doc, copy);
    }
}

xmlNode* bagOf(const xmlNode* property)
{
    if (property->type == XML_ELEMENT_NODE)
        for (xmlNode* child : childElements(property))
            if (isElement(child, {rdf, "Bag"}))
                return child;
    return nullptr;
}

/// Adds the items that an unordered list lacks, such as keywords.
bool uniteBags(const xmlNode* property, const xmlNode* other)
{
    xmlNode* bag = bagOf(property);
    const xmlNode* otherBag = bagOf(other);
    if (!bag || !otherBag)
        return false;
    std::set<std::string> known;
    for (const xmlNode* item : childElements(bag))
        known.insert(textOf(item));
    bool isChanged = false;
    for (xmlNode* item : childElements(otherBag))
        if (known.insert(textOf(item)).second) {
            copyInto(bag, item);
            isChanged = true;
        }
    return isChanged;
}

xmlNode* newDescription(xmlDoc* document)
{
    xmlNode* top = rdfElement(document);
    std::string about;
    for (const xmlNode* description : childElements(top))
        for (const xmlNode* attribute : attributesOf(description))
            if (attribute->ns && nameOf(attribute) == Name{rdf, "about"})
                about = textOf(attribute);
    xmlNode* description = xmlNewChild(top, top->ns, reinterpret_cast<const xmlChar*>("Description"), nullptr);
    xmlNewNsProp(description, top->ns, reinterpret_cast<const xmlChar*>("about"), xml(about));
    return description;
}

std::string serialised(xmlDoc* document)
{
    xmlBuffer* buffer = xmlBufferCreate();
    xmlSaveCtxt* saving = xmlSaveToBuffer(buffer, "UTF-8", XML_SAVE_NO_DECL);
    xmlSaveDoc(saving, document);
    xmlSaveClose(saving);
    std::string text{view(xmlBufferContent(buffer))};
    xmlBufferFree(buffer);
    return text;
}

/// Without the filling after it: NULs, spaces. Packets in UTF-16 are left alone.
std::string_view trimmed(std::string_view text)
{
    const auto begin = text.find_first_not_of(std::string_view{" \t\r\n\0", 5});
    if (begin == std::string_view::npos)
        return {};
    if (text[begin] != '<' && text[begin] != '\xEF')
        return text;
    text.remove_prefix(begin);
    return text.substr(0, text.rfind('>') + 1);
}

} // namespace

bool namesPosition(std::string_view property)
{
    const std::string name = asciiLowercased(property);
    return name.starts_with("gps") || name.ends_with("latitude") || name.ends_with("longitude") ||
           name.ends_with("longtitude") || name.ends_with("altitude");
}

void XmpPacket::Free::operator()(_xmlDoc* document) const { xmlFreeDoc(document); }

XmpPacket::XmpPacket(_xmlDoc* document, std::string_view text) : document_{document}, text_{text} {}
XmpPacket::XmpPacket(XmpPacket&&) noexcept = default;
XmpPacket& XmpPacket::operator=(XmpPacket&&) noexcept = default;
XmpPacket::~XmpPacket() = default;

std::optional<XmpPacket> XmpPacket::parse(std::string_view whole)
{
    const std::string_view text = trimmed(whole);
    if (text.empty() || text.size() > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        return std::nullopt;
    XmpPacket packet{xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                                   XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING),
                     text};
    if (!packet.document_ || packet.document_->intSubset || !rdfElement(packet.document_.get()))
        return std::nullopt;
    return packet;
}

std::string XmpPacket::text() const { return isChanged_ ? serialised(document_.get()) : text_; }

void XmpPacket::setUpright(int width, int height)
{
    const std::pair<Name, std::string> facts[] = {
        {{tiff, "Orientation"}, "1"},
        {{tiff, "ImageWidth"}, std::to_string(width)},
        {{tiff, "ImageLength"}, std::to_string(height)},
        {{exif, "PixelXDimension"}, std::to_string(width)},
        {{exif, "PixelYDimension"}, std::to_string(height)},
    };
    for (xmlNode* property : propertiesOf(document_.get()))
        for (const auto& [name, truth] : facts)
            if (nameOf(property) == name && textOf(property) != truth) {
                xmlNodeSetContent(property, xml(truth));
                isChanged_ = true;
            }
}

void XmpPacket::removeThumbnails()
{
    for (xmlNode* property : propertiesOf(document_.get()))
        if (nameOf(property) == Name{basic, "Thumbnails"}) {
            remove(property);
            isChanged_ = true;
        }
}

void XmpPacket::removePosition() { isChanged_ |= removePositionsBelow(rdfElement(document_.get())); }

void XmpPacket::addMissing(const XmpPacket& other)
{
    std::vector<xmlNode*> missing;
    const auto known = propertiesOf(document_.get());
    for (xmlNode* property : propertiesOf(other.document_.get())) {
        const auto same = std::ranges::find(known, nameOf(property), nameOf);
        if (same == known.end())
            missing.push_back(property);
        else
            isChanged_ |= uniteBags(*same, property);
    }
    if (missing.empty())
        return;
    xmlNode* description = newDescription(document_.get());
    for (xmlNode* property : missing)
        copyInto(description, property);
    isChanged_ = true;
}

std::optional<std::string> XmpPacket::extensionIdentifier() const
{
    for (const xmlNode* property : propertiesOf(document_.get()))
        if (nameOf(property) == Name{note, "HasExtendedXMP"})
            return textOf(property);
    return std::nullopt;
}

void XmpPacket::removeExtensionIdentifier()
{
    for (xmlNode* property : propertiesOf(document_.get()))
        if (nameOf(property) == Name{note, "HasExtendedXMP"}) {
            remove(property);
            isChanged_ = true;
        }
}

std::optional<XmpPacket::Halves> XmpPacket::split(std::size_t mostBytes) const
{
    const std::string whole = text();
    if (whole.size() <= mostBytes)
        return Halves{whole, {}};
    std::optional<XmpPacket> main = parse(whole);
    std::optional<XmpPacket> extension = parse(
        R"(<x:xmpmeta xmlns:x="adobe:ns:meta/"><rdf:RDF xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#"/>)"
        "</x:xmpmeta>");
    if (!main || !extension)
        return std::nullopt;
    main->removeExtensionIdentifier();
    xmlNode* moved = newDescription(extension->document_.get());
    std::vector<std::pair<std::size_t, xmlNode*>> bySize;
    for (xmlNode* property : propertiesOf(main->document_.get()))
        bySize.emplace_back(textOf(property).size(), property);
    std::ranges::sort(bySize, std::greater{}, &std::pair<std::size_t, xmlNode*>::first);
    constexpr std::size_t identifierBytes = 200; // the description that names the extension
    std::size_t mostLeft = whole.size();         // what a property takes is at least its text
    for (const auto& [size, property] : bySize) {
        if (mostLeft + identifierBytes <= mostBytes)
            break;
        copyInto(moved, property);
        remove(property);
        mostLeft -= size;
    }
    const std::string second = serialised(extension->document_.get());
    const std::string identifier = hexadecimal(digest(DigestKind::md5, second));
    xmlNode* description = newDescription(main->document_.get());
    xmlNs* space = xmlNewNs(description, xml(std::string{note}), reinterpret_cast<const xmlChar*>("xmpNote"));
    xmlNewNsProp(description, space, reinterpret_cast<const xmlChar*>("HasExtendedXMP"), xml(identifier));
    const std::string first = serialised(main->document_.get());
    if (first.size() > mostBytes)
        return std::nullopt;
    return Halves{first, second};
}

} // namespace nivex::image
