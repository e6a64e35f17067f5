// Source: settings to look at beside those of a sheet: another year's, a former state, a file.
//
// It is a state of its own that nothing changes. What is taken from it becomes a change of the sheet.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "qorvane/preferences/FileUserDefaults.h"
#include "qorvane/store/OptionEdits.h"
#include "qorvane/store/Options.h"
#include "window/Sheet.h"

namespace optionsmgr::window {

class Source {
 public:
  /// name: as people call it, such as "2024". entries: what stands under the key of that product and year.
  Source(QString name, const qorvane::Product& product, const qorvane::Dictionary& entries);
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;

  const QString& name() const { return name_; }
  /// Whether it has an entry for the row.
  bool has(const Item& item) const { return entries_.find(item.row->key(product_).view()); }
  /// What the row reads there; none for an entry that its option refuses.
  std::optional<qorvane::Value> value(const Item& item) const;
  /// Whether it reads there as if nobody had set it.
  bool isUnset(const Item& item) const;

 private:
  QString name_;
  qorvane::Product product_;
  qorvane::Dictionary entries_;
  mutable qorvane::MemoryUserDefaults memory_;
  mutable qorvane::Options options_;
};

/// Whether the row would change if it took what the source has. Defaults are the same, whatever year they
/// name.
bool differs(const Sheet& sheet, const Item& item, const Source& source);
/// The rows of the sheet that can be set and differ, in display order; only those that the source has, if
/// told so.
std::vector<const Item*> differing(const Sheet& sheet, const Source& source, bool onlyItsOwn);

/// The settings of that product and year as they stand; null where there are none. Throws Exception when they
/// cannot be read.
std::unique_ptr<Source> sourceOfYear(qorvane::FileUserDefaults& files, const qorvane::Product& product);
/// The settings of the sheet's product and year in those bytes: a property list or JSON, as an export writes
/// them, or a JSON object of values by option name. Throws Exception when they are none.
std::unique_ptr<Source> sourceOfBytes(const QString& name, const std::string& bytes, Sheet& sheet);

/// The sheet's settings as they stand, as a file for another desk: an XML property list without secrets,
/// printer and folders. Throws Exception when they cannot be read.
std::string exported(Sheet& sheet, qorvane::FileUserDefaults& files);

}  // namespace optionsmgr::window
