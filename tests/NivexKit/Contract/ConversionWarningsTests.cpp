#include "NivexKit/Contract/EngineRequest.hpp"

namespace nivex {
namespace {

TEST(ConversionWarnings, AreSaidOnceAndBounded)
{
    ConversionWarnings warnings;
    std::vector<std::string> first;
    for (std::size_t i = 0; i < ConversionWarnings::most; ++i)
        warnings.add(first.emplace_back(std::to_string(i)));
    warnings.add("0");
    EXPECT_EQ(warnings.all(), first) << "as many as are kept, and one of them twice";
    warnings.add("one more");
    warnings.add("another");
    first.push_back("Autres avertissements : 2.");
    EXPECT_EQ(warnings.all(), first);
}

TEST(ConversionWarnings, NeedNobodyToListen)
{
    EngineRequest request;
    EXPECT_NO_THROW(request.warn("unheard"));
}

} // namespace
} // namespace nivex
