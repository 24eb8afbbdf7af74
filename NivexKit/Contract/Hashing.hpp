#pragma once

// What makes the values of the contract keys of sets and maps.

#include "NivexKit/Contract/ConversionLoss.hpp"
#include "NivexKit/Contract/ConversionOptions.hpp"
#include "NivexKit/Contract/EngineAvailability.hpp"
#include "NivexKit/Contract/EngineCapability.hpp"
#include "NivexKit/Foundation/ConversionError.hpp"
#include "NivexKit/Foundation/Hashing.hpp"

template <>
struct std::hash<nivex::ConversionError> {
    std::size_t operator()(const nivex::ConversionError& error) const
    {
        return nivex::combinedHash(error.kind(), error.detail());
    }
};

template <>
struct std::hash<nivex::ConversionLoss> {
    std::size_t operator()(nivex::ConversionLoss loss) const { return loss.rawValue(); }
};

template <>
struct std::hash<nivex::ConversionOptionKinds> {
    std::size_t operator()(nivex::ConversionOptionKinds kinds) const { return nivex::combinedHash(kinds.list()); }
};

template <>
struct std::hash<nivex::EngineAvailability> {
    std::size_t operator()(const nivex::EngineAvailability& availability) const
    {
        return nivex::combinedHash(availability.reason());
    }
};

template <>
struct std::hash<nivex::EngineCapability> {
    std::size_t operator()(const nivex::EngineCapability& each) const
    {
        return nivex::combinedHash(each.source, each.target, each.potentialLosses, each.options, each.reportsProgress,
                                   each.supportsCancellation, each.isTerminal, each.refused, each.joins);
    }
};

template <>
struct std::hash<nivex::ConversionOptions> {
    std::size_t operator()(const nivex::ConversionOptions& each) const
    {
        return nivex::combinedHash(each.quality, each.metadata, each.colorProfile, each.maxPixelDimension,
                                   each.flattenBackground, each.renderDPI, each.pageBackground, each.removeBackground,
                                   each.maxFileBytes, each.videoQuality, each.videoCodec, each.audioBitRate);
    }
};
