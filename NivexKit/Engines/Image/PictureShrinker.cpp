#include "NivexKit/Engines/Image/PictureShrinker.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <string>
#include <utility>

namespace nivex {
namespace {

namespace fs = std::filesystem;

bool isSmallEnough(const fs::path& file, std::int64_t maximumBytes)
{
    std::error_code failure;
    const std::uintmax_t size = fs::file_size(file, failure);
    return !failure && std::cmp_less_equal(size, maximumBytes);
}

/// The pictures have been made as asked: all that is left to ask for is their size.
ConversionOptions onlySize(const ConversionOptions& asked)
{
    ConversionOptions options;
    options.quality = asked.quality;
    options.maxFileBytes = asked.maxFileBytes;
    return options;
}

} // namespace

std::vector<fs::path> PictureShrinker::shrinkToBudget(const std::vector<fs::path>& files, const EngineRequest& request,
                                                      const CancellationFlag& cancellation) const
{
    std::vector<fs::path> results;
    for (const fs::path& file : files) {
        if (isSmallEnough(file, request.options.maxFileBytes.value())) {
            results.push_back(file);
            continue;
        }
        EngineRequest each = request;
        each.input = file;
        each.baseName = file.stem().native();
        each.options = onlySize(request.options);
        // Files of several folders may have the same name.
        each.workingDirectory = request.workingDirectory / std::to_string(results.size());
        fs::create_directory(each.workingDirectory);
        results.push_back(
            pool_->convert({.program = "image", .engine = "native-optimization", .request = each}, {}, cancellation)
                .front());
    }
    return results;
}

} // namespace nivex
