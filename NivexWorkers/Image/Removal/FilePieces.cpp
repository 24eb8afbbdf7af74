#include "NivexWorkers/Image/Removal/FilePieces.hpp"

#include "NivexWorkers/Image/Codecs/Codec.hpp"
#include "NivexWorkers/Image/Metadata/Containers.hpp"

#include "NivexKit/Foundation/Files/OutputFile.hpp"

#include <algorithm>

namespace nivex::image {
namespace {

constexpr std::uint64_t bufferBytes = 256 * 1024;

template <class... Cases>
struct Overloaded : Cases... {
    using Cases::operator()...;
};
template <class... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>; // for the fuzzers' compiler

} // namespace

void FilePieces::copy(std::uint64_t offset, std::uint64_t count)
{
    if (count == 0)
        return;
    auto* last = pieces_.empty() ? nullptr : std::get_if<Stretch>(&pieces_.back());
    if (last && last->offset + last->count == offset)
        last->count += count;
    else
        pieces_.emplace_back(Stretch{offset, count});
}

void FilePieces::add(std::string_view bytes) { pieces_.emplace_back(std::string{bytes}); }

void FilePieces::zeros(std::uint64_t count)
{
    if (count > 0)
        pieces_.emplace_back(Zeros{count});
}

std::uint64_t FilePieces::size() const
{
    std::uint64_t size = 0;
    for (const auto& piece : pieces_)
        size += std::visit(Overloaded{[](const std::string& bytes) { return std::uint64_t{bytes.size()}; },
                                      [](const auto& counted) { return counted.count; }},
                           piece);
    return size;
}

template <class Take>
void FilePieces::forEachPiece(const ByteSource& old, Take take) const
{
    std::vector<std::byte> buffer;
    const auto inParts = [&](std::uint64_t count, auto fill) {
        buffer.resize(static_cast<std::size_t>(std::max<std::uint64_t>(buffer.size(), std::min(count, bufferBytes))));
        for (std::uint64_t done = 0; done < count;) {
            const auto part = std::span{buffer}.first(static_cast<std::size_t>(std::min(count - done, bufferBytes)));
            fill(part, done);
            take(asText(part));
            done += part.size();
        }
    };
    const auto copied = [&](const Stretch& stretch) {
        inParts(stretch.count, [&](std::span<std::byte> part, std::uint64_t done) {
            if (old.read(stretch.offset + done, part) != part.size())
                throw damaged("the file ends inside a part of it");
        });
    };
    const auto blank = [&](const Zeros& zeros) {
        inParts(zeros.count, [](std::span<std::byte> part, std::uint64_t) { std::ranges::fill(part, std::byte{}); });
    };
    for (const auto& piece : pieces_)
        std::visit(Overloaded{copied, blank, [&](const std::string& bytes) { take(bytes); }}, piece);
}

void FilePieces::write(const ByteSource& old, const std::filesystem::path& path) const
{
    NewFile file{path};
    forEachPiece(old, [&file](std::string_view part) { file.write(part); });
    file.finish();
}

std::vector<std::byte> FilePieces::bytes(const ByteSource& old) const
{
    std::vector<std::byte> whole;
    forEachPiece(old, [&whole](std::string_view part) {
        const auto bytes = std::as_bytes(std::span{part});
        whole.insert(whole.end(), bytes.begin(), bytes.end());
    });
    return whole;
}

} // namespace nivex::image
