#include "tool/CommandLine.h"

#include <algorithm>
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

}  // namespace

CommandLine::CommandLine()
    : app_("optionsmgr shows and changes the settings of the tax suite.", "optionsmgr"), verbs_(app_) {
  app_.require_subcommand(1);
  app_.fallthrough();
  // As usual at a shell, what is said last counts.
  app_.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  app_.set_version_flag("--version", OPTIONSMGR_VERSION, Phrase("print the version"));
  app_.set_help_flag("-h,--help", Phrase("print this help"));

  takesOneOf(app_.add_option("--product", product_, Phrase("T1 (personal, the default) or T2 (corporate)")),
             {"T1", "T2"}, true);
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
  takesSeconds(app_.add_option("--lock-wait", settings_.lockWait,
                               Phrase("seconds to wait while another program saves; 10 by default")),
               0, 86400);
  takesOneOf(
      app_.add_option(
          "--lang", language_,
          Phrase("en or fr: the language of help and messages; by default the store's display language")),
      {"en", "fr"});
  app_.add_flag("--json", settings_.json, Phrase("print JSON"));
  app_.add_flag("--quiet", settings_.quiet, Phrase("no reports, only answers and errors"));
  app_.add_flag("--no-color", settings_.noColor, Phrase("no colours on the terminal"));

  addOptionVerbs(verbs_);
  addYearVerbs(verbs_);
  addExchangeVerbs(verbs_);
  addCareVerbs(verbs_);
  addGenerationVerbs(verbs_);
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

CommandLine::Request CommandLine::parse(const std::vector<std::string>& words) try {
  app_.parse(parsable(words));
  settle();
  return Request::Run;
} catch (const CLI::CallForHelp&) {
  settle();
  return Request::Help;
} catch (const CLI::CallForVersion&) {
  return Request::Version;
} catch (const RefusedArgument& refused) {
  settleFor(words);
  throw Failure(Exit::Usage, refused.reason() + say(" (see optionsmgr --help)"));
} catch (const CLI::ParseError& error) {
  settleFor(words);
  throw Failure(Exit::Usage, troubleWith(words, error) + say(" (see optionsmgr --help)"));
}

// Where the words end before the language was read, it is the one that is said somewhere.
void CommandLine::settleFor(const std::vector<std::string>& words) {
  const auto said = std::ranges::find(words, "--lang");
  if (said != words.end() && said + 1 != words.end()) language_ = said[1];
  if (std::ranges::find(words, "--lang=fr") != words.end()) language_ = "fr";
  settle();
}

// What is wrong with words that the parser could not make sense of. It is worked out from the words: the
// parser's own sentences are English.
std::string CommandLine::troubleWith(const std::vector<std::string>& words,
                                     const CLI::ParseError& error) const {
  if (const auto misspelt = misspeltVerb(words)) return *misspelt;
  if (!verb()) return say("a verb is required");
  if (dynamic_cast<const CLI::ExtrasError*>(&error)) return extraWords(words);
  if (dynamic_cast<const CLI::RequiredError*>(&error))
    for (const CLI::Option* option : verb()->get_options())
      if (option->get_required() && option->count() == 0) return say("{} is required", option->get_name());
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::size_t end = words[i].find('=');
    const std::string name = words[i].substr(0, end);
    const CLI::Option* const option = optionNamed(name);
    if (!option) continue;
    const bool takesValue = option->get_items_expected_max() > 0;
    if (takesValue && end == words[i].npos && i + 1 == words.size()) return say("{} takes a value", name);
    if (!takesValue && end != words[i].npos) return say("{} takes no value", name);
  }
  return say("the command line cannot be understood");
}

const CLI::Option* CommandLine::optionNamed(const std::string& name) const {
  const CLI::Option* const option = app_.get_option_no_throw(name);
  return option || !verb() ? option : verb()->get_option_no_throw(name);
}

// A word in the verb's place that is none, and which ones are near. What stands behind an option is its own.
std::optional<std::string> CommandLine::misspeltVerb(const std::vector<std::string>& words) const {
  const std::vector<std::string> owned = verbs_.names();
  const std::vector<std::string_view> names(owned.begin(), owned.end());
  for (std::size_t i = 0; !verb() && i < words.size(); ++i) {
    const CLI::Option* const option = i > 0 ? app_.get_option_no_throw(words[i - 1]) : nullptr;
    if (words[i].starts_with('-') || (option && option->get_items_expected_max() > 0)) continue;
    return say("there is no verb \"{}\"", words[i]) + didYouMean(words[i], names);
  }
  return std::nullopt;
}

// The first option that there is not, with those that are near, or else all words that belong to nothing, in
// their order.
std::string CommandLine::extraWords(const std::vector<std::string>& words) const {
  std::vector<std::string> left = app_.remaining(true);
  std::vector<std::string> extra;
  for (const std::string& word : words) {
    const auto found = std::ranges::find(left, word);
    if (found == left.end()) continue;
    left.erase(found);
    extra.push_back(word);
  }
  for (const std::string& word : extra) {
    if (!word.starts_with("-") || word == "--" || isNegativeNumber(word)) continue;
    std::vector<std::string> owned;
    for (const CLI::App* app : {&app_, verb()})
      for (const CLI::Option* option : app->get_options())
        for (const std::string& name : option->get_lnames()) owned.push_back("--" + name);
    const std::string name = word.substr(0, word.find('='));
    return say("there is no option \"{}\"", name) +
           didYouMean(name, std::vector<std::string_view>(owned.begin(), owned.end()));
  }
  const std::string all = CLI::detail::join(extra, " ");
  return extra.size() == 1 ? say("unexpected argument: {}", all) : say("unexpected arguments: {}", all);
}

}  // namespace optionsmgr
