#include "NivexWorkers/Data/Json/JsonReader.hpp"

#include "tests/Fuzz/DataReader.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    return nivex::data::readToTheLastValue(nivex::data::readJson, data, size);
}
