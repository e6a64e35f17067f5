#include "tests/store/ExpectedOptions.h"

#include <sstream>
#include <stdexcept>

#include "qorvane/foundation/Number.h"

namespace testing_support {

using qorvane::Number;
using qorvane::Text;
using qorvane::Value;

namespace {

std::string trimmed(const std::string& text) {
  const auto from = text.find_first_not_of(' ');
  return from == text.npos ? "" : text.substr(from, text.find_last_not_of(' ') - from + 1);
}

Text unquoted(const std::string& quoted) {
  if (quoted.size() < 2 || quoted.front() != '"' || quoted.back() != '"')
    throw std::runtime_error("not a quoted text: " + quoted);
  return Text(quoted.substr(1, quoted.size() - 2));
}

ExpectedOption parsed(const std::string& line) {
  std::vector<std::string> fields;
  std::istringstream in(line);
  for (std::string field; std::getline(in, field, '|');) fields.push_back(trimmed(field));
  if (fields.size() != 8) throw std::runtime_error("not eight fields: " + line);
  if (fields[2] == "=") fields[2] = fields[1];
  return {fields[0], fields[1], fields[2], fields[3], fields[4], fields[5], fields[6], fields[7]};
}

std::vector<ExpectedOption> readOptions() {
  std::vector<ExpectedOption> options;
  std::istringstream in(readFile(TEST_DATA_DIR "/store/options.txt"));
  for (std::string line; std::getline(in, line);)
    if (!line.empty() && line.front() != '#') options.push_back(parsed(line));
  return options;
}

// The labels of the translated options with the values they are kept as.
struct Translation {
  const char* label;
  const char* neutral;
};
constexpr Translation kTranslations[] = {
    {"1-All tax years", "1"},
    {"2-Current year and preceding years", "2"},
    {"3-Current year and following years", "3"},
    {"1-Authorization", "1"},
    {"2-Power of attorney", "2"},
};

}  // namespace

Value ExpectedOption::fallbackIn(std::string_view language) const {
  if (fallback == "nil") return nullptr;
  if (form == "date") return Number(std::stod(fallback));
  if (form == "integer") return Number(std::stoi(fallback));
  if (!isText()) return Number(fallback == "true");
  const auto slash = fallback.find("\"/\"");
  if (slash == fallback.npos) return unquoted(fallback);
  return unquoted(language == "English" ? fallback.substr(0, slash + 1) : fallback.substr(slash + 2));
}

Value ExpectedOption::nilEntry() const { return unquoted(nil); }

Value ExpectedOption::entryOf(const Value& value) const {
  const bool flag = value.boolValue();
  if (form == "YES/NO") return flag ? Text("YES") : Text("NO");
  if (form == "1/0") return flag ? Text("1") : Text("0");
  if (form == "integer flag") return Number(flag ? 1 : 0);
  if (form == "boolean number") return Number(flag);
  if (form == "integer") return Text(std::to_string(value.intValue()));
  if (form == "translated")
    for (const Translation& row : kTranslations)
      if (value.textValue() == Text(std::string(row.label))) return Text(std::string(row.neutral));
  // A font's entry under its own key is the name alone.
  if (form == "font") return Text(value.textValue().view().substr(0, value.textValue().view().find(',')));
  return value;
}

std::vector<Value> ExpectedOption::samples() const {
  if (getter == "mr69_Authorization")
    return {Text("2-Current year and preceding years"), Text("3-Current year and following years")};
  if (getter == "mr69_AuthType") return {Text("2-Power of attorney"), Text("1-Authorization")};
  if (isText()) return {Text("Zoë & Cie, 1 000 $"), Text(" other ")};
  if (form == "integer") return {Number(5), Number(-2147483647 - 1)};
  if (form == "date") return {Number(757382400.5), Number(20201231)};
  if (form == "font") return {Text("Helvetica-Bold, 12"), Text("Courier, 9.5")};
  return {Number(true), Number(false)};
}

const std::vector<ExpectedOption>& expectedOptions() {
  static const std::vector<ExpectedOption> options = readOptions();
  return options;
}

}  // namespace testing_support
