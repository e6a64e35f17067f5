// Tables kept as data beside the tests: one row a line, columns between tabs, comment lines with #.
#pragma once

#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "tests/TestHome.h"

namespace testing_support {

using Row = std::vector<std::string>;

/// The parts of the text between the separators.
inline Row split(std::string_view text, char separator) {
  Row parts;
  for (;;) {
    const std::size_t end = text.find(separator);
    parts.emplace_back(text.substr(0, end));
    if (end == std::string_view::npos) return parts;
    text.remove_prefix(end + 1);
  }
}

/// The words of a column that holds a list; "-" is the empty one.
inline Row words(std::string_view column) { return column == "-" ? Row() : split(column, ' '); }

/// The rows of a file below tests/. Throws when a row has another number of columns.
inline std::vector<Row> table(const std::string& file, std::size_t columns) {
  std::istringstream lines(readFile(std::string(TEST_DATA_DIR) + "/" + file));
  std::vector<Row> rows;
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line.front() == '#') continue;
    rows.push_back(split(line, '\t'));
    if (rows.back().size() != columns) throw std::runtime_error(file + ": not the columns wanted: " + line);
  }
  if (rows.empty()) throw std::runtime_error(file + " is empty");
  return rows;
}

}  // namespace testing_support
