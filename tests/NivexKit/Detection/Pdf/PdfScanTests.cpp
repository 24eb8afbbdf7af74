#include "NivexKit/Detection/Pdf/PdfScan.hpp"
#include "tests/Support/Bytes.hpp"

#include <gtest/gtest.h>

#include <string>

namespace nivex {
namespace {

/// A file of objects with a plain cross-reference table, as its writers make it; object i + 1 is `objects[i]`.
std::string pdf(const std::vector<std::string>& objects, const std::string& trailerEntries)
{
    std::string file = "%PDF-1.4\n";
    std::string table = "0000000000 65535 f \n";
    for (std::size_t i = 0; i < objects.size(); ++i) {
        std::string offset = std::to_string(file.size());
        offset.insert(0, 10 - offset.size(), '0');
        table += offset + " 00000 n \n";
        file += std::to_string(i + 1) + " 0 obj\n" + objects[i] + "\nendobj\n";
    }
    const std::size_t start = file.size();
    file += "xref\n0 " + std::to_string(objects.size() + 1) + "\n" + table + "trailer\n<< /Root 1 0 R " +
            trailerEntries + " >>\nstartxref\n" + std::to_string(start) + "\n%%EOF\n";
    return file;
}

PdfFacts scanned(const std::string& text)
{
    const auto file = testing::textBytes(text);
    const MemorySource source{file};
    HeaderBytes bytes{source, {}};
    return scanPdf(bytes);
}

/// A file whose cross-reference and catalogue stand in streams, here without compression.
std::string pdfOfStreams()
{
    const std::string inner = "1 0 2 38 << /Type /Catalog /Pages 2 0 R      >><< /Type /Pages /Count 12 >>";
    std::string file = "%PDF-1.5\n";
    const std::size_t objectStream = file.size();
    file += "3 0 obj << /Type /ObjStm /N 2 /First 9 /Length " + std::to_string(inner.size()) + " >> stream\n" + inner +
            "\nendstream endobj\n";
    const std::size_t table = file.size();
    const std::string entries{'\x02', '\x03', '\x00', '\x02', '\x03', '\x01', '\x01', static_cast<char>(objectStream),
                              '\x00'};
    file += "4 0 obj << /Type /XRef /W [1 1 1] /Index [1 3] /Root 1 0 R /Length 9 >> stream\n" + entries +
            "\nendstream endobj\nstartxref\n" + std::to_string(table) + "\n%%EOF";
    return file;
}

TEST(PdfScan, TellsPagesOnlyWhereItKnows)
{
    const std::string catalogue = "<< /Type /Catalog /Names << /Pages 9 0 R >> /Pages 2 0 R >>";
    const std::string whole = pdf({catalogue, "<< /Type /Pages /Kids [] /Count 3 0 R >>", "7"}, "");
    std::string shifted = pdf({catalogue, "<< /Type /Pages /Title (\\) /Count 99 \\() /Count 7 >>"}, "");
    shifted.insert(shifted.find("2 0 obj"), "          ");
    const std::string edited = whole + "2 0 obj << /Type /Pages /Count 8 >> endobj\nxref\n2 1\n" +
                               std::string(10 - std::to_string(whole.size()).size(), '0') +
                               std::to_string(whole.size()) + " 00000 n \ntrailer << /Root 1 0 R /Prev " +
                               whole.substr(whole.find("startxref") + 10, 3) + " >>\nstartxref\n" +
                               std::to_string(whole.size() + 43) + "\n%%EOF";
    std::string loop = whole;
    loop.replace(loop.find("/Root 1 0 R"), 11, "/Root 1 0 R /Prev " + whole.substr(whole.find("startxref") + 10, 3));

    // As qpdf writes the dictionary of a file that only restricts rights.
    std::string offByTwo =
        pdf({catalogue, "<< /Type /Pages /Count 7 >>",
             "<< /Filter /Standard /V 5 /R 6 /P -4 /U <7d92cef7943284a0b71ef8d3bed93e1f9860c66aa068071d3b61d3c903e2a140"
             "3447ff20a61be04cb66bd4404616eaa6> >>",
             "(" + std::string(140'000, ' ') + ")"},
            "/Encrypt 3 0 R");
    offByTwo.insert(9, "\r\n");

    struct Case {
        const char* fault;
        std::string file;
        PdfFacts expected;
    };
    const Case cases[] = {
        {"nested keys and an indirect count", whole, {7, false}},
        {"text in front of the file proper moves every offset", "junk\n" + whole, {7, false}},
        {"offsets that are wrong: the small file is read whole", shifted, {7, false}},
        {"a later version of an object", edited, {8, false}},
        {"sections that lead back", loop, {7, false}},
        {"offsets off by two bytes", offByTwo, {7, false}},
        {"objects in streams", pdfOfStreams(), {12, false}},
        {"a page tree of another type", pdf({catalogue, "<< /Type /Page /Count 7 >>"}, ""), {std::nullopt, false}},
        {"a negative count", pdf({catalogue, "<< /Type /Pages /Count -7 >>"}, ""), {std::nullopt, false}},
        {"encrypted in a way that cannot be read",
         pdf({catalogue, "<< /Type /Pages /Count 7 >>"}, "/Encrypt 9 0 R"),
         {7, true}},
        {"no trailer at all", "%PDF-1.4\nhello", {}},
        {"an unclosed dictionary", "%PDF-1.4\n1 0 obj << /A << /B [ (", {}},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.fault);
        const PdfFacts facts = scanned(each.file);
        EXPECT_EQ(facts.pageCount, each.expected.pageCount);
        EXPECT_EQ(facts.needsPassword, each.expected.needsPassword);
    }
}

} // namespace
} // namespace nivex
