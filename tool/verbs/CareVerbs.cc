// The verbs that look after the store: doctor, restore and watch.
#include <fcntl.h>
#include <fnmatch.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <map>
#include <optional>

#include "qorvane/foundation/Exception.h"
#include "tool/ArgumentChecks.h"
#include "tool/Domains.h"
#include "tool/Failure.h"
#include "tool/OptionText.h"
#include "tool/Output.h"
#include "tool/speech/Language.h"
#include "tool/verbs/Verbs.h"

namespace optionsmgr {

using qorvane::Dictionary;
using qorvane::FileException;
using qorvane::FileUserDefaults;
using qorvane::Options;
using qorvane::Text;
using qorvane::Value;
using State = FileUserDefaults::Inspection::State;

namespace fs = std::filesystem;

namespace {

struct Nothing {};

struct DoctorRequest {
  bool repair = false;
};

struct WatchRequest {
  std::string glob = "*";
  int count = 0;
  bool showSecrets = false;
};

// ---- restore --------------------------------------------------------------------------------------------

void restore(Session& session, const Nothing&, std::ostream& out) {
  session.requireFolder();
  FileUserDefaults& files = session.files();
  const Text key = Options().settingsDomainKey();
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
                 out, Holding::Paths);
    return;
  }
  // Reading a damaged file sets it aside, puts the last good copy in its place and logs what it did.
  files.objectForKey(key);
  if (files.inspect(key).state == State::Damaged)
    throw Failure(Exit::NoPermission,
                  say("{} is still damaged: nothing could be moved", files.pathForKey(key)));
  answer("restored");
}

// ---- doctor ---------------------------------------------------------------------------------------------

struct Finding {
  std::string file;
  Phrase state;  // "good", "problem", "repaired", "note".
  std::string what;
};

class Doctor {
 public:
  Doctor(Session& session, bool repair) : session_(session), repair_(repair) {}

  std::vector<Finding> findings() {
    const std::string folder = session_.files().folder();
    struct stat status;
    session_.requireFolder();
    if (lstat(folder.c_str(), &status) != 0) {
      if (errno != ENOENT)
        throw Failure(exitFor(errno), say("cannot examine {}: {}", folder, systemReason(errno)));
      add(folder, "note", say("there are no settings yet"));
      return std::move(findings_);
    }
    examineRights(folder, ".", 0700);
    lock();
    for (const Domain& domain : storedDomains(session_)) examineSettings(domain);
    examineLeftovers(folder);
    return std::move(findings_);
  }

 private:
  void add(std::string file, const Phrase& state, std::string what) {
    findings_.push_back({std::move(file), state, std::move(what)});
  }

  // Private to the user, as every file and folder of the store is made.
  void examineRights(const std::string& path, const std::string& name, mode_t wanted) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0) return;
    if (status.st_uid != geteuid()) {
      add(name, "problem", say("belongs to another user"));
    } else if ((status.st_mode & 0777) != wanted) {
      const bool mended = repair_ && chmod(path.c_str(), wanted) == 0;
      add(name, mended ? Phrase("repaired") : Phrase("problem"),
          wanted == 0700 ? say("its mode was not 0700: others may look in, or you may not")
                         : say("its mode was not 0600: others may read it, or you may not"));
    }
  }

  void lock() try { lock_.emplace(session_.files()); } catch (const FileException& error) {
    add(".lock", error.systemError() == EAGAIN ? Phrase("note") : Phrase("problem"), told(error.failure()));
  }

  void examineSettings(const Domain& domain) try {
    FileUserDefaults& files = session_.files();
    const Text key = domain.key();
    const std::string name = key.string() + ".plist";
    auto found = files.inspect(key);
    const auto copy = files.inspectBackup(key);
    if (found.state == State::Damaged) {
      const std::string damage = told(*found.damage);
      if (repair_ && lock_) {
        files.objectForKey(key);
        found = files.inspect(key);
      }
      add(name, found.state == State::Damaged ? Phrase("problem") : Phrase("repaired"),
          say(copy.state == State::Good ? Phrase("damaged: {}; there is a good copy of it")
                                        : Phrase("damaged: {}; there is no good copy of it"),
              damage));
    } else {
      add(name, "good",
          found.sealed ? say("saves: {}", std::to_string(found.generation))
                       : say("written by another program: damage to it would not show"));
    }
    if (copy.state == State::Damaged) {
      const bool removed = repair_ && lock_ && unlink(files.backupPathForKey(key).c_str()) == 0;
      add(name + ".bak", removed ? Phrase("repaired") : Phrase("problem"),
          say("damaged: {}", told(*copy.damage)));
    } else if (copy.state == State::Good) {
      add(name + ".bak", "good", say("the last good copy"));
    }
    examineRights(files.pathForKey(key), name, 0600);
    if (copy.state != State::Missing) examineRights(files.backupPathForKey(key), name + ".bak", 0600);
  } catch (const FileException& error) {
    add(domain.key().string() + ".plist", "problem", told(error.failure()));
  }

  void examineLeftovers(const std::string& folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (fs::directory_iterator file(folder, error), end; !error && file != end; file.increment(error))
      names.push_back(file->path().filename().string());
    std::ranges::sort(names);
    for (const std::string& name : names) {
      if (name.ends_with(".new")) {
        // Whoever holds the lock may be writing it.
        const bool removed = repair_ && lock_ && unlink((folder + "/" + name).c_str()) == 0;
        add(name, removed ? Phrase("repaired") : Phrase("problem"), say("left by a save that was killed"));
      } else if (name.find(".damaged-") != name.npos || name.find(".unreadable-") != name.npos) {
        add(name, "note", say("set aside; yours to keep or remove"));
      } else if (name.starts_with(".lock-held")) {
        add(name, "note", say("a lock, or what a killed process left of one; it goes by itself"));
      } else if (name == ".unfinished") {
        add(name, "problem", say("left by an import that was killed; it could not be undone"));
      }
    }
  }

  Session& session_;
  bool repair_;
  std::optional<FileUserDefaults::Lock> lock_;
  std::vector<Finding> findings_;
};

void doctor(Session& session, const DoctorRequest& request, std::ostream& out) {
  const std::vector<Finding> findings = Doctor(session, request.repair).findings();
  const bool ill =
      std::ranges::any_of(findings, [](const Finding& f) { return f.state.english() == "problem"; });
  if (ill) session.setExit(Exit::NotFound);
  if (session.json()) {
    Json all = Json::array();
    for (const Finding& finding : findings)
      all.push_back(
          {{"file", finding.file}, {"state", std::string(finding.state.english())}, {"what", finding.what}});
    printJson({{"folder", session.files().folder()}, {"findings", all}}, out);
    return;
  }
  if (!session.reports()) return;
  printTable(session, {}, {{session.files().folder()}}, out, Holding::Paths);
  std::vector<Row> rows;
  for (const Finding& finding : findings) {
    // The name of a file that was set aside is longer than all else and would leave no room for it.
    const bool isLong = finding.file.size() > 36;
    if (isLong) rows.push_back({"  " + finding.file});
    rows.push_back({isLong ? "" : "  " + finding.file, say(finding.state), finding.what});
  }
  printTable(session, {}, rows, out, Holding::Words);
  if (ill && !request.repair) out << say("`optionsmgr doctor --repair` mends what can be mended") << '\n';
}

// ---- watch ----------------------------------------------------------------------------------------------

// An open file of the kernel's that closes itself.
class Handle {
 public:
  explicit Handle(int descriptor) : descriptor_(descriptor) {
    if (descriptor_ < 0) throw Failure(Exit::InputOutput, say("cannot watch: {}", systemReason(errno)));
  }
  ~Handle() { close(descriptor_); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  operator int() const { return descriptor_; }

 private:
  int descriptor_;
};

// Watches the folder, or the nearest one above it that is there.
void watchFolder(int notify, const fs::path& folder) {
  constexpr std::uint32_t kEvents =
      IN_MOVED_TO | IN_MOVED_FROM | IN_CLOSE_WRITE | IN_DELETE | IN_CREATE | IN_MOVE_SELF;
  for (fs::path path = folder; inotify_add_watch(notify, path.c_str(), kEvents) < 0;) {
    if (errno != ENOENT || !path.has_relative_path())
      throw Failure(exitFor(errno), say("cannot watch {}: {}", path.string(), systemReason(errno)));
    path = path.parent_path();
  }
}

// Takes what has happened. A folder that was moved away is no longer the one of its name, and is let go.
void takeEvents(int notify) {
  alignas(inotify_event) char events[4096];
  for (ssize_t size; (size = read(notify, events, sizeof events)) > 0;)
    for (const char* at = events; at < events + size;) {
      const auto* const event = reinterpret_cast<const inotify_event*>(at);
      if ((event->mask & IN_MOVE_SELF) != 0) inotify_rm_watch(notify, event->wd);
      at += sizeof *event + event->len;
    }
}

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

  // Watches the store's folder and, for a file that is a link, its target's. Again and again, for the folder
  // may have been made meanwhile, or a link turned to another place.
  void follow(int notify) {
    const fs::path folder = session_.files().folder();
    watchFolder(notify, folder);
    for (const Domain& domain : domains()) {
      std::error_code none;
      const fs::path target = fs::canonical(session_.files().pathForKey(domain.key()), none);
      if (!none && target.parent_path() != folder) watchFolder(notify, target.parent_path());
    }
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
  const Handle notify(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
  const Handle signals(signalfd(-1, &ending, SFD_CLOEXEC));

  Watch watch(session, request, out);
  watch.follow(notify);
  watch.begin();
  if (session.reports()) tell(say("watching {} in {}", watch.subject(), session.files().folder()));
  do {
    pollfd ends[] = {{notify, POLLIN, 0}, {signals, POLLIN, 0}, {STDOUT_FILENO, 0, 0}};
    if (poll(ends, std::size(ends), -1) < 0 && errno != EINTR)
      throw Failure(Exit::InputOutput, say("cannot watch: {}", systemReason(errno)));
    if (ends[1].revents != 0 || (ends[2].revents & (POLLERR | POLLHUP | POLLNVAL)) != 0) return;
    takeEvents(notify);
    watch.follow(notify);
  } while (watch.tellChanges());
}

}  // namespace

void addCareVerbs(Verbs& verbs) {
  verbs.add<DoctorRequest>(
      "doctor", "examine the store's files, rights, lock and copies",
      [](CLI::App& verb, DoctorRequest& request) {
        verb.add_flag("--repair", request.repair, Phrase("mend what can be mended"));
      },
      doctor, "  optionsmgr doctor\n  optionsmgr doctor --repair\n");
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
}

}  // namespace optionsmgr
