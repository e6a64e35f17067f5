#include "tool/speech/Suggest.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "tool/speech/Language.h"

namespace optionsmgr {

namespace {

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// The Levenshtein distance, bytes compared without case.
std::size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i);
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t replaced = diagonal + (lower(a[i - 1]) != lower(b[j - 1]));
      diagonal = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, replaced});
    }
  }
  return row.back();
}

}  // namespace

std::string didYouMean(std::string_view word, std::span<const std::string_view> candidates) {
  constexpr std::size_t kMostCandidates = 3;
  constexpr std::size_t kLongestWord = 100;
  if (word.size() > kLongestWord) return {};
  // A third of the letters may be others; of a short word one.
  const std::size_t near = std::max<std::size_t>(1, word.size() / 3);
  std::vector<std::pair<std::size_t, std::string_view>> found;
  for (const std::string_view candidate : candidates)
    if (const std::size_t far = distance(word, candidate); far <= near) found.emplace_back(far, candidate);
  std::ranges::stable_sort(found, {}, &std::pair<std::size_t, std::string_view>::first);

  std::string text;
  for (std::size_t i = 0; i < std::min(found.size(), kMostCandidates); ++i) {
    text += i == 0                                             ? say("; did you mean ")
            : i + 1 == std::min(found.size(), kMostCandidates) ? say(" or ")
                                                               : ", ";
    text += inQuotes(found[i].second);
  }
  return text.empty() ? text : text + say("?");
}

}  // namespace optionsmgr
