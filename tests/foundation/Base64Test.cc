#include "qorvane/foundation/Base64.h"

#include <gtest/gtest.h>

namespace qorvane {
namespace {

TEST(Base64Test, TheExamplesOfItsStandard) {
  for (const auto& [bytes, text] : {std::pair{"", ""},
                                    {"f", "Zg=="},
                                    {"fo", "Zm8="},
                                    {"foo", "Zm9v"},
                                    {"foob", "Zm9vYg=="},
                                    {"fooba", "Zm9vYmE="},
                                    {"foobar", "Zm9vYmFy"}}) {
    EXPECT_EQ(base64(bytes), text);
    EXPECT_EQ(fromBase64(text).bytes, bytes);
    EXPECT_EQ(fromBase64(text).fault, Base64Bytes::Fault::None) << text;
  }
}

TEST(Base64Test, EveryByteComesBack) {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
  EXPECT_EQ(fromBase64(base64(bytes)).bytes, bytes);
}

TEST(Base64Test, BlanksCountForNothing) { EXPECT_EQ(fromBase64(" Zm\n9v\t\r\n").bytes, "foo"); }

TEST(Base64Test, WhatIsNoBase64IsSaidToBeNone) {
  for (const char* text : {"Zm9v!", "Zg=a", "-_-_"})
    EXPECT_EQ(fromBase64(text).fault, Base64Bytes::Fault::Character) << text;
  for (const char* text : {"Z", "Zg", "Zg=", "Zg===", "=", "Zm9v="})
    EXPECT_EQ(fromBase64(text).fault, Base64Bytes::Fault::Group) << text;
}

}  // namespace
}  // namespace qorvane
