#include "NivexWorkers/Image/Structures/IsoBoxes.hpp"

namespace nivex::image {

std::optional<IsoBox> boxAt(const ByteSource& file, std::uint64_t position)
{
    constexpr std::size_t longestHeader = 16;
    const auto head = file.read(position, longestHeader);
    ByteReader reader{head, ByteOrder::big};
    std::uint64_t length = reader.u32();
    IsoBox box{.type = std::string{reader.text(4)}, .begin = position, .contents = 0, .end = 0};
    if (length == 1)
        length = reader.u64();
    else if (length == 0) // up to the end of the file
        length = file.size() - position;
    if (reader.failed() || length < reader.position() || length > file.size() - position)
        return std::nullopt;
    box.contents = position + reader.position();
    box.end = position + length;
    return box;
}

} // namespace nivex::image
