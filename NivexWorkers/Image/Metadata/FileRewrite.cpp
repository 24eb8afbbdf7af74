#include "NivexWorkers/Image/Metadata/FileRewrite.hpp"

#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <algorithm>
#include <system_error>
#include <vector>

namespace nivex::image {
namespace {

FileSource opened(const std::filesystem::path& file)
{
    std::optional<FileSource> source = FileSource::open(file);
    if (!source)
        throw metadataFailure();
    return std::move(*source);
}

std::filesystem::path beside(std::filesystem::path file)
{
    file += ".new";
    return file;
}

} // namespace

FileRewrite::FileRewrite(std::filesystem::path file)
    : file_{std::move(file)}, newFile_{beside(file_)}, old_{opened(file_)}, new_{newFile_}
{
}

void FileRewrite::copy(std::uint64_t offset, std::uint64_t count)
{
    constexpr std::uint64_t pieceBytes = 256 * 1024;
    std::vector<std::byte> piece(static_cast<std::size_t>(std::min(count, pieceBytes)));
    while (count > 0) {
        const auto wanted = static_cast<std::size_t>(std::min(count, pieceBytes));
        if (old_.read(offset, std::span{piece}.first(wanted)) != wanted)
            throw metadataFailure();
        new_.write({reinterpret_cast<const char*>(piece.data()), wanted});
        offset += wanted;
        count -= wanted;
    }
}

void FileRewrite::commit()
{
    new_.finish();
    std::error_code failure;
    std::filesystem::rename(newFile_, file_, failure);
    if (failure)
        throw metadataFailure();
}

ConversionError metadataFailure()
{
    return ConversionError::encodingFailed("les métadonnées n'ont pas pu être enregistrées"_fr);
}

} // namespace nivex::image
