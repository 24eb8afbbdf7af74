#include "NivexWorkers/Document/Html/Markup.hpp"

#include "NivexKit/Foundation/Text/Unicode.hpp"

namespace nivex::document {

std::string escaped(std::string_view text)
{
    std::string result;
    result.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t begin = at;
        const char32_t scalar = nextScalar(text, at);
        if (scalar == '&')
            result += "&amp;";
        else if (scalar == '<')
            result += "&lt;";
        else if (scalar == '>')
            result += "&gt;";
        else if (scalar == '"')
            result += "&quot;";
        else if (scalar >= ' ' || scalar == '\t' || scalar == '\n')
            if (scalar != 0xFFFE && scalar != 0xFFFF)
                result += text.substr(begin, at - begin);
    }
    return result;
}

} // namespace nivex::document
