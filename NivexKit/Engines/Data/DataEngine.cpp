#include "NivexKit/Engines/Data/DataEngine.hpp"

namespace nivex {

DataEngine::DataEngine(const FormatRegistry&)
    : DeclaredEngine{"native-data", "Données (CSV, Excel, JSON, YAML, plist)"_fr}
{
}

} // namespace nivex
