#include "NivexKit/Workers/PropertiesMessage.hpp"

#include "NivexKit/Formats/SourcePropertyFields.hpp"

#include <cmath>
#include <cstdint>
#include <optional>
#include <type_traits>

namespace nivex {
namespace {

/// Reads the member into the field when it is there; a measurement below zero or of another kind breaks the rules.
template <class Value>
void read(const MessageFields& fields, std::string (*text)(std::string_view), std::string_view name,
          std::optional<Value>& field)
{
    if (!fields.has(name))
        return;
    if constexpr (std::is_same_v<Value, bool>) {
        field = fields.boolean(name);
    } else if constexpr (std::is_same_v<Value, std::string>) {
        field = text(fields.text(name));
    } else if constexpr (std::is_same_v<Value, std::int64_t>) {
        field = fields.integer(name);
        if (*field < 0)
            throw WorkerMessageError{"a measurement below zero"};
    } else {
        field = fields.value(name).number();
        if (!field || !std::isfinite(*field) || *field < 0)
            throw WorkerMessageError{"a duration that is none"};
    }
}

} // namespace

SourceProperties propertiesOf(const MessageFields& fields, std::string (*text)(std::string_view))
{
    SourceProperties result;
    forEachSourceProperty([&](std::string_view name, auto field) { read(fields, text, name, result.*field); });
    return result;
}

} // namespace nivex
