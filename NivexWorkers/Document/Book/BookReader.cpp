#include "NivexWorkers/Document/Book/BookReader.hpp"

#include "NivexWorkers/Document/Html/HtmlReader.hpp"
#include "NivexWorkers/Document/Package/Package.hpp"

#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <map>
#include <utility>

namespace nivex::document {
namespace {

/// "a%20b.xhtml" is "a b.xhtml".
std::string decodedAddress(std::string_view address)
{
    std::string decoded;
    for (std::size_t i = 0; i < address.size(); ++i) {
        unsigned value = 0;
        const bool isEscape =
            address[i] == '%' && i + 2 < address.size() &&
            std::from_chars(address.data() + i + 1, address.data() + i + 3, value, 16).ptr == address.data() + i + 3;
        decoded += isEscape ? static_cast<char>(value) : address[i];
        i += isEscape ? 2 : 0;
    }
    return decoded;
}

/// The notes and pictures of one part of a document get the numbers that they have in the whole.
void append(Document part, Document& whole)
{
    const std::size_t notes = whole.notes.size();
    const std::size_t images = whole.images.size();
    const auto renumber = [&](Inlines& inlines) {
        for (Inline& piece : inlines)
            if (piece.index)
                *piece.index += piece.kind == Inline::Kind::note ? notes : images;
    };
    visitInlines(part.blocks, renumber);
    for (Blocks& note : part.notes)
        visitInlines(note, renumber);
    std::ranges::move(part.blocks, std::back_inserter(whole.blocks));
    std::ranges::move(part.notes, std::back_inserter(whole.notes));
    std::ranges::move(part.images, std::back_inserter(whole.images));
}

class BookReader {
public:
    explicit BookReader(const Source& source) : source_{source}, package_{source} {}

    Document read()
    {
        const auto container = package_.xml("META-INF/container.xml");
        const std::string main{attributeOf(foundBelow(container, "rootfile"), "full-path")};
        const auto description = package_.xml(main);
        const pugi::xml_node book = childOf(description, "package");
        if (!book)
            throw ConversionError::unreadableSource("ce n'est pas un livre EPUB"_fr).because(main + ": no package");
        refuseEncrypted();
        Document whole;
        readMetadata(childOf(book, "metadata"), whole);
        const std::string_view folder = folderOfPart(main);
        std::map<std::string_view, pugi::xml_node> items;
        for (const pugi::xml_node item : childOf(book, "manifest"))
            items[attributeOf(item, "id")] = item;
        for (const pugi::xml_node each : childOf(book, "spine"))
            if (const auto item = items.find(attributeOf(each, "idref"));
                localName(each) == "itemref" && item != items.end())
                readChapter(resolvedPart(folder, decodedAddress(attributeOf(item->second, "href"))), whole);
        return whole;
    }

private:
    /// Fonts may be scrambled; a chapter that is cannot be read.
    void refuseEncrypted() const
    {
        const auto encryption = package_.xmlIfSound("META-INF/encryption.xml");
        for (const pugi::xml_node each : encryption.first_child()) {
            const std::string_view part = attributeOf(foundBelow(each, "CipherReference"), "URI");
            if (part.ends_with("html") || part.ends_with(".htm"))
                throw ConversionError::unreadableSource("le fichier est protégé (DRM)"_fr);
        }
    }

    static void readMetadata(const pugi::xml_node& metadata, Document& document)
    {
        document.title = trimmed(childOf(metadata, "title").child_value());
        document.author = trimmed(childOf(metadata, "creator").child_value());
        document.language = trimmed(childOf(metadata, "language").child_value());
    }

    void readChapter(const std::string& name, Document& whole)
    {
        const std::optional<std::string> text = package_.bytes(name);
        if (!text)
            return source_.remark("Des chapitres du livre manquent dans le fichier."_fr);
        const FindImage findImage = [&](std::string_view address) {
            return package_.image(resolvedPart(folderOfPart(name), decodedAddress(address)));
        };
        Document chapter = readHtmlText(*text, findImage);
        // Links between chapters lead inside one document now.
        const auto joinLinks = [](Inlines& inlines) {
            for (Inline& piece : inlines)
                if (const std::size_t mark = piece.link.find('#');
                    mark != piece.link.npos && piece.link.find(':') == piece.link.npos)
                    piece.link.erase(0, mark);
        };
        visitInlines(chapter.blocks, joinLinks);
        append(std::move(chapter), whole);
    }

    const Source& source_;
    Package package_;
};

} // namespace

Document readBook(const Source& source) { return BookReader{source}.read(); }

} // namespace nivex::document
