#pragma once

#include "NivexWorkers/Image/Removal/FilePieces.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace nivex::image {

/// A new version of a file in which everything stays where it is: stretches are overwritten, others erased. What is
/// said to stay is never erased, whatever else leads to the same bytes: so pixels survive a file that is crafted to
/// lose them.
class Overwriting {
public:
    /// Takes the place of as many bytes of the file.
    void put(std::uint64_t offset, std::string_view bytes) { puts_.push_back({offset, std::string{bytes}}); }
    /// Zeros take the place of what is there.
    void erase(std::uint64_t offset, std::uint64_t count) { erased_.push_back({offset, count}); }
    void keep(std::uint64_t offset, std::uint64_t count) { kept_.push_back({offset, count}); }

    /// The new version of a file of `size` bytes. What was put counts most, then what is kept, then what is erased.
    /// Throws ConversionError::unreadableSource where two things were to be put in one place, or one outside the file:
    /// such structures are broken.
    FilePieces pieces(std::uint64_t size) const;

private:
    struct Stretch {
        std::uint64_t offset;
        std::uint64_t count;

        std::uint64_t end() const { return offset + count; }
    };
    struct Put {
        std::uint64_t offset;
        std::string bytes;

        std::uint64_t end() const { return offset + bytes.size(); }
    };

    static std::vector<Stretch> united(std::vector<Stretch> stretches, std::uint64_t size);
    static std::vector<Stretch> difference(const std::vector<Stretch>& from, const std::vector<Stretch>& without);

    std::vector<Put> puts_;
    std::vector<Stretch> erased_;
    std::vector<Stretch> kept_;
};

} // namespace nivex::image
