#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct _xmlDoc;

namespace nivex::image {

/// True for the name of a coordinate, without its namespace: "GPSLatitude", "FlightAltitude".
bool namesPosition(std::string_view property);

/// An XMP packet (ISO 16684-1) as a tree of XML, so that whatever is not asked to change stays word for word.
class XmpPacket {
public:
    /// None when the text is no well-formed packet, or one with a document type, which packets do not have.
    static std::optional<XmpPacket> parse(std::string_view text);

    XmpPacket(XmpPacket&&) noexcept;
    XmpPacket& operator=(XmpPacket&&) noexcept;
    ~XmpPacket();

    /// The packet; the very text that was parsed where nothing had to change.
    std::string text() const;

    /// Says "upright" where there is a word on the orientation, and the true size wherever a size is told.
    void setUpright(int width, int height);
    void removeThumbnails();
    /// Takes coordinates away, those of places in structures too. Names of places stay.
    void removePosition();
    /// Takes over the properties, and the items of unordered lists, that `other` has and this packet lacks.
    void addMissing(const XmpPacket& other);

    /// The identifier of a second packet that continues this one in a JPEG file; none without one.
    std::optional<std::string> extensionIdentifier() const;
    void removeExtensionIdentifier();

    struct Halves {
        std::string main;
        std::string extension; // empty when all is in `main`
    };
    /// The packet for places that hold `mostBytes`: its largest properties become an extension (Adobe's XMP,
    /// "Storage in Files", 1.1.3.1). No halves when even that does not make it fit.
    std::optional<Halves> split(std::size_t mostBytes) const;

private:
    struct Free {
        void operator()(_xmlDoc* document) const;
    };

    XmpPacket(_xmlDoc* document, std::string_view text);

    std::unique_ptr<_xmlDoc, Free> document_;
    std::string text_; // as parsed
    bool isChanged_ = false;
};

} // namespace nivex::image
