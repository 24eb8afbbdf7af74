#include "NivexWorkers/Data/Xml/XmlTreeReader.hpp"

#include "NivexWorkers/Data/Model/Tree.hpp"
#include "NivexWorkers/Data/Text/TextSource.hpp"
#include "NivexWorkers/Data/Xml/XmlPaths.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/Ascii.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <array>
#include <optional>

namespace nivex::data {
namespace {

constexpr std::string_view textName = "#text";

/// Tells the elements of a document, whose paths are known, as nested data.
class Elements final : public XmlEvents {
public:
    Elements(const XmlPath& root, TreeEvents& events)
    {
        open_.push_back({.path = &root, .events = &events});
        events.beginObject();
    }

    void begin(std::string_view name, const XmlAttributes& attributes) override
    {
        Element& parent = open_.back();
        const XmlPath& path = *parent.path->elements.find(name)->second;
        TreeEvents& events = place(parent, name, path);
        open_.push_back({.path = &path, .events = &events});
        if (!path.isObject)
            return;
        events.beginObject();
        for (const char* const* pair = attributes.pairs(); *pair != nullptr; pair += 2) {
            events.key("@" + std::string{pair[0]});
            events.scalar(path.attributes.find(std::string_view{pair[0]})->second.types().typed(pair[1]));
        }
        if (path.isScattered)
            open_.back().gathered = std::make_unique<Gathered>(budget_);
    }

    void end(std::string_view) override
    {
        Element& element = open_.back();
        const std::string_view content = contentOf(element.text);
        const Scalar scalar = element.path->texts.types().typed(content);
        if (element.path->isObject) {
            closeList(element);
            tellGathered(element);
            const bool isText =
                element.hasElements ? content.find_first_not_of(" \t\r\n") != content.npos : !content.empty();
            if (isText) {
                element.events->key(textName);
                element.events->scalar(scalar);
            }
            element.events->endObject();
        } else {
            element.events->scalar(scalar);
        }
        open_.pop_back();
        keepGathered(open_.back());
    }

    void text(std::string_view part) override { open_.back().text += part; }
    void unknownEntity(std::string_view name) override { open_.back().text.append("&").append(name).append(";"); }

    /// Behind the document.
    void finish()
    {
        closeList(open_.back());
        open_.back().events->endObject();
    }

private:
    /// The elements of one whose parts are out of order, by name.
    struct Gathered {
        explicit Gathered(TreeBudget& budget) : builder{budget} {}

        struct Group {
            std::string name;
            bool isList = false;
            std::vector<TreeNode> nodes;
        };
        TreeBuilder builder; // of the element at hand
        std::vector<Group> groups;
        std::size_t group = 0; // of the element at hand
        std::size_t count = 0;
    };

    struct Element {
        const XmlPath* path = nullptr;
        TreeEvents* events = nullptr;
        std::string text = {};
        bool hasElements = false;
        const XmlPath* list = nullptr; // whose elements are being told
        std::unique_ptr<Gathered> gathered = nullptr;
    };

    /// Where the events of an element of `parent` go; its key and the list around it are told.
    TreeEvents& place(Element& parent, std::string_view name, const XmlPath& path)
    {
        parent.hasElements = true;
        if (parent.gathered) {
            auto& groups = parent.gathered->groups;
            const auto found = std::ranges::find(groups, name, &Gathered::Group::name);
            parent.gathered->group = static_cast<std::size_t>(found - groups.begin());
            if (found == groups.end())
                groups.push_back({.name = std::string{name}, .isList = path.isList, .nodes = {}});
            return parent.gathered->builder;
        }
        if (parent.list != &path) {
            closeList(parent);
            parent.events->key(name);
            if (path.isList) {
                parent.events->beginArray();
                parent.list = &path;
            }
        }
        return *parent.events;
    }

    static void closeList(Element& element)
    {
        if (element.list != nullptr)
            element.events->endArray();
        element.list = nullptr;
    }

    void keepGathered(Element& parent)
    {
        if (!parent.gathered || !parent.gathered->builder.isComplete())
            return;
        Gathered& gathered = *parent.gathered;
        gathered.count += gathered.builder.count();
        gathered.groups[gathered.group].nodes.push_back(gathered.builder.take());
    }

    void tellGathered(Element& element)
    {
        if (!element.gathered)
            return;
        for (const Gathered::Group& group : element.gathered->groups) {
            element.events->key(group.name);
            if (group.isList)
                element.events->beginArray();
            for (const TreeNode& node : group.nodes)
                tell(node, *element.events);
            if (group.isList)
                element.events->endArray();
        }
        budget_.giveBack(element.gathered->count);
        element.gathered.reset();
    }

    TreeBudget budget_;
    std::vector<Element> open_;
};

/// The encoding that the declaration names, where it is none that the parser knows.
std::optional<std::string> foreignEncoding(const ByteSource& bytes)
{
    constexpr std::array<std::string_view, 5> known{"utf-8", "utf-16", "iso-8859-1", "us-ascii", "utf8"};
    const std::vector<std::byte> head = bytes.read(0, 256);
    const std::string_view text{reinterpret_cast<const char*>(head.data()), head.size()};
    if (!text.starts_with("<?xml"))
        return std::nullopt;
    const std::string_view declaration = text.substr(0, text.find("?>"));
    const std::size_t at = declaration.find("encoding");
    const std::size_t begin = at == text.npos ? text.npos : declaration.find_first_of("\"'", at);
    const std::size_t end = begin == text.npos ? text.npos : declaration.find(declaration[begin], begin + 1);
    if (end == text.npos)
        return std::nullopt;
    const std::string name{declaration.substr(begin + 1, end - begin - 1)};
    return std::ranges::find(known, asciiLowercased(name)) == known.end() ? std::optional{name} : std::nullopt;
}

/// Reads the document once. `from` and `to` are the shares of the work before and behind it.
void readOnce(const Input& input, XmlEvents& events, double from, double to)
{
    const auto encoding = foreignEncoding(input.bytes);
    if (encoding) {
        TextSource text{input.bytes, {.characterSet = *encoding}};
        readXml(
            [&](std::span<char> buffer) {
                const std::size_t count = text.read(buffer);
                input.progress(from + (to - from) * text.share());
                return count;
            },
            events, {.keepsPrefixes = true, .encoding = "UTF-8"});
        return;
    }
    std::uint64_t position = 0;
    const auto size = static_cast<double>(std::max<std::uint64_t>(input.bytes.size(), 1));
    readXml(
        [&](std::span<char> buffer) {
            const std::size_t count = input.bytes.read(position, std::as_writable_bytes(buffer));
            position += count;
            input.progress(from + (to - from) * (static_cast<double>(position) / size));
            return count;
        },
        events, {.keepsPrefixes = true});
}

} // namespace

void readXmlTree(const Input& input, TreeEvents& events)
{
    XmlSurvey survey;
    readOnce(input, survey, 0, 0.4);
    if (survey.hasMixedText())
        input.remarks.add("du texte se trouve entre des éléments XML : sa place n'est pas conservée"_fr);
    if (survey.hasUnknownEntities())
        input.remarks.add("des entités XML définies hors du fichier ont été gardées telles quelles"_fr);
    Elements elements{survey.root(), events};
    readOnce(input, elements, 0.4, 1);
    elements.finish();
}

} // namespace nivex::data
