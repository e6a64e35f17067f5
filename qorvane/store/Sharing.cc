#include "qorvane/store/Sharing.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <tuple>
#include <utility>

#include "qorvane/desktop/Log.h"
#include "qorvane/foundation/Exception.h"
#include "qorvane/store/LoadLists.h"
#include "qorvane/store/OptionTable.h"
#include "qorvane/store/Options.h"
#include "qorvane/store/Reader.h"
#include "qorvane/vocabulary/OptionStrings.h"

namespace qorvane::inline v1 {

namespace {

bool differs(const Dictionary& a, const Dictionary& b, const Text& key) {
  const Value* const one = a.find(key.view());
  const Value* const other = b.find(key.view());
  return one && other ? !isIdentical(*one, *other) : one != other;
}

bool isStoredDefault(const OptionRow& row) {
  // A folder's default is computed at each read, and asking for it would make the folder.
  return row.type != OptionType::Folder;
}

}  // namespace

const Dictionary& entriesOf(const Value& stored) {
  static const Dictionary none;
  const Dictionary* entries = stored.asDictionary();
  return entries ? *entries : none;
}

std::vector<Text> changedReadings(const Dictionary& before, const Dictionary& after, const Product& product) {
  std::vector<Text> names;
  const bool fontSize = differs(before, after, optsStr_HeaderFontSize);
  std::optional<std::pair<Reader, Reader>> readers;
  for (const OptionRow& row : optionTable()) {
    const Text key = row.key(product);
    if (key.isNil() || !(differs(before, after, key) || (fontSize && row.type == OptionType::Font))) continue;
    if (!readers)
      readers.emplace(std::piecewise_construct, std::forward_as_tuple(before, product),
                      std::forward_as_tuple(after, product));
    if (readers->first.reading(row) != readers->second.reading(row)) names.push_back(Text(row.name));
  }
  return names;
}

void fillTaken(Options& store, const Dictionary& before) {
  const Product product = store.product();
  const BulkSetting bulk(store);
  for (const std::string_view name : product.corporate ? corporateLoadList() : personalLoadList()) {
    const OptionRow& row = *findProperty(name);
    const Text key = row.key(product);
    if (key.isNil() || !isStoredDefault(row)) continue;
    if (!before.find(key.view()) || store.options()->find(key.view())) continue;
    try {
      static_cast<void>(row.read(store));
    } catch (const Exception&) {
      log("Could not load default options");
    }
  }
}

void StoreMerge::prepare(Value base, Value now, Fills fills, Product product) {
  base_ = std::move(base);
  now_ = std::move(now);
  fills_ = std::move(fills);
  product_ = std::move(product);
  answer_ = nullptr;
  written_ = false;
}

Value StoreMerge::merged(const Value& standing) {
  const Dictionary& base = entriesOf(base_);
  const Dictionary& now = entriesOf(now_);
  const Dictionary& theirs = entriesOf(standing);
  if (isIdentical(theirs, base)) return answer_ = now_;
  Dictionary entries = merge(base, now, fills_, theirs);
  const auto wasTaken = [&](const Dictionary::Entry& entry) { return !entries.find(entry.key.view()); };
  if (std::ranges::any_of(now, wasTaken)) {
    Reader reader(std::move(entries), product_);
    fillTaken(reader.store(), now);
    entries = std::move(*reader.store().options());
  }
  return answer_ = Value(std::move(entries));
}

void Sharing::settle() {
  if (!merge || !merge->isWritten()) return;
  Dictionary entries = entriesOf(base);
  for (const EntryChange& change : merge->changes()) {
    const Value* const there = entriesOf(merge->answer()).find(change.key.view());
    entries.set(change.key, there ? *there : Value());
    fills.settle(Key(change.key), there);
  }
  base = std::move(entries);
  merge.reset();
}

}  // namespace qorvane::inline v1
