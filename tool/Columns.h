// Text in columns on a terminal.
#pragma once

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace optionsmgr {

/// The width of a text on a terminal, for texts whose characters take one column each.
std::size_t columns(std::string_view text);

/// The text with blanks after it, at least that wide.
std::string padded(std::string_view text, std::size_t width);

/// Prints rows of cells, each column as wide as its widest cell and two blanks. Line breaks and other control
/// characters within a cell become blanks, and no line ends in blanks. With a width, the widest columns give
/// way until a row fits into it, and a cell that is cut ends in "…".
void printColumns(const std::vector<std::vector<std::string>>& rows, std::ostream& out,
                  std::size_t width = 0);

}  // namespace optionsmgr
