#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace nivex::image {

/// What of a picture decides how an encoder best goes about it, from how much its samples differ from the mean of their
/// two neighbours in the row, in green or grey. A part of the rows is enough to tell.
class Texture {
public:
    /// Adds a row of 8 or 16 bits over the whole range, its bands interleaved.
    void add(std::span<const std::uint8_t> row, std::size_t bandCount);
    void add(std::span<const std::uint16_t> row, std::size_t bandCount);

    /// How crowded the picture is: the mean difference, of 255. Close-ups have 0.3, what is full of small things 6.
    double busyness() const { return partOfAll(differences_); }

    /// Whether it is flat areas with sharp edges: text, a diagram, a screen. Photographs have noise nearly everywhere.
    bool isDrawing() const
    {
        constexpr double leastFlat = 0.5;
        constexpr double leastSharp = 0.0025;
        return partOfAll(flat_) >= leastFlat && partOfAll(sharp_) >= leastSharp;
    }

private:
    template <class Sample>
    void addRow(std::span<const Sample> row, std::size_t bandCount);

    double partOfAll(double some) const { return count_ == 0 ? 0 : some / count_; }

    double count_ = 0;
    double differences_ = 0;
    double flat_ = 0;
    double sharp_ = 0;
};

} // namespace nivex::image
