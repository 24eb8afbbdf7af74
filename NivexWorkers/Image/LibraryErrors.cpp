#include "NivexWorkers/Image/LibraryErrors.hpp"

#include <vips/vips8>

#include <algorithm>
#include <string_view>

namespace nivex::image {

void forgetErrors() { vips_error_clear(); }

bool hasErrorBehind() { return *vips_error_buffer() != '\0'; }

std::string errorsBehind() { return vips_error_buffer(); }

bool hasGuessBehind()
{
    constexpr std::string_view guesses[] = {"premature end of data segment", "bad Huffman code", "bad arithmetic code",
                                            "instead of RST"};
    const std::string_view told = vips_error_buffer();
    return std::ranges::any_of(guesses, [told](std::string_view guess) { return told.find(guess) != told.npos; });
}

OneThread::OneThread() : before_{vips_concurrency_get()} { vips_concurrency_set(1); }

OneThread::~OneThread() { vips_concurrency_set(before_); }

} // namespace nivex::image
