#include "NivexKit/Contract/ConversionSettings.hpp"

namespace nivex {

ConversionOptions OptionOverrides::appliedTo(ConversionOptions base) const
{
    forEachGiven([&](const auto& setting) { base.*setting.field = values_.*setting.field; });
    return base;
}

OptionOverrides OptionOverrides::under(const OptionOverrides& above) const
{
    OptionOverrides both = *this;
    both.values_ = above.appliedTo(values_);
    both.given_ |= above.given_;
    return both;
}

} // namespace nivex
