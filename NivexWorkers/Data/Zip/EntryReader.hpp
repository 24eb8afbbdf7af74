#pragma once

#include "NivexKit/Archive/ZipArchive.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

struct inflate_state;

namespace nivex::data {

/// The contents of one entry of a ZIP archive, piece by piece: memory does not depend on what a file says of its size.
class EntryReader {
public:
    /// errors   unreadableSource for an entry that ends behind the archive, unsupported for other methods than stored
    ///          and deflated
    EntryReader(const ByteSource& bytes, const ZipArchive::Reader& archive, const ZipArchive::Entry& entry);
    ~EntryReader();

    /// The next bytes; 0 at the end. Throws unreadableSource for damaged data, for more bytes than the archive
    /// announces, and at the end where the checksum is another.
    std::size_t read(std::span<char> buffer);

    /// Bytes of the archive that were taken so far, of all of the entry's.
    double share() const;

private:
    std::size_t readStored(std::span<char> buffer);
    std::size_t readDeflated(std::span<char> buffer);
    ConversionError damaged(std::string_view cause) const;

    const ByteSource& bytes_;
    const ZipArchive::Entry& entry_;
    std::uint64_t position_ = 0;
    std::uint64_t left_ = 0; // compressed bytes that were not read yet
    std::uint64_t told_ = 0; // uncompressed bytes handed out
    std::uint32_t checksum_ = 0;
    bool isAtEnd_ = false;
    std::vector<std::byte> piece_;
    std::unique_ptr<inflate_state> state_; // none for stored data
};

} // namespace nivex::data
