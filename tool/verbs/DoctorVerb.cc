// The verb doctor: what is wrong with the store's files, and the mending of what can be mended.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <optional>
#include <set>
#include <sstream>

#include "qorvane/foundation/Exception.h"
#include "qorvane/foundation/Version.h"
#include "qorvane/preferences/SystemCalls.h"
#include "tool/Domains.h"
#include "tool/Failure.h"
#include "tool/LayerFiles.h"
#include "tool/Output.h"
#include "tool/PreferenceFile.h"
#include "tool/UnfinishedChange.h"
#include "tool/WholeFile.h"
#include "tool/speech/Language.h"
#include "tool/verbs/Verbs.h"

namespace optionsmgr {

using qorvane::FileException;
using qorvane::FileUserDefaults;
using qorvane::Text;
using FileState = FileUserDefaults::Inspection::State;

namespace fs = std::filesystem;

namespace {

struct DoctorRequest {
  bool repair = false;
  std::string report;
};

enum class State : std::uint8_t { Good, Problem, Repaired, Note };

Phrase wordFor(State state) {
  switch (state) {
    case State::Good:
      return "good";
    case State::Problem:
      return "problem";
    case State::Repaired:
      return "repaired";
    case State::Note:
      break;
  }
  return "note";
}

struct Finding {
  std::string file;
  State state;
  std::string what;
};

class Doctor {
 public:
  Doctor(Session& session, bool repair) : session_(session), repair_(repair) {}

  std::vector<Finding> findings() {
    session_.requireFolder();
    const std::string folder = session_.files().folder();
    struct stat status;
    if (stat(folder.c_str(), &status) != 0) {
      if (errno != ENOENT)
        throw Failure(exitFor(errno), say("cannot examine {}: {}", folder, systemReason(errno)));
      add(folder, State::Note, say("there are no settings yet"));
      return std::move(findings_);
    }
    names_ = namesIn(folder);
    domains_ = domains();
    // A folder that holds nothing of ours may be anybody's, such as one that was misspelt.
    if (domains_.empty() && std::ranges::find(names_, ".lock") == names_.end()) {
      add(folder, State::Note, say("there are no settings yet"));
      return std::move(findings_);
    }
    // Root would act on what another user can exchange under its hands, and make files that he cannot read.
    if (status.st_uid != geteuid()) repair_ = false;
    examineRights(folder, ".", 0700);
    lock();
    if (repair_ && lock_) {
      putBackUnfinished(session_);
      names_ = namesIn(folder);
    }
    for (const Domain& domain : domains_) examineSettings(domain);
    examineLeftovers(folder);
    return std::move(findings_);
  }

 private:
  static std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (fs::directory_iterator file(folder, error), end; !error && file != end; file.increment(error))
      names.push_back(file->path().filename().string());
    if (error)
      throw Failure(exitFor(error.value()),
                    say("cannot look into {}: {}", folder, systemReason(error.value())));
    std::ranges::sort(names);
    return names;
  }

  // Those with a file, or with nothing but generations of one that was removed.
  std::vector<Domain> domains() const {
    std::vector<Domain> found = storedDomains(session_);
    for (const std::string& name : names_) {
      const std::size_t start = name.starts_with('.') ? 1 : 0;
      if (const auto domain = Domain::fromKey(name.substr(start, name.find('.', start) - start)))
        found.push_back(*domain);
    }
    std::ranges::sort(found);
    found.erase(std::unique(found.begin(), found.end()), found.end());
    return found;
  }

  void add(std::string file, State state, std::string what) {
    findings_.push_back({std::move(file), state, std::move(what)});
  }

  // Private to the user, as every file and folder of the store is made. Nothing is changed through a link:
  // who knows what it points to.
  void examineRights(const std::string& path, const std::string& name, mode_t wanted) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0) return;
    if (status.st_uid != geteuid()) {
      add(name, State::Problem, say("belongs to another user"));
    } else if ((status.st_mode & 0777) != wanted) {
      const int file = repair_ ? open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC) : -1;
      const std::string opened = "/proc/self/fd/" + std::to_string(file);
      const bool mended = file >= 0 && fstat(file, &status) == 0 && !S_ISLNK(status.st_mode) &&
                          chmod(opened.c_str(), wanted) == 0;
      if (file >= 0) close(file);
      add(name, mended ? State::Repaired : State::Problem,
          wanted == 0700 ? say("its mode was not 0700: others may look in, or you may not")
                         : say("its mode was not 0600: others may read it, or you may not"));
    }
  }

  void lock() try {
    // Who only looks waits for nobody.
    if (!repair_) session_.files().setLockWait(0);
    struct stat status;
    if (stat(session_.files().folder().c_str(), &status) == 0 && status.st_uid == geteuid())
      lock_.emplace(session_.files());
  } catch (const FileException& error) {
    add(".lock", error.systemError() == EAGAIN ? State::Note : State::Problem, told(error.failure()));
  }

  void examineSettings(const Domain& domain) try {
    FileUserDefaults& files = session_.files();
    const Text key = domain.key();
    const std::string name = key.string() + ".plist";
    auto found = files.inspect(key);
    const bool healable = files.newestGoodGeneration(key).has_value();
    if (found.state == FileState::Damaged) {
      const std::string damage = told(*found.damage);
      if (repair_ && lock_) {
        files.objectForKey(key);
        found = files.inspect(key);
      }
      add(name, found.state == FileState::Damaged ? State::Problem : State::Repaired,
          say(healable ? Phrase("damaged: {}; there is a good copy of it")
                       : Phrase("damaged: {}; there is no good copy of it"),
              damage));
    } else if (found.state == FileState::Good) {
      add(name, State::Good,
          found.sealed ? say("saves: {}", std::to_string(found.generation))
                       : say("written by another program: damage to it would not show"));
    } else {
      add(name, State::Note, say("removed; what it held is kept"));
    }
    if (found.state != FileState::Missing) examineRights(files.pathForKey(key), name, 0600);
    examineGenerations(key);
  } catch (const FileException& error) {
    add(domain.key().string() + ".plist", State::Problem, told(error.failure()));
  }

  void examineGenerations(const Text& key) {
    FileUserDefaults& files = session_.files();
    const auto all = files.generations(key);
    std::size_t good = 0;
    bool damaged = false;
    for (const auto& generation : all) {
      const std::string name = fs::path(generation.path).filename().string();
      const auto found = files.inspectGeneration(key, generation.number);
      if (found.state == FileState::Good) ++good;
      if (found.state == FileState::Damaged) {
        damaged = true;
        add(name, repair_ && lock_ ? State::Repaired : State::Problem,
            say("damaged: {}", told(*found.damage)));
      }
      examineRights(generation.path, name, 0600);
    }
    if (damaged && repair_ && lock_) files.quarantineDamagedGenerations(key);
    if (good != 0)
      add("." + key.string() + ".*.plist", State::Good,
          say("generations that are good: {}", std::to_string(good)));
  }

  void examineLeftovers(const std::string& folder) {
    for (const std::string& name : names_) {
      if (std::ranges::any_of(domains_,
                              [&](const Domain& d) { return FileUserDefaults::isLeftover(name, d.key()); })) {
        // Whoever holds the lock may be writing it.
        const bool removed = repair_ && lock_ && unlink((folder + "/" + name).c_str()) == 0;
        add(name, removed ? State::Repaired : State::Problem, say("left by a save that was killed"));
      } else if (name.find(".damaged-") != name.npos || name.find(".unreadable-") != name.npos) {
        add(name, State::Note, say("set aside; yours to keep or remove"));
      } else if (name.starts_with(".lock-held")) {
        add(name, State::Note, say("a lock, or what a killed process left of one; it goes by itself"));
      } else if (name == ".unfinished") {
        // Whoever holds the lock may be at it.
        add(name, lock_ ? State::Problem : State::Note,
            say("left by a change of several years that was interrupted; the next change puts it back"));
      } else if (name.find(".before-import-") != name.npos) {
        add(name, State::Note,
            say("kept from a change of several years that was interrupted; yours to remove"));
      }
    }
  }

  Session& session_;
  bool repair_;
  std::vector<std::string> names_;
  std::vector<Domain> domains_;
  std::optional<FileUserDefaults::Lock> lock_;
  std::vector<Finding> findings_;
};

// What stands in the folders that are set for many desks.
void reportLayers(std::ostream& text) {
  for (const auto& [kind, folder, owner] : qorvane::layerFolders(qorvane::SystemCalls::standard())) {
    std::error_code error;
    std::size_t lists = 0;
    for (fs::directory_iterator file(folder, error), end; !error && file != end; file.increment(error))
      lists += file->path().extension() == ".plist";
    text << layerName(kind).english() << ": " << folder << ": "
         << (error ? error.value() == ENOENT
                         ? "not there"
                         : qorvane::systemReason(error.value(), qorvane::Language::English).string()
                   : std::to_string(lists) + " property lists")
         << '\n';
  }
}

void reportDomain(Session& session, const Domain& domain, std::ostream& text) try {
  const FileUserDefaults& files = session.files();
  text << '\n' << domain.name() << '\n';
  const auto found = files.inspect(domain.key());
  if (found.damage)
    text << "  damaged: " << found.damage->reason(qorvane::Language::English).string() << '\n';
  if (found.state == FileState::Good)
    text << "  entries: " << storedEntries(session, domain).value_or(qorvane::Dictionary()).size() << ", "
         << (found.sealed ? "saves: " + std::to_string(found.generation) : "not sealed") << '\n';
  for (const auto& generation : files.generations(domain.key())) {
    const auto state = files.inspectGeneration(domain.key(), generation.number);
    text << "  generation " << generation.number << ": " << generation.size << " bytes, "
         << (state.state == FileState::Good ? "good" : "damaged") << '\n';
  }
} catch (const FileException& error) {
  text << "  failed: " << error.failure().reason(qorvane::Language::English).string() << '\n';
} catch (const Failure& failure) {
  text << "  failed: " << failure.what() << '\n';
}

// For whoever helps: versions, layers, failures and states, in English whoever asks, and no value of a
// setting.
std::string reportOf(Session& session, const std::vector<Finding>& findings) {
  std::ostringstream text;
  utsname machine{};
  uname(&machine);
  text << "optionsmgr " << OPTIONSMGR_VERSION << '\n'
       << machine.sysname << ' ' << machine.release << ' ' << machine.machine << "\n\n"
       << "user: " << session.files().folder() << '\n';
  reportLayers(text);
  text << '\n';
  for (const Finding& finding : findings)
    text << finding.file << ": " << wordFor(finding.state).english() << ": " << finding.what << '\n';
  for (const Domain& domain : storedDomains(session)) reportDomain(session, domain, text);
  return text.str();
}

// Whether the layers that are set for many desks count: who could change them, and what their locks hold.
void examineLayers(Session& session, std::vector<Finding>& findings) {
  std::vector<Domain> domains = storedDomains(session);
  domains.push_back(domainOf(session));
  for (const qorvane::LayerFolder& folder : qorvane::layerFolders(qorvane::SystemCalls::standard())) {
    std::error_code error;
    bool any = false;
    std::vector<std::string> paths{folder.path};
    for (fs::directory_iterator file(folder.path, error), end; !error && file != end; file.increment(error)) {
      const std::string stem = file->path().stem().string();
      if (file->path().extension() != ".plist" || !stem.starts_with("QorvaneT")) continue;
      any = true;
      paths.push_back(file->path().string());
      if (const auto domain = Domain::fromKey(stem)) domains.push_back(*domain);
    }
    if (error && error != std::errc::no_such_file_or_directory && error != std::errc::not_a_directory)
      findings.push_back({folder.path, State::Problem, systemReason(error.value())});
    if (!any) continue;
    bool trusted = true;
    for (const std::string& path : paths)
      if (const auto why = distrusted(path, folder.owner)) {
        findings.push_back({path, State::Problem, say("{}: it is left out", *why)});
        trusted = false;
      }
    if (trusted)
      findings.push_back({folder.path, State::Good,
                          say("files that count for many desks: {}", std::to_string(paths.size() - 1))});
  }
  std::ranges::sort(domains);
  domains.erase(std::unique(domains.begin(), domains.end()), domains.end());
  std::set<std::string> told;
  for (const Domain& domain : domains) {
    const auto layers = layersOf(session, domain, {});
    for (const qorvane::Layer& layer : layers->layers())
      for (const auto& [key, ignored] : layer.locked())
        if (!layers->layers().lockOf(key.view()) && told.insert(layer.folder().path + key.string()).second)
          findings.push_back(
              {layer.folder().path, State::Note,
               say("locks {}, of which neither it nor a farther layer has a value", key.view())});
  }
}

void doctor(Session& session, const DoctorRequest& request, std::ostream& out) {
  std::vector<Finding> findings = Doctor(session, request.repair).findings();
  examineLayers(session, findings);
  if (!request.report.empty())
    writeWholeFile(request.report, reportOf(session, findings), Existing::Replaced);
  const bool ill = std::ranges::any_of(findings, [](const Finding& f) { return f.state == State::Problem; });
  if (ill) session.setExit(Exit::NotFound);
  if (session.json()) {
    Json all = Json::array();
    for (const Finding& finding : findings)
      all.push_back({{"file", finding.file},
                     {"state", std::string(wordFor(finding.state).english())},
                     {"what", finding.what}});
    printJson({{"folder", session.files().folder()}, {"findings", all}}, out);
    return;
  }
  if (!session.reports()) return;
  printTable(session, {}, {{session.files().folder()}}, out, Overflow::Paths);
  std::vector<Row> rows;
  for (const Finding& finding : findings) {
    // The name of a file that was set aside is longer than all else and would leave no room for it.
    const bool isLong = finding.file.size() > 36;
    if (isLong) rows.push_back({"  " + finding.file});
    rows.push_back({isLong ? "" : "  " + finding.file, say(wordFor(finding.state)), finding.what});
  }
  printTable(session, {}, rows, out, Overflow::Words);
  if (ill && !request.repair) out << say("`optionsmgr doctor --repair` mends what can be mended") << '\n';
}

}  // namespace

void addDoctorVerb(Verbs& verbs) {
  verbs.add<DoctorRequest>(
      "doctor", "examine the store's files, rights, lock and copies",
      [](CLI::App& verb, DoctorRequest& request) {
        verb.add_flag("--repair", request.repair, Phrase("mend what can be mended"));
        verb.add_option("--report", request.report,
                        Phrase("write versions, layers, failures and states to this file, for whoever helps; "
                               "no values"));
      },
      doctor, "  optionsmgr doctor\n  optionsmgr doctor --repair\n  optionsmgr doctor --report report.txt\n");
}

}  // namespace optionsmgr
