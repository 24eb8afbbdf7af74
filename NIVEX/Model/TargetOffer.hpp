#pragma once

#include "NivexKit/Detection/DetectionResult.hpp"
#include "NivexKit/Planning/ConversionPlanner.hpp"

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace nivex {

/// What a person does with files by taking an offer.
enum class OfferPurpose {
    convert, // each file becomes one of another format
    lighten, // each file stays what it is and becomes smaller
    combine, // all files become one
};

/// Which offer is meant.
struct OfferID {
    OfferPurpose purpose = OfferPurpose::convert;
    FormatID target;

    bool operator==(const OfferID&) const = default;
};

/// Something that all usable files of a selection can become.
struct TargetOffer {
    OfferPurpose purpose = OfferPurpose::convert;
    FileFormat target;
    std::string route;             // in words; where the files go several ways, that of the first
    bool hasSeveralRoutes = false; // not all files take that one
    ConversionLoss losses;         // of any of the files, with the standard settings
    ConversionOptionKinds options; // that any of the files honours

    OfferID id() const { return {purpose, target.id}; }
    /// As a bubble names it: "PNG", "Alléger", "Un seul PDF".
    std::string title() const;

    bool operator==(const TargetOffer&) const = default;
};

using SharedDetection = std::shared_ptr<const DetectionResult>;

/// Finds what files have in common, file by file, as they are looked at. One thread at a time.
class OfferTable {
public:
    explicit OfferTable(const ConversionPlanner& planner) : planner_{&planner} {}

    /// Takes a file into account; one that cannot be used changes nothing.
    void add(const DetectionResult& file);

    std::size_t usableFiles() const { return usableFiles_; }
    /// In the proposal order of the first file.
    std::vector<TargetOffer> offers() const;

private:
    struct Known {
        SourceProperties properties;
        std::vector<ConversionPlan> plans; // in proposal order; that which makes smaller comes last, if there is one
        bool canLighten = false;
    };

    const Known& plansOf(const DetectionResult& file);
    void begin(const Known& known);
    void keepCommon(const Known& known);

    const ConversionPlanner* planner_;
    std::size_t usableFiles_ = 0;
    std::vector<TargetOffer> offers_;
    // Files of a drop are often alike: what the last one of each format gave is kept.
    std::unordered_map<FormatID, Known> lastOfFormat_;
};

} // namespace nivex
