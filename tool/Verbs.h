// The tool's verbs: what each is called, takes and does, in one place for parsing, help and running.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "tool/Session.h"

namespace optionsmgr {

class Verbs {
 public:
  using Action = std::function<void(Session& session, std::ostream& out)>;

  explicit Verbs(CLI::App& app) : app_(app) {}

  /// Adds a verb whose options are parsed into a `Request`, which `declare` describes and `run` is given.
  template <class Request>
  void add(const std::string& name, const std::string& help,
           const std::function<void(CLI::App&, Request&)>& declare,
           const std::function<void(Session&, const Request&, std::ostream&)>& run) {
    CLI::App* verb = app_.add_subcommand(name, help);
    const auto request = std::make_shared<Request>();
    declare(*verb, *request);
    verbs_.emplace_back(verb,
                        [request, run](Session& session, std::ostream& out) { run(session, *request, out); });
  }

  /// Runs the verb that was parsed.
  void run(Session& session, std::ostream& out) const {
    for (const auto& [verb, action] : verbs_)
      if (*verb) action(session, out);
  }

  std::vector<std::string> names() const {
    std::vector<std::string> all;
    for (const auto& verb : verbs_) all.push_back(verb.first->get_name());
    return all;
  }

 private:
  CLI::App& app_;
  std::vector<std::pair<CLI::App*, Action>> verbs_;
};

/// list, get, set, reset, describe, range.
void addOptionVerbs(Verbs& verbs);
/// paths, format, vocabulary.
void addAnswerVerbs(Verbs& verbs);
/// choices, province.
void addJurisdictionVerbs(Verbs& verbs);
/// product, notice, pages.
void addProductVerbs(Verbs& verbs);
/// diff, carry-forward.
void addYearVerbs(Verbs& verbs);
/// doctor, restore, watch.
void addCareVerbs(Verbs& verbs);
/// export, import.
void addExchangeVerbs(Verbs& verbs);

}  // namespace optionsmgr
