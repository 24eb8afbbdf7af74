#pragma once

#include "NivexWorkers/Data/Model/Scalar.hpp"

#include <cstddef>
#include <string_view>

namespace nivex::data {

/// Levels of nesting that readers hand on; what lies deeper is refused.
constexpr std::size_t maxDepth = 512;

/// Receives nested data in their order: one value, which is a scalar, or an object or array that holds others. Inside
/// an object each value follows its key.
class TreeEvents {
public:
    virtual ~TreeEvents() = default;

    virtual void beginObject() = 0;
    virtual void key(std::string_view name) = 0;
    virtual void endObject() = 0;
    virtual void beginArray() = 0;
    virtual void endArray() = 0;
    virtual void scalar(const Scalar& value) = 0;
};

} // namespace nivex::data
