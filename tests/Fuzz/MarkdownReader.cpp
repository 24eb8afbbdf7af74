#include "NivexWorkers/Document/Markdown/MarkdownReader.hpp"

#include "NivexWorkers/Document/Html/HtmlWriter.hpp"
#include "NivexWorkers/Document/Markdown/MarkdownWriter.hpp"
#include "NivexWorkers/Document/Word/WordWriter.hpp"

#include <cstddef>
#include <cstdint>
#include <span>

/// Whatever is read can be written too.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace nivex;
    const MemorySource bytes{std::as_bytes(std::span{data, size})};
    try {
        const document::Document document = document::readMarkdown({.bytes = bytes, .limits = {}});
        document::writtenHtml(document);
        document::writtenMarkdown(document);
        document::writtenWord(document);
    } catch (const ConversionError&) {
    }
    return 0;
}
