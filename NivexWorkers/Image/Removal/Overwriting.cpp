#include "NivexWorkers/Image/Removal/Overwriting.hpp"

#include "NivexWorkers/Image/Codecs/Codec.hpp"

#include <algorithm>

namespace nivex::image {

/// In order, none touching the next, all inside the file.
std::vector<Overwriting::Stretch> Overwriting::united(std::vector<Stretch> stretches, std::uint64_t size)
{
    std::ranges::sort(stretches, {}, &Stretch::offset);
    std::vector<Stretch> result;
    for (Stretch each : stretches) {
        if (each.offset >= size)
            break;
        each.count = std::min(each.count, size - each.offset);
        if (!result.empty() && result.back().end() >= each.offset)
            result.back().count = std::max(result.back().end(), each.end()) - result.back().offset;
        else
            result.push_back(each);
    }
    return result;
}

/// Of two lists that are united.
std::vector<Overwriting::Stretch> Overwriting::difference(const std::vector<Stretch>& from,
                                                          const std::vector<Stretch>& without)
{
    std::vector<Stretch> result;
    auto hole = without.begin();
    for (const Stretch& each : from) {
        std::uint64_t begin = each.offset;
        while (hole != without.end() && hole->end() <= begin)
            ++hole;
        for (auto next = hole; next != without.end() && next->offset < each.end(); ++next) {
            if (next->offset > begin)
                result.push_back({begin, next->offset - begin});
            begin = std::max(begin, next->end());
        }
        if (begin < each.end())
            result.push_back({begin, each.end() - begin});
    }
    return result;
}

FilePieces Overwriting::pieces(std::uint64_t size) const
{
    std::vector<const Put*> puts;
    std::vector<Stretch> staying = kept_;
    for (const Put& each : puts_) {
        if (each.offset > size || each.bytes.size() > size - each.offset)
            throw damaged("parts of the structure overlap");
        puts.push_back(&each);
        staying.push_back({each.offset, each.bytes.size()});
    }
    std::ranges::sort(puts, {}, &Put::offset);
    const auto clash =
        std::ranges::adjacent_find(puts, [](const Put* one, const Put* next) { return one->end() > next->offset; });
    if (clash != puts.end())
        throw damaged("parts of the structure overlap");

    const auto erased = difference(united(erased_, size), united(std::move(staying), size));
    FilePieces pieces;
    std::uint64_t position = 0;
    auto put = puts.begin();
    const auto putUntil = [&](std::uint64_t end) {
        for (; put != puts.end() && (*put)->offset < end; ++put) {
            pieces.copy(position, (*put)->offset - position);
            pieces.add((*put)->bytes);
            position = (*put)->end();
        }
    };
    for (const Stretch& each : erased) {
        putUntil(each.offset);
        pieces.copy(position, each.offset - position);
        pieces.zeros(each.count);
        position = each.end();
    }
    putUntil(size);
    pieces.copy(position, size - position);
    return pieces;
}

} // namespace nivex::image
