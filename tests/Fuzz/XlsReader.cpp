#include "NivexWorkers/Data/Xls/XlsReader.hpp"

#include "tests/Fuzz/DataReader.hpp"
#include "tests/NivexWorkers/Data/SpreadsheetBytes.hpp"

/// The input is a file, and the records of one.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace nivex::data;
    readToTheLastRow(readXls, data, size);
    const std::string file = compoundFile("Book", {reinterpret_cast<const char*>(data), size});
    return readToTheLastRow(readXls, reinterpret_cast<const std::uint8_t*>(file.data()), file.size());
}
