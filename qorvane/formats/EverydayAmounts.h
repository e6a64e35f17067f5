// EverydayAmounts: the numbers of a format that hold no surprise, written and read without ICU, as ICU does.
//
// Nearly all amounts are below a thousand million, in plain digits, with as many decimals as the format has.
// How such a format looks (what stands around the number, between its groups of three and before its
// decimals) is learned from what ICU writes for a few samples; a format that cannot be learned so has no
// everyday amounts. Wherever a rounding is close, and for every other number and text, the answer is none:
// ask ICU. Internal to the formatters.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "qorvane/foundation/Text.h"

namespace qorvane::inline v1 {

class EverydayAmounts {
 public:
  /// No amount is an everyday one.
  EverydayAmounts() = default;
  /// Those of the format that `write` shows numbers in, 0 and above.
  explicit EverydayAmounts(const std::function<Text(double)>& write);

  /// An amount's text; nil for one that ICU must write.
  Text text(double amount) const;
  /// The amount that the text shows; none for one that ICU must read.
  std::optional<double> amount(std::string_view text) const;

 private:
  bool learn(std::string_view sample);

  // In UTF-8; the group separator is empty without grouping, the decimal one without decimals.
  std::string prefix_;
  std::string groupSeparator_;
  std::string decimalSeparator_;
  std::string suffix_;
  // Of everything that rounds to it: a number below zero then loses its sign.
  Text zero_;
  int decimals_ = 0;
  // 10 to the power of the decimals; 0 when no amount is an everyday one.
  double scale_ = 0;
};

}  // namespace qorvane::inline v1
