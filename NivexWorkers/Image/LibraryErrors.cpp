#include "NivexWorkers/Image/LibraryErrors.hpp"

#include <vips/vips8>

#include <algorithm>
#include <deque>
#include <mutex>
#include <string_view>

namespace nivex::image {

namespace {

constexpr std::size_t keptWarnings = 3;

/// The last few different ones, oldest first.
struct Warnings {
    std::mutex mutex;
    std::deque<std::string> texts;
};

Warnings& warnings()
{
    static Warnings all;
    return all;
}

} // namespace

void forgetErrors()
{
    vips_error_clear();
    const std::lock_guard lock{warnings().mutex};
    warnings().texts.clear();
}

void noteWarning(const std::string& warning)
{
    const std::lock_guard lock{warnings().mutex};
    auto& texts = warnings().texts;
    if (std::ranges::find(texts, warning) != texts.end())
        return;
    if (texts.size() == keptWarnings)
        texts.pop_front();
    texts.push_back(warning);
}

bool hasErrorBehind() { return *vips_error_buffer() != '\0'; }

std::string errorsBehind()
{
    const std::string messages = vips_error_buffer();
    std::string all;
    const std::lock_guard lock{warnings().mutex};
    for (const std::string& warning : warnings().texts)
        if (messages.find(warning) == std::string::npos)
            all.append(warning).append("\n");
    return all + messages;
}

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
