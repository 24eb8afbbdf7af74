#include "NivexWorkers/Data/Xml/XmlWriter.hpp"

#include "NivexWorkers/Data/Model/Sentences.hpp"
#include "NivexWorkers/Data/Xml/XmlEscape.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"
#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <set>

namespace nivex::data {
namespace {

constexpr std::string_view prefixAttribute = "@xmlns:";

struct Range {
    char32_t first;
    char32_t last;
};

// XML 1.0, production 4, behind ASCII and in the basic plane.
constexpr Range nameBeginnings[] = {
    {0xC0, 0xD6},     {0xD8, 0xF6},     {0xF8, 0x2FF},    {0x370, 0x37D},   {0x37F, 0x1FFF},  {0x200C, 0x200D},
    {0x2070, 0x218F}, {0x2C00, 0x2FEF}, {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFC},
};

bool beginsName(char32_t scalar)
{
    if (scalar < 0x80)
        return isAsciiLetter(static_cast<char>(scalar)) || scalar == '_';
    return std::ranges::any_of(nameBeginnings,
                               [scalar](const Range& each) { return each.first <= scalar && scalar <= each.last; });
}

bool isInName(char32_t scalar)
{
    return beginsName(scalar) ||
           (scalar < 0x80 && (isAsciiDigit(static_cast<char>(scalar)) || scalar == '-' || scalar == '.')) ||
           scalar == 0xB7;
}

/// The name with everything replaced that no name has; `prefix` characters at the beginning, a colon with them, stay.
std::string asName(std::string_view wanted, std::size_t prefix)
{
    std::string name{wanted.substr(0, prefix)};
    for (std::size_t at = prefix; at < wanted.size();) {
        const bool isFirst = at == prefix;
        const char32_t scalar = nextScalar(wanted, at);
        if (isFirst && !beginsName(scalar) && isInName(scalar))
            name += '_';
        if (isInName(scalar))
            appendScalar(name, scalar);
        else
            name += '_';
    }
    return name.size() > prefix ? name : name + "_";
}

/// What is known before the first element is written: what the document consists of, and the prefixes of names.
class Outline final : public TreeEvents {
public:
    enum class Root { list, object, objectInObject, scalar };

    Root root() const
    {
        if (isList_)
            return Root::list;
        if (!isObject_)
            return Root::scalar;
        return members_ == 1 && isMemberObject_ ? Root::objectInObject : Root::object;
    }
    const std::set<std::string, std::less<>>& prefixes() const { return prefixes_; }

    void beginObject() override
    {
        isObject_ = isObject_ || depth_ == 0;
        isMemberObject_ = isMemberObject_ || depth_ == 1;
        ++depth_;
    }
    void key(std::string_view name) override
    {
        members_ += depth_ == 1;
        if (name.starts_with(prefixAttribute))
            prefixes_.emplace(name.substr(prefixAttribute.size()));
    }
    void endObject() override { --depth_; }
    void beginArray() override
    {
        isList_ = isList_ || depth_ == 0;
        ++depth_;
    }
    void endArray() override { --depth_; }
    void scalar(const Scalar&) override {}

private:
    std::size_t depth_ = 0;
    bool isList_ = false;
    bool isObject_ = false;
    bool isMemberObject_ = false;
    std::size_t members_ = 0;
    std::set<std::string, std::less<>> prefixes_{"xml"};
};

class Writer final : public TreeEvents {
public:
    Writer(const Outline& outline, TextOutput& text, Remarks& remarks)
        : outline_{outline}, text_{text}, remarks_{remarks}
    {
        text_.put("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
    }

    void beginObject() override
    {
        if (levels_.empty() && outline_.root() == Outline::Root::objectInObject) {
            levels_.push_back({.kind = Kind::document});
            return;
        }
        beginElement(elementName());
    }

    void key(std::string_view name) override
    {
        key_ = name;
        if (levels_.back().kind == Kind::element)
            isAttribute_ = isTagOpen_ && name.size() > 1 && name.front() == '@';
    }

    void endObject() override { close(); }

    void beginArray() override
    {
        if (levels_.empty()) {
            beginElement("lignes"_fr);
            levels_.back().elementName = "ligne"_fr.localized();
        } else if (!levels_.back().elementName.empty()) {
            beginElement(elementName());
            levels_.back().elementName = "valeur"_fr.localized();
        } else {
            isAttribute_ = false;
            levels_.push_back({.kind = Kind::list, .elementName = nameOf(key_)});
        }
    }

    void endArray() override
    {
        if (levels_.back().kind == Kind::list && !levels_.back().hasElements)
            leaf(levels_.back().elementName, {ScalarKind::null, {}});
        close();
    }

    void scalar(const Scalar& value) override
    {
        if (isAttribute_) {
            attribute(value);
        } else if (key_ == "#text" && !levels_.empty() && levels_.back().kind == Kind::element &&
                   levels_.back().elementName.empty()) {
            closeTag();
            levels_.back().hasText = true;
            put(value.text);
        } else {
            leaf(elementName(), value);
        }
    }

private:
    enum class Kind : unsigned char { document, element, list };

    struct Level {
        Kind kind = Kind::element;
        std::string name = {};        // of an element
        std::string elementName = {}; // of what a list holds
        bool hasElements = false;
        bool hasText = false;
    };

    /// The name of the element that the next value is.
    std::string elementName()
    {
        if (levels_.empty())
            return "racine"_fr;
        return levels_.back().elementName.empty() ? nameOf(key_) : levels_.back().elementName;
    }

    std::string nameOf(std::string_view wanted)
    {
        const std::size_t colon = wanted.find(':');
        const bool hasPrefix = colon != wanted.npos && (outline_.prefixes().contains(wanted.substr(0, colon)) ||
                                                        wanted.substr(0, colon) == "xmlns");
        std::string name = asName(wanted, hasPrefix ? colon + 1 : 0);
        if (name != wanted)
            remarks_.add("des noms que XML n'admet pas ont été modifiés"_fr);
        return name;
    }

    void closeTag()
    {
        if (isTagOpen_)
            text_.put('>');
        isTagOpen_ = false;
    }

    /// A line of its own for what comes next, save beside text.
    void breakLine(std::size_t levels, bool isBesideText)
    {
        if (isBesideText || isFirst_) {
            isFirst_ = false;
            return;
        }
        text_.put('\n');
        for (std::size_t i = 0; i < levels; ++i)
            text_.put("  ");
    }

    void beginTag(std::string_view name)
    {
        closeTag();
        if (!levels_.empty())
            levels_.back().hasElements = true;
        const bool isInList = !levels_.empty() && levels_.back().kind == Kind::list;
        Level* owner = isInList && levels_.size() > 1 ? &levels_[levels_.size() - 2] : nullptr;
        if (owner != nullptr)
            owner->hasElements = true;
        breakLine(elements_, (owner != nullptr && owner->hasText) || (!levels_.empty() && levels_.back().hasText));
        text_.put('<');
        text_.put(name);
    }

    void beginElement(std::string name)
    {
        beginTag(name);
        isTagOpen_ = true;
        isAttribute_ = false;
        ++elements_;
        levels_.push_back({.kind = Kind::element, .name = std::move(name)});
    }

    void leaf(std::string_view name, const Scalar& value)
    {
        beginTag(name);
        if (!value.hasValue()) {
            text_.put("/>");
        } else {
            text_.put('>');
            put(value.text);
            text_.put("</");
            text_.put(name);
            text_.put('>');
        }
        finish();
    }

    void attribute(const Scalar& value)
    {
        isAttribute_ = false;
        if (!value.hasValue()) {
            remarks_.add(sentences::nullMembers());
            return;
        }
        text_.put(' ');
        text_.put(nameOf(std::string_view{key_}.substr(1)));
        text_.put("=\"");
        text_.put(escapedXml(value.text, remarks_, true));
        text_.put('"');
    }

    void put(std::string_view text) { text_.put(escapedXml(text, remarks_)); }

    void close()
    {
        const Level level = std::move(levels_.back());
        levels_.pop_back();
        if (level.kind == Kind::element) {
            --elements_;
            if (isTagOpen_) {
                text_.put("/>");
                isTagOpen_ = false;
            } else {
                if (level.hasElements)
                    breakLine(elements_, level.hasText);
                text_.put("</");
                text_.put(level.name);
                text_.put('>');
            }
        }
        finish();
    }

    void finish()
    {
        if (levels_.empty())
            text_.put('\n');
    }

    const Outline& outline_;
    TextOutput& text_;
    Remarks& remarks_;
    std::vector<Level> levels_;
    std::size_t elements_ = 0; // that are open
    std::string key_;
    bool isTagOpen_ = false;   // attributes may follow
    bool isAttribute_ = false; // the next scalar is one
    bool isFirst_ = true;
};

} // namespace

void writeXml(const TreeReading& read, Output& output)
{
    Outline outline;
    read(outline);
    FileSink file{output.single()};
    TextOutput text{file};
    Writer writer{outline, text, output.remarks()};
    read(writer);
    text.flush();
    file.finish();
}

} // namespace nivex::data
