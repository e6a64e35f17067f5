// The options whose getters a load runs, so that their defaults stand in the dictionary from the start.
// Property names, not keys, in the order in which they are read.
#pragma once

#include <span>
#include <string_view>

namespace qorvane::inline v1 {

/// The 41 names of the personal product.
std::span<const std::string_view> personalLoadList();
/// The 51 names of the corporate product; "bDisclaimer" is visited twice.
std::span<const std::string_view> corporateLoadList();

}  // namespace qorvane::inline v1
