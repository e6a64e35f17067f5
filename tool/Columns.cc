#include "tool/Columns.h"

#include <algorithm>

namespace optionsmgr {

std::size_t columns(std::string_view text) {
  return static_cast<std::size_t>(std::ranges::count_if(text, [](char c) { return (c & 0xC0) != 0x80; }));
}

std::string padded(std::string_view text, std::size_t width) {
  std::string cell(text);
  cell.append(width - std::min(width, columns(text)), ' ');
  return cell;
}

void printColumns(const std::vector<std::vector<std::string>>& rows, std::ostream& out) {
  std::vector<std::size_t> widths;
  for (const auto& row : rows)
    for (std::size_t i = 0; i < row.size(); ++i) {
      if (i == widths.size()) widths.push_back(0);
      widths[i] = std::max(widths[i], columns(row[i]));
    }
  for (const auto& row : rows)
    for (std::size_t i = 0; i < row.size(); ++i)
      if (i + 1 < row.size())
        out << padded(row[i], widths[i] + 2);
      else
        out << row[i] << '\n';
}

}  // namespace optionsmgr
