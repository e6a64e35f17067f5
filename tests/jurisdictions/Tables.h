// The truth tables beside these tests: tab-separated, the first line naming the columns; and the texts that
// look like an accepted one and are not.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "qorvane/foundation/Text.h"

namespace testing_support {

using Row = std::vector<std::string>;

/// The rows of tests/jurisdictions/<file>, without the line of column names. Empty cells are kept.
std::vector<Row> readTable(const std::string& file);

/// The text in another letter case, with a blank before or behind it, doubled, and with its accents as
/// combining characters: each a text of its own, none equal to the original.
std::vector<qorvane::Text> lookalikes(std::string_view text);

/// A list as a row.
Row asRow(const std::vector<qorvane::Text>& texts);

}  // namespace testing_support
