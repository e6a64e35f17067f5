#include "tool/speech/Columns.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>

namespace optionsmgr {

namespace {

constexpr std::size_t kGap = 2;
constexpr std::size_t kNarrowest = 8;

std::size_t widthOf(const Character& character) {
  if (character.code < 0) return 1;
  const int kind = u_charType(character.code);
  if (kind == U_NON_SPACING_MARK || kind == U_ENCLOSING_MARK || kind == U_FORMAT_CHAR) return 0;
  const int width = u_getIntPropertyValue(character.code, UCHAR_EAST_ASIAN_WIDTH);
  return width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2 : 1;
}

// As many bytes of the text as fit into that many columns.
std::size_t fitting(std::string_view text, std::size_t width) {
  std::size_t bytes = 0;
  for (std::size_t column = 0; !text.empty(); bytes += takeFirst(text).bytes.size()) {
    std::string_view rest = text;
    column += widthOf(takeFirst(rest));
    if (column > width) break;
  }
  return bytes;
}

std::string clipped(const std::string& text, std::size_t width) {
  return columns(text) <= width ? text : text.substr(0, fitting(text, width - 1)) + "…";
}

std::vector<std::size_t> widthsOf(const std::vector<Row>& rows, const Layout& layout) {
  std::vector<std::size_t> widths;
  for (const Row& row : rows)
    for (std::size_t i = 0; row.size() > 1 && i < row.size(); ++i) {
      if (i == widths.size()) widths.push_back(0);
      widths[i] = std::max(widths[i], columns(row[i]));
    }
  std::size_t total = widths.empty() ? 0 : kGap * (widths.size() - 1);
  for (const std::size_t width : widths) total += width;
  for (; total > layout.width; --total) {
    auto widest = std::max_element(widths.size() > 1 ? widths.begin() + 1 : widths.begin(), widths.end());
    if (*widest <= kNarrowest) widest = widths.begin();
    if (*widest <= kNarrowest) break;
    --*widest;
  }
  return widths;
}

// The lines of a cell.
std::vector<std::string> linesOf(const std::string& cell, std::size_t width, const Layout& layout) {
  if (layout.overlong == Overlong::Cut) return {clipped(cell, width)};
  if (layout.overlong == Overlong::Wrapped) return wrapped(cell, width, layout.longWords);
  return {cell};
}

}  // namespace

Character takeFirst(std::string_view& text) {
  const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  std::size_t at = 0;
  UChar32 code = -1;
  U8_NEXT(bytes, at, text.size(), code);
  const Character first{code, text.substr(0, at)};
  text.remove_prefix(at);
  return first;
}

bool steersTerminal(const Character& character) {
  const std::int32_t code = character.code;
  if (code < 0 || u_charType(code) == U_CONTROL_CHAR) return true;
  return code == 0x2028 || code == 0x2029 || code == 0x061C || (code >= 0x200E && code <= 0x200F) ||
         (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

std::size_t columns(std::string_view text) {
  std::size_t width = 0;
  while (!text.empty()) width += widthOf(takeFirst(text));
  return width;
}

std::string oneLine(std::string_view text, char instead) {
  std::string line;
  while (!text.empty()) {
    const Character character = takeFirst(text);
    if (steersTerminal(character))
      line += instead;
    else
      line += character.bytes;
  }
  return line;
}

std::string padded(std::string_view text, std::size_t width) {
  std::string cell(text);
  cell.append(width - std::min(width, columns(text)), ' ');
  return cell;
}

std::vector<std::string> wrapped(std::string_view text, std::size_t width, LongWords words) {
  std::vector<std::string> lines{""};
  // What stands before the first word indents it.
  const std::size_t indent = std::min(text.find_first_not_of(' '), text.size());
  lines.back() = text.substr(0, indent);
  for (text.remove_prefix(indent); !text.empty();) {
    std::string_view word = text.substr(0, text.find(' '));
    text.remove_prefix(std::min(word.size() + 1, text.size()));
    if (lines.back().size() > indent && columns(lines.back()) + 1 + columns(word) > width)
      lines.emplace_back(indent, ' ');
    else if (lines.back().size() > indent)
      lines.back() += ' ';
    while (words == LongWords::Broken && indent + columns(word) > width && width > indent + 1) {
      std::size_t part = fitting(word, width - indent);
      // A path is best broken behind one of its folders.
      if (const std::size_t slash = word.substr(0, part).rfind('/'); slash != word.npos && slash > 0)
        part = slash + 1;
      lines.back() += word.substr(0, part);
      lines.emplace_back(indent, ' ');
      word.remove_prefix(part);
    }
    lines.back() += word;
  }
  return lines;
}

void printColumns(const std::vector<Row>& rows, std::ostream& out, const Layout& layout) {
  std::vector<Row> clean = rows;
  for (Row& row : clean)
    for (std::string& cell : row) cell = oneLine(cell);
  const std::vector<std::size_t> widths = widthsOf(clean, layout);
  for (const Row& row : clean) {
    std::vector<std::vector<std::string>> cells;
    std::size_t height = 0;
    for (std::size_t i = 0; i < row.size(); ++i) {
      cells.push_back(linesOf(row[i], row.size() > 1 ? widths[i] : layout.width, layout));
      height = std::max(height, cells.back().size());
    }
    const bool bold = layout.boldHeading && &row == &clean.front();
    for (std::size_t at = 0; at < height; ++at) {
      std::string line;
      for (std::size_t i = 0; i < cells.size(); ++i) {
        const std::string cell = at < cells[i].size() ? cells[i][at] : std::string();
        line += i + 1 < cells.size() ? padded(cell, widths[i]) + std::string(kGap, ' ') : cell;
      }
      // What is empty at the end takes no blanks.
      line.erase(line.find_last_not_of(' ') + 1);
      out << (bold ? "\x1b[1m" : "") << line << (bold ? "\x1b[0m" : "") << '\n';
    }
  }
}

}  // namespace optionsmgr
