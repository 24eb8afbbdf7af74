#pragma once

#include "NivexWorkers/Document/Model/Document.hpp"

#include <map>
#include <optional>
#include <pugixml.hpp>
#include <string>
#include <string_view>

namespace nivex::document {

/// What a run's own properties say; what they do not say comes from its style.
struct RunLooks {
    std::map<Style, bool> styles;
    std::optional<bool> isHidden;

    static RunLooks read(const pugi::xml_node& properties);
    void applyTo(Styles& all) const;
};

/// The styles of a document that matter here, by their identifier (w:styleId).
class WordStyles {
public:
    WordStyles() = default;
    explicit WordStyles(const pugi::xml_node& part);

    /// 1…6 for a paragraph style of headings; 0 otherwise.
    int headingLevel(std::string_view paragraphStyle) const;
    /// The w:numPr of a paragraph style; empty where it is no list.
    pugi::xml_node numbering(std::string_view paragraphStyle) const;
    bool isQuote(std::string_view paragraphStyle) const;
    bool isCode(std::string_view paragraphStyle) const;
    /// What a character style and those it is based on say.
    Styles looks(std::string_view characterStyle) const;

private:
    struct WordStyle {
        std::string name; // lower case
        std::string basis;
        pugi::xml_node node;
    };
    template <class Found>
    Found upwards(std::string_view style, Found (*look)(const WordStyle&)) const;

    std::map<std::string, WordStyle, std::less<>> styles_;
};

} // namespace nivex::document
