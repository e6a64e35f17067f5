#include "qorvane/foundation/Exception.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace qorvane {
namespace {

TEST(ExceptionTest, CarriesItsReason) {
  try {
    throw Exception("cannot read é");
  } catch (const std::runtime_error& thrown) {
    EXPECT_STREQ(thrown.what(), "cannot read é");
  }
  EXPECT_STREQ(Exception(std::string("built")).what(), "built");
}

}  // namespace
}  // namespace qorvane
