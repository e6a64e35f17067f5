// How a verb answers: a table for people, JSON for programs.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string_view>
#include <vector>

#include "tool/Session.h"
#include "tool/speech/Columns.h"

namespace optionsmgr {

using Json = nlohmann::ordered_json;

/// Prints it indented, with a line break at its end. Bytes that are no UTF-8, as a file's name may have,
/// become U+FFFD.
void printJson(const Json& json, std::ostream& out);
/// The same on one line.
void printJsonLine(const Json& json, std::ostream& out);

/// Prints the text as one line: what would break it or steer a terminal becomes a blank.
void printLine(std::string_view text, std::ostream& out);
/// Prints a value and a line break: as it is, but on a terminal without what would steer it.
void printValue(std::string_view value, std::ostream& out);

/// What a table has in the cells that may be too wide for it. None is wider than the terminal, nor than 80
/// columns elsewhere, but for values that a program may want whole.
enum class Overflow : std::uint8_t {
  Values,  ///< Any text: cut on a terminal, whole elsewhere.
  Paths,   ///< Continued below on a terminal, whole elsewhere.
  Words    ///< Sentences: continued below.
};

/// Prints the rows under the heading, which `--quiet` and an empty one leave out.
void printTable(const Session& session, const Row& heading, std::vector<Row> rows, std::ostream& out,
                Overflow overflow);

}  // namespace optionsmgr
