#include "tool/Output.h"

#include <unistd.h>

#include <algorithm>

#include "tool/JsonText.h"

namespace optionsmgr {

void printJson(const Json& json, std::ostream& out) {
  out << withoutControls(json.dump(2, ' ', false, Json::error_handler_t::replace)) << '\n';
}

void printJsonLine(const Json& json, std::ostream& out) {
  out << withoutControls(json.dump(-1, ' ', false, Json::error_handler_t::replace)) << '\n';
}

void printLine(std::string_view text, std::ostream& out) { out << oneLine(text) << '\n'; }

void printValue(std::string_view value, std::ostream& out) {
  if (isatty(STDOUT_FILENO) == 0) {
    out << value << '\n';
    return;
  }
  for (std::size_t at = 0, end = 0; at <= value.size(); at = end + 1) {
    end = std::min(value.find('\n', at), value.size());
    printLine(value.substr(at, end - at), out);
  }
}

void printTable(const Session& session, const Row& heading, std::vector<Row> rows, std::ostream& out,
                Overflow overflow) {
  Layout layout;
  const std::size_t terminal = Session::terminalWidth();
  if (terminal > 0) layout.width = terminal;
  if (overflow == Overflow::Words || (overflow == Overflow::Paths && terminal > 0))
    layout.overlong = Overlong::Wrapped;
  else
    layout.overlong = terminal > 0 ? Overlong::Cut : Overlong::Whole;
  layout.longWords = terminal > 0 ? LongWords::Broken : LongWords::Whole;
  if (!heading.empty() && session.reports()) {
    rows.insert(rows.begin(), heading);
    layout.boldHeading = session.colorTerminal();
  }
  printColumns(rows, out, layout);
}

}  // namespace optionsmgr
