#include "NivexWorkers/Data/Model/Output.hpp"

#include "NivexKit/Foundation/Text/Unicode.hpp"

#include <algorithm>
#include <string>

namespace nivex::data {
namespace {

constexpr std::size_t longestName = 200; // bytes, of base and sheet

std::string asFileName(std::string_view name)
{
    std::string result;
    for (std::size_t at = 0; at < name.size();) {
        const char32_t scalar = nextScalar(name, at);
        if (isControl(scalar))
            result += ' ';
        else if (scalar == '/' || scalar == ':' || scalar == '\\')
            result += '-';
        else
            appendScalar(result, scalar);
    }
    return result;
}

} // namespace

std::filesystem::path Output::single()
{
    files_.push_back(request_.outputLocation());
    return files_.back();
}

std::filesystem::path Output::forSheet(std::string_view name)
{
    const std::string stem{cutToBytes(request_.baseName + " - " + asFileName(name), longestName)};
    const std::string extension = "." + request_.targetFormat.preferredExtension();
    std::filesystem::path location = request_.workingDirectory / (stem + extension);
    for (int number = 2; std::ranges::find(files_, location) != files_.end(); ++number)
        location = request_.workingDirectory / (stem + " " + std::to_string(number) + extension);
    files_.push_back(location);
    return location;
}

} // namespace nivex::data
