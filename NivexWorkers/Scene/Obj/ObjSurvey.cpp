#include "NivexWorkers/Scene/Obj/ObjSurvey.hpp"

#include <algorithm>
#include <string>

namespace nivex::scene {
namespace {

constexpr std::size_t blockSize = 1 << 20;
constexpr std::string_view statement = "usemtl";

/// Whether the word begins a line.
bool isStatement(std::string_view text, std::size_t at)
{
    while (at > 0 && (text[at - 1] == ' ' || text[at - 1] == '\t'))
        --at;
    return at > 0 && text[at - 1] == '\n';
}

bool hasStatement(std::string_view text)
{
    for (std::size_t at = text.find(statement); at != text.npos; at = text.find(statement, at + 1))
        if (isStatement(text, at))
            return true;
    return false;
}

} // namespace

SourceProperties surveyObj(const SceneInput& input)
{
    std::string block(blockSize, '\n');
    std::size_t kept = 1; // what the line was that the last block ended in, with the line break before it
    for (std::uint64_t at = 0;;) {
        const std::size_t got = input.bytes.read(at, std::as_writable_bytes(std::span{block}.subspan(kept)));
        const std::string_view text{block.data(), kept + got};
        if (hasStatement(text))
            return {.hasRigOrAnimation = false, .hasMaterials = true};
        if (got == 0)
            return {.hasRigOrAnimation = false, .hasMaterials = false};
        at += got;
        // Of a line that is so long, it is known that it does not begin with the word.
        const std::size_t lastLine = text.rfind('\n');
        const bool isLong = lastLine == text.npos || text.size() - lastLine > blockSize / 2;
        const std::string_view left = text.substr(isLong ? text.size() - 1 : lastLine);
        kept = left.size();
        std::ranges::copy(left, block.begin());
    }
}

} // namespace nivex::scene
