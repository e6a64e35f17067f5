// The verbs that look after the store: doctor, restore and watch.
#include <fnmatch.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>

#include "qorvane/foundation/Exception.h"
#include "tool/Columns.h"
#include "tool/Domains.h"
#include "tool/Failure.h"
#include "tool/Language.h"
#include "tool/OptionText.h"
#include "tool/Verbs.h"

namespace optionsmgr {

using qorvane::Dictionary;
using qorvane::FileException;
using qorvane::FileUserDefaults;
using qorvane::Options;
using qorvane::Text;
using qorvane::Value;
using Json = nlohmann::ordered_json;
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
  FileUserDefaults& files = session.files();
  const Text key = Options().settingsDomainKey();
  const auto before = files.inspect(key);
  if (before.state != State::Damaged) {
    if (session.reports())
      out << say(before.state == State::Good ? "{} is in order" : "{} does not exist", files.pathForKey(key))
          << '\n';
    return;
  }
  // Reading a damaged file sets it aside, puts the last good copy in its place and logs what it did.
  files.objectForKey(key);
  if (files.inspect(key).state == State::Damaged)
    throw Failure(Exit::NoPermission,
                  say("{} is still damaged: nothing could be moved", files.pathForKey(key)));
}

// ---- doctor ---------------------------------------------------------------------------------------------

struct Finding {
  std::string file;
  const char* state;  // "good", "problem", "repaired", "note".
  std::string what;
};

class Doctor {
 public:
  Doctor(Session& session, bool repair) : session_(session), repair_(repair) {}

  std::vector<Finding> findings() {
    const std::string folder = session_.files().folder();
    struct stat status;
    if (folder.empty() || lstat(folder.c_str(), &status) != 0) {
      if (!folder.empty() && errno != ENOENT)
        throw Failure(exitFor(errno), say("cannot examine {}: {}", folder, std::strerror(errno)));
      add(folder.empty() ? "-" : folder, "note", say("there are no settings yet"));
      return std::move(findings_);
    }
    examineRights(folder, ".", 0700);
    lock();
    for (const Domain& domain : storedDomains(session_)) examineSettings(domain);
    examineLeftovers(folder);
    return std::move(findings_);
  }

 private:
  void add(std::string file, const char* state, std::string what) {
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
      add(name, mended ? "repaired" : "problem",
          wanted == 0700 ? say("its mode was not 0700: others may look in, or you may not")
                         : say("its mode was not 0600: others may read it, or you may not"));
    }
  }

  void lock() try { lock_.emplace(session_.files()); } catch (const FileException& error) {
    add(".lock", error.systemError() == EAGAIN ? "note" : "problem", error.what());
  }

  void examineSettings(const Domain& domain) try {
    FileUserDefaults& files = session_.files();
    const Text key = domain.key();
    const std::string name = key.string() + ".plist";
    auto found = files.inspect(key);
    const auto copy = files.inspectBackup(key);
    if (found.state == State::Damaged) {
      const std::string damage = found.damage.string();
      if (repair_ && lock_) {
        files.objectForKey(key);
        found = files.inspect(key);
      }
      add(name, found.state == State::Damaged ? "problem" : "repaired",
          say(copy.state == State::Good ? "damaged: {}; there is a good copy of it"
                                        : "damaged: {}; there is no good copy of it",
              damage));
    } else {
      add(name, "good",
          found.sealed ? say("saved {} times", std::to_string(found.generation))
                       : say("written by another program: damage to it would not show"));
    }
    if (copy.state == State::Damaged) {
      const bool removed = repair_ && lock_ && unlink(files.backupPathForKey(key).c_str()) == 0;
      add(name + ".bak", removed ? "repaired" : "problem", say("damaged: {}", copy.damage.view()));
    } else if (copy.state == State::Good) {
      add(name + ".bak", "good", say("the last good copy"));
    }
    examineRights(files.pathForKey(key), name, 0600);
    if (copy.state != State::Missing) examineRights(files.backupPathForKey(key), name + ".bak", 0600);
  } catch (const FileException& error) {
    add(domain.key().string() + ".plist", "problem", error.what());
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
        add(name, removed ? "repaired" : "problem", say("left by a save that was killed"));
      } else if (name.find(".plist.damaged-") != name.npos || name.find(".plist.unreadable-") != name.npos) {
        add(name, "note", say("set aside; yours to keep or remove"));
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
      std::ranges::any_of(findings, [](const Finding& f) { return std::string_view(f.state) == "problem"; });
  if (ill) session.setExit(Exit::NotFound);
  if (session.json()) {
    Json all = Json::array();
    for (const Finding& finding : findings)
      all.push_back({{"file", finding.file}, {"state", finding.state}, {"what", finding.what}});
    out << Json{{"folder", session.files().folder()}, {"findings", all}}.dump(2) << '\n';
    return;
  }
  if (!session.reports()) return;
  out << session.files().folder() << '\n';
  std::vector<std::vector<std::string>> rows;
  for (const Finding& finding : findings)
    rows.push_back({"  " + finding.file, std::string(translated(finding.state)), finding.what});
  printColumns(rows, out, session.terminalWidth());
  if (ill && !request.repair) out << say("`optionsmgr doctor --repair` mends what can be mended") << '\n';
}

// ---- watch ----------------------------------------------------------------------------------------------

// An open file of the kernel's that closes itself.
class Handle {
 public:
  explicit Handle(int descriptor) : descriptor_(descriptor) {
    if (descriptor_ < 0) throw Failure(Exit::InputOutput, say("cannot watch: {}", std::strerror(errno)));
  }
  ~Handle() { close(descriptor_); }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  operator int() const { return descriptor_; }

 private:
  int descriptor_;
};

// The states as they are on the disk; none while the file is damaged or cannot be read.
std::optional<std::vector<OptionState>> statesNow(Session& session, const Domain& domain) try {
  return optionStates(session, domain, storedEntries(session, domain).value_or(Dictionary()));
} catch (const Failure& failure) {
  std::cerr << "optionsmgr: " << failure.what() << '\n';
  return std::nullopt;
}

// Watches the folder, or the nearest one above it that is there; for a file that is a link, its target's.
void watchFolders(int notify, const std::string& folder, const std::string& file) {
  constexpr std::uint32_t kEvents = IN_MOVED_TO | IN_CLOSE_WRITE | IN_DELETE | IN_CREATE;
  for (fs::path path = folder; inotify_add_watch(notify, path.c_str(), kEvents) < 0;) {
    if (errno != ENOENT || !path.has_relative_path())
      throw Failure(exitFor(errno), say("cannot watch {}: {}", path.string(), std::strerror(errno)));
    path = path.parent_path();
  }
  std::error_code none;
  const fs::path target = fs::canonical(file, none);
  if (!none && target.parent_path() != fs::path(folder))
    inotify_add_watch(notify, target.parent_path().c_str(), kEvents);
}

void watch(Session& session, const WatchRequest& request, std::ostream& out) {
  const Domain domain = domainOf(session);
  const std::string file = session.files().pathForKey(domain.key());
  // A signal or a closed pipe ends it in order.
  sigset_t ending;
  sigemptyset(&ending);
  sigaddset(&ending, SIGINT);
  sigaddset(&ending, SIGTERM);
  sigprocmask(SIG_BLOCK, &ending, nullptr);
  std::signal(SIGPIPE, SIG_IGN);
  const Handle notify(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
  const Handle signals(signalfd(-1, &ending, SFD_CLOEXEC));

  watchFolders(notify, session.files().folder(), file);
  std::vector<OptionState> before = statesNow(session, domain).value_or(std::vector<OptionState>());
  if (session.reports()) std::cerr << "optionsmgr: " << say("watching {}", domain.name()) << std::endl;
  for (int told = 0;;) {
    pollfd ends[] = {{notify, POLLIN, 0}, {signals, POLLIN, 0}, {STDOUT_FILENO, 0, 0}};
    if (poll(ends, std::size(ends), -1) < 0 && errno != EINTR)
      throw Failure(Exit::InputOutput, say("cannot watch: {}", std::strerror(errno)));
    if (ends[1].revents != 0 || (ends[2].revents & (POLLERR | POLLHUP)) != 0) return;
    alignas(inotify_event) char events[4096];
    while (read(notify, events, sizeof events) > 0) continue;
    // The folder may have been made meanwhile, or the link turned to another place.
    watchFolders(notify, session.files().folder(), file);
    auto after = statesNow(session, domain);
    if (!after) continue;
    for (std::size_t i = 0; i < before.size(); ++i) {
      const OptionState& old = before[i];
      const OptionState& now = (*after)[i];
      const std::string name(now.row->name);
      if (!now.row->write || fnmatch(request.glob.c_str(), name.c_str(), 0) != 0) continue;
      if (old.unreadable == now.unreadable && shown(*old.row, old.value) == shown(*now.row, now.value))
        continue;
      const auto words = [&](const OptionState& state) {
        return state.unreadable ? say("(unreadable)") : masked(*state.row, state.value, request.showSecrets);
      };
      if (session.json())
        out << Json{{"name", name},
                    {"from", Json(maskedJson(*old.row, old.value, request.showSecrets))},
                    {"to", Json(maskedJson(*now.row, now.value, request.showSecrets))}}
                   .dump()
            << std::endl;
      else
        out << name << ": " << words(old) << " -> " << words(now) << std::endl;
      if (!out) return;
      if (++told == request.count) return;
    }
    before = *std::move(after);
  }
}

}  // namespace

void addCareVerbs(Verbs& verbs) {
  verbs.add<DoctorRequest>(
      "doctor", "examine the store's files, rights, lock and copies",
      [](CLI::App& verb, DoctorRequest& request) {
        verb.add_flag("--repair", request.repair, "mend what can be mended");
      },
      doctor, "  optionsmgr doctor\n  optionsmgr doctor --repair\n");
  verbs.add<Nothing>(
      "restore", "replace a damaged file by its last good copy", [](CLI::App&, Nothing&) {}, restore);
  verbs.add<WatchRequest>(
      "watch", "print each change as it reaches the disk, whoever makes it",
      [](CLI::App& verb, WatchRequest& request) {
        verb.add_option("GLOB", request.glob, "only names like this");
        verb.add_option("--count", request.count, "end after so many changes")->check(CLI::Range(1, 1000000));
        verb.add_flag("--show-secrets", request.showSecrets, "show passwords");
      },
      watch, "  optionsmgr watch 'preparer*'\n  optionsmgr watch --json\n");
}

}  // namespace optionsmgr
