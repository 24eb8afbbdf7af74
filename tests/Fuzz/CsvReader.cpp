#include "NivexWorkers/Data/Csv/CsvReader.hpp"

#include "tests/Fuzz/DataReader.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    return nivex::data::readToTheLastRow(nivex::data::readCsv, data, size);
}
