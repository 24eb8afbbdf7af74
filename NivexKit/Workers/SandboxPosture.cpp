#include "NivexKit/Workers/SandboxPosture.hpp"

#include "NivexKit/Foundation/EnumTable.hpp"
#include "NivexKit/Foundation/Text/Json.hpp"

#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace nivex {
namespace {

struct LayerRow {
    SandboxLayer value;
    std::string_view stored;
    Text label;
    bool required;
};

// clang-format off
constexpr LayerRow layerRows[] = {
    {SandboxLayer::endsWithParent,  "endsWithParent",  "Fin avec le programme principal"_fr,    true},
    {SandboxLayer::noNewPrivileges, "noNewPrivileges", "Aucun privilège supplémentaire"_fr,     true},
    {SandboxLayer::limits,          "limits",          "Limites de mémoire et de temps"_fr,     true},
    {SandboxLayer::files,           "files",           "Accès aux fichiers (Landlock)"_fr,      true},
    {SandboxLayer::network,         "network",         "Réseau (Landlock)"_fr,                  false},
    {SandboxLayer::signals,         "signals",         "Signaux (Landlock)"_fr,                 false},
    {SandboxLayer::calls,           "calls",           "Appels au noyau (seccomp)"_fr,          true},
};
// clang-format on
static_assert(inCaseOrder(layerRows, SandboxLayer::calls));

SandboxLayerState landlockState(SandboxLayer layer, int version, int needed)
{
    const std::string name = "Landlock " + std::to_string(version);
    if (version == 0)
        return {layer, false, "absent de ce noyau ou désactivé"_fr};
    if (version < needed)
        return {layer, false, filled("{} ne le permet pas"_fr, {name})};
    return {layer, true, name};
}

/// The kernel checks the mode before it looks at the filter, so a filter that is nowhere tells which modes it has.
bool kernelFiltersCalls()
{
    constexpr unsigned long modeFilter = 2;
    return ::prctl(PR_SET_SECCOMP, modeFilter, nullptr, 0, 0) == -1 && errno == EFAULT;
}

} // namespace

std::string_view storedName(SandboxLayer layer) { return rowOf(layerRows, layer).stored; }

std::optional<SandboxLayer> sandboxLayerStoredAs(std::string_view stored) { return caseStoredAs(layerRows, stored); }

std::string label(SandboxLayer layer) { return rowOf(layerRows, layer).label; }

bool isRequired(SandboxLayer layer) { return rowOf(layerRows, layer).required; }

int landlockVersion()
{
    constexpr unsigned askVersion = 1;
    const long version = ::syscall(SYS_landlock_create_ruleset, nullptr, 0, askVersion);
    return version > 0 ? static_cast<int>(version) : 0;
}

SandboxPosture SandboxPosture::ofThisKernel()
{
    const int landlock = landlockVersion();
    const bool filters = kernelFiltersCalls();
    return {{
        {SandboxLayer::endsWithParent, true, {}},
        {SandboxLayer::noNewPrivileges, true, {}},
        {SandboxLayer::limits, true, {}},
        landlockState(SandboxLayer::files, landlock, 1),
        landlockState(SandboxLayer::network, landlock, landlockVersionOfNetwork),
        landlockState(SandboxLayer::signals, landlock, landlockVersionOfSignals),
        {SandboxLayer::calls, filters, filters ? std::string{} : std::string{"absent de ce noyau"_fr}},
    }};
}

std::vector<std::string> SandboxPosture::missing() const
{
    std::vector<std::string> result;
    for (const LayerRow& row : layerRows) {
        bool granted = !row.required;
        for (const SandboxLayerState& state : layers)
            granted = granted || (state.layer == row.value && state.granted);
        if (!granted)
            result.push_back(row.label);
    }
    return result;
}

JsonValue toJson(const SandboxPosture& posture)
{
    JsonArray layers;
    for (const SandboxLayerState& state : posture.layers)
        layers.push_back(
            JsonObject{{"layer", storedName(state.layer)}, {"granted", state.granted}, {"detail", state.detail}});
    return layers;
}

} // namespace nivex
