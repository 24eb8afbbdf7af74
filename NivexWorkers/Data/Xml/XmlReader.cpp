#include "NivexWorkers/Data/Xml/XmlReader.hpp"

#include "NivexWorkers/Data/Model/Errors.hpp"
#include "NivexWorkers/Data/Model/TreeEvents.hpp"

#include <expat.h>

#include <exception>
#include <memory>
#include <string>

namespace nivex::data {
namespace {

constexpr std::size_t pieceSize = 1 << 16;

std::string_view withoutPrefix(std::string_view name)
{
    const std::size_t colon = name.find(':');
    return colon == name.npos ? name : name.substr(colon + 1);
}

struct ParserRelease {
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};

/// The library's calls, handed on. No exception passes through the library: it is kept until its call has ended.
class Reading {
public:
    Reading(XmlEvents& events, const XmlReading& settings)
        : events_{events}, settings_{settings}, parser_{XML_ParserCreate(settings.encoding)}
    {
        if (!parser_)
            throw std::bad_alloc{};
        XML_SetUserData(parser_.get(), this);
        XML_SetElementHandler(
            parser_.get(),
            [](void* self, const char* name, const char** attributes) {
                static_cast<Reading*>(self)->begin(name, attributes);
            },
            [](void* self, const char* name) {
                auto& reading = *static_cast<Reading*>(self);
                --reading.depth_;
                reading.guarded([&] { reading.events_.end(reading.shown(name)); });
            });
        XML_SetCharacterDataHandler(parser_.get(), [](void* self, const char* text, int length) {
            auto& reading = *static_cast<Reading*>(self);
            reading.guarded([&] { reading.events_.text({text, static_cast<std::size_t>(length)}); });
        });
        XML_SetSkippedEntityHandler(parser_.get(), [](void* self, const char* name, int isParameter) {
            auto& reading = *static_cast<Reading*>(self);
            if (isParameter == 0)
                reading.guarded([&] { reading.events_.unknownEntity(name); });
        });
    }

    /// False when the document has been read to its end.
    bool readPiece(const std::function<std::size_t(std::span<char>)>& fill)
    {
        auto* buffer = static_cast<char*>(XML_GetBuffer(parser_.get(), static_cast<int>(pieceSize)));
        if (buffer == nullptr)
            throw std::bad_alloc{};
        const std::size_t count = fill({buffer, pieceSize});
        const XML_Status status = XML_ParseBuffer(parser_.get(), static_cast<int>(count), count == 0);
        if (failure_)
            std::rethrow_exception(failure_);
        if (status != XML_STATUS_OK)
            throw mistake();
        return count > 0;
    }

private:
    std::string_view shown(std::string_view name) const { return settings_.keepsPrefixes ? name : withoutPrefix(name); }

    void begin(const char* name, const char** attributes)
    {
        guarded([&] {
            if (++depth_ > maxDepth)
                throw tooDeep(maxDepth);
            events_.begin(shown(name), XmlAttributes{attributes});
        });
    }

    template <class Call>
    void guarded(Call call)
    {
        if (failure_)
            return;
        try {
            call();
        } catch (...) {
            failure_ = std::current_exception();
            XML_StopParser(parser_.get(), XML_FALSE);
        }
    }

    ConversionError mistake() const
    {
        const XML_Size line = XML_GetCurrentLineNumber(parser_.get());
        const XML_Error error = XML_GetErrorCode(parser_.get());
        const std::string cause = XML_ErrorString(error);
        if (error == XML_ERROR_AMPLIFICATION_LIMIT_BREACH)
            return ConversionError::resourceLimit("les entités XML multiplient les données à l'excès"_fr);
        if (settings_.part.empty())
            return invalidAtLine("XML", line).because(cause);
        return damagedContent().because(std::string{settings_.part} + ", line " + std::to_string(line) + ": " + cause);
    }

    XmlEvents& events_;
    XmlReading settings_;
    std::unique_ptr<XML_ParserStruct, ParserRelease> parser_;
    std::size_t depth_ = 0;
    std::exception_ptr failure_;
};

} // namespace

std::string_view XmlAttributes::operator[](std::string_view name) const
{
    for (const char* const* pair = pairs_; *pair != nullptr; pair += 2)
        if (withoutPrefix(pair[0]) == name)
            return pair[1];
    return {};
}

void readXml(const std::function<std::size_t(std::span<char>)>& fill, XmlEvents& events, const XmlReading& reading)
{
    Reading document{events, reading};
    while (document.readPiece(fill)) {
    }
}

} // namespace nivex::data
