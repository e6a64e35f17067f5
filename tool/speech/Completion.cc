// completion: the scripts that make a shell complete the tool's words. They know nothing themselves; they ask
// the tool (`optionsmgr --complete`), which answers from the tables that parse.
#include <algorithm>
#include <string>

#include "tool/ArgumentChecks.h"
#include "tool/Domains.h"
#include "tool/Failure.h"
#include "tool/speech/Completion.h"
#include "tool/speech/Language.h"
#include "tool/verbs/Verbs.h"

namespace optionsmgr {

namespace {

struct CompletionRequest {
  std::string shell;
};

constexpr const char* kBash = R"sh(# bash completion for optionsmgr: source it, or install it as
# share/bash-completion/completions/optionsmgr.
_optionsmgr() {
  local line
  COMPREPLY=()
  while IFS= read -r line; do
    COMPREPLY+=("$(printf '%q' "$line")")
  done < <(optionsmgr --complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2>/dev/null)
}
complete -o default -F _optionsmgr optionsmgr
)sh";

constexpr const char* kZsh = R"sh(#compdef optionsmgr
# zsh completion for optionsmgr: source it, or install it as _optionsmgr in a folder of fpath.
_optionsmgr() {
  local -a candidates
  candidates=("${(@f)$(optionsmgr --complete "${(@Q)words[2,CURRENT]}" 2>/dev/null)}")
  candidates=(${candidates:#})
  if (( ${#candidates} )); then
    compadd -- "${candidates[@]}"
  else
    _files
  fi
}
if [[ $zsh_eval_context[-1] == loadautofunc ]]; then _optionsmgr "$@"; else compdef _optionsmgr optionsmgr; fi
)sh";

constexpr const char* kFish =
    R"sh(# fish completion for optionsmgr: source it, or install it as completions/optionsmgr.fish.
function __optionsmgr_candidates
  set -l words (commandline -opc) (commandline -ct)
  optionsmgr --complete $words[2..-1] 2>/dev/null
end
complete -c optionsmgr -n 'count (__optionsmgr_candidates) >/dev/null' -f -a '(__optionsmgr_candidates)'
)sh";

void completion(Session&, const CompletionRequest& request, std::ostream& out) {
  out << (request.shell == "bash" ? kBash : request.shell == "zsh" ? kZsh : kFish);
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

// Those of the option that `set` is to change.
std::vector<std::string> valuesOf(const std::string& optionName) {
  const qorvane::OptionRow* row = qorvane::findOption(optionName);
  if (!row) return {};
  std::vector<std::string> all;
  if (row->type == qorvane::OptionType::Flag) all = {"true", "false"};
  if (const auto* list = row->choices)
    for (const qorvane::Choice& choice : list->choices) all.push_back(choice.neutral.string());
  if (row->name == "language" || row->name == "languageOfCorrespondance") all = {"English", "French"};
  return all;
}

void addNames(const CLI::App& app, std::vector<std::string>& all) {
  for (const CLI::Option* option : app.get_options())
    for (const std::string& name : option->get_lnames()) all.push_back("--" + name);
}

}  // namespace

std::vector<std::string> completions(const CLI::App& app, Session& session,
                                     const std::vector<std::string>& words) {
  const std::string last = words.empty() ? "" : words.back();
  const CLI::App* verb = nullptr;
  const CLI::Option* asking = nullptr;  // The option whose value the next word is.
  std::vector<std::string> values;      // What stands behind the verb.
  for (std::size_t i = 0; i + 1 < words.size(); ++i) {
    const std::string& word = words[i];
    if (asking) {
      asking = nullptr;
    } else if (word.starts_with("-")) {
      const CLI::Option* option = verb ? verb->get_option_no_throw(word) : nullptr;
      if (!option) option = app.get_option_no_throw(word);
      if (option && option->get_items_expected_max() > 0) asking = option;
    } else if (!verb) {
      for (const CLI::App* known : app.get_subcommands({}))
        if (known->get_name() == word) verb = known;
      if (!verb) return {};
    } else {
      values.push_back(word);
    }
  }

  std::vector<std::string> all;
  if (asking) {
    all = valuesOf(*asking, session);
  } else if (last.starts_with("-")) {
    if (verb) addNames(*verb, all);
    addNames(app, all);
  } else if (!verb) {
    for (const CLI::App* known : app.get_subcommands({})) all.push_back(known->get_name());
  } else {
    std::size_t place = values.size();
    for (const CLI::Option* option : verb->get_options()) {
      if (!option->get_positional()) continue;
      if (place-- > 0) continue;
      all = option->get_name() == "VALUE" ? valuesOf(values.front()) : valuesOf(*option, session);
      break;
    }
  }
  std::erase_if(all, [&](const std::string& candidate) { return !candidate.starts_with(last); });
  std::ranges::sort(all);
  all.erase(std::unique(all.begin(), all.end()), all.end());
  return all;
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
