#include "NivexWorkers/Document/Book/BookReader.hpp"

#include "NivexWorkers/Document/Book/BookWriter.hpp"

#include <cstddef>
#include <cstdint>
#include <span>

/// Whatever is read can be written again.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using namespace nivex;
    const MemorySource bytes{std::as_bytes(std::span{data, size})};
    try {
        document::writtenBook(document::readBook({.bytes = bytes, .limits = {}}));
    } catch (const ConversionError&) {
    }
    return 0;
}
