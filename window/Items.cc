#include "window/Items.h"

#include <algorithm>
#include <map>
#include <ranges>

#include "qorvane/desktop/ColorArchive.h"
#include "qorvane/foundation/Exception.h"
#include "qorvane/jurisdictions/Jurisdictions.h"
#include "tool/speech/Language.h"
#include "window/ColorCode.h"
#include "window/Words.h"

namespace optionsmgr::window {

using qorvane::FailureCode;
using qorvane::OptionRow;
using qorvane::OptionType;
using qorvane::Product;
using qorvane::Text;
using qorvane::Value;

namespace {

constexpr int Lines = -1;
constexpr int kOrdinaryWidth = 32;

enum class For : std::uint8_t { Both, Personal, Corporate };

struct Place {
  std::string_view option;
  int width = kOrdinaryWidth;
  For product = For::Both;
  const char* headingEnglish = nullptr;
  const char* headingFrench = nullptr;
};

// The table with each heading at the row that follows it.
std::vector<Place> readPlaces() {
  std::vector<Place> places;
  const char* english = nullptr;
  const char* french = nullptr;
  const auto add = [&](std::string_view option, int width, For product) {
    places.push_back(
        {option, width, product, std::exchange(english, nullptr), std::exchange(french, nullptr)});
  };
#define ROW(option, width) add(#option, width, For::Both);
#define ROW_IN(product, option, width) add(#option, width, For::product);
#define HEADING(inEnglish, inFrench) english = inEnglish, french = inFrench;
#include "window/pages.def"
  return places;
}

const std::vector<Place>& places() {
  static const std::vector<Place> all = readPlaces();
  return all;
}

// What the option's check says of a text that fits no rule but "any text".
FailureCode ruleOf(const OptionRow& row, const Product& product) {
  const auto refusal = row.check(Value(Text("\x01")), product, nullptr);
  return refusal ? refusal->code : FailureCode::notAText;
}

bool isFlag(const OptionRow& row) {
  return row.type == OptionType::Flag || std::ranges::any_of(row.facadeNames, &qorvane::FacadeName::asFlag);
}

Control controlOf(const OptionRow& row, const Product& product, int width) {
  if (row.secret) return Control::Secret;
  if (isFlag(row)) return Control::Flag;
  switch (row.type) {
    case OptionType::Integer:
      return Control::Number;
    case OptionType::Date:
      return Control::Date;
    case OptionType::Folder:
      return Control::Folder;
    case OptionType::Font:
      return Control::Font;
    case OptionType::Color:
      return Control::Color;
    case OptionType::Text:
    case OptionType::Flag:
      break;
  }
  const FailureCode rule = ruleOf(row, product);
  if (row.choices || rule == FailureCode::notAJurisdiction || rule == FailureCode::notALanguage)
    return Control::List;
  return width == Lines ? Control::Lines : Control::Text;
}

bool isShown(const OptionRow& row, const Place& place, const Product& product) {
  if (row.key(product).isNil()) return false;
  return place.product == For::Both || product.corporate == (place.product == For::Corporate);
}

// Gives the row the heading that stands at its place, or before it at a row of its group that is not shown.
void headUp(Item& item, std::size_t first, std::size_t last) {
  if (last >= places().size()) return;
  for (std::size_t at = last + 1; at-- > first;) {
    const Place& place = places()[at];
    if (&qorvane::findProperty(place.option)->group() != &item.row->group()) return;
    if (!place.headingEnglish) continue;
    item.headingEnglish = place.headingEnglish;
    item.headingFrench = place.headingFrench;
    return;
  }
}

QString folded(const QString& text) { return text.isNull() ? QString("") : text; }

}  // namespace

QString Item::label() const { return shown(row->label(language())); }
QString Item::description() const { return shown(row->description(language())); }

std::vector<Item> itemsOf(const Product& product) {
  const auto groups = qorvane::optionGroups();
  // Where each option stands: in the order of the table of pages, and behind it where that does not name it.
  std::map<std::string_view, std::size_t> positions;
  for (std::size_t i = 0; i < places().size(); ++i) positions.emplace(places()[i].option, i);
  struct Sorted {
    const qorvane::OptionGroup* group;
    std::size_t position;
    Item item;
  };
  std::vector<Sorted> sorted;
  std::map<Text, std::size_t> owners;
  for (const OptionRow& row : qorvane::optionTable()) {
    const auto at = positions.find(row.name);
    const bool placed = at != positions.end();
    const Place place = placed ? places()[at->second] : Place{row.name};
    if (!isShown(row, place, product)) continue;
    if (const auto owner = owners.find(row.key(product)); owner != owners.end()) {
      sorted[owner->second].item.aliases.push_back(&row);
      continue;
    }
    owners.emplace(row.key(product), sorted.size());
    const Control control = controlOf(row, product, place.width);
    sorted.push_back({&row.group(),
                      placed ? at->second : places().size() + sorted.size(),
                      {&row, control, place.width > 0 ? place.width : kOrdinaryWidth, nullptr, nullptr, {}}});
  }
  std::ranges::sort(sorted, {},
                    [&](const Sorted& one) { return std::pair(one.group - groups.data(), one.position); });
  std::vector<Item> items;
  for (const Sorted* before = nullptr; Sorted & one : sorted) {
    const bool isFirst = !before || before->group != one.group;
    headUp(one.item, isFirst ? 0 : before->position + 1, one.position);
    before = &one;
    items.push_back(std::move(one.item));
  }
  return items;
}

int columnsOf(const qorvane::OptionGroup& group) {
#define ROW(option, width)
#define COLUMNS(of, count) \
  if (group.id == #of) return count;
#include "window/pages.def"
  return 1;
}

// ---- lists --------------------------------------------------------------------------------------------

std::vector<Offer> offersOf(const Item& item, const Product& product) {
  std::vector<Offer> offers;
  const OptionRow& row = *item.row;
  if (item.control != Control::List) return offers;
  if (row.choices) {
    for (const qorvane::Choice& choice : row.choices->currentRows(product))
      offers.push_back(
          {shown(choice.neutral), shown(choice.label(language())), row.meant(choice.neutral, product)});
  } else if (ruleOf(row, product) == FailureCode::notALanguage) {
    offers = {{"English", said(Word::English), "English"}, {"French", said(Word::French), "French"}};
  } else {
    for (const qorvane::Jurisdiction& place : qorvane::jurisdictions())
      if (place.number(product))
        offers.push_back(
            {shown(place.code), shown(place.label(language())), row.meant(place.english, product)});
  }
  return offers;
}

QString meaningOf(const Item& item, const Product& product, const Value& value) {
  const Text text = value.textValue();
  if (item.control == Control::List) {
    if (item.row->choices) {
      if (const qorvane::Choice* choice = item.row->choices->meant(text)) return shown(choice->neutral);
    } else if (ruleOf(*item.row, product) == FailureCode::notAJurisdiction) {
      if (const auto* place = qorvane::jurisdictionMeant(text, product)) return shown(place->code);
    }
  }
  return folded(shown(text));
}

bool readSame(const Item& item, const Product& product, const Value& a, const Value& b) {
  if (a == b) return true;
  if (item.control == Control::Color || item.control == Control::Font) return false;
  const auto isTextual = [](const Value& value) { return value.isNil() || value.asText(); };
  return isTextual(a) && isTextual(b) && meaningOf(item, product, a) == meaningOf(item, product, b);
}

// ---- words --------------------------------------------------------------------------------------------

QString inWords(const Item& item, const Product& product, const Value& value) {
  const Text text = value.textValue();
  switch (item.control) {
    case Control::Secret:
      return text.isNilOrEmpty() ? said(Word::Empty) : said(Word::Hidden);
    case Control::Flag:
      return said(value.boolValue() ? Word::Yes : Word::No);
    case Control::Date:
      if (const auto* number = value.asNumber(); number && number->doubleValue() == 0)
        return said(Word::NoDate);
      break;
    case Control::Font:
      if (text.isNilOrEmpty()) return said(Word::NotSet);
      break;
    case Control::Color:
      return colorInWords(value);
    case Control::List: {
      if (text.isNilOrEmpty()) return said(Word::None);
      const QString meaning = meaningOf(item, product, value);
      for (const Offer& offer : offersOf(item, product))
        if (offer.id == meaning) return offer.label;
      if (item.row->choices)
        if (const qorvane::Choice* choice = item.row->choices->meant(text))
          return shown(choice->label(language()));
      break;
    }
    default:
      break;
  }
  return text.isNilOrEmpty() ? said(Word::Empty) : shown(text);
}

}  // namespace optionsmgr::window
