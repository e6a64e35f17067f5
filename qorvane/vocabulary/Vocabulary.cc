#include "qorvane/vocabulary/Vocabulary.h"

#include <vector>

#include "qorvane/vocabulary/ChoiceLabels.h"
#include "qorvane/vocabulary/HelpTopics.h"
#include "qorvane/vocabulary/Notifications.h"
#include "qorvane/vocabulary/OptionStrings.h"
#include "qorvane/vocabulary/ProvinceNames.h"
#include "qorvane/vocabulary/ReturnElements.h"
#include "qorvane/vocabulary/ReturnElementsT2.h"

namespace qorvane::inline v1 {

namespace {

// A constant with its name, or the title of the group that follows, which has no string.
struct Row {
  std::string_view name;
  Text string;
};

#define GROUP(title) {title, nullptr},
#define CONSTANT(name, string) {#name, name},

constexpr Row kOptionKeys[] = {
#include "qorvane/vocabulary/OptionStrings.def"
};
constexpr Row kReturnElements[] = {
#include "qorvane/vocabulary/ReturnElements.def"
};
constexpr Row kReturnElementsT2[] = {
#include "qorvane/vocabulary/ReturnElementsT2.def"
};
constexpr Row kNotifications[] = {
#include "qorvane/vocabulary/Notifications.def"
};
constexpr Row kHelpTopics[] = {
#include "qorvane/vocabulary/HelpTopics.def"
};
constexpr Row kProvinceNames[] = {
#include "qorvane/vocabulary/ProvinceNames.def"
};
constexpr Row kChoiceLabels[] = {
#define LIST_BEGIN(Class, table) GROUP(#Class)
#define CHOICE(neutral, english, englishLabel, french, frenchLabel, ...) \
  CONSTANT(english, englishLabel) CONSTANT(french, frenchLabel)
#define CHOICE_IN_ENGLISH(neutral, english, label, ...) CONSTANT(english, label)
#include "qorvane/vocabulary/ChoiceLabels.def"
};

#undef CONSTANT
#undef GROUP

struct List {
  std::string_view name;
  std::span<const Row> rows;
};

constexpr List kLists[] = {
    {"option-keys", kOptionKeys},
    {"return-elements", kReturnElements},
    {"return-elements-t2", kReturnElementsT2},
    {"notifications", kNotifications},
    {"help-topics", kHelpTopics},
    {"province-names", kProvinceNames},
    {"choice-labels", kChoiceLabels},
};

std::vector<VocabularyEntry> allEntries() {
  std::vector<VocabularyEntry> entries;
  for (const List& list : kLists) {
    std::string_view group;
    for (const Row& row : list.rows) {
      if (row.string.isNil())
        group = row.name;
      else
        entries.push_back({list.name, group, row.name, row.string});
    }
  }
  return entries;
}

}  // namespace

std::span<const VocabularyEntry> vocabulary() {
  static const std::vector<VocabularyEntry> entries = allEntries();
  return entries;
}

}  // namespace qorvane::inline v1
