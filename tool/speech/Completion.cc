// completion: the scripts that make a shell complete the tool's words. They know nothing themselves; they ask
// the tool (`optionsmgr --complete`), which answers from the tables that parse.
#include <algorithm>
#include <string>
#include <utility>

#include "tool/ArgumentChecks.h"
#include "tool/Domains.h"
#include "tool/Failure.h"
#include "tool/Words.h"
#include "tool/speech/Completion.h"
#include "tool/speech/Language.h"
#include "tool/verbs/Verbs.h"

namespace optionsmgr {

namespace {

struct CompletionRequest {
  std::string shell;
};

constexpr const char* kBash = R"sh(# bash completion for @program@: source it, or install it as
# share/bash-completion/completions/@program@.
_@function@() {
  local line
  COMPREPLY=()
  while IFS= read -r line; do
    COMPREPLY+=("$(printf '%q' "$line")")
  done < <(@program@ --complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
}
complete -o default -F _@function@ @program@
)sh";

constexpr const char* kZsh = R"sh(#compdef @program@
# zsh completion for @program@: source it, or install it as _@program@ in a folder of fpath.
_@function@() {
  local -a candidates
  candidates=("${(@f)$(@program@ --complete "${(@Q)words[2,CURRENT]}" 2>/dev/null)}")
  candidates=(${candidates:#})
  if (( ${#candidates} )); then
    compadd -- "${candidates[@]}"
  else
    _files
  fi
}
if [[ $zsh_eval_context[-1] == loadautofunc ]]; then _@function@ "$@"; else compdef _@function@ @program@; fi
)sh";

constexpr const char* kFish =
    R"sh(# fish completion for @program@: source it, or install it as completions/@program@.fish.
function __@function@_candidates
  set -l words (commandline -opc) (commandline -ct)
  @program@ --complete $words[2..-1] 2>/dev/null
end
complete -c @program@ -n 'count (__@function@_candidates) >/dev/null' -f -a '(__@function@_candidates)'
)sh";

void completion(Session&, const CompletionRequest& request, std::ostream& out) {
  out << completionScript(request.shell, "optionsmgr");
}

// The values that an option on the command line takes.
std::vector<std::string> valuesOf(const CLI::Option& option, Session& session) {
  const std::string name = option.get_name();
  if (name == "--product") return {"T1", "T2"};
  if (name == "--lang") return {"en", "fr"};
  if (name == "--format") return {"binary", "xml", "json"};
  if (name == "SHELL") return {"bash", "zsh", "fish"};
  std::vector<std::string> all;
  if (name == "--year" || name == "--from" || name == "--to" || name == "A" || name == "B")
    for (const Domain& domain : storedDomains(session))
      if (domain.corporate == session.settings().corporate) all.push_back(std::to_string(domain.year));
  if (name == "OPTION" || name == "GLOB")
    for (const qorvane::OptionRow& row : qorvane::optionTable()) all.emplace_back(row.name);
  if (name == "LIST")
    for (const qorvane::ChoiceList& list : qorvane::choiceLists()) all.emplace_back(list.name);
  return all;
}

void addNames(const CLI::App& app, std::vector<std::string>& all) {
  for (const CLI::Option* option : app.get_options())
    for (const std::string& name : option->get_lnames()) all.push_back("--" + name);
}

}  // namespace

namespace {

// What may stand where the walk ended, when the last word begins like an option or not.
std::vector<std::string> candidatesAt(const CLI::App& app, Session& session, const Walk& walked,
                                      bool option) {
  std::vector<std::string> all;
  const std::vector<std::string> values = walked.values();
  if (walked.asking) {
    all = valuesOf(*walked.asking, session);
  } else if (!walked.verb && !values.empty()) {
    return {};  // Behind a word that is no verb.
  } else if (option) {
    if (walked.verb) addNames(*walked.verb, all);
    addNames(app, all);
  } else if (!walked.verb) {
    for (const CLI::App* known : app.get_subcommands({})) all.push_back(known->get_name());
  } else {
    std::size_t place = values.size();
    for (const CLI::Option* positional : walked.verb->get_options()) {
      if (!positional->get_positional()) continue;
      const auto places = static_cast<std::size_t>(positional->get_items_expected_max());
      if (place >= places) {
        place -= places;
        continue;
      }
      if (positional->get_name() == "TOPIC") {
        for (const CLI::App* known : app.get_subcommands({})) all.push_back(known->get_name());
        return all;
      }
      return positional->get_name() == "VALUE" ? valuesOfOption(values.front())
                                               : valuesOf(*positional, session);
    }
  }
  return all;
}

}  // namespace

std::vector<std::string> completions(const CLI::App& app, Session& session,
                                     const std::vector<std::string>& words) {
  const std::string last = words.empty() ? "" : words.back();
  const Walk walked = walk(app, {words.begin(), words.empty() ? words.end() : words.end() - 1});
  std::vector<std::string> all = candidatesAt(app, session, walked, last.starts_with("-"));
  return beginningWith(last, std::move(all));
}

std::vector<std::string> beginningWith(const std::string& last, std::vector<std::string> candidates) {
  std::erase_if(candidates, [&](const std::string& candidate) { return !candidate.starts_with(last); });
  std::ranges::sort(candidates);
  candidates.erase(std::unique(candidates.begin(), candidates.end()), candidates.end());
  return candidates;
}

std::vector<std::string> valuesOfOption(const std::string& name) {
  const qorvane::OptionRow* row = qorvane::findOption(name);
  if (!row) return {};
  std::vector<std::string> all;
  if (row->type == qorvane::OptionType::Flag) all = {"true", "false"};
  if (const auto* list = row->choices)
    for (const qorvane::Choice& choice : list->choices) all.push_back(choice.neutral.string());
  if (row->name == "language" || row->name == "languageOfCorrespondance") all = {"English", "French"};
  return all;
}

std::string completionScript(std::string_view shell, std::string_view program) {
  // A function's name takes no hyphen everywhere.
  std::string function(program);
  std::ranges::replace(function, '-', '_');
  std::string script = shell == "bash" ? kBash : shell == "zsh" ? kZsh : kFish;
  for (const auto& [place, name] :
       {std::pair<std::string_view, std::string_view>{"@program@", program}, {"@function@", function}})
    for (std::size_t at = 0; (at = script.find(place, at)) != script.npos; at += name.size())
      script.replace(at, place.size(), name);
  return script;
}

void addHelpVerb(Verbs& verbs) {
  struct HelpRequest {
    std::string verb;
  };
  verbs.add<HelpRequest>(
      "help", "print the help of a verb, or of the tool",
      [](CLI::App& verb, HelpRequest& request) {
        verb.add_option("TOPIC", request.verb, Phrase("the verb; none for the tool's own help"));
      },
      [](Session&, const HelpRequest&, std::ostream&) {}, "  optionsmgr help set\n");
}

void addCompletionVerb(Verbs& verbs) {
  verbs.add<CompletionRequest>(
      "completion", "print the script that makes a shell complete optionsmgr's words",
      [](CLI::App& verb, CompletionRequest& request) {
        takesOneOf(verb.add_option("SHELL", request.shell, Phrase("bash, zsh or fish"))->required(),
                   {"bash", "zsh", "fish"});
      },
      completion, "  source <(optionsmgr completion bash)\n  optionsmgr completion fish | source\n");
}

}  // namespace optionsmgr
