// The tool's verbs: what each is called, takes and does, in one place for parsing, help and running.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "tool/Session.h"
#include "tool/speech/Language.h"

namespace optionsmgr {

/// Before every value that is handed to the parser, which takes "[a,b]" for a list and "-1" for an option.
inline constexpr char kValueMark = '\x01';

class Verbs {
 public:
  using Action = std::function<void(Session& session, std::ostream& out)>;

  explicit Verbs(CLI::App& app) : app_(app) {}

  /// Adds a verb whose options are parsed into a `Request`, which `declare` describes and `run` is given.
  /// Its examples are lines of their own, each indented by two blanks.
  template <class Request>
  void add(const std::string& name, const Phrase& help,
           const std::function<void(CLI::App&, Request&)>& declare,
           const std::function<void(Session&, const Request&, std::ostream&)>& run,
           const std::string& examples = "") {
    CLI::App* verb = app_.add_subcommand(name, help);
    const auto request = std::make_shared<Request>();
    declare(*verb, *request);
    for (CLI::Option* option : verb->get_options())
      if (option->get_positional())
        option->transform(
            [](std::string word) { return word.starts_with(kValueMark) ? word.substr(1) : word; });
    verbs_.push_back({verb,
                      [request, run](Session& session, std::ostream& out) { run(session, *request, out); },
                      examples});
  }

  /// Runs the verb that was parsed.
  void run(Session& session, std::ostream& out) const {
    for (const Verb& verb : verbs_)
      if (*verb.app) verb.action(session, out);
  }

  std::vector<std::string> names() const {
    std::vector<std::string> all;
    for (const Verb& verb : verbs_) all.push_back(verb.app->get_name());
    return all;
  }

  /// The verb's examples, a line each; those of the tool for null.
  std::string examples(const CLI::App* app) const {
    static constexpr Phrase kTool(
        R"(  optionsmgr list                          every option with its value
  optionsmgr list 'preparer*' --changed    those that differ from their default
  optionsmgr get language                  the bare value
  optionsmgr set autoSaveAfter 5           changed, saved, and read back
  optionsmgr carry-forward                 last year's settings into this year's
  optionsmgr --product T2 --year 2021 describe zsupress
)");
    for (const Verb& verb : verbs_)
      if (verb.app == app) return verb.examples;
    return say(kTool);
  }

 private:
  struct Verb {
    CLI::App* app;
    Action action;
    std::string examples;
  };

  CLI::App& app_;
  std::vector<Verb> verbs_;
};

/// list, search, describe, range, and those of addSetVerbs.
void addOptionVerbs(Verbs& verbs);
/// get, set, reset.
void addSetVerbs(Verbs& verbs);
/// paths, format, vocabulary.
void addAnswerVerbs(Verbs& verbs);
/// choices, province.
void addJurisdictionVerbs(Verbs& verbs);
/// product, notice, pages.
void addProductVerbs(Verbs& verbs);
/// completion.
void addCompletionVerb(Verbs& verbs);
/// why, lock, unlock.
void addLayerVerbs(Verbs& verbs);
/// diff, carry-forward.
void addYearVerbs(Verbs& verbs);
/// doctor, restore, watch.
void addCareVerbs(Verbs& verbs);
void addDoctorVerb(Verbs& verbs);
/// history, undo.
void addGenerationVerbs(Verbs& verbs);
/// help, which the command line answers itself.
void addHelpVerb(Verbs& verbs);
/// export, import.
void addExchangeVerbs(Verbs& verbs);

}  // namespace optionsmgr
