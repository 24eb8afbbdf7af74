#pragma once

#include "NivexWorkers/Scene/Model/Mesh.hpp"
#include "NivexWorkers/Scene/Model/SceneInput.hpp"

#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Text/Json.hpp"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace nivex::scene {

/// Codes of the format.
enum class GltfComponent {
    byte = 5120,
    unsignedByte = 5121,
    shortInteger = 5122,
    unsignedShort = 5123,
    unsignedInteger = 5125,
    floatingPoint = 5126
};

/// A glTF 2.0 file, alone (JSON) or in its container (GLB), and the numbers in its buffers. Whatever an index or a
/// length in it leads out of is ConversionError::unreadableSource.
class GltfDocument {
public:
    /// The input outlives this. Throws ConversionError::unsupported for another version of the format.
    explicit GltfDocument(const SceneInput& input);

    const JsonObject& root() const { return root_; }

    /// The bytes that a container carries behind the JSON; empty where there are none.
    std::span<const std::byte> binary() const { return binary_; }

    /// The objects of a list at the top ("meshes"); empty where it is absent.
    std::span<const JsonValue> list(std::string_view name) const;

    /// An object of such a list.
    const JsonObject& object(std::string_view list, std::int64_t index) const;

    /// The whole of a buffer, as long as it announces. Kept once loaded.
    std::span<const std::byte> buffer(std::int64_t index) const;

    std::span<const std::byte> bufferView(std::int64_t index) const;

    /// The bytes that a URI stands for, those of a "data:" URI too; none where it leads to nothing.
    std::optional<std::vector<std::byte>> resource(std::string_view uri) const;

    /// The numbers of an accessor, as many for each element as `components`; whole numbers as parts of 1 where the
    /// accessor says so.
    std::vector<float> numbers(std::int64_t accessor, std::size_t components) const;

    /// Those of one whose elements have three or four numbers; a fourth that is not there is 1.
    std::vector<Vec4> colors(std::int64_t accessor) const;

    Indices indices(std::int64_t accessor) const;

    /// How many elements an accessor announces.
    std::uint64_t count(std::int64_t accessor) const;

    static ConversionError damaged(std::string_view cause);

private:
    struct Accessor;

    void readContainer();
    Accessor accessor(std::int64_t index) const;
    void checkFits(const Accessor& accessor, std::size_t availableBytes) const;

    const SceneInput& input_;
    std::vector<std::byte> container_;
    std::span<const std::byte> binary_;
    JsonObject root_;
    mutable std::map<std::int64_t, std::vector<std::byte>> buffers_;
};

/// A member of an object, of the kind that is asked for; none where it is absent or of another kind.
std::optional<std::int64_t> integerOf(const JsonObject& object, std::string_view name);
std::optional<double> numberOf(const JsonObject& object, std::string_view name);
std::string_view textOf(const JsonObject& object, std::string_view name);
const JsonObject* objectOf(const JsonObject& object, std::string_view name);
std::span<const JsonValue> arrayOf(const JsonObject& object, std::string_view name);

/// The numbers of an array into `values`, where it has exactly so many; else these stay.
template <class Number, std::size_t count>
void takeNumbers(const JsonObject& object, std::string_view name, std::array<Number, count>& values)
{
    const auto array = arrayOf(object, name);
    if (array.size() != count)
        return;
    for (std::size_t i = 0; i < count; ++i)
        values[i] = static_cast<Number>(array[i].number().value_or(0));
}

} // namespace nivex::scene
