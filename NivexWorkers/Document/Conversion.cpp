#include "NivexWorkers/Document/Conversion.hpp"

#include "NivexWorkers/Document/Book/BookReader.hpp"
#include "NivexWorkers/Document/Book/BookWriter.hpp"
#include "NivexWorkers/Document/Html/HtmlReader.hpp"
#include "NivexWorkers/Document/Html/HtmlWriter.hpp"
#include "NivexWorkers/Document/Markdown/MarkdownReader.hpp"
#include "NivexWorkers/Document/Markdown/MarkdownWriter.hpp"
#include "NivexWorkers/Document/Model/Source.hpp"
#include "NivexWorkers/Document/Pdf/PdfWriter.hpp"
#include "NivexWorkers/Document/Text/TextReader.hpp"
#include "NivexWorkers/Document/Text/TextWriter.hpp"
#include "NivexWorkers/Document/Word/WordReader.hpp"
#include "NivexWorkers/Document/Word/WordWriter.hpp"

#include "NivexKit/Foundation/Files/OutputFile.hpp"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace nivex::document {
namespace {

using Read = Document (*)(const Source&);
using Write = std::string (*)(const Document&, const Remark&);

/// How one format is read and written.
struct DocumentFormatWork {
    std::string_view id;
    Read read = nullptr;
    Write write = nullptr;
};

std::string textOf(const std::vector<std::byte>& bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// clang-format off
constexpr DocumentFormatWork formats[] = {
    {"txt",  readText, [](const Document& document, const Remark&) { return writtenText(document); }},
    {"md",   readMarkdown, [](const Document& document, const Remark&) { return writtenMarkdown(document); }},
    {"html", readHtml, [](const Document& document, const Remark&) { return writtenHtml(document); }},
    {"docx", readWord, [](const Document& document, const Remark&) { return textOf(writtenWord(document)); }},
    {"pdf",  nullptr, writtenPdf},
    {"epub", readBook, [](const Document& document, const Remark&) { return textOf(writtenBook(document)); }},
};
// clang-format on

const DocumentFormatWork* workOf(const FileFormat& format)
{
    const auto found = std::ranges::find(formats, std::string_view{format.id.rawValue}, &DocumentFormatWork::id);
    return found == std::end(formats) ? nullptr : &*found;
}

} // namespace

std::vector<std::filesystem::path> convertDocument(const EngineRequest& request, const ProgressCallback&)
{
    const DocumentFormatWork* from = workOf(request.sourceFormat);
    const DocumentFormatWork* to = workOf(request.targetFormat);
    if (!from || !to || !from->read || !to->write)
        throw ConversionError::unsupported(
            filled("{} vers {}"_fr, {request.sourceFormat.name, request.targetFormat.name}));
    const auto file = FileSource::open(request.input);
    if (!file)
        throw ConversionError::unreadableSource("lecture impossible"_fr);
    const Remark remark = [&](std::string sentence) { request.warn(std::move(sentence)); };
    const Document document = from->read({.bytes = *file, .limits = request.limits, .remark = remark});
    const std::filesystem::path result = request.outputLocation();
    const std::string written = to->write(document, remark);
    if (written.empty())
        throw ConversionError::unreadableSource("ce document ne contient aucun texte"_fr);
    writeNewFile(result, written);
    return {result};
}

} // namespace nivex::document
