#include "qorvane/foundation/Dictionary.h"

#include <gtest/gtest.h>

#include <map>
#include <new>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "qorvane/foundation/Exception.h"
#include "tests/foundation/Allocations.h"

namespace qorvane {
namespace {

constexpr Key kLanguage(Text("Language"));
static_assert(kLanguage.hash() == Key::hashOf("Language") && kLanguage.hash() != Key::hashOf("language"));

Text keyOf(int number) { return Text("key" + std::to_string(number)); }

std::vector<std::string> keysOf(const Dictionary& dictionary) {
  std::vector<std::string> keys;
  for (const Dictionary::Entry& entry : dictionary) keys.push_back(entry.key.string());
  return keys;
}

using Keys = std::vector<std::string>;

TEST(DictionaryTest, StartsEmpty) {
  const Dictionary empty;
  EXPECT_TRUE(empty.empty());
  EXPECT_EQ(empty.size(), 0u);
  EXPECT_EQ(empty.find("x"), nullptr);
  EXPECT_EQ(empty.find(kLanguage), nullptr);
  EXPECT_EQ(empty.begin(), empty.end());
  EXPECT_EQ(empty, Dictionary{});
  Dictionary still;
  EXPECT_FALSE(still.remove("x"));
}

TEST(DictionaryTest, KeepsTheOrderInWhichTheKeysCame) {
  Dictionary dictionary{{"c", Number(1)}, {"a", Number(2)}};
  dictionary.set(Text("b"), Number(3));
  EXPECT_EQ(keysOf(dictionary), (Keys{"c", "a", "b"}));
  dictionary.set(Text("c"), Number(4));
  EXPECT_EQ(keysOf(dictionary), (Keys{"c", "a", "b"}));
  EXPECT_EQ(*dictionary.find("c"), Value(Number(4)));
  EXPECT_TRUE(dictionary.remove("a"));
  EXPECT_EQ(keysOf(dictionary), (Keys{"c", "b"}));
  dictionary.set(Text("a"), Number(5));
  EXPECT_EQ(keysOf(dictionary), (Keys{"c", "b", "a"}));
  EXPECT_FALSE(dictionary.remove("none"));
}

TEST(DictionaryTest, FindsByKeyAndByText) {
  Dictionary dictionary;
  dictionary.set(kLanguage, Value(Text("English")));
  EXPECT_EQ(*dictionary.find(kLanguage), Value(Text("English")));
  EXPECT_EQ(dictionary.find("Language"), dictionary.find(kLanguage));
  EXPECT_EQ(dictionary.find(Text(std::string("Language"))), dictionary.find(kLanguage));
  EXPECT_EQ(dictionary.find("language"), nullptr);
  EXPECT_EQ(dictionary.find("Language "), nullptr);
}

TEST(DictionaryTest, ALaterPairReplacesAnEarlierOne) {
  const Dictionary dictionary{{"a", Number(1)}, {"b", Number(2)}, {"a", Number(3)}};
  EXPECT_EQ(keysOf(dictionary), (Keys{"a", "b"}));
  EXPECT_EQ(*dictionary.find("a"), Value(Number(3)));
}

TEST(DictionaryTest, ANilValueRemoves) {
  Dictionary dictionary{{"a", Number(1)}, {"b", Number(2)}};
  dictionary.set(Text("a"), nullptr);
  EXPECT_EQ(keysOf(dictionary), Keys{"b"});
  dictionary.set(Text("none"), Value());
  dictionary.set(Key(Text("b")), Value(Text()));
  EXPECT_TRUE(dictionary.empty());
  EXPECT_TRUE((Dictionary{{"a", nullptr}}).empty());
}

TEST(DictionaryTest, ANilKeyThrowsAndChangesNothing) {
  Dictionary dictionary{{"a", Number(1)}};
  EXPECT_THROW(dictionary.set(Text(), Number(1)), Exception);
  EXPECT_THROW(dictionary.set(Text(), nullptr), Exception);
  EXPECT_THROW(dictionary.set(Key(Text()), Number(1)), Exception);
  EXPECT_EQ(keysOf(dictionary), Keys{"a"});
}

TEST(DictionaryTest, AnyTextIsAKey) {
  const Text odd(std::string("a\0b", 3));
  Dictionary dictionary{
      {"", Number(1)}, {"a", Number(2)}, {odd, Number(3)}, {"é", Number(4)}, {"e\u0301", Number(5)}};
  EXPECT_EQ(dictionary.size(), 5u);
  EXPECT_EQ(*dictionary.find(""), Value(Number(1)));
  EXPECT_EQ(*dictionary.find("a"), Value(Number(2)));
  EXPECT_EQ(*dictionary.find(odd), Value(Number(3)));
  EXPECT_EQ(*dictionary.find("é"), Value(Number(4)));
}

TEST(DictionaryTest, MayBeGivenItsOwnParts) {
  Dictionary dictionary{{"a", Number(1)}, {"b", Number(2)}};
  for (int i = 0; i < 100; ++i) dictionary.set(keyOf(i), *dictionary.find("a"));
  EXPECT_EQ(*dictionary.find("key99"), Value(Number(1)));
  dictionary.set(dictionary.begin()->key, nullptr);
  EXPECT_EQ(dictionary.find("a"), nullptr);
  EXPECT_TRUE(dictionary.remove(dictionary.begin()->key));
  EXPECT_EQ(dictionary.find("b"), nullptr);
  EXPECT_EQ(dictionary.size(), 100u);
}

TEST(DictionaryTest, CopiesAreApart) {
  Dictionary original{{"a", Number(1)}};
  Dictionary copy = original;
  copy.set(Text("a"), Number(2));
  copy.set(Text("b"), Number(3));
  EXPECT_EQ(*original.find("a"), Value(Number(1)));
  EXPECT_EQ(original.size(), 1u);
  const Dictionary moved = std::move(copy);
  EXPECT_EQ(keysOf(moved), (Keys{"a", "b"}));
  EXPECT_EQ(*moved.find("b"), Value(Number(3)));
  copy = original;
  EXPECT_EQ(copy, original);
}

TEST(DictionaryTest, EqualsWhateverTheOrder) {
  const Dictionary a{{"x", Number(1)}, {"y", Text("2")}};
  const Dictionary b{{"y", Text("2")}, {"x", Number(true)}};
  EXPECT_EQ(a, b);
  EXPECT_FALSE(isIdentical(a, b));
  EXPECT_TRUE(isIdentical(a, Dictionary{{"y", Text("2")}, {"x", Number(1)}}));
  EXPECT_FALSE(a == (Dictionary{{"x", Number(1)}}));
  EXPECT_FALSE((Dictionary{{"x", Number(1)}}) == a);
  EXPECT_FALSE(a == (Dictionary{{"x", Number(1)}, {"z", Text("2")}}));
  EXPECT_FALSE(a == (Dictionary{{"x", Number(1)}, {"y", Text("3")}}));
}

TEST(DictionaryTest, GrowsToAHundredThousand) {
  constexpr int kCount = 100'000;
  for (const bool reserved : {false, true}) {
    Dictionary dictionary;
    if (reserved) dictionary.reserve(kCount);
    for (int i = 0; i < kCount; ++i) dictionary.set(keyOf(i), Number(i));
    ASSERT_EQ(dictionary.size(), std::size_t{kCount});
    int place = 0;
    for (const Dictionary::Entry& entry : dictionary) {
      const Value* found = dictionary.find(entry.key);
      ASSERT_TRUE(found && found->intValue() == place) << entry.key;
      ++place;
    }
    EXPECT_EQ(dictionary.find("key100000"), nullptr);
  }
}

TEST(DictionaryTest, AgreesWithAModelUnderAnySequenceOfChanges) {
  std::mt19937 random(7);
  Dictionary dictionary;
  Keys order;
  std::map<std::string, int> model;
  for (int step = 0; step < 20000; ++step) {
    const std::string key = "k" + std::to_string(random() % 200);
    const int number = static_cast<int>(random() % 1000);
    const bool present = model.contains(key);
    if (random() % 3 == 0) {
      ASSERT_EQ(dictionary.remove(key), present);
      model.erase(key);
      std::erase(order, key);
    } else {
      dictionary.set(Text(key), Number(number));
      model[key] = number;
      if (!present) order.push_back(key);
    }
    const std::string probe = "k" + std::to_string(random() % 200);
    const Value* found = dictionary.find(probe);
    ASSERT_EQ(found != nullptr, model.contains(probe));
    if (found) {
      ASSERT_EQ(found->intValue(), model[probe]);
    }
  }
  EXPECT_EQ(keysOf(dictionary), order);
}

TEST(DictionaryTest, RoomForFewerTakesNothingAway) {
  Dictionary dictionary;
  dictionary.reserve(1000);
  for (int i = 0; i < 1000; ++i) dictionary.set(Text(std::to_string(i)), Number(i));
  const std::size_t before = testing_support::allocations();
  dictionary.reserve(10);
  EXPECT_EQ(testing_support::allocations(), before);
  EXPECT_EQ(dictionary.size(), 1000u);
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(*dictionary.find(std::to_string(i)), Value(Number(i)));
}

TEST(DictionaryTest, FindingAndRemovingNeedNoMemory) {
  Dictionary dictionary;
  for (int i = 0; i < 100; ++i) dictionary.set(keyOf(i), Number(i));
  const std::size_t before = testing_support::allocations();
  dictionary.find("key50");
  dictionary.find(kLanguage);
  dictionary.remove("key50");
  EXPECT_EQ(testing_support::allocations(), before);
  EXPECT_EQ(dictionary.find("key50"), nullptr);
  EXPECT_EQ(dictionary.find("key51")->intValue(), 51);
}

TEST(DictionaryTest, RunningOutOfMemoryChangesNothing) {
  for (int size = 0; size < 40; ++size) {
    Dictionary dictionary;
    for (int i = 0; i < size; ++i) dictionary.set(keyOf(i), Number(i));
    const Dictionary before = dictionary;
    const Text key = keyOf(size);
    for (std::size_t allowed = 0;; ++allowed) {
      bool failed = false;
      {
        const testing_support::AllocationsFailAfter limit(allowed);
        try {
          dictionary.set(key, Number(size));
        } catch (const std::bad_alloc&) {
          failed = true;
        }
      }
      if (!failed) break;
      ASSERT_EQ(dictionary, before);
      ASSERT_EQ(dictionary.find(key), nullptr);
    }
    ASSERT_EQ(dictionary.find(key)->intValue(), size);
  }
}

}  // namespace
}  // namespace qorvane
