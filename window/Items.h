// The rows of the window: one for each stored entry of a product, made from the catalogue.
//
// Options that share an entry are one row, that of the option which comes first in the table; the others are
// named in it. What is worked out and cannot be set is no row.
#pragma once

#include <QString>
#include <cstdint>
#include <string_view>
#include <vector>

#include "qorvane/store/OptionTable.h"

namespace optionsmgr::window {

/// What a person changes it with.
enum class Control : std::uint8_t { Text, Lines, Flag, List, Number, Date, Font, Color, Folder, Secret };

struct Item {
  const qorvane::OptionRow* row = nullptr;
  Control control = Control::Text;
  /// How many characters the field shows.
  int width = 0;
  /// Where it begins one: the heading over it and what follows, in both languages. Null where it goes on.
  const char* headingEnglish = nullptr;
  const char* headingFrench = nullptr;
  /// The other options that are the same entry.
  std::vector<const qorvane::OptionRow*> aliases;

  bool canBeSet() const { return row->write != nullptr; }
  /// The name of what it belongs to: what stands over it where all groups are mixed.
  QString label() const;
  QString description() const;
};

/// All rows of the product in display order, group after group.
std::vector<Item> itemsOf(const qorvane::Product& product);

/// How many rows of the group stand side by side.
int columnsOf(const qorvane::OptionGroup& group);

/// One of the values that a list offers.
struct Offer {
  /// The same for all texts that mean it.
  QString id;
  QString label;
  /// What is set.
  qorvane::Value value;
};

/// What the row's list offers in the product's year, by label in the language of the window; empty for a
/// control that is no list.
std::vector<Offer> offersOf(const Item& item, const qorvane::Product& product);
/// The id of what the value means for the row: that of an offer, or the value itself.
QString meaningOf(const Item& item, const qorvane::Product& product, const qorvane::Value& value);

/// Both are the same to a person: nil and the empty text, the two labels of a choice.
bool readSame(const Item& item, const qorvane::Product& product, const qorvane::Value& a,
              const qorvane::Value& b);

/// The value in a few words, for the strip, for what was saved meanwhile, for comparison: display labels,
/// never raw forms. A secret is told as hidden.
QString inWords(const Item& item, const qorvane::Product& product, const qorvane::Value& value);

}  // namespace optionsmgr::window
