#include "NivexWorkers/Data/Toml/TomlDocument.hpp"

#include "NivexWorkers/Data/Model/Errors.hpp"

namespace nivex::data {

TomlValue* TomlValue::member(const std::string& name) const
{
    const auto found = places.find(name);
    return found == places.end() ? nullptr : values[found->second].get();
}

TomlValue& TomlValue::add(std::string name, Kind memberKind, Origin memberOrigin)
{
    places.emplace(name, values.size());
    names.push_back(std::move(name));
    return addElement(memberKind, memberOrigin);
}

TomlValue& TomlValue::addElement(Kind elementKind, Origin elementOrigin)
{
    values.push_back(std::make_unique<TomlValue>());
    values.back()->kind = elementKind;
    values.back()->origin = elementOrigin;
    return *values.back();
}

void tell(const TomlValue& value, TreeEvents& events, std::size_t depth)
{
    if (value.kind == TomlValue::Kind::scalar) {
        events.scalar({value.type, value.text});
        return;
    }
    if (depth > maxDepth)
        throw tooDeep(maxDepth);
    const bool isTable = value.kind == TomlValue::Kind::table;
    if (isTable)
        events.beginObject();
    else
        events.beginArray();
    for (std::size_t i = 0; i < value.values.size(); ++i) {
        if (isTable)
            events.key(value.names[i]);
        tell(*value.values[i], events, depth + 1);
    }
    if (isTable)
        events.endObject();
    else
        events.endArray();
}

} // namespace nivex::data
