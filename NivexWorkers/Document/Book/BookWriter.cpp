#include "NivexWorkers/Document/Book/BookWriter.hpp"

#include "NivexWorkers/Document/Html/HtmlWriter.hpp"
#include "NivexWorkers/Document/Html/Markup.hpp"
#include "NivexWorkers/Document/Model/Images.hpp"
#include "NivexWorkers/Document/Package/Package.hpp"

#include "NivexKit/Foundation/Bytes/Digest.hpp"
#include "NivexKit/Foundation/Text/Hexadecimal.hpp"

#include <algorithm>
#include <span>
#include <string>
#include <variant>

namespace nivex::document {
namespace {

constexpr std::string_view xmlHead = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
constexpr std::string_view container =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<container version=\"1.0\" xmlns=\"urn:oasis:names:tc:opendocument:xmlns:container\"><rootfiles>"
    "<rootfile full-path=\"book.opf\" media-type=\"application/oebps-package+xml\"/></rootfiles></container>\n";

struct Chapter {
    std::string name; // of its part
    std::string title;
    Blocks blocks;
};

class BookWriter {
public:
    explicit BookWriter(const Document& document) : document_{document}
    {
        for (const Block& block : document.blocks) {
            const auto* heading = std::get_if<Heading>(&block.content);
            if (chapters_.empty() || (heading && heading->level == 1 && !chapters_.back().blocks.empty()))
                chapters_.push_back({.name = "chapter" + std::to_string(chapters_.size() + 1) + ".xhtml"});
            Chapter& chapter = chapters_.back();
            if (heading && chapter.title.empty())
                chapter.title = plainText(heading->inlines);
            chapter.blocks.push_back(block);
        }
        if (chapters_.empty())
            chapters_.push_back({.name = "chapter1.xhtml"});
        for (std::size_t i = 0; i < chapters_.size(); ++i)
            if (chapters_[i].title.empty())
                chapters_[i].title = i == 0 && !document.title.empty() ? document.title : std::to_string(i + 1);
    }

    std::vector<std::byte> written()
    {
        ZipArchive::Writer archive{firstZipDay};
        const auto add = [&](const std::string& name, std::string_view contents, bool compress = true) {
            archive.add(name, std::as_bytes(std::span{contents}), compress);
        };
        add("mimetype", "application/epub+zip", false); // the first entry, as it is (OCF, 4.3)
        add("META-INF/container.xml", container);
        add("style.css", documentStyleSheet);
        std::string all;
        for (const Chapter& chapter : chapters_) {
            const std::string page = pageOf(chapter);
            all += page;
            add(chapter.name, page);
        }
        add("contents.xhtml", contents());
        add("book.opf", description(all));
        for (std::size_t i = 0; i < document_.images.size(); ++i)
            if (isWebImage(document_.images[i]))
                add(imageName(i), document_.images[i].bytes, false);
        return archive.finish();
    }

private:
    std::string imageName(std::size_t index) const
    {
        return "image" + std::to_string(index + 1) + "." + std::string{extensionOf(document_.images[index].mediaType)};
    }

    std::string language() const { return document_.language.empty() ? "fr" : document_.language; }

    std::string page(std::string_view title, std::string_view body) const
    {
        std::string page{xmlHead};
        page +=
            "<!DOCTYPE html>\n<html xmlns=\"http://www.w3.org/1999/xhtml\" xmlns:epub=\"http://www.idpf.org/2007/ops\" "
            "xml:lang=\"" +
            escaped(language()) + "\">\n<head><title>" + escaped(title) +
            "</title><link rel=\"stylesheet\" type=\"text/css\" href=\"style.css\"/></head>\n<body>\n";
        return page.append(body).append("</body>\n</html>\n");
    }

    std::string pageOf(const Chapter& chapter) const
    {
        const HtmlStyle style{.imageAddress =
                                  [this](std::size_t index) {
                                      return isWebImage(document_.images[index]) ? imageName(index) : std::string{};
                                  },
                              .linkAddress = [this](const std::string& link) { return addressInBook(link); },
                              .isBook = true};
        return page(chapter.title, htmlOf(chapter.blocks, document_, style));
    }

    /// An anchor may stand in another chapter.
    std::string addressInBook(const std::string& link) const
    {
        if (!link.starts_with('#'))
            return link;
        for (const Chapter& chapter : chapters_) {
            bool isHere = false;
            visitInlines(const_cast<Blocks&>(chapter.blocks), [&](Inlines& inlines) {
                isHere =
                    isHere || std::ranges::any_of(inlines, [&](const Inline& piece) {
                        return piece.kind == Inline::Kind::anchor && piece.source == std::string_view{link}.substr(1);
                    });
            });
            if (isHere)
                return chapter.name + link;
        }
        return link;
    }

    std::string contents() const
    {
        std::string list = "<nav epub:type=\"toc\"><ol>\n";
        for (const Chapter& chapter : chapters_)
            list += "<li><a href=\"" + chapter.name + "\">" + escaped(chapter.title) + "</a></li>\n";
        return page(document_.title, list + "</ol></nav>\n");
    }

    /// The book is named by what is in it, so that the same document makes the same book.
    std::string description(std::string_view text) const
    {
        const std::string name = hexadecimal(digest(DigestKind::sha256, text));
        std::string opf{xmlHead};
        opf += "<package xmlns=\"http://www.idpf.org/2007/opf\" version=\"3.0\" unique-identifier=\"id\">\n"
               "<metadata xmlns:dc=\"http://purl.org/dc/elements/1.1/\">\n<dc:identifier id=\"id\">urn:sha256:" +
               name + "</dc:identifier>\n<dc:title>" +
               escaped(document_.title.empty() ? chapters_.front().title : document_.title) +
               "</dc:title>\n<dc:language>" + escaped(language()) + "</dc:language>\n";
        if (!document_.author.empty())
            opf += "<dc:creator>" + escaped(document_.author) + "</dc:creator>\n";
        opf +=
            "<meta property=\"dcterms:modified\">2000-01-01T00:00:00Z</meta>\n</metadata>\n<manifest>\n"
            "<item id=\"contents\" href=\"contents.xhtml\" media-type=\"application/xhtml+xml\" properties=\"nav\"/>\n"
            "<item id=\"style\" href=\"style.css\" media-type=\"text/css\"/>\n";
        std::string spine;
        for (std::size_t i = 0; i < chapters_.size(); ++i) {
            const std::string id = "chapter" + std::to_string(i + 1);
            opf +=
                "<item id=\"" + id + "\" href=\"" + chapters_[i].name + "\" media-type=\"application/xhtml+xml\"/>\n";
            spine += "<itemref idref=\"" + id + "\"/>";
        }
        for (std::size_t i = 0; i < document_.images.size(); ++i)
            if (isWebImage(document_.images[i]))
                opf += "<item id=\"image" + std::to_string(i + 1) + "\" href=\"" + imageName(i) + "\" media-type=\"" +
                       document_.images[i].mediaType + "\"/>\n";
        return opf + "</manifest>\n<spine>" + spine + "</spine>\n</package>\n";
    }

    const Document& document_;
    std::vector<Chapter> chapters_;
};

} // namespace

std::vector<std::byte> writtenBook(const Document& document) { return BookWriter{document}.written(); }

} // namespace nivex::document
