#pragma once

#include "NivexWorkers/Scene/Model/Mesh.hpp"

#include <bit>
#include <cstdint>
#include <limits>
#include <vector>

namespace nivex::scene {

/// Gives corners at exactly one place one vertex.
class VertexMerger {
public:
    /// positions  receives the vertices; whoever empties it calls `clear` too
    explicit VertexMerger(std::vector<Vec3>& positions) : positions_{positions} {}

    void clear() { slots_.clear(); }

    Index add(Vec3 position)
    {
        if (2 * (positions_.size() + 1) > slots_.size())
            grow();
        // Minus zero is zero.
        position = {position.x + 0.0F, position.y + 0.0F, position.z + 0.0F};
        Index& slot = find(position);
        if (slot == free) {
            slot = static_cast<Index>(positions_.size());
            positions_.push_back(position);
        }
        return slot;
    }

private:
    static constexpr Index free = std::numeric_limits<Index>::max();
    static constexpr std::size_t smallest = 1'024;

    static bool isSame(Vec3 a, Vec3 b)
    {
        // By their bits: what is no number is told apart from nothing else here and refused later.
        return std::bit_cast<std::uint32_t>(a.x) == std::bit_cast<std::uint32_t>(b.x) &&
               std::bit_cast<std::uint32_t>(a.y) == std::bit_cast<std::uint32_t>(b.y) &&
               std::bit_cast<std::uint32_t>(a.z) == std::bit_cast<std::uint32_t>(b.z);
    }

    static std::uint64_t hash(Vec3 p)
    {
        const auto mix = [](std::uint64_t h) {
            h ^= h >> 32;
            h *= 0xD6E8FEB86659FD93U;
            return h ^ (h >> 32);
        };
        const std::uint64_t xy =
            std::uint64_t{std::bit_cast<std::uint32_t>(p.x)} << 32 | std::bit_cast<std::uint32_t>(p.y);
        return mix(mix(xy) + std::bit_cast<std::uint32_t>(p.z));
    }

    Index& find(Vec3 position)
    {
        const std::size_t mask = slots_.size() - 1;
        std::size_t at = hash(position) & mask;
        while (slots_[at] != free && !isSame(positions_[slots_[at]], position))
            at = (at + 1) & mask;
        return slots_[at];
    }

    void grow()
    {
        slots_.assign(slots_.empty() ? smallest : 2 * slots_.size(), free);
        for (std::size_t i = 0; i < positions_.size(); ++i)
            find(positions_[i]) = static_cast<Index>(i);
    }

    std::vector<Vec3>& positions_;
    Indices slots_; // a power of two of them, at most half of them taken
};

} // namespace nivex::scene
