#include "NivexWorkers/Data/Workbook/WorkbookReader.hpp"

#include "NivexKit/Archive/ZipArchive.hpp"
#include "tests/Fuzz/DataReader.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace {

/// Puts the parts of a workbook together: what one mutates is XML rather than compressed data. The first line of the
/// input is its shared strings, the second its styles, the rest a sheet.
std::vector<std::byte> workbookOf(std::string_view text)
{
    nivex::ZipArchive::Writer archive;
    const auto add = [&archive](std::string_view name, std::string_view contents) {
        archive.add(name, std::as_bytes(std::span{contents}), false);
    };
    const auto line = [&text] {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view part = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        return part;
    };
    add("xl/workbook.xml", R"(<workbook><sheets><sheet name="S" id="1"/></sheets></workbook>)");
    add("xl/_rels/workbook.xml.rels", R"(<Relationships><Relationship Id="1" Type="/worksheet" Target="s"/>
        <Relationship Id="2" Type="/sharedStrings" Target="t"/><Relationship Id="3" Type="/styles" Target="y"/>
        </Relationships>)");
    add("xl/t", line());
    add("xl/y", line());
    add("xl/s", text);
    return archive.finish();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text{reinterpret_cast<const char*>(data), size};
    if (text.starts_with("PK"))
        return nivex::data::readToTheLastRow(nivex::data::readWorkbook, data, size);
    const std::vector<std::byte> workbook = workbookOf(text);
    return nivex::data::readToTheLastRow(nivex::data::readWorkbook,
                                         reinterpret_cast<const std::uint8_t*>(workbook.data()), workbook.size());
}
