// Language: the two languages of the suite, in which everything a person reads is told.
#pragma once

#include <cstdint>

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

enum class Language : std::uint8_t { English, French };

}  // namespace v1
}  // namespace qorvane
