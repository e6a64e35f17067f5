#include "qorvane/foundation/Text.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <thread>
#include <type_traits>
#include <unordered_set>
#include <utility>
#include <vector>

#include "tests/foundation/Allocations.h"
#include "tests/foundation/OtherConstants.h"

namespace qorvane {
namespace {

Text made(std::string_view bytes) { return Text(std::string(bytes)); }

// What a literal promises holds before the program starts.
static_assert(Text().isNil() && Text(nullptr).isNil() && !Text("").isNil());
static_assert(Text("Québec").size() == 7 && Text("a\0b").size() == 3);
static_assert(kShared.isSameObject(kShared) && Text("x").isEqualTo("x"));
static_assert(!std::is_constructible_v<Text, int> && !std::is_constructible_v<Text, bool>);
static_assert(std::is_nothrow_move_constructible_v<Text> && std::is_nothrow_copy_constructible_v<Text>);

// What a malformed literal is refused by: a compiler's error cannot be tested, its condition can.
static_assert(detail::isWellFormedUtf8("\xF4\x8F\xBF\xBF \xED\x9F\xBF \xEE\x80\x80 \xC2\x80 \x7F"));
static_assert(!detail::isWellFormedUtf8("\xF4\x90\x80\x80") && !detail::isWellFormedUtf8("\xED\xA0\x80") &&
              !detail::isWellFormedUtf8("\xE0\x9F\xBF") && !detail::isWellFormedUtf8("\xF0\x8F\xBF\xBF") &&
              !detail::isWellFormedUtf8("\xC1\xBF") && !detail::isWellFormedUtf8("\xE2\x82") &&
              !detail::isWellFormedUtf8("\x80") && !detail::isWellFormedUtf8("\xF5\x80\x80\x80"));

TEST(TextTest, NilIsNotTheEmptyText) {
  const Text nil;
  EXPECT_TRUE(nil.isNil());
  EXPECT_TRUE(nil.isNilOrEmpty());
  EXPECT_EQ(nil.size(), 0u);
  EXPECT_EQ(nil.view(), "");
  EXPECT_STREQ(nil.c_str(), "");
  EXPECT_EQ(nil.string(), "");
  for (const Text& empty : {Text(""), made(""), Text(std::string_view())}) {
    EXPECT_FALSE(empty.isNil());
    EXPECT_TRUE(empty.isNilOrEmpty());
    EXPECT_EQ(empty.size(), 0u);
    EXPECT_STREQ(empty.c_str(), "");
    EXPECT_FALSE(empty == nil);
    EXPECT_FALSE(nil == empty);
    EXPECT_FALSE(empty.isSameObject(nil));
    EXPECT_FALSE(nil.isSameObject(empty));
  }
  EXPECT_FALSE(made(" ").isNilOrEmpty());
}

TEST(TextTest, NilEqualsNothingButIsTheSameAsNil) {
  EXPECT_FALSE(Text().isEqualTo(nullptr));
  EXPECT_FALSE(Text().isEqualTo(""));
  EXPECT_FALSE(Text("").isEqualTo(nullptr));
  EXPECT_TRUE(Text() == nullptr);
  EXPECT_TRUE(Text().isSameObject(nullptr));
}

TEST(TextTest, ACopyIsTheSameObjectAndATextMadeApartIsNot) {
  const Text first = made("English");
  const Text copy = first;
  const Text apart = made("English");
  EXPECT_TRUE(copy.isSameObject(first));
  EXPECT_FALSE(apart.isSameObject(first));
  EXPECT_TRUE(apart == first);
  EXPECT_TRUE(apart.isEqualTo(first));
  EXPECT_FALSE(first.isSameObject("English"));
  EXPECT_FALSE(Text("English").isSameObject(first));
  EXPECT_FALSE(made("").isSameObject(made("")));
  const Text original = copy;
  EXPECT_TRUE(original.isSameObject(first));
}

TEST(TextTest, EqualLiteralsAreOneObjectWhereverTheyAreWritten) {
  EXPECT_TRUE(kShared.isSameObject(constantAsSeenElsewhere()));
  EXPECT_TRUE(kShared.isSameObject(equalLiteralElsewhere()));
  EXPECT_TRUE(Text("").isSameObject(""));
  EXPECT_FALSE(Text("").isSameObject(nullptr));
  EXPECT_FALSE(Text("EN").isSameObject("FR"));
  EXPECT_FALSE(Text("EN").isSameObject("ENG"));
}

TEST(TextTest, LiteralsAndCopiesAllocateNothing) {
  const Text owned = made("made at run time, and long enough for no small buffer");
  const std::size_t before = testing_support::allocations();
  {
    Text constant = kShared;
    Text literal = "a literal that is long enough for no small buffer";
    Text copy = owned;
    copy = constant;
    constant = std::move(literal);
    copy = owned;
    Text nil;
    nil = copy;
    std::string_view view = copy;
    EXPECT_EQ(view.size(), owned.size());
    EXPECT_EQ(copy.intValue(), 0);
    EXPECT_EQ(Text("1e400").doubleValue(), HUGE_VAL);
  }
  EXPECT_EQ(testing_support::allocations(), before);
  const Text one = made("");
  EXPECT_EQ(testing_support::allocations(), before + 1);
}

TEST(TextTest, AssignmentAndMoveKeepTheObject) {
  Text text = made("first");
  text = *&text;
  EXPECT_EQ(text, Text("first"));
  Text& alias = text;
  text = std::move(alias);
  EXPECT_EQ(text, Text("first"));
  const Text kept = text;
  Text moved = std::move(text);
  EXPECT_TRUE(moved.isSameObject(kept));
  EXPECT_TRUE(text.isNil());  // NOLINT(bugprone-use-after-move): a text moved from is nil
  text = "second";
  moved = text;
  EXPECT_EQ(moved, Text("second"));
  moved = nullptr;
  EXPECT_TRUE(moved.isNil());
}

TEST(TextTest, CopiesMayBeMadeAndDroppedByManyThreads) {
  const Text shared = made("shared");
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([&] {
      for (int j = 0; j < 10000; ++j) {
        const Text copy = shared;
        const Text another = copy;
        ASSERT_TRUE(another.isSameObject(shared));
      }
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(shared, Text("shared"));
}

TEST(TextTest, FindsIllFormedBytesWhereverTheyStand) {
  // Well-formed bytes are looked at eight at a time, so where a sequence begins and what follows it matters.
  const std::string_view wellFormed[] = {"", "é", "日", "\U0001F341", "éé", "日é"};
  const std::string_view illFormed[] = {"\x80", "\xC3", "\xE6\x97", "\xF0\x9F\x8D", "\xFF", "\xC3\xC3\xA9"};
  for (std::size_t before = 0; before <= 20; ++before) {
    for (std::size_t after = 0; after <= 20; ++after) {
      const auto framed = [&](std::string_view middle) {
        return std::string(before, 'b').append(middle).append(after, 'a');
      };
      for (const std::string_view middle : wellFormed) {
        ASSERT_TRUE(detail::isWellFormedUtf8(framed(middle))) << framed(middle);
        ASSERT_EQ(made(framed(middle)).view(), framed(middle));
      }
      for (const std::string_view middle : illFormed) {
        ASSERT_FALSE(detail::isWellFormedUtf8(framed(middle))) << before << " " << after;
        ASSERT_NE(made(framed(middle)).view().find("\xEF\xBF\xBD"), std::string_view::npos);
      }
    }
  }
}

TEST(TextTest, EmbeddedNulsAreCharacters) {
  const Text text = made(std::string_view("a\0b\0", 4));
  EXPECT_EQ(text.size(), 4u);
  EXPECT_EQ(text.view(), std::string_view("a\0b\0", 4));
  EXPECT_FALSE(text == Text("a"));
  EXPECT_FALSE(text == made(std::string_view("a\0c\0", 4)));
  EXPECT_EQ(text.c_str()[4], '\0');
  EXPECT_TRUE(Text("a\0b\0") == text);
}

TEST(TextTest, ComparesBytesNotAppearances) {
  EXPECT_FALSE(Text("é") == Text("e\u0301"));
  EXPECT_FALSE(Text("a") == Text("A"));
}

TEST(TextTest, HashesByValue) {
  EXPECT_EQ(std::hash<Text>()(made("key")), std::hash<Text>()("key"));
  const std::unordered_set<Text> set = {"a", made("a"), nullptr, "b"};
  EXPECT_EQ(set.size(), 3u);
}

TEST(TextTest, Prints) {
  std::ostringstream out;
  out << Text("été") << '|' << Text() << '|' << Text("");
  EXPECT_EQ(out.str(), "été|(nil)|");
}

TEST(TextTest, ReadsAnInteger) {
  const struct {
    Text text;
    int value;
  } rows[] = {
      {"0", 0},
      {"5", 5},
      {"-5", -5},
      {"+5", 5},
      {"007", 7},
      {" \t\n\v\f\r12", 12},
      {"12 13", 12},
      {"12.9", 12},
      {"1e3", 1},
      {"1,234", 1},
      {"0x10", 0},
      {"", 0},
      {nullptr, 0},
      {"-", 0},
      {"+-5", 0},
      {"--5", 0},
      {"- 5", 0},
      {"abc", 0},
      {"5abc", 5},
      {"\u00A05", 0},
      {"٣", 0},
      {"2147483647", INT_MAX},
      {"2147483648", INT_MAX},
      {"-2147483648", INT_MIN},
      {"-2147483649", INT_MIN},
      {"00000000000000000000000000000000002147483646", 2147483646},
      {"99999999999999999999999999999999999999", INT_MAX},
      {"-99999999999999999999999999999999999999", INT_MIN},
      {"1\0002", 1},
  };
  for (const auto& row : rows) EXPECT_EQ(row.text.intValue(), row.value) << row.text;
}

TEST(TextTest, ReadsATruth) {
  for (const Text& text : {Text("1"), Text("y"), Text("Yes"), Text("YES"), Text("true"), Text("T"), Text("9"),
                           Text("  007"), Text("+2"), Text("-1"), Text("0y"), Text("-00t"), Text("1.0")})
    EXPECT_TRUE(text.boolValue()) << text;
  for (const Text& text :
       {Text(), Text(""), Text("0"), Text("000"), Text("no"), Text("NO"), Text("false"), Text("-"),
        Text("+-1"), Text("on"), Text("0.5"), Text(" "), Text("\u00A0y"), Text("x1")})
    EXPECT_FALSE(text.boolValue()) << text;
}

TEST(TextTest, ReadsADouble) {
  const std::string manyZeros(400, '0');
  const struct {
    Text text;
    double value;
  } rows[] = {
      {"0", 0.0},
      {"12.5", 12.5},
      {"-12.5xyz", -12.5},
      {"+.5", 0.5},
      {"5.", 5.0},
      {" \n7", 7.0},
      {"1e3", 1000.0},
      {"1E+3", 1000.0},
      {"1e-3", 0.001},
      {"1e", 1.0},
      {"1e+", 1.0},
      {"12,5", 12.0},
      {"0.1", 0.1},
      {"0x10", 0.0},
      {"inf", 0.0},
      {"nan", 0.0},
      {"infinity", 0.0},
      {"-inf", 0.0},
      {".", 0.0},
      {".e5", 0.0},
      {"-", 0.0},
      {"--1", 0.0},
      {"- 1", 0.0},
      {"", 0.0},
      {nullptr, 0.0},
      {"12.000000", 12.0},
      {"9007199254740993", 9007199254740992.0},
      {"1.7976931348623157e308", std::numeric_limits<double>::max()},
      {"4.9e-324", std::numeric_limits<double>::denorm_min()},
      {"1e309", HUGE_VAL},
      {"-1e309", -HUGE_VAL},
      {"1e-400", 0.0},
      {"1e99999999999999999999", HUGE_VAL},
      {"1e-99999999999999999999", 0.0},
      {"0e99999999999999999999", 0.0},
      {made("1" + manyZeros), HUGE_VAL},
      {made("-1" + manyZeros + ".5"), -HUGE_VAL},
      {made("0." + manyZeros + "1"), 0.0},
      {made("0." + manyZeros + "1e401"), 1.0},
      {made("0." + manyZeros + "1e800"), HUGE_VAL},
      {made("1" + manyZeros + "e-400"), 1.0},
      {made("1" + manyZeros + "e-800"), 0.0},
  };
  for (const auto& row : rows) EXPECT_EQ(row.text.doubleValue(), row.value) << row.text;
  EXPECT_TRUE(std::signbit(Text("-0").doubleValue()));
  EXPECT_TRUE(std::signbit(Text("-1e-400").doubleValue()));
}

}  // namespace
}  // namespace qorvane
