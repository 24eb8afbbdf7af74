#pragma once

#include "NivexWorkers/Data/Model/TreeEvents.hpp"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace nivex::data {

/// A value of a TOML document while it is read, with what decides whether something may be added to it.
struct TomlValue {
    enum class Kind : unsigned char { scalar, list, table };
    /// How a table or a list came to be, which says what may come later.
    enum class Origin : unsigned char {
        implied,  // a table on the way to another, which may get a header of its own
        headed,   // [table], or an element of [[tables]]
        dotted,   // made by a dotted key, to which only dotted keys of the same table add
        inlined,  // {a = 1} or [1, 2], which is complete
        elements, // the list of [[tables]]
    };

    Kind kind = Kind::table;
    Origin origin = Origin::implied;
    ScalarKind type = ScalarKind::null;             // of a scalar
    std::string text;                               // of a scalar
    std::vector<std::string> names;                 // of the members of a table
    std::vector<std::unique_ptr<TomlValue>> values; // members or elements, in their order
    std::unordered_map<std::string, std::size_t> places;

    /// The member of that name, or null.
    TomlValue* member(const std::string& name) const;
    /// A new member, which there is none of that name yet.
    TomlValue& add(std::string name, Kind kind, Origin origin);
    TomlValue& addElement(Kind kind, Origin origin);
};

/// Tells the events of a value; resourceLimit for deep nesting.
void tell(const TomlValue& value, TreeEvents& events, std::size_t depth = 1);

} // namespace nivex::data
