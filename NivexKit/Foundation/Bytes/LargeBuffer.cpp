#include "NivexKit/Foundation/Bytes/LargeBuffer.hpp"

#include <sys/mman.h>

#include <cstdint>

namespace nivex {
namespace {

constexpr std::uintptr_t largePage = 2 * 1024 * 1024;

} // namespace

void reserveLarge(std::string& buffer, std::size_t size)
{
    buffer.reserve(size);
    // Advice is taken for whole pages that lie inside the buffer only.
    const auto address = reinterpret_cast<std::uintptr_t>(buffer.data());
    const std::uintptr_t begin = (address + largePage - 1) / largePage * largePage;
    const std::uintptr_t end = (address + buffer.capacity()) / largePage * largePage;
    if (begin < end)
        ::madvise(buffer.data() + (begin - address), end - begin, MADV_HUGEPAGE);
}

} // namespace nivex
