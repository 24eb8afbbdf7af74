#pragma once

#include "NivexWorkers/Data/Model/ValueTypes.hpp"
#include "NivexWorkers/Data/Xml/XmlReader.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace nivex::data {

/// The text of an element without the line breaks and indentation around it. Spaces that stand alone are kept: nobody
/// indents with them on one line.
std::string_view contentOf(std::string_view text);

/// What all elements of one path ("catalogue/book/title") have in common.
struct XmlPath {
    bool isObject = false;    // some have attributes or elements
    bool isList = false;      // some stand beside another of the same name
    bool isScattered = false; // in some, elements of one name have others between them
    LookCounts texts;
    std::map<std::string, LookCounts, std::less<>> attributes;
    std::map<std::string, std::unique_ptr<XmlPath>, std::less<>> elements;
    std::uint64_t lastParent = 0; // the element in which one was met last
};

/// A look through a whole document before it is converted.
class XmlSurvey final : public XmlEvents {
public:
    void begin(std::string_view name, const XmlAttributes& attributes) override;
    void end(std::string_view name) override;
    void text(std::string_view part) override { open_.back().text += part; }
    void unknownEntity(std::string_view name) override;

    /// Holds the outermost element alone.
    const XmlPath& root() const { return root_; }
    bool hasMixedText() const { return hasMixedText_; }
    bool hasUnknownEntities() const { return hasUnknownEntities_; }

private:
    struct Element {
        XmlPath* path = nullptr;
        std::uint64_t number = 0;
        const XmlPath* lastChild = nullptr;
        std::string text = {};
    };

    XmlPath& pathOf(Element& parent, std::string_view name);
    void countPath();

    XmlPath root_;
    std::vector<Element> open_;
    std::uint64_t elements_ = 0;
    std::size_t paths_ = 0;
    bool hasMixedText_ = false;
    bool hasUnknownEntities_ = false;
};

} // namespace nivex::data
