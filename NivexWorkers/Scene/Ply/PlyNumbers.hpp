#pragma once

#include "NivexWorkers/Scene/Ply/PlyHeader.hpp"
#include "NivexWorkers/Scene/Text/Fields.hpp"
#include "NivexWorkers/Scene/Text/LineSource.hpp"

#include <memory>
#include <span>

namespace nivex::scene {

/// The numbers of a PLY file behind its header, one after another. Each throws unreadableSource where the file ends or
/// shows something else.
class PlyNumbers {
public:
    virtual ~PlyNumbers() = default;

    /// Begins a row. In a text each begins a line, whatever else stands behind the row before.
    virtual void beginRow() {}

    virtual double next(PlyType type) = 0;

    /// The length of a list. A list is never longer than the bytes that are left.
    std::size_t nextLength(PlyType type);

    static std::unique_ptr<PlyNumbers> of(const SceneInput& input, const PlyHeader& header);

protected:
    /// Bytes that are left.
    virtual std::uint64_t left() const = 0;
};

} // namespace nivex::scene
