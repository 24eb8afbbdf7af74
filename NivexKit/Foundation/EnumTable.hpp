#pragma once

#include "NivexKit/Foundation/Text/StringTable.hpp"

#include <cstddef>
#include <optional>
#include <string_view>
#include <type_traits>

namespace nivex {

/// One line of the table that gives an enumeration its stored names and labels: case, stored text, shown text.
template <class Enum>
struct EnumRow {
    Enum value;
    std::string_view stored;
    Text label;
};

/// True when the rows stand in the order of the cases, none missing, so that a case is its row's index.
/// Any row type with a field `value` will do.
template <class Row, std::size_t count, class Enum>
constexpr bool inCaseOrder(const Row (&rows)[count], Enum lastCase)
{
    for (std::size_t i = 0; i < count; ++i)
        if (static_cast<std::size_t>(rows[i].value) != i)
            return false;
    return static_cast<std::size_t>(lastCase) + 1 == count;
}

/// The row of a case in a table that is in case order.
template <class Row, std::size_t count, class Enum>
constexpr const Row& rowOf(const Row (&rows)[count], Enum value)
{
    return rows[static_cast<std::size_t>(value)];
}

/// The case that is stored under a text; none for a text that names no case.
template <class Row, std::size_t count>
constexpr auto caseStoredAs(const Row (&rows)[count], std::string_view stored)
    -> std::optional<std::remove_cvref_t<decltype(rows[0].value)>>
{
    for (const Row& row : rows)
        if (row.stored == stored)
            return row.value;
    return std::nullopt;
}

} // namespace nivex
