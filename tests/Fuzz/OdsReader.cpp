#include "NivexWorkers/Data/OpenDocument/OdsReader.hpp"

#include "tests/Fuzz/DataReader.hpp"
#include "tests/NivexWorkers/Data/SpreadsheetBytes.hpp"

/// The input is the document in its archive.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace nivex::data;
    const std::string file = archiveOf({{"content.xml", {reinterpret_cast<const char*>(data), size}}});
    return readToTheLastRow(readOds, reinterpret_cast<const std::uint8_t*>(file.data()), file.size());
}
