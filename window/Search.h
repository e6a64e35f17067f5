// Search: the rows of a sheet in which words are found, best first.
//
// Looked at are labels, descriptions, choices, names, keys and values, in both languages, without regard to
// case and accents; the value of a secret never. Each word has to be somewhere. What is looked through is
// prepared once; values again where they changed.
#pragma once

#include <QString>
#include <string>
#include <unordered_map>
#include <vector>

#include "window/Sheet.h"

namespace optionsmgr::window {

struct Found {
  const Item* item = nullptr;
  /// The smaller, the better: the label begins with it, holds it, a choice or value, the description, a name.
  int rank = 0;
  /// The label as rich text, with what matched in bold.
  QString label;
  /// Where else it matched: "value: Gaspé"; empty where the label says it all.
  QString elsewhere;
};

class Search {
 public:
  explicit Search(const Sheet& sheet);

  /// Groups with the best row first, within them the best row first. Nothing for no words.
  std::vector<Found> find(const QString& words) const;
  /// The row's value changed.
  void forget(const Item& item) { values_.erase(&item); }
  void forgetValues() { values_.clear(); }

 private:
  enum class Kind : std::uint8_t { Label, OtherLabel, Choice, Value, Description, Name };
  struct Field {
    Kind kind;
    bool isFrench;
    QString text;
    std::string plain;
  };
  struct Entry {
    const Item* item;
    std::vector<Field> fields;
    /// For each byte of the plain label, the place of its letter in the label.
    std::vector<qsizetype> letters;
  };

  Entry entryFor(const Item& item) const;
  const Field* value(const Item& item) const;
  bool match(const Entry& entry, const std::vector<std::string>& words, Found& found) const;
  static QString bold(const Entry& entry, const std::vector<std::string>& words);
  static QString told(const Field& field);

  const Sheet& sheet_;
  std::vector<Entry> entries_;
  mutable std::unordered_map<const Item*, Field> values_;
};

}  // namespace optionsmgr::window
