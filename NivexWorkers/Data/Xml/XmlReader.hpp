#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string_view>

namespace nivex::data {

/// The attributes of one element.
class XmlAttributes {
public:
    /// pairs  names and values in turn, ended by null
    explicit XmlAttributes(const char* const* pairs) : pairs_{pairs} {}

    /// The value of the attribute of that name, whatever its prefix; empty where there is none.
    std::string_view operator[](std::string_view name) const;

    const char* const* pairs() const { return pairs_; }

private:
    const char* const* pairs_;
};

/// Receives the parts of an XML document in their order.
class XmlEvents {
public:
    virtual ~XmlEvents() = default;

    virtual void begin(std::string_view name, const XmlAttributes& attributes) = 0;
    virtual void end(std::string_view name) = 0;
    /// A part of the text inside an element; one text may come in several.
    virtual void text(std::string_view part) = 0;
    /// An entity that is defined outside the document, or nowhere.
    virtual void unknownEntity(std::string_view) {}
};

struct XmlReading {
    std::string_view part = {};     // the name of the document in an archive, for the cause of an error
    bool keepsPrefixes = false;     // names come with their prefixes
    const char* encoding = nullptr; // where it is not for the document to say
};

/// Reads a document in bounded memory. Nothing outside it is looked at, and entities that would blow it up are refused.
///
/// fill    fills a buffer with more of the document; 0 at the end
/// errors  unreadableSource with the line of the first mistake; resourceLimit for deep nesting and
///         for entities that multiply the document; what the events throw
void readXml(const std::function<std::size_t(std::span<char>)>& fill, XmlEvents& events,
             const XmlReading& reading = {});

} // namespace nivex::data
