#include "NivexWorkers/Data/Toml/TomlReader.hpp"

#include "tests/Fuzz/DataReader.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    return nivex::data::readToTheLastValue(nivex::data::readToml, data, size);
}
