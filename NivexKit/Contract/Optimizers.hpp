#pragma once

#include "NivexKit/Contract/ConversionEngine.hpp"

#include <memory>

namespace nivex {

/// How files of one format are made smaller in their own format: an edge from the format to itself that takes a target
/// size, and the engine that offers it. Each family of formats has an engine of its own for it.
struct Optimizer {
    std::shared_ptr<const ConversionEngine> engine; // null where no available engine can
    const EngineCapability* edge = nullptr;         // as long as the engine
};

/// The first of the engines that makes files of the format smaller.
Optimizer optimizerOf(const FormatID& format, const EngineList& engines);

} // namespace nivex
