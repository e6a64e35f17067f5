#include "tool/CommandLine.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "qorvane/foundation/Exception.h"
#include "qorvane/foundation/Version.h"
#include "qorvane/vocabulary/OptionStrings.h"
#include "tool/ArgumentChecks.h"
#include "tool/Domains.h"
#include "tool/Failure.h"
#include "tool/speech/Language.h"
#include "tool/speech/Suggest.h"

namespace optionsmgr {

using qorvane::FileUserDefaults;

namespace {

// What a locale's name says of the language; none for one that is neither.
std::optional<bool> isFrenchLocale(const char* name) {
  const std::string_view locale = name ? name : "";
  const std::string_view language = locale.substr(0, locale.find_first_of("_.@"));
  if (language == "fr" || language == "french") return true;
  if (language == "en" || language == "english") return false;
  return std::nullopt;
}

// Any product's and year's settings in the store have French as the display language.
bool storeIsFrench(const std::string& folder) try {
  const FileUserDefaults files(folder);
  return std::ranges::any_of(domainsIn(folder), [&](const Domain& domain) {
    const qorvane::Value settings = files.inspect(domain.key()).object;
    const qorvane::Dictionary* entries = settings.asDictionary();
    const qorvane::Value* language = entries ? entries->find(qorvane::optsStr_Language.view()) : nullptr;
    return language && language->textValue().view() == "French";
  });
} catch (const qorvane::Exception&) {
  return false;
} catch (const Failure&) {
  return false;
}

// What the parser found amiss, worked out from the words: its own sentences are English, and may quote them.
std::string troubleWith(const Walk& walked, const CLI::ParseError& error) {
  if (dynamic_cast<const CLI::RequiredError*>(&error) != nullptr)
    for (const CLI::Option* option : walked.verb->get_options())
      if (option->get_required() && option->count() == 0) return say("{} is required", option->get_name());
  if (walked.asking) return say("{} takes a value", walked.words.back().text);
  for (const Word& word : walked.words)
    if (word.option && word.option->get_items_expected_max() == 0 && word.text.find('=') != word.text.npos)
      return say("{} takes no value", word.text.substr(0, word.text.find('=')));
  return say("the command line cannot be understood");
}

// The arguments in the parser's order, last first: the values behind everything else, marked, so that it
// takes none for an option or a list.
std::vector<std::string> parsable(const Walk& walked) {
  std::vector<std::string> words;
  for (const Word& word : walked.words)
    if (word.kind == Word::Kind::OptionValue)
      words.back() += "=" + word.text;
    else if (word.kind != Word::Kind::Value && word.kind != Word::Kind::Separator)
      words.push_back(word.text);
  const std::vector<std::string> values = walked.values();
  if (!values.empty()) words.emplace_back("--");
  for (const std::string& value : values) words.push_back(kValueMark + value);
  return {words.rbegin(), words.rend()};
}

}  // namespace

CommandLine::CommandLine()
    : app_("optionsmgr shows and changes the settings of the tax suite.", "optionsmgr"), verbs_(app_) {
  app_.require_subcommand(1);
  app_.fallthrough();
  // As usual at a shell, what is said last counts.
  app_.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  app_.add_flag("-v,--version", version_, Phrase("print the version"));
  app_.set_help_flag("-h,--help", Phrase("print this help"));

  takesOneOf(
      app_.add_option("--product", product_,
                      Phrase("T1 (personal, the default) or T2 (corporate); for carry-forward also all")),
      {"T1", "T2", "all"}, true);
  takesNumber(app_.add_option("--year", settings_.year,
                              Phrase("the tax year; by default the current filing season's")),
              1, 9999);
  app_.add_option("--release", settings_.release, Phrase("the T2 release, such as VER2021_2"));
  app_.add_flag("--single-filer", settings_.singleFiler,
                Phrase("the single-filer edition, not the professional one"));
  app_.add_option("--store", settings_.folder, Phrase("the folder of the preference files"))
      ->check([](const std::string& folder) {
        return folder.empty() ? say("--store names no folder") : std::string();
      });
  takesOneOf(
      app_.add_option("--layer", settings_.layer,
                      Phrase("user, machine or firm: whose settings to show, or to change; by default those "
                             "that count of all, and the user's are changed")),
      {"user", "machine", "firm"});
  takesSeconds(app_.add_option("--lock-wait", settings_.lockWait,
                               Phrase("seconds to wait while another program saves; 10 by default")),
               0, 86400);
  takesOneOf(
      app_.add_option("--lang", language_,
                      Phrase("en or fr: the language of help and messages; by default the locale's, or "
                             "else the store's display language")),
      {"en", "fr"});
  app_.add_flag("--json", settings_.json, Phrase("print JSON"));
  app_.add_flag("--quiet", settings_.quiet, Phrase("no reports, only answers and errors"));
  app_.add_flag("--no-color", settings_.noColor, Phrase("no colours on the terminal"));

  addOptionVerbs(verbs_);
  addYearVerbs(verbs_);
  addExchangeVerbs(verbs_);
  addLayerVerbs(verbs_);
  addCareVerbs(verbs_);
  addGenerationVerbs(verbs_);
  addAnswerVerbs(verbs_);
  addJurisdictionVerbs(verbs_);
  addProductVerbs(verbs_);
  addCompletionVerb(verbs_);
  addHelpVerb(verbs_);
}

const CLI::App* CommandLine::verbNamed(const std::string& name) const {
  const auto named = app_.get_subcommands([&](const CLI::App* known) { return known->get_name() == name; });
  if (!named.empty()) return named.front();
  const std::vector<std::string> owned = verbs_.names();
  const std::vector<std::string_view> names(owned.begin(), owned.end());
  throw Failure(Exit::Usage, say("there is no verb \"{}\"", name) + didYouMean(name, names) +
                                 say(" (see optionsmgr --help)"));
}

void CommandLine::settleLanguage(const Walk& walked) const {
  if (const auto said = walked.valueOf("lang")) return speakFrench(*said == "fr" || *said == "FR");
  for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"})
    if (const auto french = isFrenchLocale(std::getenv(variable))) return speakFrench(*french);
  speakFrench(storeIsFrench(walked.valueOf("store").value_or(FileUserDefaults::defaultFolder())));
}

// A word that neither the tool nor the verb knows is named, with what it may have meant.
void CommandLine::refuseUnknown(const Walk& walked) const {
  const std::string seeHelp = say(" (see optionsmgr --help)");
  std::vector<std::string> owned;
  for (const CLI::App* app : {walked.verb, &app_})
    if (app)
      for (const CLI::Option* option : app->get_options())
        for (const std::string& name : option->get_lnames()) owned.push_back("--" + name);
  const std::vector<std::string_view> names(owned.begin(), owned.end());
  for (const Word& word : walked.words) {
    const std::string name = word.text.substr(0, word.text.find('='));
    if (word.kind != Word::Kind::Option || word.option) continue;
    // Of the verb, but typed before it.
    if (std::ranges::find(names, name) != names.end())
      throw Failure(Exit::Usage, say("{} goes after the verb", name) + seeHelp);
    throw Failure(Exit::Usage, say("there is no option \"{}\"", name) + didYouMean(name, names) + seeHelp);
  }
  if (walked.valueOf("store") == "") throw Failure(Exit::Usage, say("--store names no folder"));
  const std::vector<std::string> values = walked.values();
  if (!walked.verb && !values.empty()) static_cast<void>(verbNamed(values.front()));
  std::size_t places = 0;
  if (walked.verb)
    for (const CLI::Option* option : walked.verb->get_options())
      if (option->get_positional()) places += static_cast<std::size_t>(option->get_items_expected_max());
  std::string extra;
  for (std::size_t i = places; walked.verb && i < values.size(); ++i)
    extra += (extra.empty() ? "" : " ") + values[i];
  if (!extra.empty())
    throw Failure(Exit::Usage, (values.size() == places + 1 ? say("unexpected argument: {}", extra)
                                                            : say("unexpected arguments: {}", extra)) +
                                   seeHelp);
}

// Not every verb knows layers, and not every layer is changed here.
void CommandLine::refuseLayer() const {
  static constexpr std::string_view kShown[] = {"list", "get", "describe", "search", "diff", "export"};
  static constexpr std::string_view kChanged[] = {"import", "set", "reset", "lock", "unlock"};
  const std::string verb = verb_->get_name();
  const bool changes = std::ranges::find(kChanged, verb) != std::end(kChanged);
  if ((verb == "lock" || verb == "unlock") && (settings_.layer.empty() || settings_.layer == "user"))
    throw Failure(Exit::Usage, say("{} is for --layer machine", verb));
  if (settings_.layer.empty()) return;
  if (changes && settings_.layer == "firm")
    throw Failure(Exit::Usage, say("the firm's settings are changed with `optionsmgr firm`"));
  if (!changes && std::ranges::find(kShown, verb) == std::end(kShown))
    throw Failure(Exit::Usage, say("{} knows no --layer", verb));
}

CommandLine::Requested CommandLine::parse(const std::vector<std::string>& words) {
  const Walk walked = walk(app_, words);
  settleLanguage(walked);
  refuseUnknown(walked);
  const auto has = [&](const char* name) {
    return std::ranges::any_of(walked.words, [&](const Word& word) {
      return word.kind == Word::Kind::Option && word.option && word.option->check_lname(name);
    });
  };
  verb_ = walked.verb;
  if (has("help")) return Requested::Help;
  if (has("version")) return Requested::Version;
  if (!verb_) throw Failure(Exit::Usage, say("a verb is required") + say(" (see optionsmgr --help)"));
  try {
    app_.parse(parsable(walked));
  } catch (const RefusedArgument& refused) {
    throw Failure(Exit::Usage, refused.reason() + say(" (see optionsmgr --help)"));
  } catch (const CLI::ParseError& error) {
    throw Failure(Exit::Usage, troubleWith(walked, error) + say(" (see optionsmgr --help)"));
  }
  settings_.corporate = product_ == "T2" || product_ == "t2";
  settings_.bothProducts = product_ == "all" || product_ == "ALL";
  settings_.productSaid = app_.count("--product") > 0;
  settings_.yearSaid = settings_.year != 0;
  settings_.literalValues =
      std::ranges::any_of(walked.words, [](const Word& word) { return word.kind == Word::Kind::Separator; });
  if (settings_.bothProducts && verb_->get_name() != "carry-forward")
    throw Failure(Exit::Usage, say("--product all is for carry-forward only"));
  refuseLayer();
  if (verb_->get_name() != "help") return Requested::Run;
  const std::vector<std::string> topic = walked.values();
  verb_ = topic.empty() ? nullptr : verbNamed(topic.front());
  return Requested::Help;
}

}  // namespace optionsmgr
