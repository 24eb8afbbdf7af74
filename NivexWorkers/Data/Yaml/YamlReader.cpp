#include "NivexWorkers/Data/Yaml/YamlReader.hpp"

#include "NivexWorkers/Data/Model/Errors.hpp"
#include "NivexWorkers/Data/Text/TextSource.hpp"
#include "NivexWorkers/Data/Yaml/YamlScalars.hpp"

#include "NivexKit/Foundation/Text/Ascii.hpp"

#include <yaml.h>

#include <exception>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace nivex::data {
namespace {

constexpr std::size_t maxExpandedBytes = 256 << 20; // that aliases bring, counted with their marks

/// One event of the library, as far as it matters here.
struct Event {
    enum class Kind : unsigned char { scalar, alias, beginObject, endObject, beginArray, endArray } kind;
    ScalarKind type = ScalarKind::text;
    std::string text; // of a scalar; the name of an alias
};

using Recording = std::vector<Event>;

/// Takes the events of one value, in which aliases stand for what they mean.
class Expansion {
public:
    explicit Expansion(TreeEvents& events) : events_{events} {}

    void take(const Event& event, const std::string& anchor)
    {
        if (event.kind == Event::Kind::alias) {
            const auto found = anchors_.find(event.text);
            if (found == anchors_.end())
                throw ConversionError::unreadableSource(filled("l'alias YAML « {} » n'a pas d'ancre"_fr, {event.text}));
            // What is told may itself be recorded, and the map of anchors then grows.
            const std::shared_ptr<const Recording> recording = found->second;
            for (const Event& each : *recording) {
                spend(each);
                tell(each, {});
            }
            return;
        }
        tell(event, anchor);
    }

private:
    struct Level {
        bool isObject = false;
        bool wantsKey = false;
        bool isMerge = false;        // the value of "<<" comes next, or is this level
        std::set<std::string> names; // of an object's members; only where something is merged into it
        Recording merged;
    };

    struct OpenRecording {
        std::string anchor;
        std::size_t depth = 0;
        std::shared_ptr<Recording> events;
    };

    void spend(const Event& event)
    {
        expanded_ += event.text.size() + sizeof(Event);
        if (expanded_ > maxExpandedBytes)
            throw ConversionError::resourceLimit("les alias YAML multiplient les données à l'excès"_fr);
    }

    void tell(const Event& event, const std::string& anchor)
    {
        const bool begins = event.kind == Event::Kind::beginObject || event.kind == Event::Kind::beginArray;
        const bool ends = event.kind == Event::Kind::endObject || event.kind == Event::Kind::endArray;
        if (!anchor.empty())
            recordings_.push_back({anchor, depth_, std::make_shared<Recording>()});
        for (OpenRecording& each : recordings_) {
            spend(event);
            each.events->push_back(event);
        }
        depth_ += begins;
        depth_ -= ends;
        if (depth_ > maxDepth)
            throw tooDeep(maxDepth);
        while (!recordings_.empty() && !begins && recordings_.back().depth == depth_) {
            anchors_[recordings_.back().anchor] = recordings_.back().events;
            recordings_.pop_back();
        }
        pass(event);
    }

    /// Hands an event on, or keeps it where it is merged.
    void pass(const Event& event)
    {
        if (mergeDepth_ > 0 || (!levels_.empty() && levels_.back().isMerge)) {
            levels_.back().merged.push_back(event);
            mergeDepth_ += event.kind == Event::Kind::beginObject || event.kind == Event::Kind::beginArray;
            mergeDepth_ -= event.kind == Event::Kind::endObject || event.kind == Event::Kind::endArray;
            if (mergeDepth_ == 0) {
                levels_.back().isMerge = false;
                levels_.back().wantsKey = true;
            }
            return;
        }
        if (event.kind == Event::Kind::endObject || event.kind == Event::Kind::endArray) {
            if (event.kind == Event::Kind::endObject)
                endObject();
            else
                events_.endArray();
            levels_.pop_back();
            return;
        }
        if (!levels_.empty() && levels_.back().isObject) {
            if (levels_.back().wantsKey) {
                key(event);
                return;
            }
            levels_.back().wantsKey = true;
        }
        switch (event.kind) {
        case Event::Kind::beginObject:
            events_.beginObject();
            levels_.push_back({.isObject = true, .wantsKey = true});
            return;
        case Event::Kind::beginArray:
            events_.beginArray();
            levels_.push_back({});
            return;
        default:
            events_.scalar({event.type, event.text});
        }
    }

    void key(const Event& event)
    {
        if (event.kind != Event::Kind::scalar)
            throw ConversionError::unreadableSource("une clé YAML est une liste ou un objet"_fr);
        Level& level = levels_.back();
        level.wantsKey = false;
        if (event.type == ScalarKind::text && event.text == "<<") {
            level.isMerge = true;
            return;
        }
        level.names.insert(event.text);
        events_.key(event.type == ScalarKind::null ? std::string_view{"null"} : std::string_view{event.text});
    }

    /// Members that were merged come last, but for those that the object has itself.
    void endObject()
    {
        const std::size_t own = levels_.size() - 1; // levels inside come and go
        const Recording merged = std::move(levels_[own].merged);
        std::size_t depth = 0;
        std::size_t lists = 0; // a list of mappings is merged one after the other
        bool isMember = false;
        bool isKey = true;
        for (const Event& event : merged) {
            const bool begins = event.kind == Event::Kind::beginObject || event.kind == Event::Kind::beginArray;
            const bool ends = event.kind == Event::Kind::endObject || event.kind == Event::Kind::endArray;
            if (depth == lists && event.kind == Event::Kind::beginArray) {
                ++lists;
                ++depth;
                continue;
            }
            if (depth == lists && event.kind == Event::Kind::endArray && lists > 0) {
                --lists;
                --depth;
                continue;
            }
            const std::size_t inside = lists + 1; // the depth of the members
            if (begins && depth == lists) {
                ++depth;
                isKey = true;
                continue;
            }
            if (ends && depth == inside) {
                --depth;
                continue;
            }
            if (depth < inside)
                throw ConversionError::unreadableSource("« << » ne désigne pas un objet YAML"_fr);
            if (depth == inside && isKey) {
                if (event.kind != Event::Kind::scalar)
                    throw ConversionError::unreadableSource("une clé YAML est une liste ou un objet"_fr);
                isMember = levels_[own].names.insert(event.text).second;
                if (isMember)
                    events_.key(event.text);
                levels_[own].wantsKey = false;
                isKey = false;
                continue;
            }
            depth += begins;
            depth -= ends;
            if (depth == inside)
                isKey = true;
            if (isMember)
                pass(event);
        }
        events_.endObject();
    }

    TreeEvents& events_;
    std::map<std::string, std::shared_ptr<const Recording>> anchors_;
    std::vector<OpenRecording> recordings_;
    std::vector<Level> levels_;
    std::size_t depth_ = 0;
    std::size_t mergeDepth_ = 0;
    std::size_t expanded_ = 0;
};

/// The library's parser over a text.
class Parser {
public:
    Parser(TextSource& text, const Input& input) : text_{text}, input_{input}
    {
        text.rewind();
        if (yaml_parser_initialize(&parser_) == 0)
            throw std::bad_alloc{};
        yaml_parser_set_encoding(&parser_, YAML_UTF8_ENCODING);
        yaml_parser_set_input(&parser_, readMore, this);
    }
    Parser(const Parser&) = delete;
    Parser& operator=(const Parser&) = delete;
    ~Parser()
    {
        yaml_event_delete(&event_);
        yaml_parser_delete(&parser_);
    }

    /// The next event; it holds until the next call.
    const yaml_event_t& next()
    {
        yaml_event_delete(&event_);
        const int isSound = yaml_parser_parse(&parser_, &event_);
        if (failure_)
            std::rethrow_exception(failure_);
        if (isSound == 0)
            throw invalidAtLine("YAML", 1 + std::max(parser_.problem_mark.line, parser_.context_mark.line))
                .because(parser_.problem == nullptr ? "" : parser_.problem);
        return event_;
    }

private:
    /// No exception passes through the library.
    static int readMore(void* self, unsigned char* buffer, std::size_t size, std::size_t* count)
    {
        auto& parser = *static_cast<Parser*>(self);
        try {
            *count = parser.text_.read({reinterpret_cast<char*>(buffer), size});
            parser.input_.progress(parser.text_.share());
            return 1;
        } catch (...) {
            parser.failure_ = std::current_exception();
            return 0;
        }
    }

    TextSource& text_;
    const Input& input_;
    yaml_parser_t parser_{};
    yaml_event_t event_{};
    std::exception_ptr failure_;
};

std::string textOf(const yaml_char_t* text) { return text == nullptr ? "" : reinterpret_cast<const char*>(text); }

Event scalarOf(const yaml_event_t& event, std::string& storage)
{
    const std::string_view text{reinterpret_cast<const char*>(event.data.scalar.value), event.data.scalar.length};
    const std::string tag = textOf(event.data.scalar.tag);
    constexpr std::string_view schema = "tag:yaml.org,2002:";
    const std::string_view type = tag.starts_with(schema) ? std::string_view{tag}.substr(schema.size()) : "";
    if (type == "binary") {
        std::string bytes{text};
        std::erase_if(bytes, isAsciiSpace);
        return {Event::Kind::scalar, ScalarKind::data, bytes};
    }
    const bool isBare = event.data.scalar.style == YAML_PLAIN_SCALAR_STYLE && tag.empty();
    const bool isTyped = type == "int" || type == "float" || type == "bool" || type == "null" || type == "timestamp";
    if (!isBare && !isTyped)
        return {Event::Kind::scalar, ScalarKind::text, std::string{text}};
    const Scalar scalar = plainYamlScalar(text, storage);
    return {Event::Kind::scalar, scalar.kind, std::string{scalar.text}};
}

/// Hands the events of all documents on. Returns how many there were.
std::size_t readDocuments(Parser& parser, TreeEvents& events)
{
    std::size_t documents = 0;
    std::string storage;
    std::unique_ptr<Expansion> expansion;
    while (true) {
        const yaml_event_t& event = parser.next();
        switch (event.type) {
        case YAML_DOCUMENT_START_EVENT:
            ++documents;
            expansion = std::make_unique<Expansion>(events); // anchors hold in their document
            break;
        case YAML_STREAM_END_EVENT:
            return documents;
        case YAML_ALIAS_EVENT:
            expansion->take({Event::Kind::alias, {}, textOf(event.data.alias.anchor)}, {});
            break;
        case YAML_SCALAR_EVENT:
            expansion->take(scalarOf(event, storage), textOf(event.data.scalar.anchor));
            break;
        case YAML_MAPPING_START_EVENT:
            expansion->take({Event::Kind::beginObject}, textOf(event.data.mapping_start.anchor));
            break;
        case YAML_MAPPING_END_EVENT:
            expansion->take({Event::Kind::endObject}, {});
            break;
        case YAML_SEQUENCE_START_EVENT:
            expansion->take({Event::Kind::beginArray}, textOf(event.data.sequence_start.anchor));
            break;
        case YAML_SEQUENCE_END_EVENT:
            expansion->take({Event::Kind::endArray}, {});
            break;
        default:
            break;
        }
    }
}

/// How many documents there are: 0, 1, or 2 for several. Most files have no mark of a second one, which is quickly
/// seen.
std::size_t documentsOf(TextSource& text, const Input& input)
{
    std::string piece(1 << 16, '\0');
    std::string before = "\n"; // the end of the piece before
    std::size_t marks = 0;
    bool hasContent = false;
    while (const std::size_t count = text.read(piece)) {
        const std::string all = before + piece.substr(0, count);
        for (std::size_t at = all.find("\n---"); at != all.npos && at + 4 <= all.size(); at = all.find("\n---", at + 1))
            ++marks;
        hasContent = hasContent || all.find_first_not_of(" \t\r\n", before.size()) != all.npos;
        before = all.substr(all.size() - std::min<std::size_t>(3, all.size()));
    }
    if (!hasContent)
        return 0;
    if (marks == 0)
        return 1;
    Parser parser{text, input};
    std::size_t documents = 0;
    while (documents < 2) {
        const yaml_event_t& event = parser.next();
        if (event.type == YAML_STREAM_END_EVENT)
            break;
        documents += event.type == YAML_DOCUMENT_START_EVENT;
    }
    return documents;
}

} // namespace

void readYaml(const Input& input, TreeEvents& events)
{
    TextSource text{input.bytes};
    const std::size_t documents = documentsOf(text, input);
    Parser parser{text, input};
    if (documents > 1)
        events.beginArray();
    if (readDocuments(parser, events) == 0)
        throw nothingToConvert();
    if (documents > 1)
        events.endArray();
}

} // namespace nivex::data
