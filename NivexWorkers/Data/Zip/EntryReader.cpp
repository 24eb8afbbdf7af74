#include "NivexWorkers/Data/Zip/EntryReader.hpp"

#include "NivexKit/Archive/CRC32.hpp"
#include "NivexKit/Archive/ZipFormat.hpp"
#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <isa-l/igzip_lib.h>

#include <algorithm>
#include <string>

namespace nivex::data {
namespace {

constexpr std::size_t pieceSize = 1 << 16;

} // namespace

EntryReader::EntryReader(const ByteSource& bytes, const ZipArchive::Reader& archive, const ZipArchive::Entry& entry)
    : bytes_{bytes}, entry_{entry}, position_{archive.dataOffset(entry)}, left_{entry.compressedSize}
{
    if (bytes.size() - position_ < left_)
        throw ConversionError::unreadableSource("archive ZIP tronquée"_fr)
            .because(entry.storedName + ": its data end behind the file");
    if (entry.method == zip::methodStored)
        return;
    if (entry.method != zip::methodDeflated)
        throw ConversionError::unsupported(filled("méthode de compression ZIP {}"_fr, {std::to_string(entry.method)}));
    state_ = std::make_unique<inflate_state>();
    isal_inflate_init(state_.get());
    state_->crc_flag = ISAL_DEFLATE;
}

EntryReader::~EntryReader() = default;

double EntryReader::share() const
{
    return entry_.compressedSize == 0 ? 1 : 1 - static_cast<double>(left_) / entry_.compressedSize;
}

std::size_t EntryReader::read(std::span<char> buffer)
{
    if (isAtEnd_)
        return 0;
    const std::size_t count = state_ ? readDeflated(buffer) : readStored(buffer);
    told_ += count;
    if (told_ > entry_.uncompressedSize)
        throw damaged("more data than announced");
    checksum_ = CRC32::checksum(std::as_bytes(buffer.first(count)), checksum_);
    if (count == 0) {
        isAtEnd_ = true;
        if (checksum_ != entry_.crc)
            throw damaged("checksum");
    }
    return count;
}

std::size_t EntryReader::readStored(std::span<char> buffer)
{
    const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(buffer.size(), left_));
    const std::size_t count = bytes_.read(position_, std::as_writable_bytes(buffer.first(wanted)));
    if (count < wanted)
        throw damaged("reading failed");
    position_ += count;
    left_ -= count;
    return count;
}

std::size_t EntryReader::readDeflated(std::span<char> buffer)
{
    state_->next_out = reinterpret_cast<std::uint8_t*>(buffer.data());
    state_->avail_out = static_cast<std::uint32_t>(buffer.size());
    while (state_->avail_out == buffer.size() && state_->block_state != ISAL_BLOCK_FINISH) {
        if (state_->avail_in == 0 && left_ > 0) {
            piece_ = bytes_.read(position_, static_cast<std::size_t>(std::min<std::uint64_t>(left_, pieceSize)));
            if (piece_.empty())
                throw damaged("reading failed");
            position_ += piece_.size();
            left_ -= piece_.size();
            state_->next_in = reinterpret_cast<std::uint8_t*>(piece_.data());
            state_->avail_in = static_cast<std::uint32_t>(piece_.size());
        }
        const std::uint32_t before = state_->avail_in;
        if (isal_inflate(state_.get()) != ISAL_DECOMP_OK)
            throw damaged("deflated data");
        const bool isStuck = state_->avail_in == before && state_->avail_out == buffer.size();
        if (isStuck && left_ == 0 && state_->block_state != ISAL_BLOCK_FINISH)
            throw damaged("deflated data end too soon");
    }
    return buffer.size() - state_->avail_out;
}

ConversionError EntryReader::damaged(std::string_view cause) const
{
    return ConversionError::unreadableSource("archive ZIP endommagée"_fr)
        .because(entry_.storedName + ": " + std::string{cause});
}

} // namespace nivex::data
