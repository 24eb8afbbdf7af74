#pragma once

#include "NivexWorkers/Data/Conversion.hpp"

#include "NivexKit/Formats/FormatRegistry.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "tests/Support/TemporaryFolder.hpp"

#include <string>
#include <string_view>
#include <vector>

namespace nivex::data {

/// A folder in which bytes are converted as the worker does it.
class DataScene {
public:
    /// The contents of the results in their order, joined by "---"; or what the error says.
    std::string convert(std::string_view from, std::string_view to, std::string_view source)
    {
        return convertFile(from, to, folder_.write("in", source));
    }

    std::string convertFile(std::string_view from, std::string_view to, const std::filesystem::path& input)
    {
        const FormatRegistry& registry = FormatRegistry::standard();
        EngineRequest request;
        request.input = input;
        request.sourceFormat = *registry.format(FormatID{from});
        request.targetFormat = *registry.format(FormatID{to});
        request.workingDirectory = folder_ / ("out" + std::to_string(++number_));
        request.baseName = "in";
        std::filesystem::create_directory(request.workingDirectory);
        Remarks told;
        try {
            results = convertData(request, told, [](std::optional<double>) {});
        } catch (const ConversionError& error) {
            remarks = told.sentences();
            return error.message();
        }
        remarks = told.sentences();
        std::string contents;
        for (const std::filesystem::path& result : results)
            contents += (contents.empty() ? "" : "---") + testing::contentsOf(result);
        return contents;
    }

    std::vector<std::filesystem::path> results; // of the last conversion
    std::vector<std::string> remarks;

private:
    testing::TemporaryFolder folder_;
    int number_ = 0;
};

struct ConversionCase {
    std::string_view name;
    std::string_view from;
    std::string_view to;
    std::string source;
    std::string expected;
    std::vector<std::string> remarks = {};
};

} // namespace nivex::data
