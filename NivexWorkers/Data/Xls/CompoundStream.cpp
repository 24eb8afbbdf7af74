#include "NivexWorkers/Data/Xls/CompoundStream.hpp"

#include "NivexWorkers/Data/Model/Errors.hpp"

#include "NivexKit/Foundation/Bytes/ByteReader.hpp"
#include "NivexKit/Foundation/Text/Ascii.hpp"

#include <algorithm>
#include <string>

namespace nivex::data {
namespace {

constexpr std::uint32_t lastSector = 0xFFFFFFFA; // what is greater ends a chain or stands for none
constexpr std::size_t headerSize = 512;
constexpr std::size_t entrySize = 128;
constexpr std::size_t smallSectorSize = 64;
constexpr std::uint64_t maxStreamBytes = 512 << 20;

struct Entry {
    std::string name;
    std::uint32_t firstSector = 0;
    std::uint64_t size = 0;
};

class CompoundFile {
public:
    explicit CompoundFile(const ByteSource& file) : file_{file}
    {
        const std::vector<std::byte> bytes = file.read(0, headerSize);
        ByteReader header{bytes, damagedContent().because("compound file: header")};
        header.skip(26);
        isVersion4_ = header.u16() >= 4;
        header.skip(2);
        const std::uint16_t shift = header.u16();
        header.skip(16);
        const std::uint32_t directory = header.u32();
        header.skip(4);
        shortestInSectors_ = header.u32();
        const std::uint32_t smallTable = header.u32();
        header.skip(4);
        std::uint32_t farther = header.u32();
        header.skip(4);
        if (shift < 7 || shift > 16)
            fail("size of sectors");
        sectorSize_ = std::size_t{1} << shift;
        for (int i = 0; i < 109; ++i)
            addTable(header.u32());
        for (std::size_t count = 0; farther < lastSector; ++count) {
            const std::vector<std::byte> list = sector(farther);
            ByteReader numbers{list, damagedContent()};
            if (count > sectors())
                fail("tables in a circle");
            for (std::size_t i = 0; i + 1 < sectorSize_ / 4; ++i)
                addTable(numbers.u32());
            farther = numbers.u32();
        }
        readDirectory(chain(directory));
        smallTable_ = numbersOf(chain(smallTable));
    }

    const std::vector<Entry>& entries() const { return entries_; }

    std::vector<std::byte> contents(const Entry& stream)
    {
        if (stream.size > maxStreamBytes || stream.size > file_.size())
            fail("size of a stream");
        std::vector<std::byte> bytes;
        if (stream.size >= shortestInSectors_) {
            bytes = chain(stream.firstSector, stream.size);
        } else {
            const std::vector<std::byte> small = chain(entries_.front().firstSector, entries_.front().size);
            std::uint32_t number = stream.firstSector;
            while (bytes.size() < stream.size) {
                const std::size_t begin = std::size_t{number} * smallSectorSize;
                if (number >= smallTable_.size() || begin > small.size() || small.size() - begin < 1)
                    fail("small sectors");
                const std::size_t end = std::min(begin + smallSectorSize, small.size());
                bytes.insert(bytes.end(), small.begin() + static_cast<std::ptrdiff_t>(begin),
                             small.begin() + static_cast<std::ptrdiff_t>(end));
                number = smallTable_[number];
            }
        }
        bytes.resize(std::min<std::size_t>(bytes.size(), static_cast<std::size_t>(stream.size)));
        return bytes;
    }

private:
    [[noreturn]] static void fail(std::string_view cause)
    {
        throw damagedContent().because("compound file: " + std::string{cause});
    }

    std::size_t sectors() const { return static_cast<std::size_t>(file_.size() / sectorSize_); }

    std::vector<std::byte> sector(std::uint32_t number) const
    {
        const std::uint64_t offset = (std::uint64_t{number} + 1) * sectorSize_;
        if (offset >= file_.size())
            fail("a sector behind the file");
        return file_.read(offset, sectorSize_);
    }

    void addTable(std::uint32_t number)
    {
        if (number >= lastSector || (std::uint64_t{number} + 1) * sectorSize_ >= file_.size())
            return; // files say 0 where they mean none, too
        const std::vector<std::uint32_t> numbers = numbersOf(sector(number));
        table_.insert(table_.end(), numbers.begin(), numbers.end());
    }

    static std::vector<std::uint32_t> numbersOf(const std::vector<std::byte>& bytes)
    {
        ByteReader reader{bytes};
        std::vector<std::uint32_t> numbers;
        while (reader.left() >= 4)
            numbers.push_back(reader.u32());
        return numbers;
    }

    /// The sectors that follow each other from one on, `wanted` bytes of them where that is known.
    std::vector<std::byte> chain(std::uint32_t number, std::uint64_t wanted = ~std::uint64_t{0}) const
    {
        std::vector<std::byte> bytes;
        for (std::size_t count = 0; number < lastSector && bytes.size() < wanted; ++count) {
            if (count > sectors())
                fail("sectors in a circle");
            const std::vector<std::byte> next = sector(number);
            bytes.insert(bytes.end(), next.begin(), next.end());
            if (number >= table_.size())
                break; // the last sectors of files that were cut
            number = table_[number];
        }
        return bytes;
    }

    void readDirectory(const std::vector<std::byte>& bytes)
    {
        for (std::size_t at = 0; at + entrySize <= bytes.size(); at += entrySize) {
            ByteReader reader{std::span{bytes}.subspan(at, entrySize)};
            Entry entry;
            for (int i = 0; i < 32; ++i)
                if (const std::uint16_t unit = reader.u16(); unit != 0)
                    entry.name += unit < 0x80 ? static_cast<char>(unit) : '?';
            reader.skip(52);
            entry.firstSector = reader.u32();
            entry.size = isVersion4_ ? reader.u64() : reader.u32();
            entries_.push_back(std::move(entry));
        }
        if (entries_.empty())
            fail("no directory");
    }

    const ByteSource& file_;
    bool isVersion4_ = false;
    std::size_t sectorSize_ = 512;
    std::uint32_t shortestInSectors_ = 4096;
    std::vector<std::uint32_t> table_;
    std::vector<std::uint32_t> smallTable_;
    std::vector<Entry> entries_;
};

} // namespace

std::vector<std::byte> compoundStream(const ByteSource& file, std::span<const std::string_view> names)
{
    CompoundFile compound{file};
    for (const std::string_view name : names)
        for (const Entry& entry : compound.entries())
            if (asciiLowercased(entry.name) == asciiLowercased(name))
                return compound.contents(entry);
    return {};
}

} // namespace nivex::data
