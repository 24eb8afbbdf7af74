#pragma once

#include <functional>
#include <optional>
#include <string>

namespace nivex {

/// How far a run is, and what it is doing.
struct RunProgress {
    std::optional<double> fraction; // 0…1 of the whole run; absent while the amount of work is unknown
    std::string phase = {};         // as the user reads it: "Étape 1 sur 2 : conversion en PDF"; may be empty

    bool operator==(const RunProgress&) const = default;
};

/// Any thread may call it.
using RunProgressCallback = std::function<void(const RunProgress&)>;

} // namespace nivex
