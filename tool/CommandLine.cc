#include "tool/CommandLine.h"

#include <algorithm>
#include <string_view>

#include "qorvane/foundation/Exception.h"
#include "qorvane/foundation/Version.h"
#include "qorvane/vocabulary/OptionStrings.h"
#include "tool/Domains.h"
#include "tool/Failure.h"
#include "tool/speech/Language.h"
#include "tool/speech/Suggest.h"

namespace optionsmgr {

using qorvane::FileUserDefaults;

namespace {

bool isNegativeNumber(std::string_view word) {
  return word.size() > 1 && word[0] == '-' && (word[1] == '.' || (word[1] >= '0' && word[1] <= '9'));
}

// The display language that the store has for the product and year; English when it cannot be told.
bool storeIsFrench(const Settings& settings) try {
  FileUserDefaults files(settings.folder.empty() ? FileUserDefaults::defaultFolder() : settings.folder);
  const qorvane::Text key =
      Domain{settings.corporate, settings.year != 0 ? settings.year : Session::seasonYear()}.key();
  if (files.inspect(key).state != FileUserDefaults::Inspection::State::Good) return false;
  const qorvane::Value stored = files.objectForKey(key);
  const qorvane::Dictionary* entries = stored.asDictionary();
  const qorvane::Value* language = entries ? entries->find(qorvane::optsStr_Language.view()) : nullptr;
  return language && language->textValue().view() == "French";
} catch (const qorvane::Exception&) {
  return false;
}

// What the parser says, in the language of the tool.
std::string told(const CLI::ParseError& error) {
  const std::string what = error.what();
  if (dynamic_cast<const CLI::ArgumentMismatch*>(&error))
    return say("{} takes a value", what.substr(0, what.find(':')));
  return retold(what);
}

}  // namespace

CommandLine::CommandLine()
    : app_("optionsmgr shows and changes the settings of the tax suite.", "optionsmgr"), verbs_(app_) {
  app_.require_subcommand(1);
  app_.fallthrough();
  // As usual at a shell, what is said last counts.
  app_.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  app_.set_version_flag("--version", OPTIONSMGR_VERSION, Phrase("print the version"));
  app_.set_help_flag("-h,--help", Phrase("print this help"));

  app_.add_option("--product", product_, Phrase("T1 (personal, the default) or T2 (corporate)"))
      ->check(CLI::IsMember({"T1", "T2"}, CLI::ignore_case));
  app_.add_option("--year", settings_.year, Phrase("the tax year; by default the current filing season's"))
      ->check(CLI::Range(1, 9999));
  app_.add_option("--release", settings_.release, Phrase("the T2 release, such as VER2021_2"));
  app_.add_flag("--single-filer", settings_.singleFiler,
                Phrase("the single-filer edition, not the professional one"));
  app_.add_option("--store", settings_.folder, Phrase("the folder of the preference files"));
  app_.add_option("--lock-wait", settings_.lockWait,
                  Phrase("seconds to wait while another program saves; 10 by default"))
      ->check(CLI::Range(0.0, 86400.0));
  app_.add_option(
          "--lang", language_,
          Phrase("en or fr: the language of help and messages; by default the store's display language"))
      ->check(CLI::IsMember({"en", "fr"}));
  app_.add_flag("--json", settings_.json, Phrase("print JSON"));
  app_.add_flag("--quiet", settings_.quiet, Phrase("no reports, only answers and errors"));
  app_.add_flag("--no-color", settings_.noColor, Phrase("no colours on the terminal"));

  addOptionVerbs(verbs_);
  addYearVerbs(verbs_);
  addExchangeVerbs(verbs_);
  addCareVerbs(verbs_);
  addAnswerVerbs(verbs_);
  addJurisdictionVerbs(verbs_);
  addProductVerbs(verbs_);
  addCompletionVerb(verbs_);
}

const CLI::App* CommandLine::verb() const {
  const auto named = app_.get_subcommands();
  return named.empty() ? nullptr : named.front();
}

// The arguments in the parser's order, last first. A negative number would be taken for an option: where
// there is one, the values behind the verb go to the end, behind a "--".
std::vector<std::string> CommandLine::parsable(const std::vector<std::string>& words) const {
  std::vector<std::string> options;
  std::vector<std::string> values;
  const CLI::App* verb = nullptr;
  const bool plain =
      std::ranges::find(words, "--") != words.end() || std::ranges::none_of(words, isNegativeNumber);
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (plain || (words[i].starts_with('-') && !isNegativeNumber(words[i]))) {
      options.push_back(words[i]);
      const CLI::Option* option = app_.get_option_no_throw(words[i]);
      if (!option && verb) option = verb->get_option_no_throw(words[i]);
      if (!plain && option && option->get_items_expected_max() > 0 && i + 1 < words.size())
        options.push_back(words[++i]);
    } else if (!verb) {
      const auto named =
          app_.get_subcommands([&](const CLI::App* known) { return known->get_name() == words[i]; });
      if (!named.empty()) verb = named.front();
      options.push_back(words[i]);
    } else {
      values.push_back(words[i]);
    }
  }
  if (!values.empty()) options.emplace_back("--");
  options.insert(options.end(), values.begin(), values.end());
  return {options.rbegin(), options.rend()};
}

void CommandLine::settle() {
  settings_.corporate = product_ == "T2" || product_ == "t2";
  settings_.productSaid = app_.count("--product") > 0;
  settings_.yearSaid = settings_.year != 0;
  speakFrench(language_.empty() ? storeIsFrench(settings_) : language_ == "fr");
}

CommandLine::Wish CommandLine::parse(const std::vector<std::string>& words) try {
  app_.parse(parsable(words));
  settle();
  return Wish::Run;
} catch (const CLI::CallForHelp&) {
  settle();
  return Wish::Help;
} catch (const CLI::CallForVersion&) {
  return Wish::Version;
} catch (const CLI::ParseError& error) {
  // Where the words end before the language was read, it is the one that is said somewhere.
  const auto said = std::ranges::find(words, "--lang");
  if (said != words.end() && said + 1 != words.end()) language_ = said[1];
  if (std::ranges::find(words, "--lang=fr") != words.end()) language_ = "fr";
  settle();
  const std::vector<std::string> owned = verbs_.names();
  const std::vector<std::string_view> names(owned.begin(), owned.end());
  std::string trouble = told(error);
  // A word in the verb's place that is none: say which ones are near. What stands behind an option is its
  // own.
  for (std::size_t i = 0; !verb() && i < words.size(); ++i) {
    const CLI::Option* const option = i > 0 ? app_.get_option_no_throw(words[i - 1]) : nullptr;
    if (words[i].starts_with('-') || (option && option->get_items_expected_max() > 0)) continue;
    trouble = say("there is no verb \"{}\"", words[i]) + didYouMean(words[i], names);
    break;
  }
  throw Failure(Exit::Usage, trouble + say(" (see optionsmgr --help)"));
}

}  // namespace optionsmgr
