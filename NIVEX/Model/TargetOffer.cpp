#include "NIVEX/Model/TargetOffer.hpp"

#include "NIVEX/Model/Wording.hpp"

#include <algorithm>

namespace nivex {
namespace {

TargetOffer offerOf(const ConversionPlan& plan, OfferPurpose purpose)
{
    return {.purpose = purpose,
            .target = plan.target,
            .route = describeWay(plan),
            .losses = plan.losses,
            .options = plan.options};
}

} // namespace

std::string TargetOffer::title() const
{
    switch (purpose) {
    case OfferPurpose::convert:
        return target.name;
    case OfferPurpose::lighten:
        return "Alléger"_fr;
    case OfferPurpose::combine:
        return filled("Un seul {}"_fr, {target.name});
    }
    return {};
}

void OfferTable::add(const DetectionResult& file)
{
    if (!file.isUsable())
        return;
    const Known& known = plansOf(file);
    if (usableFiles_++ == 0)
        begin(known);
    else
        keepCommon(known);
}

const OfferTable::Known& OfferTable::plansOf(const DetectionResult& file)
{
    Known& known = lastOfFormat_[file.format->id];
    if (!known.plans.empty() && known.properties == file.properties)
        return known;
    known = {.properties = file.properties, .plans = planner_->plans(file)};
    if (auto lighter = planner_->optimizationPlan(file)) {
        known.plans.push_back(std::move(*lighter));
        known.canLighten = true;
    }
    return known;
}

void OfferTable::begin(const Known& known)
{
    for (std::size_t i = 0; i < known.plans.size(); ++i) {
        const bool isLighter = known.canLighten && i + 1 == known.plans.size();
        offers_.push_back(offerOf(known.plans[i], isLighter ? OfferPurpose::lighten : OfferPurpose::convert));
    }
}

void OfferTable::keepCommon(const Known& known)
{
    std::erase_if(offers_, [&](TargetOffer& offer) {
        const bool isLighter = offer.purpose == OfferPurpose::lighten;
        if (isLighter && !known.canLighten)
            return true;
        const auto converting = std::span{known.plans}.first(known.plans.size() - (known.canLighten ? 1 : 0));
        const auto found = std::ranges::find(converting, offer.target.id, &ConversionPlan::id);
        if (!isLighter && found == converting.end())
            return true;
        const ConversionPlan& plan = isLighter ? known.plans.back() : *found;
        offer.hasSeveralRoutes = offer.hasSeveralRoutes || describeWay(plan) != offer.route;
        offer.losses |= plan.losses;
        offer.options |= plan.options;
        return false;
    });
}

std::vector<TargetOffer> OfferTable::offers() const { return offers_; }

} // namespace nivex
