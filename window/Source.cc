#include "window/Source.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <limits>

#include "qorvane/foundation/Exception.h"
#include "qorvane/propertylist/PropertyList.h"
#include "window/ColorCode.h"
#include "window/Words.h"

namespace optionsmgr::window {

using qorvane::Dictionary;
using qorvane::Exception;
using qorvane::Failure;
using qorvane::FailureCode;
using qorvane::Text;
using qorvane::Value;

Source::Source(QString name, const qorvane::Product& product, const Dictionary& entries)
    : name_(std::move(name)), product_(product), entries_(entries), options_(memory_, product) {
  memory_.setObject(entries, options_.settingsDomainKey());
  options_.loadOptions();
}

std::optional<Value> Source::value(const Item& item) const {
  try {
    return qorvane::OptionEdits(options_).value(item.row->name);
  } catch (const Exception&) {
    return std::nullopt;
  }
}

bool Source::isUnset(const Item& item) const {
  const auto there = value(item);
  return there && readSame(item, product_, *there, item.row->fallback(product_));
}

bool differs(const Sheet& sheet, const Item& item, const Source& source) {
  const auto there = source.value(item);
  if (!there) return false;
  const Value here = sheet.value(item);
  if (readSame(item, sheet.product(), here, *there)) return false;
  return !(source.isUnset(item) && readSame(item, sheet.product(), here, sheet.fallback(item)));
}

std::vector<const Item*> differing(const Sheet& sheet, const Source& source, bool onlyItsOwn) {
  std::vector<const Item*> items;
  for (const Item& item : sheet.items())
    if (sheet.canBeSet(item) && (!onlyItsOwn || source.has(item)) && differs(sheet, item, source))
      items.push_back(&item);
  return items;
}

std::unique_ptr<Source> sourceOfYear(qorvane::FileUserDefaults& files, const qorvane::Product& product) {
  const Text key = qorvane::Options(files, product).settingsDomainKey();
  const auto found = files.inspect(key);
  if (found.damage) throw Exception(*found.damage);
  const Dictionary* entries = found.object.asDictionary();
  if (!entries) return nullptr;
  return std::make_unique<Source>(QString::number(product.taxYear), product, *entries);
}

// ---- files ----------------------------------------------------------------------------------------------

namespace {

[[noreturn]] void refuse() {
  throw Exception(Failure{FailureCode::storeFailed, {typed(said(Word::NotReadAsSettings))}});
}

Value valueOf(const QJsonValue& json);

// What JSON has no form for is an object of one member; nothing else of an entry is one.
Value valueOf(const QJsonObject& object) {
  if (object.contains("$data"))
    return qorvane::Data(QByteArray::fromBase64(object["$data"].toString().toLatin1()).toStdString());
  if (object.contains("$date")) return qorvane::Date{object["$date"].toDouble()};
  if (object.contains("$real")) {
    const QString name = object["$real"].toString();
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    return name == "inf" ? kInfinity : name == "-inf" ? -kInfinity : std::numeric_limits<double>::quiet_NaN();
  }
  const QJsonObject inner = object.contains("$dictionary") ? object["$dictionary"].toObject() : object;
  Dictionary entries;
  for (auto entry = inner.begin(); entry != inner.end(); ++entry)
    entries.set(typed(entry.key()), valueOf(entry.value()));
  return entries;
}

Value valueOf(const QJsonValue& json) {
  switch (json.type()) {
    case QJsonValue::Bool:
      return json.toBool();
    case QJsonValue::Double:
      if (const double number = json.toDouble(); number != static_cast<double>(json.toInteger()))
        return number;
      return static_cast<std::int64_t>(json.toInteger());
    case QJsonValue::String:
      return typed(json.toString());
    case QJsonValue::Object:
      return valueOf(json.toObject());
    default:
      return {};
  }
}

// A value that a person wrote under the option's name, as the option takes it.
Value meant(const qorvane::OptionRow& row, const Value& written, const qorvane::Product& product) {
  const Text* text = written.asText();
  if (!text) return written;
  if (row.type == qorvane::OptionType::Color)
    if (const auto color = colorTyped(shown(*text))) return archiveOf(*color);
  return row.meant(*text, product);
}

// The entries that the values leave which stand under names of options.
Dictionary entriesOfNames(const Dictionary& values, const qorvane::Product& product) {
  qorvane::MemoryUserDefaults memory;
  qorvane::Options scratch(memory, product);
  scratch.loadOptions();
  Dictionary entries;
  for (const auto& [name, written] : values) {
    const auto* row = qorvane::findPropertyOrFacadeName(name).row;
    if (!row || !row->write) continue;
    row->write(scratch, meant(*row, written, product));
    for (const Text& key : row->entries(product))
      if (const Value* entry = scratch.options()->find(key.view())) entries.set(key, *entry);
  }
  return entries;
}

}  // namespace

std::unique_ptr<Source> sourceOfBytes(const QString& name, const std::string& bytes, Sheet& sheet) {
  Value top;
  QJsonParseError wrong;
  const QJsonDocument json = QJsonDocument::fromJson(QByteArray::fromStdString(bytes), &wrong);
  const bool isJson = wrong.error == QJsonParseError::NoError && json.isObject();
  top = isJson ? valueOf(json.object()) : qorvane::readPropertyList(bytes);
  const Dictionary* settings = top.asDictionary();
  if (!settings) refuse();
  if (const Value* entries = settings->find(sheet.key().view()); entries && entries->asDictionary())
    return std::make_unique<Source>(name, sheet.product(), *entries->asDictionary());
  Dictionary entries = entriesOfNames(*settings, sheet.product());
  if (entries.empty())
    throw Exception(Failure{FailureCode::storeFailed, {typed(said(Word::NoSettingsOf, sheet.name()))}});
  return std::make_unique<Source>(name, sheet.product(), entries);
}

std::string exported(Sheet& sheet, qorvane::FileUserDefaults& files) {
  const auto found = files.inspect(sheet.key());
  if (found.damage) throw Exception(*found.damage);
  Dictionary entries = found.object.asDictionary() ? *found.object.asDictionary() : Dictionary();
  for (const Item& item : sheet.items())
    if (item.row->secret || item.row->machineSpecific) entries.remove(item.row->key(sheet.product()).view());
  return qorvane::writePropertyList(Dictionary({{sheet.key(), entries}}), qorvane::PropertyListFormat::Xml);
}

}  // namespace optionsmgr::window
