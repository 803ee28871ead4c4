#include "VideoAnalysis/JSON/JSON.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace videoanalysis {
namespace {

using Kind = JSONError::Kind;

/// The kind of the error that `action` throws; empty if it throws none.
template <class Action>
std::optional<Kind> errorOf(const Action& action) {
    try {
        action();
    } catch (const JSONError& error) {
        EXPECT_STRNE(error.what(), "");
        return error.kind();
    }
    return std::nullopt;
}

TEST(JSON, ReadsEveryTypeAndWritesItBack) {
    const std::string text =
        R"({"array":[1,-2.5,1e+300,[]],"empty":{},"false":false,"null":null,"text":"é\"\\\n€😀","true":true})";
    const JSON value =
        JSON::parse(R"(  {"text":"\u00e9\"\\\n\u20ac\ud83d\ude00", "null":null,"true":true,"false":false,)"
                    R"( "empty" : {}, "array":[1,-2.5,1E300,[ ]]} )");
    EXPECT_EQ(value["text"].type(), JSON::Type::string);
    EXPECT_EQ(*value["text"].string(), "é\"\\\n€😀");
    EXPECT_EQ(value["array"][1].number(), -2.5);
    EXPECT_EQ(value["true"].boolean(), true);
    EXPECT_EQ(value["false"].boolean(), false);
    EXPECT_TRUE(value["null"].isNull());
    EXPECT_EQ(value["empty"].type(), JSON::Type::dictionary);
    EXPECT_EQ(value.size(), 6U);
    EXPECT_EQ(value["array"].size(), 4U);
    EXPECT_EQ(
        value.serialized(),
        R"({"array":[1,-2.5,1e+300,[]],"empty":{},"false":false,"null":null,"text":"é\"\\\u000a€😀","true":true})");
    EXPECT_EQ(JSON::parse(text), value);

    // Accessors do not convert between types, not even between numbers and booleans.
    EXPECT_FALSE(value["text"].number());
    EXPECT_FALSE(value["array"][0].boolean());
    EXPECT_FALSE(value["true"].number());
    EXPECT_EQ(value["array"].dictionary(), nullptr);
    EXPECT_EQ(value["empty"].array(), nullptr);
}

TEST(JSON, NumbersRoundTripInTheShortestForm) {
    EXPECT_EQ(JSON::array({0, 4.0, 0.1, -1e-7, 1e21, 1.0 / 3}).serialized(),
              "[0,4,0.1,-1e-07,1e+21,0.3333333333333333]");
    std::mt19937_64 generator(1);
    for (int i = 0; i < 2000; ++i) {
        const std::uint64_t bits = generator();
        const auto number = std::bit_cast<double>(bits);
        if (!std::isfinite(number)) continue;
        EXPECT_EQ(JSON::parse(JSON(number).serialized()).number(), number);
    }
    for (const double number : {std::numeric_limits<double>::denorm_min(), std::numeric_limits<double>::max(), -0.0}) {
        const double read = *JSON::parse(JSON(number).serialized()).number();
        EXPECT_EQ(read, number);
        EXPECT_EQ(std::signbit(read), std::signbit(number));
    }
}

TEST(JSON, SubscriptsReportWhyAnElementIsMissing) {
    const JSON value = JSON::dictionary({{"list", JSON::array({"first"})}, {"number", 3}});
    EXPECT_EQ(*value["list"][0].string(), "first");
    EXPECT_EQ(value["list"][1].error(), Kind::indexOutOfBounds);
    EXPECT_EQ(value["none"].error(), Kind::notExist);
    EXPECT_EQ(value["number"]["none"].error(), Kind::wrongType);
    EXPECT_EQ(value[0].error(), Kind::wrongType);
    EXPECT_EQ(value["none"].type(), JSON::Type::unknown);
    // Further subscripts keep the first reason.
    EXPECT_EQ(value["none"][7]["further"].error(), Kind::notExist);
    EXPECT_FALSE(value["number"].error());

    JSON::Dictionary many;
    for (int i = 0; i < 100; ++i) many.push_back({"key" + std::to_string(i), i});
    const JSON large(many);
    for (int i = 0; i < 100; ++i) EXPECT_EQ(large["key" + std::to_string(i)].number(), i);
    for (const char* absent : {"", "key", "key100", "key55x", "zzz"}) EXPECT_EQ(large[absent].error(), Kind::notExist);
}

TEST(JSON, ReportsErrorKindsAndTheirNames) {
    const JSON list = JSON::array({1});
    EXPECT_EQ(errorOf([] { JSON(std::nan("")).serialized(); }), Kind::unsupportedType);
    EXPECT_EQ(errorOf([] { JSON::array({std::numeric_limits<double>::infinity()}).serialized(); }),
              Kind::unsupportedType);
    EXPECT_EQ(errorOf([&] { list[5].serialized(); }), Kind::unsupportedType);
    EXPECT_EQ(errorOf([&] { JSON(list).set(std::size_t{1}, 2); }), Kind::indexOutOfBounds);
    EXPECT_EQ(errorOf([&] { JSON(list).set("key", 2); }), Kind::wrongType);
    EXPECT_EQ(errorOf([] { JSON("text").append(2); }), Kind::wrongType);
    EXPECT_EQ(errorOf([] { JSON("text").set(std::size_t{0}, 2); }), Kind::wrongType);
    EXPECT_EQ(errorOf([&] { JSON(list).merge(JSON::dictionary({})); }), Kind::wrongType);
    for (const char* text : {"", "  ", "{", "[1,]", "{\"a\":1,}", "nul", "[1] 2", "01", "\"\n\"", "\"\\ud800\"", "NaN",
                             "1e999", "'a'", "\"\xff\"", "\"\xc0\xaf\"", "\"\xed\xa0\x80\"", "[\0]"})
        EXPECT_EQ(errorOf([&] { JSON::parse(text); }), Kind::invalidJSON) << text;

    EXPECT_EQ(JSONError::name(Kind::unsupportedType), "unsupportedType");
    EXPECT_EQ(JSONError::name(Kind::indexOutOfBounds), "indexOutOfBounds");
    EXPECT_EQ(JSONError::name(Kind::elementTooDeep), "elementTooDeep");
    EXPECT_EQ(JSONError::name(Kind::wrongType), "wrongType");
    EXPECT_EQ(JSONError::name(Kind::notExist), "notExist");
    EXPECT_EQ(JSONError::name(Kind::invalidJSON), "invalidJSON");
}

TEST(JSON, ParseErrorIsOneShortLineWithThePosition) {
    try {
        JSON::parse("[1, 2, \"" + std::string(100'000, 'x') + "\" oops]");
        FAIL();
    } catch (const JSONError& error) {
        const std::string message = error.what();
        EXPECT_NE(message.find("byte 10001"), std::string::npos) << message.substr(0, 200);
        EXPECT_LT(message.size(), 300U);
        EXPECT_EQ(message.find('\n'), std::string::npos);
    }
}

TEST(JSON, RejectsTextNestedTooDeeply) {
    const auto nested = [](int depth) { return std::string(depth, '[') + std::string(depth, ']'); };
    EXPECT_EQ(JSON::parse(nested(JSON::maximumDepth)).serialized(), nested(JSON::maximumDepth));
    EXPECT_EQ(errorOf([&] { JSON::parse(nested(JSON::maximumDepth + 1)); }), Kind::elementTooDeep);
    EXPECT_EQ(errorOf([] { JSON::parse(std::string(5'000'000, '[')); }), Kind::elementTooDeep);

    JSON tower;
    for (int i = 0; i <= JSON::maximumDepth; ++i) tower = JSON::dictionary({{"a", tower}});
    EXPECT_EQ(errorOf([&] { tower.serialized(); }), Kind::elementTooDeep);
    JSON copy = JSON::parse(R"({"a":{"a":1}})");
    EXPECT_NO_THROW(copy.merge(tower));
    const JSON before = tower;
    EXPECT_EQ(errorOf([&] { tower.merge(before); }), Kind::elementTooDeep);
    EXPECT_EQ(tower, before);
}

TEST(JSON, CopiesComparesAndDestroysDeepValues) {
    // Alternating arrays and dictionaries, each with a sibling that has content.
    const auto tower = [](JSON top) {
        for (int i = 0; i < 400'000; ++i) {
            JSON level = i % 2 == 0 ? JSON(JSON::Array()) : JSON(JSON::Dictionary());
            if (i % 2 == 0) {
                level.append(std::move(top));
                level.append(JSON::array({i}));
            } else {
                level.set("inner", std::move(top));
                level.set("other", JSON::array({"text"}));
            }
            top = std::move(level);
        }
        return top;
    };
    JSON value = tower(1);
    EXPECT_EQ(value, tower(1));
    EXPECT_FALSE(value == tower(2));
    EXPECT_FALSE(value == tower(JSON::array({})));
    const JSON copy = value;
    value.set("added", true);
    EXPECT_FALSE(value == copy);
    EXPECT_EQ(value["inner"], copy["inner"]);
    EXPECT_EQ(errorOf([&] { value.serialized(); }), Kind::elementTooDeep);
    // Other threads have smaller stacks.
    std::thread([last = tower(4)]() mutable { last = nullptr; }).join();
}

TEST(JSON, CopiesAreIndependent) {
    JSON original = JSON::dictionary({{"list", JSON::array({1, 2})}, {"name", "a"}});
    const JSON kept = original;
    original.set({"deep", "er"}, true);
    original.set("name", "b");
    JSON list = original["list"];
    list.append(3);
    list.set(std::size_t{0}, "one");
    EXPECT_EQ(kept.serialized(), R"({"list":[1,2],"name":"a"})");
    EXPECT_EQ(original.serialized(), R"({"deep":{"er":true},"list":[1,2],"name":"b"})");
    EXPECT_EQ(list.serialized(), R"(["one",2,3])");
    EXPECT_EQ(errorOf([&] { original.set({"name", "er"}, 1); }), Kind::wrongType);

    // A value may be inserted into itself.
    JSON self = kept;
    self.set("self", self);
    EXPECT_EQ(self["self"], kept);
    self.merge(self);
    EXPECT_EQ(self["list"].serialized(), "[1,2,1,2]");
    list.append(list);
    EXPECT_EQ(list.serialized(), R"(["one",2,3,["one",2,3]])");
    list.append(list[0]);
    EXPECT_EQ(*list[4].string(), "one");
}

TEST(JSON, ElementsOutliveTheirContainerOnAnyThread) {
    std::string text = "[";
    for (int i = 0; i < 5000; ++i)
        text += R"({"x":)" + std::to_string(i) + R"(,"name":"a name that is not a short one"},)";
    text.back() = ']';
    std::vector<JSON> parts;
    {
        const JSON whole = JSON::parse(text);
        for (std::size_t i = 0; i < whole.size(); i += 100) parts.push_back(whole[i]);
        parts.push_back(whole[1]["name"]);
    }
    // Two threads read, change and drop their copies.
    const auto use = [copies = parts]() mutable {
        for (std::size_t i = 0; i + 1 < copies.size(); ++i) {
            EXPECT_EQ(copies[i]["x"].number(), 100.0 * static_cast<double>(i));
            copies[i].set("x", JSON::parse("[-1]"));
            copies[i].set("name", nullptr);
        }
        copies.clear();
    };
    std::thread first(use);
    std::thread second(use);
    first.join();
    second.join();
    EXPECT_EQ(parts[3].serialized(), R"({"name":"a name that is not a short one","x":300})");
    EXPECT_EQ(*parts.back().string(), "a name that is not a short one");
}

TEST(JSON, MergeCombinesDictionariesAndArrays) {
    JSON value = JSON::parse(R"({"a":1,"b":{"c":[1],"d":2},"e":"text"})");
    value.merge(JSON::parse(R"({"0":null,"b":{"c":[2,3],"x":4},"e":5,"z":6})"));
    EXPECT_EQ(value.serialized(), R"({"0":null,"a":1,"b":{"c":[1,2,3],"d":2,"x":4},"e":5,"z":6})");
    JSON number = 1;
    number.merge(2);
    EXPECT_EQ(number, JSON(2));
}

TEST(JSON, MemberOrderIsIgnoredAndTheLastDuplicateWins) {
    EXPECT_EQ(JSON::parse(R"({"a":1,"b":2})"), JSON::parse(R"({"b":2,"a":1})"));
    EXPECT_EQ(JSON::parse(R"({"b":0,"a":1,"a":2,"b":3,"a":4})").serialized(), R"({"a":4,"b":3})");
    EXPECT_NE(JSON(1), JSON("1"));
    EXPECT_NE(JSON(1), JSON(true));
    EXPECT_NE(JSON(), JSON(false));
    EXPECT_NE(JSON::array({1}), JSON::array({1, 2}));

    // Removing duplicates is no worse than sorting.
    std::string text = "{";
    for (int i = 0; i < 100'000; ++i) text += "\"k" + std::to_string(i % 50'000) + "\":" + std::to_string(i) + ",";
    text.back() = '}';
    const JSON large = JSON::parse(text);
    EXPECT_EQ(large.size(), 50'000U);
    EXPECT_EQ(large["k7"].number(), 50'007);
}

TEST(JSON, PreservesWellFormedUTF8) {
    // The first and last character of each encoded length, and the neighbours of the surrogates.
    for (const char* character :
         {"\x7F", "\u0080", "\u07FF", "\u0800", "\u0FFF", "\u1000", "\uCFFF", "\uD000", "\uD7FF", "\uE000", "\uFFFF",
          "\U00010000", "\U0003FFFF", "\U00040000", "\U000FFFFF", "\U00100000", "\U0010FFFF"}) {
        const std::string text = std::string("\"a") + character + "b\"";
        EXPECT_EQ(JSON(std::string("a") + character + "b").serialized(), text);
        EXPECT_EQ(JSON::parse(text).serialized(), text);
    }
}

TEST(JSON, ReplacesMalformedUTF8WhenSerializing) {
    // "!" marks each byte that is replaced by U+FFFD.
    const struct {
        std::string_view bytes;
        std::string_view marks;
    } cases[] = {
        {"\x80", "!"},  // not a lead byte
        {"\xBF", "!"},
        {"\xF5\x80\x80\x80", "!!!!"},
        {"\xFF", "!"},
        {"\xC0\x80", "!!"},  // overlong
        {"\xC1\xBF", "!!"},
        {"\xE0\x9F\xBF", "!!!"},
        {"\xF0\x8F\xBF\xBF", "!!!!"},
        {"\xED\xA0\x80", "!!!"},  // surrogates
        {"\xED\xBF\xBF", "!!!"},
        {"\xF4\x90\x80\x80", "!!!!"},  // beyond U+10FFFF
        {"\xC2(", "!("},               // missing continuation byte
        {"\xC2\xC0(", "!!("},
        {"\xE1(\x80", "!(!"},
        {"\xE1\x80(", "!!("},
        {"\xE1\x80\xC0(", "!!!("},
        {"\xF1(\x80\x80", "!(!!"},
        {"\xF1\x80(\x80", "!!(!"},
        {"\xF1\x80\x80(", "!!!("},
        {"\xF1\x80\x80\xC0(", "!!!!("},
        {"\xC2", "!"},  // truncated
        {"\xE1\x80", "!!"},
        {"\xF1\x80\x80", "!!!"},
    };
    for (const auto& [bytes, marks] : cases) {
        std::string expected = "\"";
        for (const char mark : marks) expected += mark == '!' ? std::string("\uFFFD") : std::string(1, mark);
        expected += '"';
        EXPECT_EQ(JSON(bytes).serialized(), expected);
        EXPECT_NO_THROW(JSON::parse(expected));
    }
    // Applies to keys, too. Only control characters, quotes and backslashes are escaped.
    EXPECT_EQ(JSON::dictionary({{"k\xff\"", 1}}).serialized(), "{\"k\uFFFD\\\"\":1}");
    std::string controls;
    for (char c = 0; c < 0x20; ++c) controls += c;
    const std::string written = JSON(controls).serialized();
    EXPECT_EQ(*JSON::parse(written).string(), controls);
    EXPECT_EQ(written.size(), 2 + 6 * controls.size());
    EXPECT_EQ(JSON(std::string("\0\x1f\x7f / \"\\", 8)).serialized(), "\"\\u0000\\u001f\x7f / \\\"\\\\\"");
}

}  // namespace
}  // namespace videoanalysis
