// Values for the tests of the property list codec.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/foundation/Value.h"

namespace testing_support {

/// One of everything that both forms hold and bring back exactly.
qorvane::Value oneOfEverything();

/// As many options as a settings file holds, of the kinds and lengths that it holds.
qorvane::Value settingsLikeValue();

struct RandomValueOptions {
  /// Leave out what some reader or form cannot hold.
  bool embeddedNuls = true;
  bool controlCharacters = true;
  bool fractionalDates = true;
  bool nanBits = true;
  bool negativeZeros = true;
};

/// A value drawn from the generator: all kinds, the awkward ones often.
qorvane::Value randomValue(std::mt19937_64& random, const RandomValueOptions& options = {}, int depth = 0);

/// Numbers at and around every edge of the stored widths.
std::vector<qorvane::Number> awkwardIntegers();
std::vector<double> awkwardReals();

std::string fromHex(std::string_view hex);
std::string toHex(std::string_view bytes);

}  // namespace testing_support
