// "Did you mean": the known words nearest to one that is not known.
#pragma once

#include <span>
#include <string>
#include <string_view>

namespace optionsmgr {

/// `; did you mean "x" or "y"?` with up to three candidates that are a few letters away from the word, case
/// aside, nearest first; empty when none is near.
std::string didYouMean(std::string_view word, std::span<const std::string_view> candidates);

}  // namespace optionsmgr
