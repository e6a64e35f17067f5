// Ill-formed bytes against ICU, which replaces each maximal ill-formed sequence by one U+FFFD as well.
#include <gtest/gtest.h>
#include <unicode/ustring.h>

#include <string>
#include <string_view>
#include <vector>

#include "qorvane/foundation/Text.h"

namespace qorvane {
namespace {

std::string repairedByIcu(std::string_view bytes) {
  static std::vector<UChar> wide(1 << 16);
  static std::vector<char> narrow(1 << 16);
  UErrorCode status = U_ZERO_ERROR;
  int32_t wideLength = 0, narrowLength = 0;
  u_strFromUTF8WithSub(wide.data(), static_cast<int32_t>(wide.size()), &wideLength, bytes.data(),
                       static_cast<int32_t>(bytes.size()), 0xFFFD, nullptr, &status);
  u_strToUTF8(narrow.data(), static_cast<int32_t>(narrow.size()), &narrowLength, wide.data(), wideLength,
              &status);
  EXPECT_TRUE(U_SUCCESS(status)) << u_errorName(status);
  return std::string(narrow.data(), static_cast<std::size_t>(narrowLength));
}

void expectRepaired(const std::string& bytes) {
  const std::string expected = repairedByIcu(bytes);
  // Compared by hand: an expectation for each of millions of sequences would take minutes.
  if (Text(bytes).view() == expected) return;
  std::string shown;
  for (const char c : bytes)
    shown += "0123456789ABCDEF"[static_cast<unsigned char>(c) >> 4], shown += "0123456789ABCDEF"[c & 15];
  FAIL() << "differs from ICU for the bytes " << shown;
}

char byte(int value) { return static_cast<char>(value); }

TEST(TextRepairTest, KnownSequences) {
  const struct {
    std::string_view bytes;
    Text text;
  } rows[] = {
      {"caf\xE9", "caf\uFFFD"},
      {"\xE2\x82", "\uFFFD"},
      {"\xE2\x82\xE2\x82\xAC", "\uFFFD€"},
      {"\xF0\x9F\x8D", "\uFFFD"},
      {"\xF0\x9F\x8Dx", "\uFFFDx"},
      {"\xC0\xAF", "\uFFFD\uFFFD"},
      {"\xED\xA0\x80", "\uFFFD\uFFFD\uFFFD"},
      {"\xF4\x90\x80\x80", "\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"\xFF\xFE", "\uFFFD\uFFFD"},
      {"\x80", "\uFFFD"},
      {"\xEF\xBB\xBF"
       "x",
       "\uFEFFx"},
      {"\xEF\xBF\xBF", "\uFFFF"},
  };
  for (const auto& row : rows) EXPECT_EQ(Text(row.bytes), row.text);
}

TEST(TextRepairTest, EverySequenceOfOneOrTwoBytes) {
  for (int a = 0; a < 256; ++a) {
    expectRepaired({byte(a)});
    for (int b = 0; b < 256; ++b) expectRepaired({byte(a), byte(b)});
  }
}

TEST(TextRepairSlowTest, EverySequenceOfThreeBytes) {
  // 256 sequences at a time, each ended by a letter; the ends of texts are tested above and below. A first
  // byte of ASCII leaves two bytes by themselves: one of them stands for all.
  for (int a = 0x7F; a < 256; ++a)
    for (int b = 0; b < 256; ++b) {
      std::string bytes;
      for (int c = 0; c < 256; ++c) bytes += {byte(a), byte(b), byte(c), 'x'};
      expectRepaired(bytes);
      if (HasFailure()) return;
    }
}

TEST(TextRepairSlowTest, SequencesOfUpToFourBytesAroundEveryBound) {
  constexpr int kBytes[] = {0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xC1, 0xC2, 0xDF,
                            0xE0, 0xE1, 0xEC, 0xED, 0xEE, 0xEF, 0xF0, 0xF1, 0xF3, 0xF4, 0xF5, 0xFF};
  for (const int a : kBytes)
    for (const int b : kBytes)
      for (const int c : kBytes) {
        expectRepaired({byte(a), byte(b), byte(c)});
        for (const int d : kBytes) expectRepaired({byte(a), byte(b), byte(c), byte(d)});
        if (HasFailure()) return;
      }
}

TEST(TextRepairTest, WellFormedTextsStayAsTheyAre) {
  for (int point = 1; point <= 0x10FFFF; point += 7) {
    if (point >= 0xD800 && point <= 0xDFFF) continue;
    char bytes[4];
    int32_t length = 0;
    UErrorCode status = U_ZERO_ERROR;
    const UChar32 one = point;
    UChar wide[2];
    int32_t wideLength = 0;
    u_strFromUTF32(wide, 2, &wideLength, &one, 1, &status);
    u_strToUTF8(bytes, 4, &length, wide, wideLength, &status);
    ASSERT_TRUE(U_SUCCESS(status));
    const std::string_view sequence(bytes, static_cast<std::size_t>(length));
    ASSERT_EQ(Text(sequence).view(), sequence);
  }
}

}  // namespace
}  // namespace qorvane
