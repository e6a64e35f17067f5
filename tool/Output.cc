#include "tool/Output.h"

namespace optionsmgr {

void printJson(const Json& json, std::ostream& out) {
  out << json.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

void printJsonLine(const Json& json, std::ostream& out) {
  out << json.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
}

void printTable(const Session& session, const Row& heading, std::vector<Row> rows, std::ostream& out,
                Holding holding) {
  Layout layout;
  const std::size_t terminal = Session::terminalWidth();
  if (terminal > 0) layout.width = terminal;
  if (holding == Holding::Words || (holding == Holding::Paths && terminal > 0))
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
