#pragma once

#include "NivexKit/Foundation/Files/FileDescriptor.hpp"

#include <cstdint>
#include <filesystem>
#include <string_view>

namespace nivex {

/// A file that did not exist, written piece by piece, and removed again unless it was finished. One thread.
///
/// errors   every member throws ConversionError::encodingFailed when the disk is full, the file exists or cannot be
///          written
class NewFile {
public:
    explicit NewFile(std::filesystem::path location);
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile();

    void write(std::string_view contents);

    /// Writes at `offset`, wherever write() has arrived, and leaves that place alone.
    void writeAt(std::uint64_t offset, std::string_view contents);

    /// Ends the writing: only then is it certain that everything was taken.
    void finish();

private:
    std::filesystem::path location_;
    FileDescriptor descriptor_; // none once finished
};

/// Writes such a file whole. Any thread.
void writeNewFile(const std::filesystem::path& file, std::string_view contents);

} // namespace nivex
