#pragma once

#include "NivexKit/Detection/HeaderBytes.hpp"
#include "NivexKit/Detection/Pdf/PdfSyntax.hpp"

#include <cstdint>
#include <deque>
#include <optional>
#include <string_view>
#include <vector>

namespace nivex {

/// Finds single objects of a PDF file through its cross-reference sections, reading a few kilobytes of it. What it
/// hands out stays valid as long as it and the bytes do.
class PdfObjects {
public:
    /// Reads the cross-reference sections from the end of the file on.
    explicit PdfObjects(HeaderBytes& file);

    /// True when a trailer was found.
    bool hasTrailer() const { return !trailers_.empty(); }

    /// The value of a key in the latest trailer that has it.
    std::optional<std::string_view> trailerEntry(std::string_view key) const;

    /// The text of an object, from its first character on and possibly with what follows it; none when it cannot be
    /// found. References are followed.
    std::optional<std::string_view> resolved(std::string_view object);

private:
    struct Table { // a subsection of a plain table: entries of 20 bytes
        std::uint32_t first = 0;
        std::uint32_t count = 0;
        std::uint64_t position = 0;
    };
    struct Stream { // a cross-reference stream: entries of three numbers
        std::vector<std::byte> entries;
        std::size_t widths[3] = {0, 0, 0};
        std::vector<std::pair<std::uint32_t, std::uint32_t>> ranges; // first number and count
    };
    struct Section {
        std::vector<Table> tables;
        Stream stream;
    };
    struct Place {
        enum class Kind { free, offset, inStream } kind = Kind::free;
        std::uint64_t value = 0; // the offset, or the number of the object stream
    };

    std::string_view text(std::uint64_t offset, std::size_t count);
    std::optional<std::uint64_t> startOfSections();
    void readSections(std::uint64_t offset);
    std::string_view readTable(std::uint64_t offset, Section& section);
    std::string_view readStream(std::uint64_t offset, Section& section);
    std::optional<Place> place(std::uint32_t number);
    std::optional<Place> placeIn(const Stream& stream, std::uint32_t number) const;
    std::optional<std::string_view> objectAt(std::uint64_t offset, std::uint32_t number);

    /// Where what `stands` tells begins: at `offset`, or a few bytes before or behind it; `offset` when nowhere.
    std::uint64_t near(std::uint64_t offset, bool (*stands)(std::string_view, std::uint32_t), std::uint32_t number);
    std::optional<std::string_view> objectInStream(std::uint32_t streamNumber, std::uint32_t number);
    std::vector<std::byte> decodedStream(std::string_view dictionary, std::size_t maxOutput);

    HeaderBytes& file_;
    std::uint64_t base_ = 0; // where the file proper begins: offsets count from there
    std::vector<Section> sections_;
    std::vector<std::string_view> trailers_;
    std::deque<std::vector<std::byte>> objectStreams_;
};

} // namespace nivex
