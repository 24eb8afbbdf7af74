#include "NivexKit/Foundation/Text/Json.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace nivex {
namespace {

TEST(Json, ReadsBackWhatItWrites)
{
    const JsonValue value{JsonObject{
        {"whole", JsonValue{std::int64_t{9'007'199'254'740'993}}}, // a double would round it
        {"real", JsonValue{0.85}},
        {"text", JsonValue{"« é »\n\"\\\x01"}},
        {"list", JsonValue{JsonArray{JsonValue{}, JsonValue{true}, JsonValue{JsonObject{}}}}},
    }};

    EXPECT_EQ(parseJson(writeJson(value)), value);
    EXPECT_EQ(parseJson(writeJson(value, JsonStyle::prettySorted)).object()->members().front().first, "list");
}

TEST(Json, KeepsTheKindOfNumbersAndTheSignOfZero)
{
    struct Case {
        JsonValue value;
        const char* written;
    };
    const Case cases[] = {
        {JsonValue{2}, "2"},          {JsonValue{2.0}, "2.0"},   {JsonValue{-0.0}, "-0.0"},
        {JsonValue{1e300}, "1e+300"}, {JsonValue{0.25}, "0.25"}, {JsonValue{9007199254740992.0}, "9007199254740992.0"},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.written);
        EXPECT_EQ(writeJson(each.value), each.written);
        const JsonValue read = parseJson(each.written);
        EXPECT_EQ(read, each.value);
        EXPECT_EQ(std::signbit(*read.number()), std::signbit(*each.value.number()));
    }
}

TEST(Json, PrettyStyleSortsAndIndents)
{
    const JsonValue value{
        JsonObject{{"b", JsonValue{JsonObject{{"_0", JsonValue{2048}}}}}, {"a", JsonValue{JsonObject{}}}}};

    EXPECT_EQ(writeJson(value, JsonStyle::prettySorted), "{\n  \"a\" : {},\n  \"b\" : {\n    \"_0\" : 2048\n  }\n}");
    EXPECT_EQ(writeJson(value), R"({"b":{"_0":2048},"a":{}})");
}

TEST(Json, RefusesWhatIsNotOneWellFormedValue)
{
    struct Case {
        const char* fault;
        std::string text;
    };
    const Case cases[] = {
        {"nothing", ""},
        {"text behind the value", "{} {}"},
        {"a member named twice", R"({"a":1,"a":2})"},
        {"nesting past the limit", std::string(65, '[') + std::string(65, ']')},
        {"unclosed nesting that would exhaust a recursive reader", std::string(1'000'000, '[')},
        {"bytes that are not UTF-8", "\"\xC3\x28\""},
        {"a number no double can hold", "1e400"},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.fault);
        EXPECT_THROW(parseJson(each.text), JsonError);
    }
    EXPECT_NO_THROW(parseJson(std::string(64, '[') + std::string(64, ']')));
}

} // namespace
} // namespace nivex
