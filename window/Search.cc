#include "window/Search.h"

#include <algorithm>
#include <array>
#include <map>

#include "qorvane/jurisdictions/Jurisdictions.h"
#include "tool/speech/Language.h"
#include "tool/speech/Plain.h"
#include "window/Words.h"

namespace optionsmgr::window {

using qorvane::Language;

namespace {

std::vector<std::string> plainWords(const QString& text) {
  std::vector<std::string> words;
  const QString plain = QString::fromStdString(plainLetters(text.toStdString()));
  for (const QString& word : plain.split(' ', Qt::SkipEmptyParts)) words.push_back(word.toStdString());
  return words;
}

}  // namespace

Search::Search(const Sheet& sheet) : sheet_(sheet) {
  for (const Item& item : sheet.items()) entries_.push_back(entryFor(item));
}

Search::Entry Search::entryFor(const Item& item) const {
  Entry entry{&item, {}, {}};
  const auto add = [&](Kind kind, const QString& text, bool isFrench = false) {
    if (!text.isEmpty()) entry.fields.push_back({kind, isFrench, text, plainLetters(text.toStdString())});
  };
  // The label letter by letter, so that what matched in it can be shown.
  Field label{Kind::Label, speaksFrench(), item.label(), {}};
  for (qsizetype i = 0; i < label.text.size(); ++i) {
    std::string letter = plainLetters(label.text.mid(i, 1).toStdString());
    if (letter.empty()) letter = " ";
    entry.letters.insert(entry.letters.end(), letter.size(), i);
    label.plain += letter;
  }
  entry.fields.push_back(label);
  for (const Language in : {Language::English, Language::French}) {
    const bool french = in == Language::French;
    if (in != language()) add(Kind::OtherLabel, shown(item.row->label(in)), french);
    for (const auto* alias : item.aliases) add(Kind::OtherLabel, shown(alias->label(in)), french);
    if (item.row->choices)
      for (const auto& choice : item.row->choices->currentRows(sheet_.product()))
        add(Kind::Choice, shown(choice.label(in)), french);
    add(Kind::Description, shown(item.row->description(in)), french);
    if (item.headingEnglish)
      add(Kind::Description, QString::fromUtf8(french ? item.headingFrench : item.headingEnglish), french);
  }
  if (!item.row->choices)
    for (const Offer& offer : offersOf(item, sheet_.product()))
      add(Kind::Choice, offer.label, speaksFrench());
  add(Kind::Name, shown(item.row->name));
  add(Kind::Name, shown(item.row->key(sheet_.product())));
  for (const auto* alias : item.aliases) add(Kind::Name, shown(alias->name));
  return entry;
}

const Search::Field* Search::value(const Item& item) const {
  if (item.control == Control::Secret || item.control == Control::Flag) return nullptr;
  const auto [at, isNew] = values_.try_emplace(&item);
  if (isNew) {
    const QString text = inWords(item, sheet_.product(), sheet_.value(item));
    at->second = {Kind::Value, false, text, plainLetters(text.toStdString())};
  }
  return &at->second;
}

bool Search::match(const Entry& entry, const std::vector<std::string>& words, Found& found) const {
  static constexpr std::array kRanks = {1, 1, 2, 2, 3, 4};
  const Field* elsewhere = nullptr;
  for (const std::string& word : words) {
    const Field* best = nullptr;
    const auto look = [&](const Field& field) {
      if ((!best || field.kind < best->kind) && field.plain.find(word) != std::string::npos) best = &field;
    };
    for (const Field& field : entry.fields) look(field);
    if (!best || best->kind > Kind::Value)
      if (const Field* now = value(*entry.item)) look(*now);
    if (!best) return false;
    const bool starts = best->kind == Kind::Label && best->plain.starts_with(word);
    found.rank = std::max(found.rank, starts ? 0 : kRanks[static_cast<std::size_t>(best->kind)]);
    if (best->kind != Kind::Label) elsewhere = best;
  }
  found.item = entry.item;
  if (elsewhere) found.elsewhere = told(*elsewhere);
  found.label = bold(entry, words);
  return true;
}

QString Search::told(const Field& field) {
  switch (field.kind) {
    case Kind::Label:
      return {};
    case Kind::OtherLabel:
      return said(field.isFrench ? Word::MatchFrench : Word::MatchEnglish, field.text);
    case Kind::Choice:
      return said(Word::MatchChoice, field.text);
    case Kind::Value:
      return said(Word::MatchValue, field.text);
    case Kind::Description:
      return said(Word::MatchDescription, field.text);
    case Kind::Name:
      return said(Word::MatchName, field.text);
  }
  return {};
}

QString Search::bold(const Entry& entry, const std::vector<std::string>& words) {
  const Field& label = entry.fields.front();
  std::vector<bool> matched(static_cast<std::size_t>(label.text.size()));
  for (const std::string& word : words)
    if (const std::size_t at = label.plain.find(word); at != std::string::npos)
      for (std::size_t i = at; i < at + word.size(); ++i)
        matched[static_cast<std::size_t>(entry.letters[i])] = true;
  QString rich;
  for (qsizetype i = 0; i < label.text.size(); ++i) {
    const bool is = matched[static_cast<std::size_t>(i)];
    const bool was = i > 0 && matched[static_cast<std::size_t>(i - 1)];
    if (is && !was) rich += "<b>";
    if (!is && was) rich += "</b>";
    rich += label.text.mid(i, 1).toHtmlEscaped();
  }
  return rich;
}

std::vector<Found> Search::find(const QString& text) const {
  const std::vector<std::string> words = plainWords(text);
  std::vector<Found> all;
  if (words.empty()) return all;
  std::map<const qorvane::OptionGroup*, int> bestOf;
  for (const Entry& entry : entries_) {
    Found found;
    if (!match(entry, words, found)) continue;
    const auto [best, isNew] = bestOf.try_emplace(&entry.item->row->group(), found.rank);
    if (!isNew) best->second = std::min(best->second, found.rank);
    all.push_back(std::move(found));
  }
  std::ranges::stable_sort(all, {}, [&](const Found& found) {
    const auto* group = &found.item->row->group();
    return std::tuple(bestOf.at(group), group, found.rank);
  });
  return all;
}

}  // namespace optionsmgr::window
