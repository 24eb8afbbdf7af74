#include "NivexKit/Execution/Hashing.hpp"

#include <gtest/gtest.h>

#include <unordered_set>

namespace nivex {
namespace {

/// Equal values must be one element of a set, and values that differ in a field two that rarely share a hash.
template <class Value>
void expectKeys(const Value& value, const Value& other)
{
    EXPECT_EQ((std::unordered_set<Value>{value, Value{value}, other}.size()), 2U);
    EXPECT_NE(std::hash<Value>{}(value), std::hash<Value>{}(other));
}

TEST(Hashing, MakesValuesKeys)
{
    expectKeys<ConversionOutcome>({{"a", "b"}, 3}, {{"b", "a"}, 3});
    expectKeys<BatchProgress>({.total = 1, .fraction = 0.5}, {.total = 1});
    expectKeys(ConversionError::timedOut(), ConversionError::cancelled());
    expectKeys(ConversionError::unsupported("a"), ConversionError::unsupported("b"));
    expectKeys(EngineAvailability::available(), EngineAvailability::unavailable(""));
    expectKeys<EngineCapability>({.source = "png", .target = "jpeg"}, {.source = "jpeg", .target = "png"});
    expectKeys<ConversionOptions>({}, {.audioBitRate = 1});
    expectKeys<PlannedStep>({"a", "png", "jpeg"}, {"b", "png", "jpeg"});
    ConversionPlan plan;
    plan.steps = {{"a", "png", "jpeg"}};
    expectKeys(plan, ConversionPlan{});
    expectKeys<ConversionJob>({.id = Uuid::random()}, {.id = Uuid::random()});
}

} // namespace
} // namespace nivex
