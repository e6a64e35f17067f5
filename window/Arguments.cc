#include "window/Arguments.h"

#include <QCommandLineParser>
#include <QDir>
#include <optional>

#include "qorvane/foundation/Version.h"
#include "qorvane/store/OptionTable.h"
#include "tool/speech/Language.h"
#include "window/Words.h"

namespace optionsmgr::window {

namespace {

std::optional<bool> isFrench(const QString& locale) {
  if (locale.startsWith("fr", Qt::CaseInsensitive)) return true;
  if (locale.startsWith("en", Qt::CaseInsensitive)) return false;
  return std::nullopt;
}

std::optional<bool> frenchOfEnvironment() {
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"})
    if (const QString locale = qEnvironmentVariable(variable); !locale.isEmpty()) return isFrench(locale);
  return std::nullopt;
}

// The display language of the settings themselves.
bool frenchOfSettings(const Start& start) {
  Desk desk(start.folder);
  Sheet& sheet = desk.sheet(start.corporate, start.year ? start.year : Desk::seasonYear());
  const Item* language = sheet.itemOf("language");
  return language && sheet.saved(*language).textValue() == "French";
}

}  // namespace

Arguments readArguments(const QStringList& words) {
  QCommandLineParser parser;
  const QCommandLineOption product(QStringList{"p", "product"}, {}, "T1|T2");
  const QCommandLineOption year(QStringList{"y", "year"}, {}, "YEAR");
  const QCommandLineOption store("store", {}, "FOLDER");
  const QCommandLineOption lang("lang", {}, "en|fr");
  const QCommandLineOption search("search", {}, "WORDS");
  const QCommandLineOption help(QStringList{"h", "help"}), version("version");
  parser.addOptions({product, year, store, lang, search, help, version});
  const bool understood = parser.parse(words);
  Arguments arguments;
  Start& start = arguments.start;
  const auto wrong = [&](const QString& why) {
    arguments.answer = why;
    arguments.isWrong = true;
    return arguments;
  };
  start.corporate = parser.value(product).compare("T2", Qt::CaseInsensitive) == 0;
  start.year = parser.value(year).toInt();
  // The store takes absolute paths only.
  if (parser.isSet(store)) start.folder = QDir(parser.value(store)).absolutePath().toStdString();
  start.search = parser.value(search).toStdString();
  const QStringList rest = parser.positionalArguments();
  if (!rest.isEmpty()) start.option = rest.front().toStdString();
  const auto told = parser.isSet(lang) ? isFrench(parser.value(lang)) : frenchOfEnvironment();
  speakFrench(told ? *told : frenchOfSettings(start));

  if (!understood) return wrong(said(Word::WrongArguments, parser.errorText()));
  if (parser.isSet(help)) {
    arguments.answer = said(Word::Usage);
  } else if (parser.isSet(version)) {
    arguments.answer = "optionsmgr-window " OPTIONSMGR_VERSION;
  } else if (parser.isSet(product) && !start.corporate &&
             parser.value(product).compare("T1", Qt::CaseInsensitive) != 0) {
    return wrong(said(Word::WrongProduct, parser.value(product)));
  } else if (parser.isSet(year) && (start.year < 1900 || start.year > 9999)) {
    return wrong(said(Word::WrongYear, parser.value(year)));
  } else if (parser.isSet(lang) && !told) {
    return wrong(said(Word::WrongLanguage, parser.value(lang)));
  } else if (rest.size() > 1) {
    return wrong(said(Word::WrongArguments, rest[1]));
  } else if (!rest.isEmpty() && !qorvane::findPropertyOrFacadeName(start.option).row) {
    return wrong(said(Word::WrongOption, rest.front()));
  } else if (!rest.isEmpty()) {
    start.option = std::string(qorvane::findPropertyOrFacadeName(start.option).row->name);
  }
  return arguments;
}

}  // namespace optionsmgr::window
