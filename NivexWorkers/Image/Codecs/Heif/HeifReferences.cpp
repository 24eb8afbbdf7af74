#include "NivexWorkers/Image/Codecs/Heif/HeifReferences.hpp"

#include "NivexKit/Structures/HeifItemReferences.hpp"
#include "NivexKit/Structures/IsoBoxes.hpp"

#include <cstdint>
#include <unordered_map>
#include <vector>

namespace nivex::image {
namespace {

/// Which items are parts of which.
class ItemGraph {
public:
    void add(std::uint32_t whole, std::uint32_t part)
    {
        parts_[whole].push_back(part);
        ++wholes_[part];
        wholes_.try_emplace(whole, 0);
    }

    /// Takes items away that are part of nothing that is left. In a circle none is the first.
    bool isCircular() const
    {
        auto wholes = wholes_;
        std::vector<std::uint32_t> free;
        for (const auto& [item, count] : wholes)
            if (count == 0)
                free.push_back(item);
        std::size_t taken = 0;
        for (; !free.empty(); ++taken) {
            const auto parts = parts_.find(free.back());
            free.pop_back();
            if (parts == parts_.end())
                continue;
            for (const std::uint32_t part : parts->second)
                if (--wholes[part] == 0)
                    free.push_back(part);
        }
        return taken < wholes.size();
    }

private:
    std::unordered_map<std::uint32_t, std::vector<std::uint32_t>> parts_;
    std::unordered_map<std::uint32_t, std::size_t> wholes_; // how many an item is part of
};

} // namespace

bool hasCircularItems(const ByteSource& file)
{
    constexpr std::uint64_t versionAndFlags = 4;
    ItemGraph graph;
    IsoBoxes boxes{file};
    while (const auto box = boxes.next()) {
        if (box->type != boxType("meta"))
            continue;
        IsoBoxes parts{file, box->begin + versionAndFlags, box->end};
        while (const auto part = parts.next())
            if (part->type == boxType("iref"))
                forEachItemReference(file, *part, [&](std::uint32_t type, std::uint32_t from, std::uint32_t to) {
                    if (type == boxType("dimg"))
                        graph.add(from, to);
                    else if (type == boxType("auxl"))
                        graph.add(to, from);
                });
    }
    return graph.isCircular();
}

} // namespace nivex::image
