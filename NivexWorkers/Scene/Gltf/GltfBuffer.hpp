#pragma once

#include "NivexKit/Foundation/Text/Json.hpp"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace nivex::scene {

/// The one buffer of a file that is written, and the parts of JSON that tell what lies where in it.
class GltfBuffer {
public:
    /// What a view holds; codes of the format, and none for pictures.
    enum class Use { other = 0, vertices = 34962, indices = 34963 };

    /// Adds bytes behind the others, at a multiple of four; returns the index of their view.
    std::int64_t addView(std::string_view bytes, Use use, std::size_t stride = 0)
    {
        bytes_.resize((bytes_.size() + 3) / 4 * 4);
        JsonObject view{{"buffer", 0},
                        {"byteOffset", static_cast<std::int64_t>(bytes_.size())},
                        {"byteLength", static_cast<std::int64_t>(bytes.size())}};
        if (stride > 0)
            view.set("byteStride", static_cast<std::int64_t>(stride));
        if (use != Use::other)
            view.set("target", static_cast<std::int64_t>(use));
        bytes_ += bytes;
        views_.push_back(std::move(view));
        return static_cast<std::int64_t>(views_.size()) - 1;
    }

    /// Adds elements as a view and an accessor of their own; returns the index of the accessor. `more` is what the
    /// accessor says besides.
    template <class Element>
    std::int64_t addAccessor(std::span<const Element> elements, Use use, std::int64_t componentType,
                             std::string_view type, const JsonObject& more = {})
    {
        const std::string_view bytes{reinterpret_cast<const char*>(elements.data()), elements.size_bytes()};
        JsonObject accessor{{"bufferView", addView(bytes, use)},
                            {"componentType", componentType},
                            {"count", static_cast<std::int64_t>(elements.size())},
                            {"type", type}};
        for (const auto& [name, value] : more.members())
            accessor.set(name, value);
        accessors_.push_back(std::move(accessor));
        return static_cast<std::int64_t>(accessors_.size()) - 1;
    }

    const std::string& bytes() const { return bytes_; }
    const JsonArray& views() const { return views_; }
    const JsonArray& accessors() const { return accessors_; }

private:
    std::string bytes_;
    JsonArray views_;
    JsonArray accessors_;
};

} // namespace nivex::scene
