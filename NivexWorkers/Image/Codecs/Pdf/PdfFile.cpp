#include "NivexWorkers/Image/Codecs/Pdf/PdfFile.hpp"

#include "NivexKit/Foundation/Bytes/Digest.hpp"
#include "NivexKit/Foundation/Text/Hexadecimal.hpp"

#include <cmath>
#include <cstdlib>

namespace nivex::image {

PdfFile::PdfFile(const std::filesystem::path& location) : file_{location}
{
    write("%PDF-1.7\n%\xE2\xE3\xCF\xD3\n"); // the second line tells transports that this is no text
}

int PdfFile::reserve()
{
    offsets_.push_back(0);
    return static_cast<int>(offsets_.size());
}

void PdfFile::write(std::string_view bytes)
{
    file_.write(bytes);
    position_ += bytes.size();
    if (!isInStream_)
        told_ += bytes;
}

void PdfFile::begin(int number)
{
    offsets_[static_cast<std::size_t>(number - 1)] = position_;
    write(std::to_string(number) + " 0 obj\n");
}

void PdfFile::writeObject(int number, std::string_view contents)
{
    begin(number);
    write(contents);
    write("\nendobj\n");
}

int PdfFile::beginStream(std::string_view dictionary, std::uint64_t count)
{
    const int number = reserve();
    begin(number);
    write("<< " + std::string{dictionary} + " /Length " + std::to_string(count) + " >>\nstream\n");
    isInStream_ = true;
    return number;
}

void PdfFile::endStream()
{
    isInStream_ = false;
    write("\nendstream\nendobj\n");
}

int PdfFile::addStream(std::string_view dictionary, std::string_view bytes)
{
    const int number = beginStream(dictionary, bytes.size());
    write(bytes);
    endStream();
    return number;
}

void PdfFile::finish(int catalog)
{
    // The same pictures make the same file, so its identity comes from what it says and not from the time.
    const std::string identity = "<" + hexadecimal(digest(DigestKind::md5, told_)) + ">";
    const std::uint64_t table = position_;
    const std::string count = std::to_string(offsets_.size() + 1);
    std::string end = "xref\n0 " + count + "\n0000000000 65535 f \n";
    for (const std::uint64_t offset : offsets_) {
        const std::string digits = std::to_string(offset);
        end += std::string(10 - digits.size(), '0') + digits + " 00000 n \n";
    }
    end += "trailer\n<< /Size " + count + " /Root " + reference(catalog) + " /ID [" + identity + " " + identity +
           "] >>\nstartxref\n" + std::to_string(table) + "\n%%EOF\n";
    write(end);
    file_.finish();
}

std::string PdfFile::number(double value)
{
    const auto scaled = static_cast<long long>(std::llround(value * 10'000));
    const auto magnitude = std::llabs(scaled);
    std::string text = (scaled < 0 ? "-" : "") + std::to_string(magnitude / 10'000);
    if (const auto rest = magnitude % 10'000; rest != 0) {
        const std::string digits = std::to_string(rest);
        text += "." + std::string(4 - digits.size(), '0') + digits;
        text.erase(text.find_last_not_of('0') + 1);
    }
    return text;
}

} // namespace nivex::image
