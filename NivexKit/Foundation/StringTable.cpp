#include "NivexKit/Foundation/StringTable.hpp"

namespace nivex {

std::string Text::localized() const { return std::string{french}; }

std::string filled(Text pattern, std::initializer_list<std::string_view> values)
{
    const std::string text = pattern.localized();
    std::string result;
    std::size_t position = 0;
    for (const std::string_view value : values) {
        const std::size_t gap = text.find("{}", position);
        if (gap == std::string::npos)
            break;
        result.append(text, position, gap - position).append(value);
        position = gap + 2;
    }
    return result.append(text, position, std::string::npos);
}

} // namespace nivex
