// Simple loops over bytes that do not overlap: the compiler makes vectors of them (see CMakeLists.txt).
#include "NivexWorkers/Image/Codecs/Png/PngFilters.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace nivex::image {
namespace {

using Sample = std::uint8_t;

enum class Filter : Sample { none = 0, sub = 1, up = 2, paeth = 4 };

const Sample* samples(const std::byte* bytes) { return reinterpret_cast<const Sample*>(bytes); }

void subtract(const Sample* __restrict row, const Sample* __restrict other, Sample* __restrict out, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        out[i] = static_cast<Sample>(row[i] - other[i]);
}

/// `left`, `above` and `corner` are those of `row`'s first sample.
void subtractPaeth(const Sample* __restrict row, const Sample* __restrict left, const Sample* __restrict above,
                   const Sample* __restrict corner, Sample* __restrict out, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i) {
        const auto a = static_cast<std::int16_t>(left[i]);
        const auto b = static_cast<std::int16_t>(above[i]);
        const auto c = static_cast<std::int16_t>(corner[i]);
        const auto toLeft = static_cast<std::int16_t>(b - c); // how far the guess a + b − c is from each
        const auto toAbove = static_cast<std::int16_t>(a - c);
        const auto toCorner = static_cast<std::int16_t>(toLeft + toAbove);
        const auto farLeft = static_cast<std::int16_t>(toLeft < 0 ? -toLeft : toLeft);
        const auto farAbove = static_cast<std::int16_t>(toAbove < 0 ? -toAbove : toAbove);
        const auto farCorner = static_cast<std::int16_t>(toCorner < 0 ? -toCorner : toCorner);
        const std::int16_t second = farAbove <= farCorner ? b : c;
        const std::int16_t least = farAbove < farCorner ? farAbove : farCorner;
        out[i] = static_cast<Sample>(row[i] - (farLeft <= least ? a : second));
    }
}

/// The sum of the differences, which tells how well they will compress.
std::uint64_t cost(const Sample* __restrict differences, std::size_t count)
{
    constexpr std::size_t most = 1 << 20; // whose sum 32 bits hold
    std::uint64_t sum = 0;
    for (std::size_t begin = 0; begin < count; begin += most) {
        const std::size_t end = std::min(count, begin + most);
        std::uint32_t part = 0;
        for (std::size_t i = begin; i < end; ++i) {
            const auto difference = static_cast<std::int8_t>(differences[i]);
            part += static_cast<Sample>(difference < 0 ? -difference : difference);
        }
        sum += part;
    }
    return sum;
}

/// Filters one row after the other.
class RowFilter {
public:
    explicit RowFilter(const PngRows& rows)
        : count_{rows.rowBytes}, pixelBytes_{std::min(rows.pixelBytes, rows.rowBytes)}, differences_(count_),
          best_(count_)
    {
    }

    /// Appends the row behind the name of its filter.
    void append(const Sample* row, const Sample* above, std::vector<std::byte>& out)
    {
        leastCost_ = UINT64_MAX;
        consider(Filter::paeth, row, above);
        consider(Filter::up, row, above);
        consider(Filter::sub, row, above);
        out.push_back(static_cast<std::byte>(bestFilter_));
        const auto* bytes = reinterpret_cast<const std::byte*>(best_.data());
        out.insert(out.end(), bytes, bytes + count_);
    }

private:
    void consider(Filter filter, const Sample* row, const Sample* above)
    {
        Sample* const out = differences_.data();
        const std::size_t rest = count_ - pixelBytes_;
        if (filter == Filter::up) {
            subtract(row, above, out, count_);
        } else if (filter == Filter::sub) {
            std::copy_n(row, pixelBytes_, out);
            subtract(row + pixelBytes_, row, out + pixelBytes_, rest);
        } else {
            subtract(row, above, out, pixelBytes_);
            subtractPaeth(row + pixelBytes_, row, above + pixelBytes_, above, out + pixelBytes_, rest);
        }
        const std::uint64_t found = cost(out, count_);
        if (found >= leastCost_)
            return;
        leastCost_ = found;
        bestFilter_ = filter;
        best_.swap(differences_);
    }

    std::size_t count_;
    std::size_t pixelBytes_;
    std::vector<Sample> differences_;
    std::vector<Sample> best_;
    Filter bestFilter_ = Filter::none;
    std::uint64_t leastCost_ = 0;
};

std::vector<std::byte> withRoom(const PngRows& rows)
{
    std::vector<std::byte> out;
    out.reserve(rows.rows.size() / rows.rowBytes * (rows.rowBytes + 1));
    return out;
}

} // namespace

std::vector<std::byte> unfiltered(const PngRows& rows)
{
    std::vector<std::byte> out = withRoom(rows);
    for (std::size_t at = 0; at < rows.rows.size(); at += rows.rowBytes) {
        const auto row = rows.rows.subspan(at, rows.rowBytes);
        out.push_back(static_cast<std::byte>(Filter::none));
        out.insert(out.end(), row.begin(), row.end());
    }
    return out;
}

std::vector<std::byte> filtered(const PngRows& rows)
{
    const std::vector<std::byte> nothing(rows.above.empty() ? rows.rowBytes : 0);
    std::vector<std::byte> out = withRoom(rows);
    RowFilter filter{rows};
    const Sample* above = samples(rows.above.empty() ? nothing.data() : rows.above.data());
    for (std::size_t at = 0; at < rows.rows.size(); at += rows.rowBytes) {
        const Sample* row = samples(rows.rows.data() + at);
        filter.append(row, above, out);
        above = row;
    }
    return out;
}

} // namespace nivex::image
