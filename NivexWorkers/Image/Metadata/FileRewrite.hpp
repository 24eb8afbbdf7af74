#pragma once

#include "NivexKit/Foundation/Bytes/ByteSource.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Files/OutputFile.hpp"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string_view>

namespace nivex::image {

/// A new version of a file that an encoder wrote, made of pieces of the old one and new ones. It takes the old one's
/// place when committed. Every member throws ConversionError::encodingFailed.
class FileRewrite {
public:
    explicit FileRewrite(std::filesystem::path file);

    const ByteSource& old() const { return old_; }
    void copy(std::uint64_t offset, std::uint64_t count);
    void copyRest(std::uint64_t offset) { copy(offset, old_.size() - offset); }
    void write(std::string_view bytes) { new_.write(bytes); }
    void commit();

private:
    std::filesystem::path file_;
    std::filesystem::path newFile_;
    FileSource old_;
    NewFile new_;
};

/// The error of a file of our own making that is not what it should be.
ConversionError metadataFailure();

} // namespace nivex::image
