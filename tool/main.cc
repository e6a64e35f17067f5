// optionsmgr: the suite's settings from a shell.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <clocale>
#include <iostream>
#include <vector>

#include "qorvane/foundation/Exception.h"
#include "qorvane/platform/FileUserDefaults.h"
#include "qorvane/platform/Log.h"
#include "tool/Domains.h"
#include "tool/Failure.h"
#include "tool/Language.h"
#include "tool/Session.h"
#include "tool/Suggest.h"
#include "tool/Verbs.h"

namespace optionsmgr {

namespace {

constexpr const char* kExamples = R"(Examples:
  optionsmgr list                          every option with its value
  optionsmgr list 'preparer*' --changed    those that differ from their default
  optionsmgr get language                  the bare value
  optionsmgr set autoSaveAfter 5           changed, saved, and read back
  optionsmgr --product T2 --year 2021 describe zsupress
)";

constexpr const char* kExitCodes = R"(
Exit codes: 0 done, 1 not found or different, 2 usage, 65 bad data, 73 cannot create,
74 input/output error, 75 locked by another program, 77 no permission.
)";

bool isNegativeNumber(std::string_view word) {
  return word.size() > 1 && word[0] == '-' && (word[1] == '.' || (word[1] >= '0' && word[1] <= '9'));
}

// The arguments in the parser's order, last first. A negative number would be taken for an option: where
// there is one, the values behind the verb go to the end, behind a "--".
std::vector<std::string> parsable(const CLI::App& app, const std::vector<std::string>& words) {
  std::vector<std::string> options;
  std::vector<std::string> values;
  const CLI::App* verb = nullptr;
  const bool plain =
      std::ranges::find(words, "--") != words.end() || std::ranges::none_of(words, isNegativeNumber);
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (plain || (words[i].starts_with('-') && !isNegativeNumber(words[i]))) {
      options.push_back(words[i]);
      const CLI::Option* option = app.get_option_no_throw(words[i]);
      if (!option && verb) option = verb->get_option_no_throw(words[i]);
      if (!plain && option && option->get_items_expected_max() > 0 && i + 1 < words.size())
        options.push_back(words[++i]);
    } else if (!verb) {
      const auto named =
          app.get_subcommands([&](const CLI::App* known) { return known->get_name() == words[i]; });
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

int run(int argc, char** argv) {
  CLI::App app("optionsmgr shows and changes the settings of the tax suite.", "optionsmgr");
  app.require_subcommand(1);
  app.fallthrough();
  app.footer(kExitCodes);
  app.set_version_flag("--version", OPTIONSMGR_VERSION);

  Settings settings;
  std::string product = "T1";
  app.add_option("--product", product, "T1 (personal, the default) or T2 (corporate)")
      ->check(CLI::IsMember({"T1", "T2"}, CLI::ignore_case));
  app.add_option("--year", settings.year, "the tax year; by default the current filing season's")
      ->check(CLI::Range(1, 9999));
  app.add_option("--release", settings.release, "the T2 release, such as VER2021_2");
  app.add_flag("--single-filer", settings.singleFiler, "the single-filer edition, not the professional one");
  app.add_option("--store", settings.folder, "the folder of the preference files");
  app.add_option("--lock-wait", settings.lockWait,
                 "seconds to wait while another program saves; 10 by default")
      ->check(CLI::Range(0.0, 86400.0));
  app.add_flag("--json", settings.json, "print JSON");
  app.add_flag("--quiet", settings.quiet, "no reports, only answers and errors");
  app.add_flag("--no-color", settings.noColor, "no colours on the terminal");

  Verbs verbs(app);
  addOptionVerbs(verbs);
  addAnswerVerbs(verbs);
  addJurisdictionVerbs(verbs);
  addProductVerbs(verbs);
  addYearVerbs(verbs);
  addExchangeVerbs(verbs);
  addCareVerbs(verbs);

  try {
    app.parse(parsable(app, {argv + 1, argv + argc}));
  } catch (const CLI::CallForHelp& help) {
    std::cout << kExamples << '\n' << app.help();
    return static_cast<int>(Exit::Done);
  } catch (const CLI::CallForVersion& version) {
    std::cout << version.what() << '\n';
    return static_cast<int>(Exit::Done);
  } catch (const CLI::ParseError& error) {
    const std::vector<std::string> owned = verbs.names();
    const std::vector<std::string_view> names(owned.begin(), owned.end());
    // A word in the verb's place that is none: say which ones are near.
    std::string hint;
    if (app.get_subcommands().empty())
      for (int i = 1; i < argc && hint.empty(); ++i)
        if (argv[i][0] != '-') hint = didYouMean(argv[i], names);
    throw Failure(Exit::Usage, std::string(error.what()) + hint + " (see optionsmgr --help)");
  }

  settings.corporate = product == "T2" || product == "t2";
  settings.productSaid = app.count("--product") > 0;
  settings.yearSaid = settings.year != 0;
  Session session(std::move(settings));
  try {
    if (undoUnfinished(session))
      std::cerr << "optionsmgr: "
                << say("a run that was killed had changed several years in part; they are as before it")
                << '\n';
  } catch (const Failure& failure) {
    // Who may not write may still read.
    if (failure.code() != Exit::NoPermission) throw;
    std::cerr << "optionsmgr: " << failure.what() << '\n';
  }
  verbs.run(session, std::cout);
  std::cout.flush();
  if (!std::cout) throw Failure(Exit::InputOutput, "the answer could not be written");
  return static_cast<int>(session.exit());
}

}  // namespace

}  // namespace optionsmgr

int main(int argc, char** argv) {
  std::setlocale(LC_ALL, "");
  std::setlocale(LC_NUMERIC, "C");  // Numbers on the command line are written with a point in every language.
  qorvane::setLogSink([](const qorvane::Text& line) { std::cerr << "optionsmgr: " << line << '\n'; });
  try {
    return optionsmgr::run(argc, argv);
  } catch (const optionsmgr::Failure& failure) {
    std::cerr << "optionsmgr: " << failure.what() << '\n';
    return static_cast<int>(failure.code());
  } catch (const std::exception& error) {
    std::cerr << "optionsmgr: " << error.what() << '\n';
    return static_cast<int>(optionsmgr::Exit::InputOutput);
  }
}
