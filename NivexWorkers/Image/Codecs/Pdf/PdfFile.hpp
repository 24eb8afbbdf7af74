#pragma once

#include "NivexKit/Foundation/Files/OutputFile.hpp"

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace nivex::image {

/// A PDF file (ISO 32000-1) written from front to back: streams go straight to the disk, so memory does not grow with
/// them. Throws ConversionError::encodingFailed.
class PdfFile {
public:
    explicit PdfFile(const std::filesystem::path& location);

    /// A number for an object that is written later, or referred to before it is written.
    int reserve();
    void writeObject(int number, std::string_view contents);
    int addObject(std::string_view contents)
    {
        const int number = reserve();
        writeObject(number, contents);
        return number;
    }

    /// Begins a stream of so many bytes; `dictionary` holds its entries but for its length.
    int beginStream(std::string_view dictionary, std::uint64_t count);
    void write(std::string_view bytes);
    void endStream();
    int addStream(std::string_view dictionary, std::string_view bytes);

    /// Writes what ends the file; all reserved objects have been written by then.
    void finish(int catalog);

    static std::string reference(int number) { return std::to_string(number) + " 0 R"; }
    /// A number as PDF writes it: no exponent, at most four decimals, whatever the language in use.
    static std::string number(double value);

private:
    void begin(int number);

    NewFile file_;
    std::uint64_t position_ = 0;
    std::vector<std::uint64_t> offsets_; // of object 1 and those after it
    std::string told_;                   // all that was written outside of streams
    bool isInStream_ = false;
};

} // namespace nivex::image
