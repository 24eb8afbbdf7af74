#include "NivexWorkers/Document/Word/WordStyles.hpp"

#include "NivexWorkers/Document/Package/Package.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"

#include <charconv>

namespace nivex::document {
namespace {

constexpr int mostBases = 20; // more are a circle

/// A property that is on unless it says that it is not (ECMA-376, 17.17.4).
std::optional<bool> toggle(const pugi::xml_node& properties, std::string_view name)
{
    const pugi::xml_node node = childOf(properties, name);
    if (!node)
        return std::nullopt;
    const std::string_view value = attributeOf(node, "val");
    return value != "0" && value != "false" && value != "off" && value != "none";
}

int numberOr(std::string_view text, int otherwise)
{
    int value = otherwise;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    return result.ec == std::errc{} ? value : otherwise;
}

} // namespace

RunLooks RunLooks::read(const pugi::xml_node& properties)
{
    RunLooks looks;
    const auto set = [&](Style style, std::optional<bool> value) {
        if (value)
            looks.styles[style] = *value;
    };
    set(Style::bold, toggle(properties, "b"));
    set(Style::italic, toggle(properties, "i"));
    set(Style::underline, toggle(properties, "u"));
    set(Style::strikethrough, toggle(properties, "strike"));
    set(Style::strikethrough, toggle(properties, "dstrike"));
    if (const pugi::xml_node position = childOf(properties, "vertAlign")) {
        set(Style::superscript, attributeOf(position, "val") == "superscript");
        set(Style::subscript, attributeOf(position, "val") == "subscript");
    }
    looks.isHidden = toggle(properties, "vanish");
    return looks;
}

void RunLooks::applyTo(Styles& all) const
{
    for (const auto& [style, isOn] : styles)
        all.set(style, isOn);
}

WordStyles::WordStyles(const pugi::xml_node& part)
{
    for (const pugi::xml_node style : childOf(part, "styles"))
        if (localName(style) == "style")
            styles_[std::string{attributeOf(style, "styleId")}] = {
                asciiLowercased(attributeOf(childOf(style, "name"), "val")),
                std::string{attributeOf(childOf(style, "basedOn"), "val")}, style};
}

/// What the first of a style and those it is based on says.
template <class Found>
Found WordStyles::upwards(std::string_view style, Found (*look)(const WordStyle&)) const
{
    std::string id{style};
    for (int i = 0; i < mostBases; ++i) {
        const auto found = styles_.find(id);
        if (found == styles_.end())
            break;
        if (Found result = look(found->second))
            return result;
        id = found->second.basis;
    }
    return Found{};
}

int WordStyles::headingLevel(std::string_view paragraphStyle) const
{
    return upwards<int>(paragraphStyle, [](const WordStyle& style) {
        if (style.name == "title")
            return 1;
        if (style.name.starts_with("heading "))
            return std::clamp(numberOr(std::string_view{style.name}.substr(8), 0), 0, 6);
        const pugi::xml_node outline = childOf(childOf(style.node, "pPr"), "outlineLvl");
        const int level = numberOr(attributeOf(outline, "val"), 9);
        return level < 6 ? level + 1 : 0;
    });
}

pugi::xml_node WordStyles::numbering(std::string_view paragraphStyle) const
{
    return upwards<pugi::xml_node>(paragraphStyle,
                                   [](const WordStyle& style) { return childOf(childOf(style.node, "pPr"), "numPr"); });
}

bool WordStyles::isQuote(std::string_view paragraphStyle) const
{
    return upwards<bool>(paragraphStyle, [](const WordStyle& style) {
        return style.name == "quote" || style.name == "intense quote" || style.name == "block text";
    });
}

bool WordStyles::isCode(std::string_view paragraphStyle) const
{
    return upwards<bool>(paragraphStyle, [](const WordStyle& style) {
        return style.name == "html preformatted" || style.name == "source code" || style.name == "preformatted text";
    });
}

Styles WordStyles::looks(std::string_view characterStyle) const
{
    Styles looks;
    std::string id{characterStyle};
    std::map<Style, bool> said;
    for (int i = 0; i < mostBases; ++i) {
        const auto found = styles_.find(id);
        if (found == styles_.end())
            break;
        said.merge(RunLooks::read(childOf(found->second.node, "rPr")).styles); // the nearest says it
        if (found->second.name == "verbatim char" || found->second.name == "html code")
            said.emplace(Style::code, true);
        if (found->second.name == "hyperlink")
            said.insert_or_assign(Style::underline, false); // links are shown as such anyway
        id = found->second.basis;
    }
    for (const auto& [style, isOn] : said)
        looks.set(style, isOn);
    return looks;
}

} // namespace nivex::document
