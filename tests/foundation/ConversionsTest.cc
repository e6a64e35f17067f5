// What a C++ programmer writes first with the library's values, and what must not compile although it looks
// alike.
#include <gtest/gtest.h>

#include <algorithm>
#include <compare>
#include <concepts>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/foundation/Text.h"
#include "qorvane/foundation/Value.h"
#include "qorvane/store/Options.h"

namespace qorvane {
namespace {

// ---- what must compile --------------------------------------------------------------------------------

constexpr Text kConstant = "Gaspé";  // Still a constant expression.
static_assert(kConstant.size() == 6);

static_assert(std::convertible_to<const char*, Text> && std::convertible_to<char*, Text>);
static_assert(std::convertible_to<Text, std::string> && std::convertible_to<Text, std::string_view>);
static_assert(std::three_way_comparable<Text, std::strong_ordering> && std::totally_ordered<Text>);
static_assert(std::convertible_to<bool, Value> && std::convertible_to<long, Value> &&
              std::convertible_to<double, Value> && std::convertible_to<std::string, Value>);
// What an application hands over: the argument of its `main`, a local buffer, its own string.
static_assert(std::invocable<decltype(&Options::setPreparerCity), Options&, char*> &&
              std::invocable<decltype(&Options::setPreparerCity), Options&, char (&)[64]> &&
              std::invocable<decltype(&Options::setPreparerCity), Options&, std::string>);

// ---- what must not ------------------------------------------------------------------------------------

static_assert(!std::constructible_from<Text, int> && !std::constructible_from<Text, bool> &&
              !std::constructible_from<Text, char>);
static_assert(!std::constructible_from<Text, const unsigned char*> &&
              !std::constructible_from<Text, const wchar_t*> && !std::constructible_from<Text, const void*>);
// No pointer becomes a flag, no character a number.
static_assert(!std::constructible_from<Value, const int*> && !std::constructible_from<Value, void*> &&
              !std::constructible_from<Value, const Text*> && !std::constructible_from<Value, void (*)()>);
static_assert(!std::constructible_from<Value, char> && !std::constructible_from<Value, char32_t>);
static_assert(!std::convertible_to<Text, int> && !std::convertible_to<Text, const char*>);
static_assert(!std::convertible_to<Value, Text> && !std::convertible_to<Value, bool>);
template <class T>
concept Subtractable = requires(T a, T b) {
  a - b;
};
static_assert(!Subtractable<Text>);

// ---- and what it does -----------------------------------------------------------------------------------

TEST(ConversionsTest, APointerToCharactersIsATextAndNullIsNil) {
  const char* const none = nullptr;
  EXPECT_TRUE(Text(none).isNil());
  const std::string city = "Gaspé";
  EXPECT_EQ(Text(city.c_str()), kConstant);
  EXPECT_FALSE(Text(city.c_str()).isSameObject(kConstant));
  char buffer[32] = "Percé";  // The blanks behind the NUL are no part of it.
  EXPECT_EQ(Text(buffer).size(), 6u);
  EXPECT_EQ(Text(static_cast<const char*>("\xE9")), Text(std::string("\xEF\xBF\xBD")));
}

TEST(ConversionsTest, ATextIsAStringWhereOneIsWanted) {
  const Text text = "Gaspé";
  std::string made = text;
  std::string assigned;
  assigned = text;
  EXPECT_EQ(made, "Gaspé");
  EXPECT_EQ(assigned, made);
  made += text;
  EXPECT_EQ(made, "GaspéGaspé");
  EXPECT_EQ(std::string(Text()), "");
}

TEST(ConversionsTest, TextsAreJoined) {
  const Text city = "Gaspé";
  EXPECT_EQ(city + ", " + std::string("QC"), Text("Gaspé, QC"));
  EXPECT_EQ("a " + city, Text("a Gaspé"));
  EXPECT_EQ(Text() + city, city);
  EXPECT_FALSE((Text() + Text()).isNil());
  EXPECT_FALSE((city + "").isSameObject(city));
}

TEST(ConversionsTest, TextsAreOrderedByBytesWithNilFirst) {
  std::vector<Text> texts = {"b", "", "é", nullptr, "a", "ab"};
  std::ranges::sort(texts);
  EXPECT_EQ(texts, (std::vector<Text>{nullptr, "", "a", "ab", "b", "é"}));
  for (const Text& a : texts)
    for (const Text& b : texts) EXPECT_EQ(a == b, (a <=> b) == 0);
  std::map<Text, int> counts = {{Text("b"), 2}, {Text(), 0}};
  counts["a"] = 1;
  EXPECT_EQ(counts.at(std::string("b")), 2);
  EXPECT_TRUE(counts.begin()->first.isNil());
}

TEST(ConversionsTest, TextsCompareWithStrings) {
  const Text text = "Gaspé";
  EXPECT_TRUE(text == std::string_view("Gaspé") && std::string("Gaspé") == text);
  EXPECT_TRUE(text != std::string_view("Percé") && text == "Gaspé");
  EXPECT_FALSE(Text() == std::string_view());
}

TEST(ConversionsTest, ValuesAreMadeOfWhatProgramsHave) {
  const Value five = 5;
  EXPECT_TRUE(isIdentical(five, Value(Number(5))));
  const Value on = true, half = 0.5, text = "Gaspé", byte = static_cast<unsigned char>(200);
  EXPECT_TRUE(isIdentical(on, Value(Number(true))));
  EXPECT_TRUE(isIdentical(half, Value(Number(0.5))));
  EXPECT_TRUE(isIdentical(text, Value(Text("Gaspé"))));
  EXPECT_TRUE(isIdentical(byte, Value(Number(200))));
  EXPECT_TRUE(Value(static_cast<const char*>(nullptr)).isNil());
  EXPECT_EQ(Value(std::string("x")), Value(Text("x")));
  EXPECT_TRUE(isIdentical(Value(18'446'744'073'709'551'615u), Value(Number(18'446'744'073'709'551'615u))));
}

TEST(ConversionsTest, DictionariesTakeThem) {
  Dictionary settings = {{"City", "Alma"}, {"Count", 5}, {"On", true}};
  settings.set("Rate", 0.15);
  settings.set(std::string("Name"), std::string("Tremblay"));
  EXPECT_EQ(settings.size(), 5u);
  EXPECT_EQ(settings.find("City")->textValue(), Text("Alma"));
  EXPECT_TRUE(settings.find("On")->boolValue());
  EXPECT_EQ(settings.find("Name")->textValue(), Text("Tremblay"));
}

}  // namespace
}  // namespace qorvane
