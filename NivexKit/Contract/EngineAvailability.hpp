#pragma once

#include <optional>
#include <string>

namespace nivex {

/// Whether an engine works on this machine, and if not, why: a French sentence for the user.
class EngineAvailability {
public:
    static EngineAvailability available() { return {}; }
    static EngineAvailability unavailable(std::string reason)
    {
        EngineAvailability result;
        result.reason_ = std::move(reason);
        return result;
    }

    bool isAvailable() const { return !reason_; }
    /// Absent when the engine is available.
    const std::optional<std::string>& reason() const { return reason_; }

    bool operator==(const EngineAvailability&) const = default;

private:
    EngineAvailability() = default;

    std::optional<std::string> reason_;
};

} // namespace nivex
