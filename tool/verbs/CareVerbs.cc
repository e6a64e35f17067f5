// The verbs that look after the store: restore and watch.
#include <fcntl.h>
#include <fnmatch.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <map>
#include <optional>

#include "qorvane/foundation/Exception.h"
#include "qorvane/preferences/PreferenceWatch.h"
#include "tool/ArgumentChecks.h"
#include "tool/Domains.h"
#include "tool/Failure.h"
#include "tool/OptionText.h"
#include "tool/Output.h"
#include "tool/UnfinishedChange.h"
#include "tool/speech/Language.h"
#include "tool/verbs/Verbs.h"

namespace optionsmgr {

using qorvane::Dictionary;
using qorvane::FileUserDefaults;
using qorvane::Text;
using State = FileUserDefaults::Inspection::State;

namespace {

struct Nothing {};

struct WatchRequest {
  std::string glob = "*";
  int count = 0;
  bool showSecrets = false;
};

// ---- restore --------------------------------------------------------------------------------------------

void restore(Session& session, const Nothing&, std::ostream& out) {
  session.requireFolder();
  FileUserDefaults& files = session.files();
  const Text key = domainOf(session).key();
  const auto before = files.inspect(key);
  const auto answer = [&](const char* state) {
    if (session.json()) printJson({{"file", files.pathForKey(key)}, {"state", state}}, out);
  };
  if (before.state != State::Damaged) {
    answer(before.state == State::Good ? "good" : "missing");
    if (!session.json() && session.reports())
      printTable(session, {},
                 {{say(before.state == State::Good ? Phrase("{} is in order") : Phrase("{} does not exist"),
                       files.pathForKey(key))}},
                 out, Overflow::Paths);
    return;
  }
  const FileUserDefaults::Lock lock(files);
  putBackUnfinished(session);
  // Reading a damaged file sets it aside, puts the last good copy in its place and logs what it did.
  files.objectForKey(key);
  if (files.inspect(key).state == State::Damaged)
    throw Failure(Exit::NoPermission,
                  say("{} is still damaged: nothing could be moved", files.pathForKey(key)));
  answer("restored");
}

// ---- watch ----------------------------------------------------------------------------------------------

// The settings that are watched, and what of them has been told.
class Watch {
 public:
  Watch(Session& session, const WatchRequest& request, std::ostream& out)
      : session_(session), request_(request), out_(out) {}

  // What is watched, in words.
  std::string subject() const {
    const Settings& said = session_.settings();
    const Domain domain = domainOf(session_);
    return said.productSaid && said.yearSaid ? domain.name()
           : said.productSaid                ? std::string(domain.corporate ? "T2" : "T1")
           : said.yearSaid                   ? std::to_string(domain.year)
                                             : say("every product and year");
  }

  // Takes the settings as they are for known.
  void begin() {
    for (const Domain& domain : domains()) known_[domain] = statesNow(domain).value_or(none(domain));
  }

  // Tells what has changed. False when no more is wanted.
  bool tellChanges() {
    std::vector<Domain> all = domains();
    // One whose file is gone has changed, too.
    for (const auto& [domain, states] : known_) all.push_back(domain);
    std::ranges::sort(all);
    all.erase(std::unique(all.begin(), all.end()), all.end());
    for (const Domain& domain : all) {
      auto now = statesNow(domain);
      if (!now) continue;
      std::vector<OptionState>& before = known_.try_emplace(domain, none(domain)).first->second;
      for (std::size_t i = 0; i < before.size(); ++i)
        if (isWanted(*before[i].row) && differ(before[i], (*now)[i])) {
          tellChange(domain, before[i], (*now)[i]);
          if (!out_ || ++told_ == request_.count) return false;
        }
      before = *std::move(now);
    }
    return true;
  }

 private:
  std::vector<Domain> domains() const {
    const Settings& said = session_.settings();
    std::vector<Domain> wanted = storedDomains(session_);
    std::erase_if(wanted, [&](const Domain& domain) {
      return (said.productSaid && domain.corporate != said.corporate) ||
             (said.yearSaid && domain.year != said.year);
    });
    return wanted;
  }

  std::vector<OptionState> none(const Domain& domain) const {
    return optionStates(session_, domain, Dictionary());
  }

  // The states as they are on the disk; none while the file is damaged or cannot be read, which is said once.
  std::optional<std::vector<OptionState>> statesNow(const Domain& domain) try {
    auto states = optionStates(session_, domain, storedEntries(session_, domain).value_or(Dictionary()));
    complaints_.erase(domain);
    return states;
  } catch (const Failure& failure) {
    std::string& complaint = complaints_[domain];
    if (complaint != failure.what()) tell(failure.what());
    complaint = failure.what();
    return std::nullopt;
  }

  bool isWanted(const qorvane::OptionRow& row) const {
    return row.write && fnmatch(request_.glob.c_str(), std::string(row.name).c_str(), 0) == 0;
  }

  static bool differ(const OptionState& a, const OptionState& b) {
    return a.unreadable != b.unreadable || shown(*a.row, a.value) != shown(*b.row, b.value);
  }

  void tellChange(const Domain& domain, const OptionState& before, const OptionState& now) {
    const qorvane::OptionRow& row = *now.row;
    const auto words = [&](const OptionState& state) {
      return state.unreadable ? say("(unreadable)")
                              : inWords(masked(row, state.value, request_.showSecrets), state.value.isNil());
    };
    if (session_.json())
      printJsonLine({{"product", domain.corporate ? "T2" : "T1"},
                     {"year", domain.year},
                     {"name", std::string(row.name)},
                     {"from", maskedJson(row, before.value, request_.showSecrets)},
                     {"to", maskedJson(row, now.value, request_.showSecrets)}},
                    out_);
    else
      out_ << domain.name() << "  " << row.name << ": " << words(before) << " -> " << words(now) << '\n';
    out_.flush();
  }

  Session& session_;
  const WatchRequest& request_;
  std::ostream& out_;
  std::map<Domain, std::vector<OptionState>> known_;
  std::map<Domain, std::string> complaints_;
  int told_ = 0;
};

void watch(Session& session, const WatchRequest& request, std::ostream& out) {
  session.requireFolder();
  if ((fcntl(STDOUT_FILENO, F_GETFL) & O_ACCMODE) == O_RDONLY)
    throw Failure(Exit::InputOutput, say("the answer could not be written"));
  // A signal or a closed pipe ends it in order.
  sigset_t ending;
  sigemptyset(&ending);
  sigaddset(&ending, SIGINT);
  sigaddset(&ending, SIGTERM);
  sigprocmask(SIG_BLOCK, &ending, nullptr);
  std::signal(SIGPIPE, SIG_IGN);
  const int signals = signalfd(-1, &ending, SFD_CLOEXEC);
  qorvane::PreferenceWatch changes(session.files());

  Watch watch(session, request, out);
  watch.begin();
  if (session.reports()) tell(say("watching {} in {}", watch.subject(), session.files().folder()));
  do {
    pollfd ends[] = {{changes.descriptor(), POLLIN, 0}, {signals, POLLIN, 0}, {STDOUT_FILENO, 0, 0}};
    if (poll(ends, std::size(ends), -1) < 0 && errno != EINTR)
      throw Failure(Exit::InputOutput, say("cannot watch: {}", systemReason(errno)));
    if (ends[1].revents != 0 || (ends[2].revents & (POLLERR | POLLHUP | POLLNVAL)) != 0) return;
  } while (changes.changedKeys().empty() || watch.tellChanges());
}

struct FirmRequest {
  std::vector<std::string> words;
};

}  // namespace

void addCareVerbs(Verbs& verbs) {
  addDoctorVerb(verbs);
  verbs.add<Nothing>(
      "restore", "replace a damaged file by its last good copy", [](CLI::App&, Nothing&) {}, restore);
  verbs.add<WatchRequest>(
      "watch",
      "print each change as it reaches the disk, whoever makes it, in every product and year or only in "
      "those of --product and --year",
      [](CLI::App& verb, WatchRequest& request) {
        verb.add_option("GLOB", request.glob, Phrase("only names like this"));
        takesNumber(verb.add_option("--count", request.count, Phrase("end after so many changes")), 1,
                    1000000);
        verb.add_flag("--show-secrets", request.showSecrets, Phrase("show passwords"));
      },
      watch, "  optionsmgr watch 'preparer*'\n  optionsmgr watch --json\n");
  // Another program does it, before the verb is run (tool/FirmProgram.h).
  verbs.add<FirmRequest>(
      "firm", "keep the settings of a firm's desks in PostgreSQL: runs optionsmgr-firm with these words",
      [](CLI::App& verb, FirmRequest& request) {
        verb.add_option("WORDS", request.words, Phrase("what optionsmgr-firm takes"));
      },
      [](Session&, const FirmRequest&, std::ostream&) {},
      "  optionsmgr firm status\n  optionsmgr firm set --place Laval preparerCity Laval\n");
}

}  // namespace optionsmgr
