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

namespace {

// The text cut to that many columns.
std::string clipped(const std::string& text, std::size_t width) {
  if (columns(text) <= width) return text;
  std::size_t end = 0;
  for (std::size_t column = 0; end < text.size(); ++end)
    if ((text[end] & 0xC0) != 0x80 && ++column == width) break;
  return text.substr(0, end) + "…";
}

std::string oneLine(std::string text) {
  for (char& c : text)
    if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = ' ';
  return text;
}

}  // namespace

void printColumns(const std::vector<std::vector<std::string>>& rows, std::ostream& out, std::size_t width) {
  constexpr std::size_t kGap = 2;
  constexpr std::size_t kNarrowest = 8;
  std::vector<std::size_t> widths;
  for (const auto& row : rows)
    for (std::size_t i = 0; i < row.size(); ++i) {
      if (i == widths.size()) widths.push_back(0);
      widths[i] = std::max(widths[i], columns(row[i]));
    }
  const auto total = [&] {
    std::size_t sum = 0;
    for (const std::size_t column : widths) sum += column + kGap;
    return sum;
  };
  while (width > 0 && !widths.empty() && total() > width + kGap) {
    const auto widest = std::ranges::max_element(widths);
    if (*widest <= kNarrowest) break;
    --*widest;
  }
  for (const auto& row : rows) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
      const std::string cell = clipped(oneLine(row[i]), widths[i]);
      line += i + 1 < row.size() ? padded(cell, widths[i] + kGap) : cell;
    }
    // What is empty at the end takes no blanks.
    out << line.substr(0, line.find_last_not_of(' ') + 1) << '\n';
  }
}

}  // namespace optionsmgr
