#pragma once

#include "NivexWorkers/Scene/Model/Scene.hpp"

#include "NivexKit/Foundation/ResourceLimits.hpp"

namespace nivex::scene {

/// Holds a scene that was read to its own rules, so that writers need not look: every index leads to something, each
/// vertex has one value of what vertices have, all numbers are numbers, parents stand before their children.
///
/// errors  ConversionError::unreadableSource for a scene that breaks a rule or shows nothing; resourceLimit where the
///         vertices, counted as often as they are shown, are more than the limits allow, and for a tree of more than a
///         thousand levels
void checkScene(const Scene& scene, const ResourceLimits& limits);

/// Throws resourceLimit for more vertices than the limits allow.
void checkVertexCount(std::uint64_t count, const ResourceLimits& limits);

} // namespace nivex::scene
