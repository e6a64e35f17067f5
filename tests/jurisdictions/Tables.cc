#include "tests/jurisdictions/Tables.h"

#include <sstream>
#include <stdexcept>

#include "tests/TestHome.h"

namespace testing_support {

namespace {

Row cells(std::string_view line) {
  Row row;
  for (;;) {
    const std::size_t tab = line.find('\t');
    row.emplace_back(line.substr(0, tab));
    if (tab == line.npos) return row;
    line.remove_prefix(tab + 1);
  }
}

std::string mapped(std::string_view text, char from, char to, char first) {
  std::string result(text);
  for (char& c : result)
    if (c >= from && c <= to) c = static_cast<char>(c - from + first);
  return result;
}

std::string decomposed(std::string text) {
  constexpr std::string_view accents[][2] = {
      {"é", "e\u0301"}, {"É", "E\u0301"}, {"à", "a\u0300"}, {"ô", "o\u0302"}};
  for (const auto& [composed, apart] : accents)
    for (std::size_t at = 0; (at = text.find(composed, at)) != text.npos; at += apart.size())
      text.replace(at, composed.size(), apart);
  return text;
}

}  // namespace

std::vector<Row> readTable(const std::string& file) {
  std::istringstream lines(readFile(std::string(TEST_DATA_DIR) + "/jurisdictions/" + file));
  std::vector<Row> rows;
  std::string line;
  std::getline(lines, line);
  const std::size_t columns = cells(line).size();
  while (std::getline(lines, line)) {
    rows.push_back(cells(line));
    if (rows.back().size() < columns) throw std::runtime_error("too few cells in " + line);
  }
  if (rows.empty()) throw std::runtime_error(file + " is empty");
  return rows;
}

std::vector<qorvane::Text> lookalikes(std::string_view text) {
  const std::string original(text);
  std::vector<qorvane::Text> texts;
  for (const std::string& other :
       {mapped(text, 'A', 'Z', 'a'), mapped(text, 'a', 'z', 'A'), " " + original, original + " ",
        original + original, original + std::string(1, '\0'), decomposed(original)})
    if (other != original) texts.push_back(qorvane::Text(other));
  return texts;
}

Row asRow(const std::vector<qorvane::Text>& texts) {
  Row row;
  for (const qorvane::Text& text : texts) row.push_back(text.string());
  return row;
}

}  // namespace testing_support
