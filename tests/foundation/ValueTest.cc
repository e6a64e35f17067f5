#include "qorvane/foundation/Value.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <sstream>
#include <string>
#include <type_traits>

#include "qorvane/foundation/Dictionary.h"
#include "tests/foundation/Allocations.h"

namespace qorvane {
namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

const Value kOneOfEach[] = {Value(),
                            Value(Text("text")),
                            Value(Number(7)),
                            Value(Data("data")),
                            Value(Date{7}),
                            Value(Array{Value(Text("1"))}),
                            Value(Dictionary{{"1", Text("1")}})};

TEST(DataTest, HoldsBytes) {
  EXPECT_EQ(Data().size(), 0u);
  EXPECT_EQ(Data().view(), "");
  const Data data(std::string("\0\xFF\x80", 3));
  EXPECT_EQ(data.size(), 3u);
  EXPECT_EQ(data.view(), std::string_view("\0\xFF\x80", 3));
  EXPECT_EQ(Data(), Data(std::string()));
  EXPECT_FALSE(data == Data(std::string("\0\xFF", 2)));
  EXPECT_EQ(data, Data(std::string("\0\xFF\x80", 3)));
  const Data copy = data;
  EXPECT_EQ(copy.view().data(), data.view().data());
}

TEST(ValueTest, IsWhatItWasMadeOf) {
  for (std::size_t i = 0; i < std::size(kOneOfEach); ++i) {
    const Value& value = kOneOfEach[i];
    EXPECT_EQ(static_cast<std::size_t>(value.kind()), i);
    EXPECT_EQ(value.isNil(), value.kind() == Value::Kind::Nil);
    EXPECT_EQ(value.asText() != nullptr, value.kind() == Value::Kind::Text);
    EXPECT_EQ(value.asNumber() != nullptr, value.kind() == Value::Kind::Number);
    EXPECT_EQ(value.asData() != nullptr, value.kind() == Value::Kind::Data);
    EXPECT_EQ(value.asDate() != nullptr, value.kind() == Value::Kind::Date);
    EXPECT_EQ(value.asArray() != nullptr, value.kind() == Value::Kind::Array);
    EXPECT_EQ(value.asDictionary() != nullptr, value.kind() == Value::Kind::Dictionary);
  }
  EXPECT_EQ(*kOneOfEach[1].asText(), Text("text"));
  EXPECT_EQ(kOneOfEach[3].asData()->view(), "data");
  EXPECT_EQ(kOneOfEach[4].asDate()->secondsSince2001, 7);
  EXPECT_EQ(kOneOfEach[5].asArray()->size(), 1u);
  EXPECT_EQ(kOneOfEach[6].asDictionary()->size(), 1u);
}

TEST(ValueTest, ANilTextIsNil) {
  EXPECT_TRUE(Value(Text()).isNil());
  EXPECT_TRUE(Value(nullptr).isNil());
  EXPECT_FALSE(Value(Text("")).isNil());
}

TEST(ValueTest, APlainZeroIsANumberAndNoNullPointer) {
  EXPECT_TRUE(isIdentical(Value(0), Value(Number(0))));
  EXPECT_TRUE(isIdentical(Value(5), Value(Number(5))));
  EXPECT_TRUE(isIdentical(Value(false), Value(Number(false))));
}

TEST(ValueTest, KeepsTheIdentityOfItsText) {
  const Text text(std::string("English"));
  const Value value(text);
  const Value copy = value;
  EXPECT_TRUE(value.textValue().isSameObject(text));
  EXPECT_TRUE(copy.asText()->isSameObject(text));
}

TEST(ValueTest, TakesATextInThePlaceOfAnything) {
  const Text text = std::string("Gaspé");
  for (Value value : {Value(), Value(Text("Alma")), Value(Number(1)), Value(Array{Text("x")})}) {
    const Value before = value;
    value = text;
    ASSERT_TRUE(value.asText());
    EXPECT_TRUE(value.asText()->isSameObject(text));
    EXPECT_NE(value, before);
    value = Text();
    EXPECT_TRUE(value.isNil()) << "a nil text makes a nil value";
  }
  Value emptied = text;
  emptied = {};
  EXPECT_TRUE(emptied.isNil());
  emptied = text;
  emptied = nullptr;
  EXPECT_TRUE(emptied.isNil());
  Value itself = text;
  itself = *itself.asText();
  EXPECT_EQ(itself, Value(Text("Gaspé")));
}

TEST(ValueTest, HandsItsDictionaryOver) {
  const Dictionary made{{"city", Text("Gaspé")}};
  Value alone = made;
  EXPECT_EQ(std::move(alone).takeDictionary(), made);
  // One that another value shares is copied: values never change.
  Value shared = made;
  const Value other = shared;
  Dictionary taken = std::move(shared).takeDictionary();
  EXPECT_EQ(taken, made);
  taken.set("city", Text("Alma"));
  EXPECT_EQ(*other.asDictionary(), made);
  EXPECT_TRUE(Value(Text("no dictionary")).takeDictionary().empty());
  EXPECT_TRUE(Value().takeDictionary().empty());
}

TEST(ValueTest, CopiesShareArraysAndDictionaries) {
  for (const Value& value : kOneOfEach) {
    const std::size_t before = testing_support::allocations();
    const Value copy = value;
    EXPECT_EQ(testing_support::allocations(), before);
    EXPECT_EQ(copy.asArray(), value.asArray());
    EXPECT_EQ(copy.asDictionary(), value.asDictionary());
  }
}

TEST(ValueTest, ReadsAsAnotherKind) {
  const struct {
    Value value;
    Text text;
    int integer;
    bool truth;
    double real;
  } rows[] = {
      {Value(), nullptr, 0, false, 0},
      {Value(Text("12.5")), "12.5", 12, true, 12.5},
      {Value(Text("yes")), "yes", 0, true, 0},
      {Value(Text("")), "", 0, false, 0},
      {Value(Number(true)), "1", 1, true, 1},
      {Value(Number(-3)), "-3", -3, true, -3},
      {Value(Number(2.75)), "2.75", 2, true, 2.75},
      {Value(Number(100000.0)), "100000", 100000, true, 100000},
      {Value(Data("12")), nullptr, 0, false, 0},
      {Value(Date{12}), nullptr, 0, false, 0},
      {Value(Array{Value(Number(1))}), nullptr, 0, false, 0},
      {Value(Dictionary{{"1", Number(1)}}), nullptr, 0, false, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.value));
    EXPECT_EQ(row.value.textValue(), row.text);
    EXPECT_EQ(row.value.intValue(), row.integer);
    EXPECT_EQ(row.value.boolValue(), row.truth);
    EXPECT_EQ(row.value.doubleValue(), row.real);
  }
}

TEST(ValueTest, EqualsInDepth) {
  for (std::size_t i = 0; i < std::size(kOneOfEach); ++i)
    for (std::size_t j = 0; j < std::size(kOneOfEach); ++j) {
      EXPECT_EQ(kOneOfEach[i] == kOneOfEach[j], i == j) << i << " and " << j;
      EXPECT_EQ(isIdentical(kOneOfEach[i], kOneOfEach[j]), i == j) << i << " and " << j;
    }
  const auto nested = [](Number number) {
    return Value(Array{Value(Dictionary{{"a", Array{Value(number), Value()}}, {"b", Data("x")}})});
  };
  EXPECT_EQ(nested(1), nested(1));
  EXPECT_FALSE(nested(1) == nested(2));
  EXPECT_FALSE(Value(Array{Value(Number(1))}) == Value(Array{Value(Number(1)), Value(Number(1))}));
  EXPECT_FALSE(Value(Array{Value(Number(1)), Value(Number(2))}) ==
               Value(Array{Value(Number(2)), Value(Number(1))}));
  EXPECT_FALSE(Value(Number(1)) == Value(Text("1")));
  // Equal whole numbers of different kinds are equal, but not identical.
  EXPECT_EQ(nested(1), nested(true));
  EXPECT_FALSE(isIdentical(nested(1), nested(true)));
  EXPECT_FALSE(Value(Number(kNan)) == Value(Number(kNan)));
  EXPECT_TRUE(isIdentical(nested(kNan), nested(kNan)));
  EXPECT_EQ(Value(Date{0.0}), Value(Date{-0.0}));
  EXPECT_FALSE(isIdentical(Value(Date{0.0}), Value(Date{-0.0})));
}

TEST(ValueTest, NamesItsKind) {
  const char* names[] = {"nothing", "text", "number", "data", "date", "array", "dictionary"};
  for (std::size_t i = 0; i < std::size(kOneOfEach); ++i)
    EXPECT_STREQ(kindName(kOneOfEach[i].kind()), names[i]);
}

TEST(ValueTest, Prints) {
  std::ostringstream out;
  out << Value(Array{kOneOfEach[0], kOneOfEach[1], kOneOfEach[2], Value(Data(std::string("\x01\xAF"))),
                     kOneOfEach[4], kOneOfEach[6], Value(Array{}), Value(Dictionary{})});
  EXPECT_EQ(out.str(), R"([(nil), "text", 7, <01af>, date 7, {1: "1"}, [], {}])");
}

}  // namespace
}  // namespace qorvane
