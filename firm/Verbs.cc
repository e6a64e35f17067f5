#include "firm/Verbs.h"

#include <stdlib.h>

#include <CLI/CLI.hpp>
#include <functional>
#include <iostream>

#include "firm/Configuration.h"
#include "firm/Pages.h"
#include "firm/Store.h"
#include "firm/VerbList.h"
#include "qorvane/foundation/Version.h"
#include "tool/speech/Completion.h"
#include "tool/speech/Language.h"

namespace optionsmgr::firm {

namespace {

Exit withServer(Verb verb, const Said& said) try {
  readConfiguration();
  for (std::size_t host = 0;;) {
    Connection server(-1, host);
    try {
      return verb(server, said);
    } catch (const FirmFailure& failure) {
      // A standby has changed nothing; the host behind it may be the one that does.
      if (failure.word() != Word::standbyOnly || server.host() + 1 >= server.hosts() || server.host() < host)
        throw;
      host = server.host() + 1;
    }
  }
} catch (const DatabaseError& error) {
  throw failureOf(error);
}

bool localeIsFrench() {
  for (const char* const variable : {"LC_ALL", "LC_MESSAGES", "LANG"})
    if (const char* const value = getenv(variable); value && *value)
      return std::string_view(value).starts_with("fr");
  return false;
}

class CommandLine {
 public:
  CommandLine() {
    app_.require_subcommand(1);
    app_.fallthrough();
    app_.set_help_flag("-h,--help", help(Word::helpHelp));
    app_.set_version_flag("--version", OPTIONSMGR_VERSION, help(Word::helpVersion));
    app_.add_option("--lang", said_.language, help(Word::helpLang))->check(CLI::IsMember({"en", "fr"}));
    app_.add_flag("--json", said_.json, help(Word::helpJson));

    CLI::App* const made = verb("init", Word::helpInit, init);
    made->add_flag("--restored", said_.restored, help(Word::helpRestored));
    CLI::App* const places = app_.add_subcommand("place", help(Word::helpPlace));
    places->require_subcommand(1);
    named(commented(verb("add", Word::helpPlaceAdd, placeAdd, places)));
    places->get_subcommand("add")->add_option("--under", said_.under, help(Word::helpUnder));
    places->get_subcommand("add")->add_option("--kind", said_.kind, help(Word::helpKind));
    named(commented(rehearsed(verb("move", Word::helpPlaceMove, placeMove, places))))
        ->add_option("--under", said_.under, help(Word::helpUnder))
        ->required();
    named(commented(rehearsed(verb("remove", Word::helpPlaceRemove, placeRemove, places))));
    verb("list", Word::helpPlaceList, placeList, places);
    for (CLI::App* const given : {commented(at(verb("grant", Word::helpGrant, grant))),
                                  commented(at(verb("revoke", Word::helpRevoke, revoke)))})
      given->add_option("role", said_.role, help(Word::helpRole))->required();
    app_.get_subcommand("grant")->add_flag("--admin", said_.admin, help(Word::helpAdmin));
    options(changing(dated(at(verb("set", Word::helpSet, set)))), Word::helpPairs)->required();
    app_.get_subcommand("set")->add_flag("--force", said_.force, help(Word::helpForceSet));
    options(changing(dated(at(verb("reset", Word::helpReset, reset)))), Word::helpOptions)->required();
    options(changing(dated(at(verb("lock", Word::helpLock, lock)))), Word::helpOptions)->required();
    options(changing(dated(at(verb("unlock", Word::helpUnlock, unlock)))), Word::helpOptions)->required();
    options(dated(at(verb("get", Word::helpGet, get))), Word::helpOption)->required()->expected(1);
    dated(at(verb("list", Word::helpList, list)));
    addMoves();
    addFiles();
    addHistory();
    app_.add_subcommand("sync", help(Word::helpSync))->callback([this] {
      run_ = [this] { return sync(said_); };
    });
    CLI::App* const standing = app_.add_subcommand("status", help(Word::helpStatus));
    standing->add_flag("--all", said_.all, help(Word::helpAll));
    standing->callback(
        [this] { run_ = [this] { return said_.all ? withServer(statusOfAll, said_) : status(said_); }; });
    app_.add_subcommand("adopt", help(Word::helpAdopt))->callback([this] {
      run_ = [this] { return adopt(said_); };
    });
    app_.add_subcommand("leave", help(Word::helpLeave))->callback([this] {
      run_ = [this] { return leave(said_); };
    });
    CLI::App* const agent = app_.add_subcommand("agent", help(Word::helpAgent));
    agent->add_option("--interval", said_.interval, help(Word::helpInterval))
        ->check(CLI::Range(0.1, 86400.0));
    agent->callback([this] { run_ = [this] { return stay(said_); }; });
    CLI::App* const script = app_.add_subcommand("completion", help(Word::helpCompletion));
    script->add_option("shell", said_.words, help(Word::helpShell))
        ->required()
        ->expected(1)
        ->check(CLI::IsMember({"bash", "zsh", "fish"}));
    script->callback([this] {
      run_ = [this] {
        std::cout << completionScript(said_.words.at(0), "optionsmgr-firm");
        return Exit::Done;
      };
    });
  }
  CommandLine(const CommandLine&) = delete;
  CommandLine& operator=(const CommandLine&) = delete;

  const CLI::App& app() const { return app_; }

  Exit run(std::vector<std::string> words) {
    std::reverse(words.begin(), words.end());
    try {
      app_.parse(words);
    } catch (const CLI::CallForVersion&) {
      std::cout << OPTIONSMGR_VERSION << '\n';
      return Exit::Done;
    } catch (const CLI::CallForHelp&) {
      printHelp(app_, std::cout);
      return Exit::Done;
    } catch (const CLI::ParseError& error) {
      throw FirmFailure(Exit::Usage, Word::usage, error.what());
    }
    return run_();
  }

 private:
  static std::string help(Word word) { return say(word); }

  void addMoves() {
    CLI::App* const up = changing(dated(verb("raise", Word::helpRaise, raise)));
    options(up, Word::helpOptions)->required();
    up->add_option("--from", said_.from, help(Word::helpFromPlace))->required();
    up->add_option("--to", said_.to, help(Word::helpToPlace))->required();
    CLI::App* const carry = changing(at(verb("carry-forward", Word::helpCarry, carryForward)));
    carry->add_option("--from", said_.from, help(Word::helpFromYear))->required()->check(CLI::Range(1, 9999));
    carry->add_option("--to", said_.to, help(Word::helpToYear))->required()->check(CLI::Range(1, 9999));
    carry->add_flag("--below", said_.below, help(Word::helpBelow));
    carry->add_flag("--overwrite", said_.overwrite, help(Word::helpOverwrite));
    product(carry);
  }
  void addFiles() {
    CLI::App* const taken = changing(dated(verb("import", Word::helpImport, importSettings)));
    taken->add_option("--place", said_.place, help(Word::helpAt));
    taken->add_option("file", said_.file, help(Word::helpImportFile))->required();
    taken->add_flag("--all", said_.all, help(Word::helpUnchosen));
    taken->add_flag("--replace", said_.replace, help(Word::helpReplace));
    taken->add_flag("--force", said_.force, help(Word::helpForceSet));
    CLI::App* const given = dated(verb("export", Word::helpExport, exportSettings));
    given->add_option("--place", said_.place, help(Word::helpAt));
    given->add_option("file", said_.file, help(Word::helpExportFile));
    given->add_option("--all-places", said_.allPlaces, help(Word::helpAllPlaces));
    given->add_flag("--all", said_.all, help(Word::helpAllYears));
    given->add_flag("--force", said_.force, help(Word::helpForceFile));
    CLI::App* const compared = dated(at(verb("diff", Word::helpDiff, diff)));
    compared->add_option("file", said_.file, help(Word::helpDiffFile));
    compared->add_option("--with", said_.with, help(Word::helpWith));
    compared->add_flag("--all", said_.all, help(Word::helpAllYears));
  }
  void addHistory() {
    CLI::App* const told = verb("history", Word::helpHistory, history);
    told->add_option("--place", said_.place, help(Word::helpAt));
    options(told, Word::helpOption)->expected(0, 1);
    verb("prune", Word::helpPrune, prune, told)
        ->add_option("--before", said_.before, help(Word::helpBefore))
        ->required();
    CLI::App* const back = changing(at(verb("undo", Word::helpUndo, undo)));
    back->add_option("--number", said_.number, help(Word::helpNumber))->check(CLI::NonNegativeNumber);
    back->add_flag("--force", said_.force, help(Word::helpForce));
  }

  CLI::App* verb(const char* name, Word words, Verb does, CLI::App* above = nullptr) {
    CLI::App* const made = (above ? above : &app_)->add_subcommand(name, help(words));
    made->fallthrough();
    made->callback([this, does, made] {
      // A verb's own verb has said already what is to be run.
      if (made->get_subcommands().empty()) run_ = [this, does] { return withServer(does, said_); };
    });
    return made;
  }
  CLI::App* named(CLI::App* verb) {
    verb->add_option("name", said_.words, help(Word::helpName))->required()->expected(1);
    return verb;
  }
  CLI::App* at(CLI::App* verb) {
    verb->add_option("--place", said_.place, help(Word::helpAt))->required();
    return verb;
  }
  CLI::App* dated(CLI::App* verb) {
    CLI::Option* const year =
        verb->add_option("--year", said_.year, help(Word::helpYear))->check(CLI::Range(1, 9999));
    verb->add_flag("--every-year", said_.everyYear, help(Word::helpEveryYear))->excludes(year);
    return product(verb);
  }
  CLI::App* product(CLI::App* verb) {
    verb->add_option("--product", said_.product, help(Word::helpProduct))->check(CLI::IsMember({"T1", "T2"}));
    return verb;
  }
  CLI::App* rehearsed(CLI::App* verb) {
    verb->add_flag("--dry-run", said_.dryRun, help(Word::helpDryRun));
    return verb;
  }
  CLI::App* changing(CLI::App* verb) { return commented(rehearsed(verb)); }
  CLI::App* commented(CLI::App* verb) {
    verb->add_option("-m", said_.comment, help(Word::helpComment));
    return verb;
  }
  CLI::Option* options(CLI::App* verb, Word words) {
    return verb->add_option("options", said_.words, help(words));
  }

  CLI::App app_{help(Word::helpProgram), "optionsmgr-firm"};
  Said said_;
  std::function<Exit()> run_;
};

}  // namespace

namespace {

// The answers that only scripts ask for: `--complete WORDS…`, and for the build `--manual 1 en|fr`.
bool answeredToScripts(const std::vector<std::string>& words) {
  if (words.empty()) return false;
  if (words[0] == "--complete") {
    for (const std::string& candidate : completions(CommandLine().app(), {words.begin() + 1, words.end()}))
      std::cout << candidate << '\n';
    return true;
  }
  if (words[0] != "--manual" || words.size() != 3) return false;
  speakFrench(words[2] == "fr");
  printManual(CommandLine().app(), std::cout);
  return true;
}

}  // namespace

Exit runFirm(const std::vector<std::string>& words) {
  // The language is needed before the words are read: the parser's tables hold help.
  bool french = localeIsFrench();
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (words[i] == "--lang" && i + 1 < words.size()) french = words[i + 1] == "fr";
    if (words[i].starts_with("--lang=")) french = words[i] == "--lang=fr";
  }
  speakFrench(french);
  const Exit exit = answeredToScripts(words) ? Exit::Done : CommandLine().run(words);
  std::cout.flush();
  if (!std::cout) throw FirmFailure(Exit::InputOutput, Word::answerNotWritten);
  return exit;
}

}  // namespace optionsmgr::firm
