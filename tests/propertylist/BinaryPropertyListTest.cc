#include <gtest/gtest.h>

#include <bit>
#include <limits>
#include <string>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/foundation/Exception.h"
#include "qorvane/propertylist/PropertyList.h"
#include "tests/propertylist/PropertyListSamples.h"

namespace qorvane {
namespace {

using testing_support::fromHex;
using testing_support::toHex;

std::string binary(const Value& value) { return writePropertyList(value, PropertyListFormat::Binary); }

/// A file whose objects are given, each as its own bytes; one-byte offsets and references, the first on top.
std::string fileOf(const std::vector<std::string>& objects, std::size_t top = 0) {
  std::string bytes = "bplist00";
  std::string offsets;
  for (const std::string& object : objects) {
    offsets += static_cast<char>(bytes.size());
    bytes += object;
  }
  const std::size_t table = bytes.size();
  EXPECT_LT(table, 256U);
  bytes += offsets;
  bytes += std::string(6, '\0') + '\1' + '\1';
  bytes += std::string(7, '\0') + static_cast<char>(objects.size());
  bytes += std::string(7, '\0') + static_cast<char>(top);
  bytes += std::string(7, '\0') + static_cast<char>(table);
  return bytes;
}

Value readObject(std::string_view hex) { return readPropertyList(fileOf({fromHex(hex)})); }

/// The message with which the bytes are refused.
std::string refusal(std::string_view bytes, const PropertyListLimits& limits = {}) {
  try {
    readPropertyList(bytes, limits);
  } catch (const Exception& exception) {
    return exception.what();
  }
  return "read without a word";
}

std::string refusalOfObject(std::string_view hex) { return refusal(fileOf({fromHex(hex)})); }

void expectRoundTrip(const Value& value) {
  const Value back = readPropertyList(binary(value));
  EXPECT_TRUE(isIdentical(back, value)) << back << "\n" << value;
}

TEST(BinaryPropertyListTest, WritesTheseBytes) {
  const Dictionary value{{"b", Text("é\U0001F341")},
                         {"a", Array{Number(1), Number(true), Text("b"), Number(0.5)}}};
  EXPECT_EQ(toHex(binary(value)),
            "62706c6973743030"  // bplist00
            "d2"                // 0: dictionary of 2
            "01"
            "03"
            "02"
            "04"              //    its keys, its values
            "5162"            // 1: "b"
            "6300e9d83cdf41"  // 2: three units
            "5161"            // 3: "a"
            "a4"
            "05060107"  // 4: array of 4; "b" is written once
            "1001"
            "09"                  // 5, 6
            "233fe0000000000000"  // 7
            "080d0f16181d1f20"    // the offsets
            "000000000000"
            "01"
            "01"                  // unused, sort version; sizes of offsets and references
            "0000000000000008"    // objects
            "0000000000000000"    // the top one
            "0000000000000029");  // the table
}

TEST(BinaryPropertyListTest, BringsBackOneOfEverything) {
  expectRoundTrip(testing_support::oneOfEverything());
}

TEST(BinaryPropertyListTest, BringsBackEveryKindAtTheTop) {
  for (const Value& value : {Value(Text("t")), Value(Text("")), Value(Number(5)), Value(Number(false)),
                             Value(Data()), Value(Date{0.25}), Value(Array{}), Value(Dictionary{})})
    expectRoundTrip(value);
}

TEST(BinaryPropertyListTest, BringsBackEveryIntegerInItsShortestForm) {
  for (const Number& number : testing_support::awkwardIntegers()) expectRoundTrip(number);
  const auto body = [](Number number) {
    const std::string bytes = binary(number);
    return toHex(std::string_view(bytes).substr(8, bytes.size() - 8 - 1 - 32));
  };
  EXPECT_EQ(body(0), "1000");
  EXPECT_EQ(body(255), "10ff");
  EXPECT_EQ(body(256), "110100");
  EXPECT_EQ(body(65536), "1200010000");
  EXPECT_EQ(body(4294967296), "130000000100000000");
  EXPECT_EQ(body(-1), "13ffffffffffffffff");
  EXPECT_EQ(body(std::uint64_t{1} << 63), "1400000000000000008000000000000000");
}

TEST(BinaryPropertyListTest, BringsBackEveryBitOfADouble) {
  for (const double real : testing_support::awkwardReals()) expectRoundTrip(Number(real));
  for (int bit = 0; bit < 64; ++bit) {
    expectRoundTrip(Number(std::bit_cast<double>(std::uint64_t{1} << bit)));
    // Payloads of quiet and signalling NaNs.
    expectRoundTrip(Number(std::bit_cast<double>(0x7FF0000000000000 | std::uint64_t{1} << bit)));
  }
  expectRoundTrip(Date{std::bit_cast<double>(0x7FF8000000000123)});
  expectRoundTrip(Date{-0.0});
}

TEST(BinaryPropertyListTest, BringsBackTextsOfEveryLength) {
  std::string ascii;
  std::string wide;
  for (int length = 0; length < 600; ++length) {
    expectRoundTrip(Array{Text(ascii), Text(wide), Data(ascii)});
    ascii += static_cast<char>(length);  // From 0x80 on, ill-formed bytes that a text mends first.
    wide += length % 3 ? "é" : "\U0001F341";
  }
  expectRoundTrip(Text(std::string(70000, 'x')));
  expectRoundTrip(Text(std::string("nul\0in\0side\0", 12)));
  expectRoundTrip(Dictionary{{Text(std::string("k\0y", 3)), Text(std::string(1, '\0'))}});
}

TEST(BinaryPropertyListTest, BringsBackRandomValues) {
  std::mt19937_64 random(20210430);
  for (int i = 0; i < 300; ++i) {
    const Value value = testing_support::randomValue(random);
    const std::string bytes = binary(value);
    const Value back = readPropertyList(bytes);
    ASSERT_TRUE(isIdentical(back, value)) << i;
    ASSERT_TRUE(binary(back) == bytes) << "the order has changed in value " << i;
  }
}

TEST(BinaryPropertyListTest, KeepsTheOrderOfADictionary) {
  const Dictionary value{{"c", Number(1)}, {"a", Number(2)}, {"b", Number(3)}};
  std::string keys;
  const Value back = readPropertyList(binary(value));
  for (const auto& entry : *back.asDictionary()) keys += entry.key.view();
  EXPECT_EQ(keys, "cab");
}

TEST(BinaryPropertyListTest, WritesEqualTextsAndNumbersOnce) {
  Array once{Text("some text"), Number(77777), Number(true), Data("some data"), Number(1.25), Date{5}};
  Array often;
  for (int i = 0; i < 10; ++i)
    often.insert(often.end(), {Text(std::string("some text")), Number(77777), Number(true), Data("some data"),
                               Number(1.25), Date{5}});
  EXPECT_EQ(binary(often).size() - binary(once).size(), often.size() - once.size() + 2 /* the size */);
  expectRoundTrip(often);
  // Equal only as numbers: they must stay what they are.
  expectRoundTrip(
      Array{Number(1), Number(true), Number(1.0), Date{1.0}, Number(0.0), Number(-0.0), Number(false)});
}

TEST(BinaryPropertyListTest, WritesAsManyObjectsAsTwoAndFourByteReferencesName) {
  for (const int count : {254, 255, 256, 257, 65535, 65536, 70000}) {
    Array array;
    for (int i = 0; i < count; ++i) array.emplace_back(Number(i));
    expectRoundTrip(array);
  }
}

TEST(BinaryPropertyListTest, LeavesRoomForASeal) {
  const Value value = testing_support::settingsLikeValue();
  std::size_t reserved = 0;
  std::string bytes =
      writeBinaryPropertyList(value, {.reservedBytes = 40, .trailerBytes = {1, 2, 3, 4, 5}}, &reserved);
  EXPECT_EQ(bytes.substr(reserved, 40), std::string(40, '\0'));
  EXPECT_EQ(bytes.substr(bytes.size() - 32, 6), std::string("\1\2\3\4\5\0", 6));
  EXPECT_TRUE(isIdentical(readPropertyList(bytes), value));
  // Whatever stands there, and in every unused byte, the value is the same.
  for (std::size_t i = 0; i < 40; ++i) bytes[reserved + i] = static_cast<char>(0xFF - i);
  for (std::size_t i = 0; i < 5; ++i) bytes[bytes.size() - 32 + i] = '\xFF';
  EXPECT_TRUE(isIdentical(readPropertyList(bytes), value));
  // The reserved block ends where the table of offsets begins.
  const std::string plain = binary(value);
  EXPECT_EQ(bytes.substr(0, reserved), plain.substr(0, reserved));
  EXPECT_EQ(reserved, plain.size() - 32 - (bytes.size() - 32 - reserved - 40));
}

TEST(BinaryPropertyListTest, ReadsWhatOthersWriteOtherwise) {
  EXPECT_TRUE(isIdentical(readObject("223e200000"), Number(0.15625))) << "four-byte real";
  EXPECT_TRUE(isIdentical(readObject("12ffffffff"), Number(4294967295))) << "no sign in four bytes";
  EXPECT_TRUE(isIdentical(readObject("130000000000000001"), Number(1))) << "wider than needed";
  EXPECT_TRUE(isIdentical(readObject("1400000000000000000000000000000005"), Number(5)));
  EXPECT_TRUE(isIdentical(readObject("14fffffffffffffffffffffffffffffffe"), Number(-2)));
  EXPECT_TRUE(isIdentical(readObject("14ffffffffffffffff8000000000000000"),
                          Number(std::numeric_limits<std::int64_t>::min())));
  EXPECT_TRUE(isIdentical(readObject("5f100161"), Text("a"))) << "a size that had not needed to follow";
  EXPECT_TRUE(isIdentical(readObject("53c3a961"), Text("éa"))) << "UTF-8 where ASCII should be";
  EXPECT_TRUE(isIdentical(readObject("6100e9"), Text("é")));
}

TEST(BinaryPropertyListTest, ReadsHalvesOfSurrogatePairsAsReplacementCharacters) {
  EXPECT_TRUE(isIdentical(readObject("61d83c"), Text("\uFFFD")));
  EXPECT_TRUE(isIdentical(readObject("62df410061"), Text("\uFFFDa")));
  EXPECT_TRUE(isIdentical(readObject("62d83c0061"), Text("\uFFFDa")));
  EXPECT_TRUE(isIdentical(readObject("63d83cd83cdf41"), Text("\uFFFD\U0001F341")));
  EXPECT_TRUE(isIdentical(readObject("64d83cdf41dbffdfff"), Text("\U0001F341\U0010FFFF")));
}

TEST(BinaryPropertyListTest, ReadsTheLastOfTwoValuesUnderOneKey) {
  const Value value =
      readPropertyList(fileOf({fromHex("d3010301020404"), "Qa", fromHex("1001"), "Qb", fromHex("1002")}));
  EXPECT_EQ(value, Value(Dictionary{{"a", Number(2)}, {"b", Number(2)}}));
}

TEST(BinaryPropertyListTest, SharesWhatIsReferredToTwice) {
  const Value value = readPropertyList(fileOf({fromHex("a20101"), fromHex("a102"), fromHex("5161")}));
  const Array& array = *value.asArray();
  EXPECT_EQ(array[0].asArray(), array[1].asArray());
  EXPECT_EQ(value, Value(Array{Array{Text("a")}, Array{Text("a")}}));
}

TEST(BinaryPropertyListTest, SaysWhatIsWrongAndWhere) {
  const auto at8 = [](std::string_view why) {
    return "bad binary property list at byte 8: " + std::string(why);
  };
  EXPECT_EQ(refusalOfObject("00"), at8("null objects are not supported"));
  EXPECT_EQ(refusalOfObject("0f"), at8("there is no such kind of object"));
  EXPECT_EQ(refusalOfObject("8101"), at8("archiver references (UIDs) are not supported"));
  EXPECT_EQ(refusalOfObject("7161"), at8("there is no such kind of object"));
  EXPECT_EQ(refusalOfObject("b0"), at8("there is no such kind of object"));
  EXPECT_EQ(refusalOfObject("c0"), at8("there is no such kind of object"));
  EXPECT_EQ(refusalOfObject("150000000000000000000000000000000000000000000000000000000000000000"),
            at8("there is no such kind of object"));
  EXPECT_EQ(refusalOfObject("2001"), at8("there is no such kind of object"));
  EXPECT_EQ(refusalOfObject("3201020304"), at8("there is no such kind of object"));
  EXPECT_EQ(refusalOfObject("1400000000000000010000000000000000"), at8("the integer is beyond 64 bits"));
  EXPECT_EQ(refusalOfObject("14ffffffffffffffff0000000000000000"), at8("the integer is beyond 64 bits"));
  EXPECT_EQ(refusalOfObject("1100"), at8("the object runs past the end of the objects"));
  EXPECT_EQ(refusalOfObject("5261"), at8("the object runs past the end of the objects"));
  EXPECT_EQ(refusalOfObject("61ff"), at8("the object runs past the end of the objects"));
  EXPECT_EQ(refusalOfObject("5f13ffffffffffffffff61"), at8("the object runs past the end of the objects"));
  EXPECT_EQ(refusalOfObject("6f138000000000000001"), at8("the object runs past the end of the objects"));
  EXPECT_EQ(refusalOfObject("df138000000000000000"), at8("the object runs past the end of the objects"));
  EXPECT_EQ(refusalOfObject("5f"), at8("the object's size is missing"));
  EXPECT_EQ(refusalOfObject("5f61"), at8("the object's size is missing"));
  EXPECT_EQ(refusalOfObject("5f1100"), at8("the object's size is missing"));
  EXPECT_EQ(refusalOfObject("51ff"), at8("the text is neither ASCII nor UTF-8"));
  EXPECT_EQ(refusalOfObject("a101"), "bad binary property list at byte 9: there is no such object");
  EXPECT_EQ(refusalOfObject("a100"), at8("the container holds itself"));
  EXPECT_EQ(refusal(fileOf({fromHex("d10101"), fromHex("1001")})),
            "bad binary property list at byte 9: a dictionary key is no text");
  EXPECT_EQ(refusal(fileOf({fromHex("a101"), fromHex("d10201"), "Qa"})),
            "bad binary property list at byte 10: the container holds itself");
  EXPECT_EQ(refusal("bplist01" + std::string(60, '\0')),
            "bad binary property list at byte 0: its version is not known");
  EXPECT_EQ(refusal("bplist00"), "bad binary property list at byte 8: it is cut short");
}

TEST(BinaryPropertyListTest, RefusesABadTrailer) {
  const std::string good = fileOf({fromHex("a0")});
  ASSERT_EQ(good.size(), 8U + 1 + 1 + 32);
  const auto with = [&](std::size_t place, std::string_view bytes) {
    std::string changed = good;
    changed.replace(10 + place, bytes.size(), bytes);
    return refusal(changed);
  };
  const auto at = [](int byte, std::string_view why) {
    return "bad binary property list at byte " + std::to_string(byte) + ": " + std::string(why);
  };
  const std::string huge(8, '\xFF');
  EXPECT_EQ(with(6, std::string(1, '\0')), at(16, "the size of offsets is not 1 to 8 bytes"));
  EXPECT_EQ(with(6, "\x09"), at(16, "the size of offsets is not 1 to 8 bytes"));
  EXPECT_EQ(with(7, std::string(1, '\0')), at(17, "the size of references is not 1 to 8 bytes"));
  EXPECT_EQ(with(7, "\xFF"), at(17, "the size of references is not 1 to 8 bytes"));
  EXPECT_EQ(with(8, std::string(8, '\0')), at(18, "the number of objects does not fit the table of offsets"));
  EXPECT_EQ(with(8, huge), at(18, "the number of objects does not fit the table of offsets"));
  EXPECT_EQ(with(15, "\2"), at(18, "the number of objects does not fit the table of offsets"));
  EXPECT_EQ(with(6, "\2"), at(18, "the number of objects does not fit the table of offsets"));
  EXPECT_EQ(with(16, huge), at(26, "there is no such top object"));
  EXPECT_EQ(with(23, "\1"), at(26, "there is no such top object"));
  EXPECT_EQ(with(24, huge), at(34, "the table of offsets is outside the file"));
  EXPECT_EQ(with(31, "\x08"), at(34, "the table of offsets is outside the file"));
  EXPECT_EQ(with(31, "\x0B"), at(34, "the table of offsets is outside the file"));
  std::string changed = good;
  changed[9] = '\x07';
  EXPECT_EQ(refusal(changed), at(9, "an offset points outside the objects"));
  changed[9] = '\x09';
  EXPECT_EQ(refusal(changed), at(9, "an offset points outside the objects"));
}

TEST(BinaryPropertyListTest, ReadsOffsetsAndReferencesOfEveryWidth) {
  for (std::size_t width = 1; width <= 8; ++width) {
    const std::string pad(width - 1, '\0');
    std::string bytes = "bplist00";
    bytes += "\xA1" + pad + '\1' + "Qa";
    const std::size_t table = bytes.size();
    for (const std::size_t offset : {std::size_t{8}, table - 2}) bytes += pad + static_cast<char>(offset);
    bytes += std::string(6, '\0') + static_cast<char>(width) + static_cast<char>(width);
    bytes +=
        std::string(7, '\0') + '\2' + std::string(8, '\0') + std::string(7, '\0') + static_cast<char>(table);
    EXPECT_EQ(readPropertyList(bytes), Value(Array{Text("a")})) << width;
  }
}

// ---- hostile files -----------------------------------------------------------------------------------

Value nestedArrays(std::size_t depth) {
  Value value = Array{};
  for (std::size_t i = 1; i < depth; ++i) value = Array{std::move(value)};
  return value;
}

TEST(BinaryPropertyListTest, NestsAsDeepAsTheLimit) {
  expectRoundTrip(nestedArrays(512));
  const std::string bytes = binary(nestedArrays(10));
  EXPECT_NO_THROW(readPropertyList(bytes, {.depth = 10}));
  EXPECT_EQ(refusal(bytes, {.depth = 9}),
            "bad binary property list at byte 26: containers are nested too deep");
  EXPECT_EQ(refusal(bytes, {.depth = 0}),
            "bad binary property list at byte 8: containers are nested too deep");
  EXPECT_NO_THROW(readPropertyList(binary(Number(1)), {.depth = 0}));
}

TEST(BinaryPropertyListTest, CountsTheDepthOfASharedContainerWhereverItAppears) {
  // 0: [1, 3]; 1: [2]; 2: []; 3: [4]; 4: [1]: the second appearance of 1 is two levels deeper than the first.
  const std::string bytes =
      fileOf({fromHex("a20103"), fromHex("a102"), fromHex("a0"), fromHex("a104"), fromHex("a101")});
  EXPECT_NO_THROW(readPropertyList(bytes, {.depth = 5}));
  EXPECT_EQ(refusal(bytes, {.depth = 4}),
            "bad binary property list at byte 11: containers are nested too deep");
}

TEST(BinaryPropertyListTest, SurvivesDeepNestingOfAMillionLevels) {
  constexpr std::uint32_t kLevels = 1'000'000;
  std::string bytes = "bplist00";
  std::string offsets;
  const auto put4 = [](std::string& out, std::uint32_t number) {
    for (int shift = 24; shift >= 0; shift -= 8) out += static_cast<char>(number >> shift);
  };
  for (std::uint32_t i = 1; i <= kLevels; ++i) {
    put4(offsets, static_cast<std::uint32_t>(bytes.size()));
    bytes += '\xA1';
    put4(bytes, i);
  }
  put4(offsets, static_cast<std::uint32_t>(bytes.size()));
  bytes += '\xA0';
  const auto table = static_cast<std::uint32_t>(bytes.size());
  bytes += offsets + std::string(6, '\0') + '\4' + '\4';
  for (const std::uint32_t number : {kLevels + 1, 0U, table}) {
    put4(bytes, 0);
    put4(bytes, number);
  }
  EXPECT_EQ(refusal(bytes), "bad binary property list at byte 2568: containers are nested too deep");
}

/// Each level holds the next one twice: 2^levels values in some hundred bytes.
std::string sharedReferenceBomb(int levels, bool dictionaries) {
  std::vector<std::string> objects;
  for (int i = 1; i <= levels; ++i) {
    const char next = static_cast<char>(i);
    const char k1 = static_cast<char>(levels + 1);
    const char k2 = static_cast<char>(levels + 2);
    objects.push_back(dictionaries ? std::string{'\xD2', k1, k2, next, next}
                                   : std::string{'\xA2', next, next});
  }
  objects.emplace_back("Qx");
  objects.emplace_back("Qy");
  objects.emplace_back("Qz");
  return fileOf(objects);
}

TEST(BinaryPropertyListTest, RefusesSharedReferenceBombs) {
  EXPECT_EQ(refusal(sharedReferenceBomb(40, false)),
            "bad binary property list at byte 61: there are too many objects");
  EXPECT_NE(refusal(sharedReferenceBomb(35, true)).find("there are too many objects"), std::string::npos);
  // As large as is allowed, and it may be written again, as often as it appears.
  const Value large = readPropertyList(sharedReferenceBomb(16, false));
  EXPECT_TRUE(isIdentical(readPropertyList(binary(large)), large));
}

TEST(BinaryPropertyListTest, CountsObjectsExactly) {
  // The array itself, two texts (one of them twice), a dictionary with a key and a value.
  const Value value = Array{Text("a"), Text("b"), Text("a"), Dictionary{{"a", Text("c")}}};
  const std::string bytes = binary(value);
  EXPECT_NO_THROW(readPropertyList(bytes, {.objects = 7}));
  EXPECT_NE(refusal(bytes, {.objects = 6}).find("there are too many objects"), std::string::npos);
  EXPECT_NE(refusal(bytes, {.objects = 4}).find("there are too many objects"), std::string::npos);
}

// Before memory is taken for them.
TEST(BinaryPropertyListTest, CountsTheReferencesOfAContainerFirst) {
  const std::string bytes = fileOf({fromHex("ae0101010101010101010101010101"), fromHex("09")});
  EXPECT_NO_THROW(readPropertyList(bytes, {.objects = 15}));
  EXPECT_EQ(refusal(bytes, {.objects = 13}),
            "bad binary property list at byte 8: there are too many objects");
}

TEST(BinaryPropertyListTest, RefusesOverlappingObjects) {
  // Forty blocks, each said to hold the bytes of all others.
  std::vector<std::string> objects{"\xA8\1\2\3\4\5\6\7\x08"};
  for (int i = 0; i < 8; ++i) objects.push_back(fromHex("4f1018"));
  objects.emplace_back(60, '\0');
  EXPECT_NE(refusal(fileOf(objects)).find("objects overlap"), std::string::npos);
}

TEST(BinaryPropertyListTest, RefusesMoreBytesThanTheLimit) {
  const std::string bytes = binary(Text("a"));
  EXPECT_NO_THROW(readPropertyList(bytes, {.size = bytes.size()}));
  EXPECT_EQ(refusal(bytes, {.size = bytes.size() - 1}),
            "the property list is too large: 43 bytes, where 42 are allowed");
}

TEST(BinaryPropertyListTest, AnswersOrRefusesEveryTruncation) {
  const std::string bytes = binary(testing_support::oneOfEverything());
  const std::size_t step = bytes.size() / 3000 + 1;
  for (std::size_t length = 0; length < bytes.size();
       length += length < 64 || length + 600 > bytes.size() ? 1 : step)
    // A copy of its own, so that a sanitizer sees a read past its end.
    EXPECT_THROW(readPropertyList(std::string(bytes.substr(0, length))), Exception) << length;
}

TEST(BinaryPropertyListTest, AnswersOrRefusesEveryFlippedBit) {
  const Dictionary sample{{"text", Text("abc")},
                          {"wide", Text("é\U0001F341")},
                          {"numbers", Array{Number(1), Number(-1), Number(1.5), Number(true)}},
                          {"rest", Dictionary{{"data", Data("xyz")}, {"date", Date{5}}}}};
  const std::string bytes = binary(sample);
  int readable = 0;
  for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit) {
    std::string changed = bytes;
    changed[bit / 8] = static_cast<char>(changed[bit / 8] ^ (1 << bit % 8));
    try {
      const Value value = readPropertyList(changed);
      EXPECT_TRUE(isIdentical(readPropertyList(binary(value)), value)) << bit;
      ++readable;
    } catch (const Exception&) {
    }
  }
  EXPECT_GT(readable, 100) << "a flipped bit of a text or a number leaves a well-formed file";
}

// ---- what cannot be written --------------------------------------------------------------------------

std::string writeRefusal(const Value& value) {
  try {
    binary(value);
  } catch (const Exception& exception) {
    return exception.what();
  }
  return "written without a word";
}

TEST(BinaryPropertyListTest, RefusesNilAndSaysWhere) {
  EXPECT_EQ(writeRefusal(Value()), "no property list can be written: there is nothing (nil) at the top");
  EXPECT_EQ(writeRefusal(Dictionary{{"a", Array{Text("x"), Dictionary{{"b", Array{Value()}}}}}}),
            "no property list can be written: there is nothing (nil) at \"a[1].b[0]\"");
}

TEST(BinaryPropertyListTest, RefusesToWriteWhatItWouldNotRead) {
  EXPECT_NE(writeRefusal(nestedArrays(513)).find("the value is nested too deep at \"[0][0][0]"),
            std::string::npos);
  // One array in two places, and so on: small in memory, endless on disk.
  Value value = Array{};
  for (int i = 0; i < 40; ++i) value = Array{value, value};
  EXPECT_NE(writeRefusal(value).find("the value holds too many objects"), std::string::npos);
  const Data large(std::string((std::size_t{1} << 28) + 1, 'x'));
  EXPECT_EQ(writeRefusal(Array{large}), "no property list can be written: it would be too large");
  EXPECT_THROW(writeBinaryPropertyList(Array{}, {.reservedBytes = std::numeric_limits<std::size_t>::max()}),
               Exception);
}

TEST(BinaryPropertyListTest, WritesALargeTextInManyPlacesOnce) {
  const Text large(std::string(1 << 20, 'x'));
  Array array(100'000, large);
  const std::string bytes = binary(array);
  EXPECT_LT(bytes.size(), 2U << 20);
  EXPECT_TRUE(isIdentical(readPropertyList(bytes).asArray()->at(99'999), large));
}

}  // namespace
}  // namespace qorvane
