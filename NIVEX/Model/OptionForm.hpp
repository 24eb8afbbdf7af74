#pragma once

#include "NIVEX/Model/TargetOffer.hpp"

#include "NivexKit/Contract/ConversionSettings.hpp"
#include "NivexKit/Formats/FileFormat.hpp"

#include <cstddef>
#include <span>
#include <string>
#include <variant>
#include <vector>

namespace nivex {

/// A number as a person sets it, in the unit that stands behind it.
struct NumberControl {
    double low = 0;
    double high = 0;
    double value = 0;
    std::string unit;        // " %", " px"
    bool isOptional = false; // there may be no number at all
    bool isSet = true;       // there is one

    bool operator==(const NumberControl&) const = default;
};

/// One of a few.
struct ChoiceControl {
    std::vector<std::string> labels;
    std::vector<std::size_t> cases; // of the enumeration, for each label
    std::size_t current = 0;        // among the labels

    bool operator==(const ChoiceControl&) const = default;
};

struct SwitchControl {
    bool isOn = false;

    bool operator==(const SwitchControl&) const = default;
};

using ValueControl = std::variant<NumberControl, ChoiceControl, SwitchControl>;

/// A setting as a form shows it.
struct OptionControl {
    std::size_t setting = 0; // its place in `conversionSettings`
    std::string label;
    std::string detail; // one sentence on what it does
    ValueControl value;

    bool operator==(const OptionControl&) const = default;
};

/// The controls for what a conversion honours, in the order of the settings. Of the values that a person can choose,
/// those that the target cannot take are left out.
///
/// shown  the values that stand in the controls at first
std::vector<OptionControl> optionControls(ConversionOptionKinds honoured, const FileFormat& target,
                                          const ConversionOptions& shown);

/// Sets what a control says, among other settings.
void apply(const OptionControl& control, OptionOverrides& settings);

/// The settings whose kinds are honoured: what was remembered may come from files that were of another format.
OptionOverrides honouredOf(const OptionOverrides& settings, ConversionOptionKinds honoured);

/// The settings to begin with for an offer: those it was taken with last, as far as it honours them. Making files
/// smaller needs a size; where none is remembered it is half that of the largest file.
OptionOverrides initialSettings(const TargetOffer& offer, const OptionOverrides& remembered,
                                std::span<const SharedDetection> files);

} // namespace nivex
