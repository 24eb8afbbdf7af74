#include "NivexKit/Formats/SourceProperties.hpp"

#include "NivexKit/Formats/SourcePropertyFields.hpp"
#include "NivexKit/Foundation/Text/Json.hpp"

namespace nivex {

JsonObject toJson(const SourceProperties& properties)
{
    JsonObject json;
    forEachSourceProperty([&](std::string_view name, auto field) {
        if (properties.*field)
            json.set(name, JsonValue{*(properties.*field)});
    });
    return json;
}

} // namespace nivex
