// Plain text in columns on a terminal, whatever letters it has.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace optionsmgr {

/// The width of a text on a terminal: an accented letter takes one column, composed or not, a wide letter
/// two.
std::size_t columns(std::string_view text);

/// One character of a text that may hold bytes which are no UTF-8.
struct Character {
  std::int32_t code;  ///< Its code point; negative for a byte that is no UTF-8.
  std::string_view bytes;
};
/// Takes the first character off the text, which is not empty.
Character takeFirst(std::string_view& text);
/// It breaks a line, moves a cursor, or turns the direction of the text behind it: controls of either range,
/// line and paragraph separators, direction marks, and bytes that are no UTF-8, which a terminal may take for
/// a control.
bool steersTerminal(const Character& character);

/// The text with another character instead of each that breaks a line or steers a terminal.
std::string oneLine(std::string_view text, char instead = ' ');

/// The text with blanks after it, at least that wide.
std::string padded(std::string_view text, std::size_t width);

/// The text in lines that are no wider than that. They break at blanks, and a word that is itself wider is
/// broken as `breakWords` says.
enum class LongWords : std::uint8_t { Broken, Whole };
std::vector<std::string> wrapped(std::string_view text, std::size_t width, LongWords words);

/// A row of a table; one of a single cell takes the whole line.
using Row = std::vector<std::string>;

/// What becomes of a cell that is wider than its column.
enum class Overlong : std::uint8_t {
  Cut,     ///< It ends in "…", and no line is wider than the table.
  Whole,   ///< It stays as it is, and pushes the rest of its line to the right.
  Wrapped  ///< It goes on in the next line of its column.
};

struct Layout {
  std::size_t width = 80;
  Overlong overlong = Overlong::Whole;
  /// Of a wrapped cell's words that are wider than their column.
  LongWords longWords = LongWords::Whole;
  /// The first row is a heading, to be printed bold.
  bool boldHeading = false;
};

/// Prints rows of cells, each column as wide as its widest cell and two blanks. Where that is wider than the
/// layout, the widest columns give way, the first one, which names the row, last. Line breaks and other
/// control characters within a cell become blanks, and no line ends in blanks.
void printColumns(const std::vector<Row>& rows, std::ostream& out, const Layout& layout);

}  // namespace optionsmgr
