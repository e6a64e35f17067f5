#include "firm/Desk.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <tuple>

#include "firm/TaggedJson.h"
#include "firm/Words.h"
#include "qorvane/desktop/BaseDirectories.h"
#include "qorvane/foundation/Dictionary.h"
#include "qorvane/foundation/Exception.h"
#include "qorvane/foundation/Failure.h"
#include "qorvane/propertylist/PropertyList.h"
#include "tool/speech/Language.h"

namespace optionsmgr::firm {

namespace fs = std::filesystem;
using qorvane::Array;
using qorvane::Dictionary;
using qorvane::Text;
using qorvane::Value;

namespace {

constexpr const char* kHistoryFile = "Agent.plist";
constexpr std::size_t kStatesKept = 3;

// The settings that one place has under one key, for one year.
struct Held {
  const Setting* value = nullptr;
  bool locked = false;
};

class Resolver {
 public:
  Resolver(const std::vector<PlaceState>& chain, const Domain& domain) : chain_(chain) {
    for (const PlaceState& place : chain) {
      auto& held = held_.emplace_back();
      // Every year's first, so that the year's own value comes over it.
      for (const int which : {0, domain.year})
        for (const Setting& setting : place.settings) {
          if (setting.domain != Domain{domain.corporate, which}) continue;
          Held& at = held[setting.key];
          if (setting.value) at.value = &setting;
          at.locked = at.locked || setting.locked;
        }
      for (const auto& [key, at] : held)
        if (at.value) keys_.insert(key);
    }
  }

  Value file(const std::string& domain) const {
    Dictionary entries;
    Dictionary origins;
    Array locked;
    for (const std::string& key : keys_) {
      const auto [place, isLocked] = decided(key);
      const Setting& setting = *held_[place].at(key).value;
      const auto value = valueOf(*setting.value);
      if (!value) continue;
      entries.set(Text(key), *value);
      if (isLocked) locked.emplace_back(Text(key));
      origins.set(Text(key), Dictionary{{"Place", Text(chain_[place].name)},
                                        {"Number", Text(setting.number)},
                                        {"Time", Text(setting.at)},
                                        {"Who", Text(setting.who)}});
    }
    Dictionary top{{Text(domain), entries}, {"Origins", origins}};
    if (!locked.empty()) top.set(Text("Locked"), locked);
    return top;
  }

 private:
  bool hasValue(std::size_t place, const std::string& key) const {
    const auto found = held_[place].find(key);
    return found != held_[place].end() && found->second.value;
  }
  bool locks(std::size_t place, const std::string& key) const {
    for (const std::string& name : {key, std::string("*")})
      if (const auto found = held_[place].find(name); found != held_[place].end() && found->second.locked)
        return true;
    return false;
  }
  // The place whose value counts, and whether it is locked. Some place has a value.
  std::pair<std::size_t, bool> decided(const std::string& key) const {
    std::size_t last = held_.size();
    for (std::size_t place = held_.size(); place-- > 0;) {
      if (hasValue(place, key)) last = place;
      // From the farthest on: the first lock that something is behind decides.
      if (last < held_.size() && locks(place, key)) return {last, true};
    }
    return {last, false};
  }

  const std::vector<PlaceState>& chain_;
  std::vector<std::map<std::string, Held>> held_;
  std::set<std::string> keys_;
};

[[noreturn]] void failed(const std::string& path) {
  throw FirmFailure(Exit::InputOutput, Word::cannotKeep, path,
                    qorvane::systemReason(errno, optionsmgr::language()).string());
}

void sync(const std::string& path) {
  const int folder = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) failed(path);
  const bool done = fsync(folder) == 0;
  const int error = errno;
  close(folder);
  errno = error;
  if (!done) failed(path);
}

void writeSynced(const std::string& path, const std::string& bytes) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
  if (file < 0) failed(path);
  bool good = true;
  for (std::size_t written = 0; good && written < bytes.size();) {
    const ssize_t count = write(file, bytes.data() + written, bytes.size() - written);
    if (count > 0)
      written += static_cast<std::size_t>(count);
    else
      good = count < 0 && errno == EINTR;
  }
  good = good && fsync(file) == 0;
  const int error = errno;
  close(file);
  errno = error;
  if (!good) failed(path);
}

std::optional<std::string> contents(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// Where the folder's link leads; empty when there is none.
std::string currentIn(const std::string& folder) {
  std::error_code error;
  const fs::path target = fs::read_symlink(folder + "/current", error);
  return error ? std::string() : folder + "/" + target.string();
}

// The numbers of the states that stand there, in order.
std::vector<std::uint64_t> numbered(const std::string& states) {
  std::vector<std::uint64_t> numbers;
  std::error_code ignored;
  for (const auto& entry : fs::directory_iterator(states, ignored)) {
    const std::string name = entry.path().filename();
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    if (error == std::errc() && end == name.data() + name.size()) numbers.push_back(number);
  }
  std::ranges::sort(numbers);
  return numbers;
}

std::string bytesOf(const Value& value) {
  return qorvane::writePropertyList(value, qorvane::PropertyListFormat::Binary);
}

std::string digits(std::int64_t number) { return std::to_string(number); }

}  // namespace

std::string Domain::key() const {
  return (corporate ? "QorvaneT2Settings" : "QorvaneT1Settings") + (year == 0 ? "" : std::to_string(year));
}

std::optional<Domain> Domain::fromKey(std::string_view key) {
  for (const bool corporate : {false, true}) {
    Domain domain{corporate, 0};
    const std::string every = domain.key();
    if (!key.starts_with(every)) continue;
    const std::string_view digits = key.substr(every.size());
    std::from_chars(digits.data(), digits.data() + digits.size(), domain.year);
    // Only the year's own digits make the key that the suite would use.
    if (domain.year >= 0 && domain.year <= 9999 && domain.key() == key) return domain;
  }
  return std::nullopt;
}

std::string Domain::name() const { return product() + (year == 0 ? "" : " " + std::to_string(year)); }

Standing standingOf(const History& server, const std::optional<History>& followed) {
  if (!followed) return Standing::Same;
  if (server.system != followed->system) return Standing::TakenOver;
  const auto line = [](const History& history) { return std::tuple(history.timeline, history.restored); };
  if (line(server) < line(*followed)) return Standing::Older;
  if (line(server) > line(*followed)) return Standing::TakenOver;
  return server.number < followed->number ? Standing::Lagging : Standing::Same;
}

std::map<std::string, Value> filesOf(const std::vector<PlaceState>& chain) {
  std::set<Domain> domains;
  for (const PlaceState& place : chain)
    for (const Setting& setting : place.settings) domains.insert(setting.domain);
  std::map<std::string, Value> files;
  for (const Domain& domain : domains)
    files[domain.key() + ".plist"] = Resolver(chain, domain).file(domain.key());
  return files;
}

std::string stateFolder(const std::string& configured) {
  if (!configured.empty()) return configured;
  Text state = qorvane::absolutePathInEnvironment("XDG_STATE_HOME");
  if (state.isNil()) {
    const Text home = qorvane::homeDirectory();
    if (home.isNil()) throw FirmFailure(Exit::CannotCreate, Word::noStateFolder);
    state = qorvane::pathBelow(home, ".local/state");
  }
  return qorvane::pathBelow(state, "Qorvane/firm").string();
}

States::States(std::string folder) : folder_(std::move(folder)) {
  std::error_code error;
  fs::create_directories(folder_ + "/states", error);
  errno = error.value();
  if (error) failed(folder_);
  lock_ = open((folder_ + "/.agent").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (lock_ < 0) failed(folder_);
  if (flock(lock_, LOCK_EX | LOCK_NB) != 0) {
    close(lock_);
    throw FirmFailure(Exit::TryAgain, Word::agentRuns, folder_);
  }
}

States::~States() { close(lock_); }

std::string States::currentFolder() const { return currentIn(folder_); }
std::optional<History> States::followed() const { return followedIn(folder_); }

void States::leaveWord(const std::string& json) const {
  const std::string path = folder_ + "/status.json";
  std::ofstream(path + ".new", std::ios::trunc) << json;
  static_cast<void>(rename((path + ".new").c_str(), path.c_str()));
}

States::Left States::leftIn(const std::string& folder) {
  Left word{contents(folder + "/status.json").value_or(""), false};
  const int lock = open((folder + "/.agent").c_str(), O_RDONLY | O_CLOEXEC);
  if (lock < 0) return word;
  word.running = flock(lock, LOCK_SH | LOCK_NB) != 0;
  close(lock);
  return word;
}

std::optional<History> States::followedIn(const std::string& folder) {
  const std::string current = currentIn(folder);
  const auto bytes = current.empty() ? std::nullopt : contents(current + "/" + kHistoryFile);
  if (!bytes) return std::nullopt;
  try {
    const Value top = qorvane::readPropertyList(*bytes);
    if (!top.asDictionary()) return std::nullopt;
    const auto number = [&](const char* key) {
      const Value* value = top.asDictionary()->find(key);
      const std::string text = value ? value->textValue().string() : "";
      std::int64_t parsed = 0;
      std::from_chars(text.data(), text.data() + text.size(), parsed);
      return parsed;
    };
    return History{static_cast<std::uint64_t>(number("System")), number("Timeline"), number("Restored"),
                   number("Number")};
  } catch (const qorvane::Exception&) {
    return std::nullopt;
  }
}

void States::publish(const std::map<std::string, Value>& files, const History& history) {
  std::map<std::string, std::string> bytes;
  for (const auto& [name, value] : files) bytes[name] = bytesOf(value);
  const std::string current = currentFolder();
  const auto last = followed();
  if (last && last->system == history.system && last->timeline == history.timeline &&
      last->restored == history.restored) {
    std::size_t there = 0;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(current, ignored))
      there += entry.path().filename() != kHistoryFile;
    if (there == bytes.size() && std::ranges::all_of(bytes, [&](const auto& file) {
          return contents(current + "/" + file.first) == file.second;
        }))
      return;
  }
  bytes[kHistoryFile] =
      bytesOf(Dictionary{{"System", Text(digits(static_cast<std::int64_t>(history.system)))},
                         {"Timeline", Text(digits(history.timeline))},
                         {"Restored", Text(digits(history.restored))},
                         {"Number", Text(digits(history.number))}});
  const std::string states = folder_ + "/states";
  std::vector<std::uint64_t> numbers = numbered(states);
  const std::string name = std::to_string(numbers.empty() ? 1 : numbers.back() + 1);
  const std::string made = states + "/" + name;
  const std::string link = folder_ + "/current.new";
  try {
    if (mkdir(made.c_str(), 0755) != 0) failed(made);
    for (const auto& [file, text] : bytes) writeSynced(made + "/" + file, text);
    sync(made);
    sync(states);
    unlink(link.c_str());
    if (symlink(("states/" + name).c_str(), link.c_str()) != 0) failed(link);
    if (rename(link.c_str(), (folder_ + "/current").c_str()) != 0) failed(folder_ + "/current");
    sync(folder_);
  } catch (const FirmFailure&) {
    std::error_code ignored;
    if (currentFolder() != made) fs::remove_all(made, ignored);
    throw;
  }
  numbers = numbered(states);
  for (std::size_t i = 0; i + kStatesKept < numbers.size(); ++i) {
    std::error_code ignored;
    fs::remove_all(states + "/" + std::to_string(numbers[i]), ignored);
  }
}

void States::remove() {
  // The link first: nobody is to find half of a state.
  if (unlink((folder_ + "/current").c_str()) != 0 && errno != ENOENT) failed(folder_ + "/current");
  sync(folder_);
  std::error_code error;
  fs::remove_all(folder_ + "/states", error);
  fs::remove(folder_ + "/status.json", error);
}

}  // namespace optionsmgr::firm
