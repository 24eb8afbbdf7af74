#pragma once

#include "NivexWorkers/Data/Model/Numbers.hpp"
#include "NivexWorkers/Data/Model/Scalar.hpp"

#include <array>
#include <cstddef>

namespace nivex::data {

/// What the values of one place are where the format has no types, such as those of one column. A type is a matter of
/// the place: one postal code with a leading zero makes all of them text.
struct ValueTypes {
    bool keepsText = false; // some are digits that are no quantity, so none is a number
    bool isBoolean = false;
    bool isDate = false; // all days, or all moments

    /// What a value of the place is; an empty text is null.
    ScalarKind kindOf(std::string_view text) const
    {
        if (text.empty())
            return ScalarKind::null;
        if (isBoolean)
            return ScalarKind::boolean;
        if (isDate)
            return ScalarKind::date;
        return !keepsText && isJsonNumber(text) ? ScalarKind::number : ScalarKind::text;
    }

    /// A value of the place.
    Scalar typed(std::string_view text) const
    {
        const ScalarKind kind = kindOf(text);
        return {kind, kind == ScalarKind::boolean ? booleanText(text) : text};
    }

    /// "true" and "TRUE" are one value, and so are the others.
    static std::string_view booleanText(std::string_view text) { return text.size() == 4 ? "true" : "false"; }
};

/// Counts what the values of one place look like.
class LookCounts {
public:
    void add(Look look) { ++counts_[static_cast<std::size_t>(look)]; }
    std::size_t count(Look look) const { return counts_[static_cast<std::size_t>(look)]; }
    /// Of values that are not empty.
    std::size_t filled() const;
    ValueTypes types() const;

private:
    std::array<std::size_t, static_cast<std::size_t>(Look::text) + 1> counts_{};
};

} // namespace nivex::data
