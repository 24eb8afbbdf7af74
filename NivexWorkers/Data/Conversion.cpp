#include "NivexWorkers/Data/Conversion.hpp"

#include "NivexWorkers/Data/Csv/CsvReader.hpp"
#include "NivexWorkers/Data/Csv/CsvWriter.hpp"
#include "NivexWorkers/Data/Json/JsonReader.hpp"
#include "NivexWorkers/Data/Json/JsonWriter.hpp"
#include "NivexWorkers/Data/Model/Output.hpp"
#include "NivexWorkers/Data/Model/TableToTree.hpp"
#include "NivexWorkers/Data/Model/TreeToTable.hpp"
#include "NivexWorkers/Data/OpenDocument/OdsReader.hpp"
#include "NivexWorkers/Data/OpenDocument/OdsWriter.hpp"
#include "NivexWorkers/Data/Plist/PlistReader.hpp"
#include "NivexWorkers/Data/Plist/PlistWriter.hpp"
#include "NivexWorkers/Data/Toml/TomlReader.hpp"
#include "NivexWorkers/Data/Toml/TomlWriter.hpp"
#include "NivexWorkers/Data/Workbook/WorkbookReader.hpp"
#include "NivexWorkers/Data/Workbook/WorkbookWriter.hpp"
#include "NivexWorkers/Data/Xls/XlsReader.hpp"
#include "NivexWorkers/Data/Xml/XmlTreeReader.hpp"
#include "NivexWorkers/Data/Xml/XmlWriter.hpp"
#include "NivexWorkers/Data/Yaml/YamlReader.hpp"
#include "NivexWorkers/Data/Yaml/YamlWriter.hpp"

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <functional>
#include <memory>
#include <string_view>

namespace nivex::data {
namespace {

using TableReader = void (*)(const Input&, TableEvents&);
using TreeReader = void (*)(const Input&, TreeEvents&);
using MakeTableWriter = std::unique_ptr<TableEvents> (*)(Output&);
/// Writes nested data that come from the given reading.
using WriteTree = void (*)(const TreeReading&, bool isTable, Output&);

/// How one format is read and written: as a table or as nested data, whichever it is.
struct DataFormatWork {
    std::string_view id;
    TableReader readTable = nullptr;
    TreeReader readTree = nullptr;
    MakeTableWriter tableWriter = nullptr;
    WriteTree writeTree = nullptr;
    bool hasTypes = true; // a table of it tells numbers from texts
    bool hasRoot = false; // all data lie in one member, which says nothing of the rows of a table
};

void writeJson(const TreeReading& read, bool isTable, Output& output)
{
    FileSink file{output.single()};
    TextOutput text{file};
    JsonWriter json{text, isTable ? 1 : JsonWriter::everyLevel};
    read(json);
    text.flush();
    file.finish();
}

void writeYaml(const TreeReading& read, bool, Output& output)
{
    FileSink file{output.single()};
    TextOutput text{file};
    YamlWriter yaml{text};
    read(yaml);
    text.flush();
    file.finish();
}

void writePlist(const TreeReading& read, bool, Output& output)
{
    FileSink file{output.single()};
    TextOutput text{file};
    PlistWriter plist{text, output.remarks()};
    read(plist);
    plist.finish();
    text.flush();
    file.finish();
}

// clang-format off
constexpr DataFormatWork formats[] = {
    {.id = "xls", .readTable = readXls},
    {.id = "xlsx", .readTable = readWorkbook, .tableWriter = workbookWriter},
    {.id = "xlsm", .readTable = readWorkbook},
    {.id = "csv",  .readTable = readCsv, .tableWriter = [](Output& output) { return csvWriter(output, ','); },
     .hasTypes = false},
    {.id = "tsv",  .readTable = readCsv, .tableWriter = [](Output& output) { return csvWriter(output, '\t'); },
     .hasTypes = false},
    {.id = "ods", .readTable = readOds, .tableWriter = odsWriter},
    {.id = "json", .readTree = readJson, .writeTree = writeJson},
    {.id = "xml", .readTree = readXmlTree,
     .writeTree = [](const TreeReading& read, bool, Output& output) { writeXml(read, output); }, .hasRoot = true},
    {.id = "yaml", .readTree = readYaml, .writeTree = writeYaml},
    {.id = "toml", .readTree = readToml,
     .writeTree = [](const TreeReading& read, bool, Output& output) { writeToml(read, output); }},
    {.id = "plist", .readTree = readPlist, .writeTree = writePlist},
};
// clang-format on

const DataFormatWork* workOf(const FileFormat& format)
{
    const auto found = std::ranges::find(formats, std::string_view{format.id.rawValue}, &DataFormatWork::id);
    return found == std::end(formats) ? nullptr : &*found;
}

/// Hands on what the only member of the outermost object holds.
class WithoutRoot final : public TreeEvents {
public:
    explicit WithoutRoot(TreeEvents& events) : events_{events} {}

    void beginObject() override
    {
        if (depth_++ > 0)
            events_.beginObject();
    }
    void key(std::string_view name) override
    {
        if (depth_ > 1)
            events_.key(name);
    }
    void endObject() override
    {
        if (--depth_ > 0)
            events_.endObject();
    }
    void beginArray() override { events_.beginArray(); }
    void endArray() override { events_.endArray(); }
    void scalar(const Scalar& value) override { events_.scalar(value); }

private:
    TreeEvents& events_;
    std::size_t depth_ = 0; // of objects
};

/// What the conversion reads, as the nested data of which a table is made.
TreeReading forTable(const DataFormatWork& source, const Input& input)
{
    if (!source.hasRoot)
        return [&source, &input](TreeEvents& events) { source.readTree(input, events); };
    return [&source, &input](TreeEvents& events) {
        WithoutRoot content{events};
        source.readTree(input, content);
    };
}

/// What the conversion reads, as nested data.
TreeReading asTree(const DataFormatWork& source, const Input& input)
{
    if (source.readTree)
        return [&source, &input](TreeEvents& events) { source.readTree(input, events); };
    return [&source, &input](TreeEvents& events) {
        TableToTree tree{events, input.remarks};
        source.readTable(input, tree);
        tree.finish();
    };
}

} // namespace

std::vector<std::filesystem::path> convertData(const EngineRequest& request, Remarks& remarks,
                                               const ProgressCallback& progress)
{
    const DataFormatWork* source = workOf(request.sourceFormat);
    const DataFormatWork* target = workOf(request.targetFormat);
    if (!source || !target || !(source->readTable || source->readTree) || !(target->tableWriter || target->writeTree))
        throw ConversionError::unsupported(
            filled("{} vers {}"_fr, {request.sourceFormat.name, request.targetFormat.name}));
    const auto file = FileSource::open(request.input);
    if (!file)
        throw ConversionError::unreadableSource("lecture impossible"_fr);
    const Input input{.bytes = *file,
                      .remarks = remarks,
                      .limits = request.limits,
                      .wantsTypes = target->hasTypes,
                      .isTabSeparated = request.sourceFormat.id == "tsv",
                      .progress = [&progress](double share) { progress(share); }};
    Output output{request, remarks};
    if (target->writeTree) {
        target->writeTree(asTree(*source, input), source->readTable != nullptr, output);
        return output.files();
    }
    const std::unique_ptr<TableEvents> writer = target->tableWriter(output);
    if (source->readTable)
        source->readTable(input, *writer);
    else
        writeAsTable(forTable(*source, input), *writer, remarks);
    writer->finish();
    return output.files();
}

} // namespace nivex::data
