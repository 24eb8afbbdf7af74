#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace nivex {

class JsonValue;

/// What stands between a decoder and the rest of the machine, in the order in which a child takes it on.
enum class SandboxLayer {
    endsWithParent,
    noNewPrivileges,
    limits,
    files,
    network,
    signals,
    calls,
};

std::string_view storedName(SandboxLayer layer);
std::optional<SandboxLayer> sandboxLayerStoredAs(std::string_view stored);
/// As `nivex doctor` shows it.
std::string label(SandboxLayer layer);
/// True for the layers without which NIVEX refuses to open foreign files. The others double what the filter of system
/// calls refuses anyway, on kernels that can.
bool isRequired(SandboxLayer layer);

struct SandboxLayerState {
    SandboxLayer layer{};
    bool granted = false;
    std::string detail; // why not, or what exactly ("Landlock 7"); may be empty

    bool operator==(const SandboxLayerState&) const = default;
};

/// Which layers the kernel grants.
struct SandboxPosture {
    std::vector<SandboxLayerState> layers;

    /// What the running kernel offers. Asks only: the calling process stays as it is. Any thread.
    static SandboxPosture ofThisKernel();

    /// The labels of the required layers that are missing; empty when foreign files may be opened.
    std::vector<std::string> missing() const;

    bool operator==(const SandboxPosture&) const = default;
};

/// The version of Landlock that the kernel speaks; 0 when it has none or it is switched off.
int landlockVersion();

// The first versions of Landlock that can refuse emptying a file, network connections, and signals to other programs.
inline constexpr int landlockVersionOfTruncation = 3;
inline constexpr int landlockVersionOfNetwork = 4;
inline constexpr int landlockVersionOfSignals = 6;

JsonValue toJson(const SandboxPosture& posture);

} // namespace nivex
