#include "NivexWorkers/Data/Xml/XmlPaths.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

namespace nivex::data {
namespace {

constexpr std::size_t maxPaths = 1'000'000;
constexpr std::string_view space = " \t\r\n";

} // namespace

std::string_view contentOf(std::string_view text)
{
    const std::size_t begin = text.find_first_not_of(space);
    if (begin == text.npos)
        return text.find('\n') == text.npos ? text : std::string_view{};
    const std::size_t end = text.find_last_not_of(space) + 1;
    const bool isIndentedBefore = text.substr(0, begin).find('\n') != text.npos;
    const bool isIndentedBehind = text.substr(end).find('\n') != text.npos;
    const std::size_t from = isIndentedBefore ? begin : 0;
    return text.substr(from, (isIndentedBehind ? end : text.size()) - from);
}

void XmlSurvey::countPath()
{
    if (++paths_ > maxPaths)
        throw ConversionError::resourceLimit(
            filled("plus de {} éléments XML de noms différents"_fr, {std::to_string(maxPaths)}));
}

XmlPath& XmlSurvey::pathOf(Element& parent, std::string_view name)
{
    auto found = parent.path->elements.find(name);
    if (found == parent.path->elements.end()) {
        countPath();
        found = parent.path->elements.emplace(std::string{name}, std::make_unique<XmlPath>()).first;
    }
    XmlPath& path = *found->second;
    if (path.lastParent == parent.number) {
        path.isList = true;
        parent.path->isScattered = parent.path->isScattered || parent.lastChild != &path;
    }
    path.lastParent = parent.number;
    parent.lastChild = &path;
    return path;
}

void XmlSurvey::begin(std::string_view name, const XmlAttributes& attributes)
{
    if (open_.empty())
        open_.push_back({.path = &root_, .number = ++elements_});
    Element& parent = open_.back();
    parent.path->isObject = true;
    XmlPath& path = pathOf(parent, name);
    for (const char* const* pair = attributes.pairs(); *pair != nullptr; pair += 2) {
        path.isObject = true;
        auto found = path.attributes.find(std::string_view{pair[0]});
        if (found == path.attributes.end()) {
            countPath();
            found = path.attributes.emplace(pair[0], LookCounts{}).first;
        }
        found->second.add(lookOf(pair[1]));
    }
    open_.push_back({.path = &path, .number = ++elements_});
}

void XmlSurvey::end(std::string_view)
{
    Element& element = open_.back();
    const std::string_view content = contentOf(element.text);
    const bool isBlank = content.find_first_not_of(space) == content.npos;
    hasMixedText_ = hasMixedText_ || (element.lastChild != nullptr && !isBlank);
    element.path->texts.add(lookOf(content));
    open_.pop_back();
}

void XmlSurvey::unknownEntity(std::string_view name)
{
    hasUnknownEntities_ = true;
    if (!open_.empty())
        open_.back().text.append("&").append(name).append(";");
}

} // namespace nivex::data
