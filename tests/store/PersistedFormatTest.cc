// The table of keys, forms and defaults in docs/persisted-format.md is that of the option table.
#include <sstream>
#include <utility>

#include "qorvane/desktop/ColorArchive.h"
#include "qorvane/store/NSColorHexadecimalValue.h"
#include "qorvane/store/OptionTable.h"
#include "tests/Golden.h"
#include "tests/store/StoreTest.h"

namespace qorvane {
namespace {

using PersistedFormatGoldenTest = testing_support::StoreTest;

std::string defaultOf(const OptionRow& row) {
  if (row.type == OptionType::Folder) return "see Folders";
  const Value value = row.fallback();
  if (value.isNil()) return "none";
  if (row.type == OptionType::Flag) return value.boolValue() ? "true" : "false";
  if (const Data* archive = value.asData())
    return "`" + NSColorHexadecimalValue::hexadecimalValueOfAnNSColor(unarchiveColor(*archive)).string() +
           "`";
  std::string text = "\"" + value.textValue().string() + "\"";
  if (row.type == OptionType::Integer || row.type == OptionType::Date) text = value.textValue().string();
  return text;
}

std::string keyIn(const OptionRow& row, bool corporate) {
  QVSettings::setProduct({.corporate = corporate, .taxYear = 2020});
  return row.key().string();
}

std::string inWords(const OptionRow& row, Language language) {
  return "**" + row.label(language).string() + "** – " + row.description(language).string();
}

void describe(const OptionRow& row, std::ostream& out) {
  const std::string personal = keyIn(row, false);
  const std::string corporate = keyIn(row, true);
  QVSettings::setProduct({.taxYear = 2020});
  out << "| `" << row.name << "` | `" << personal << "`";
  if (corporate != personal) out << ", in the corporate product `" << corporate << "`";
  out << " | " << row.stored << " | " << defaultOf(row) << " | "
      << (row.readKind.starts_with("Storing") ? "yes" : "no") << " | " << inWords(row, Language::English)
      << "<br>" << inWords(row, Language::French) << " |\n";
}

std::string table() {
  std::ostringstream out;
  for (const OptionGroup& group : optionGroups()) {
    bool begun = false;
    for (const OptionRow& row : optionTable()) {
      if (&row.group() != &group || keyIn(row, false).empty()) continue;
      if (!std::exchange(begun, true))
        out << "\n### " << group.english << " – " << group.french << "\n\n"
            << "| option | key | stored as | default | default stored by the first read | in words |\n"
            << "|---|---|---|---|---|---|\n";
      describe(row, out);
    }
  }
  return out.str();
}

TEST_F(PersistedFormatGoldenTest, TheDocumentIsFresh) {
  testing_support::expectGoldenPart("docs/persisted-format.md", "<!-- the option table -->\n",
                                    "<!-- end of the option table -->\n", table());
}

}  // namespace
}  // namespace qorvane
