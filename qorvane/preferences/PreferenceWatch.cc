#include "qorvane/preferences/PreferenceWatch.h"

#include <limits.h>
#include <linux/magic.h>
#include <sys/epoll.h>
#include <sys/inotify.h>
#include <sys/timerfd.h>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "qorvane/preferences/LayeredUserDefaults.h"
#include "qorvane/preferences/LockedFolder.h"
#include "qorvane/preferences/OpenFile.h"

namespace qorvane::inline v1 {

namespace {

constexpr int kTickSeconds = 2;
constexpr std::string_view kEnd = ".plist";

// What may change of the names in a folder, and of a folder itself.
constexpr std::uint32_t kNames = IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_CLOSE_WRITE;
constexpr std::uint32_t kItself = IN_MOVE_SELF | IN_DELETE_SELF | IN_UNMOUNT;

// File systems that other machines change, where the kernel here hears nothing of it.
bool isBlindTo(std::uint32_t type) {
  constexpr std::uint32_t kSmb2 = 0xFE534D42;
  constexpr std::uint32_t kCifs = 0xFF534D42;
  constexpr std::uint32_t kNineP = 0x01021997;
  constexpr std::uint32_t kCeph = 0x00C36400;
  constexpr std::uint32_t kLustre = 0x0BD00BD0;
  constexpr std::uint32_t kGfs2 = 0x01161970;
  constexpr std::uint32_t kOcfs2 = 0x7461636F;
  constexpr std::uint32_t kAll[] = {NFS_SUPER_MAGIC, SMB_SUPER_MAGIC, kSmb2,        kCifs,
                                    kNineP,          kCeph,           kLustre,      kGfs2,
                                    kOcfs2,          AFS_SUPER_MAGIC, AFS_FS_MAGIC, CODA_SUPER_MAGIC,
                                    NCP_SUPER_MAGIC, FUSE_SUPER_MAGIC};
  return std::ranges::find(kAll, type) != std::end(kAll);
}

// A descriptor of the kernel's that closes itself.
class Handle {
 public:
  explicit Handle(SystemCalls& calls, int descriptor) : calls_(calls), descriptor_(descriptor) {}
  ~Handle() {
    if (descriptor_ >= 0) calls_.close(descriptor_);
  }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  int get() const { return descriptor_; }

 private:
  SystemCalls& calls_;
  int descriptor_;
};

// Which file it is, and in which state.
struct Identity {
  dev_t device = 0;
  ino_t file = 0;
  off_t size = 0;
  timespec written = {};
  timespec changed = {};

  static Identity of(const struct stat& status) {
    return {status.st_dev, status.st_ino, status.st_size, status.st_mtim, status.st_ctim};
  }
  friend bool operator==(const Identity& a, const Identity& b) {
    return a.device == b.device && a.file == b.file && a.size == b.size && isSame(a.written, b.written) &&
           isSame(a.changed, b.changed);
  }
  // Whether the file was touched so shortly before it was looked at that it may have been touched again since
  // without a trace: the clock of the files goes in steps.
  bool mayHide(const timespec& looked) const {
    constexpr std::int64_t kStep = 20'000'000;
    return nanoseconds(changed) + kStep >= nanoseconds(looked);
  }

 private:
  static bool isSame(const timespec& a, const timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
  }
  static std::int64_t nanoseconds(const timespec& time) {
    return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec;
  }
};

}  // namespace

class PreferenceWatch::Eyes {
 public:
  explicit Eyes(FileUserDefaults& store)
      : store_(store),
        layered_(dynamic_cast<LayeredUserDefaults*>(&store)),
        calls_(store.calls_),
        poll_(calls_, epoll_create1(EPOLL_CLOEXEC)),
        notify_(calls_, inotify_init1(IN_CLOEXEC | IN_NONBLOCK)),
        ticker_(calls_, timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)) {
    if (store.folder().empty()) throw FileException(FailureCode::noPreferenceFolder, {}, ENOENT);
    if (poll_.get() < 0 || ticker_.get() < 0 || !wait(ticker_) || (notify_.get() >= 0 && !wait(notify_)))
      throw FileException(FailureCode::cannotWatch, {store.folder()}, errno);
    follow();
    look(nullptr);
    lookAtLayers(nullptr);
  }

  int descriptor() const { return poll_.get(); }

  std::vector<Text> changedKeys() {
    std::set<std::string> changed;
    std::uint64_t ticks = 0;
    const bool ticked = calls_.read(ticker_.get(), &ticks, sizeof ticks) > 0;
    std::set<std::string> touched;
    const bool moved = takeEvents(touched);
    if (moved || ticked) {
      // The ways to the files first: what changes behind a new one is heard then.
      follow();
      look(&changed);
    }
    for (const std::string& key : touched) lookAt(key, &changed, true);
    if (moved || ticked || !layersTouched_.empty()) lookAtLayers(&changed);
    layersTouched_.clear();
    std::vector<Text> keys;
    for (const std::string& key : changed) keys.emplace_back(key);
    return keys;
  }

 private:
  struct Watched {
    std::uint32_t events = 0;
    /// The names that matter in it; every name when it is the store's own folder.
    std::set<std::string> names;
    bool isStore = false;
    bool isLayer = false;
    bool isNew = true;
  };
  struct Seen {
    std::optional<Identity> file;
    timespec looked = {};
    bool linked = false;
    /// The store object's own write that was known of by then.
    std::uint64_t ownWrite = 0;
    /// Whether it stood there when the folder was looked through.
    bool listed = false;
  };

  /// The files of a key in the farther layers, each folder's year first, and when they were looked at.
  struct SeenLayers {
    std::vector<std::optional<Identity>> files;
    timespec looked = {};
  };

  bool wait(const Handle& handle) {
    epoll_event event{};
    event.events = EPOLLIN;
    return epoll_ctl(poll_.get(), EPOLL_CTL_ADD, handle.get(), &event) == 0;
  }

  // ---- the ways -------------------------------------------------------------------------------------------

  // Watches the folder and the ways to it and to the targets of links, and lets go of what is no longer on
  // one.
  void follow() {
    for (auto& [number, watched] : watched_)
      watched.isNew = false, watched.names.clear(), watched.isStore = watched.isLayer = false;
    wanted_.clear();
    blind_ = notify_.get() < 0;
    walk(store_.folder() + "/", 0,
         [this](const std::string& folder) { want(folder, kNames, {}, &Watched::isStore); });
    if (layered_)
      for (const LayerFolder& layer : layerFolders(calls_))
        walk(layer.path + "/", 0,
             [this](const std::string& folder) { want(folder, kNames, {}, &Watched::isLayer); });
    for (const auto& [key, seen] : seen_)
      if (seen.linked) walk(store_.folder() + "/" + key + std::string(kEnd), 0, [](const std::string&) {});
    std::erase_if(watched_, [this](const auto& one) {
      const bool gone = !wanted_.contains(one.first);
      if (gone) inotify_rm_watch(notify_.get(), one.first);
      return gone;
    });
    tick(blind_);
  }

  // Goes along the path, watching each folder on it for being moved, each link for being turned, and the
  // place where the path ends, or would go on. `found` is told the folder that a path with a slash at its end
  // names.
  template <class Found>
  void walk(const std::string& path, int links, const Found& found) {
    constexpr int kMostLinks = 40;
    std::string at = path.starts_with('/') ? "/" : ".";
    for (std::size_t start = path.find_first_not_of('/'); start != path.npos;) {
      const std::size_t end = std::min(path.find('/', start), path.size());
      const std::string name = path.substr(start, end - start);
      const std::size_t next = path.find_first_not_of('/', end);
      const std::string here = at == "/" ? at + name : at + "/" + name;
      const bool last = end == path.size();
      struct stat status;
      if (calls_.lstat(here.c_str(), &status) != 0) {
        want(at, kNames, name);
        return;
      }
      if (S_ISLNK(status.st_mode)) {
        want(at, kNames, name);
        char target[PATH_MAX];
        const ssize_t length = calls_.readlink(here.c_str(), target, sizeof target);
        if (length <= 0 || links >= kMostLinks) return;
        const std::string to(target, static_cast<std::size_t>(length));
        walk((to.starts_with('/') ? to : (at == "/" ? at : at + "/") + to) + path.substr(end), links + 1,
             found);
        return;
      }
      if (last) {
        want(at, kNames, name);
        return;
      }
      want(here, 0, {});
      at = here;
      start = next;
    }
    found(at);
  }

  // mark: what the folder is, besides a place on the way.
  void want(const std::string& folder, std::uint32_t events, const std::string& name,
            bool Watched::*mark = nullptr) {
    struct statfs where {};
    if (calls_.statfs(folder.c_str(), &where) == 0 && isBlindTo(static_cast<std::uint32_t>(where.f_type)))
      blind_ = true;
    if (notify_.get() < 0) return;
    const int number =
        inotify_add_watch(notify_.get(), folder.c_str(), kItself | IN_ONLYDIR | IN_MASK_ADD | events);
    if (number < 0) {
      // No watches left, or no right to look there: then the files are compared.
      if (errno != ENOENT && errno != ENOTDIR) blind_ = true;
      return;
    }
    wanted_.insert(number);
    Watched& watched = watched_[number];
    if (mark) watched.*mark = true;
    if (!name.empty()) watched.names.insert(name);
  }

  void tick(bool ticking) {
    itimerspec every{};
    if (ticking) every.it_interval.tv_sec = every.it_value.tv_sec = kTickSeconds;
    if (ticking != ticking_) timerfd_settime(ticker_.get(), 0, &every, nullptr);
    ticking_ = ticking;
  }

  // ---- events ---------------------------------------------------------------------------------------------

  // Takes all that has happened. True when everything must be looked at anew; else the keys that were
  // touched.
  bool takeEvents(std::set<std::string>& touched) {
    bool anew = false;
    if (notify_.get() < 0) return false;
    alignas(inotify_event) char events[65536];
    for (ssize_t size; (size = calls_.read(notify_.get(), events, sizeof events)) > 0;)
      for (const char* at = events; at < events + size;) {
        const auto* const event = reinterpret_cast<const inotify_event*>(at);
        anew = take(*event, event->len == 0 ? std::string_view() : std::string_view(event->name), touched) ||
               anew;
        at += sizeof *event + event->len;
      }
    return anew;
  }

  bool take(const inotify_event& event, std::string_view name, std::set<std::string>& touched) {
    if ((event.mask & IN_Q_OVERFLOW) != 0) return true;
    const auto found = watched_.find(event.wd);
    if (found == watched_.end()) return false;
    if ((event.mask & IN_IGNORED) != 0) {
      watched_.erase(found);
      return true;
    }
    if ((event.mask & kItself) != 0) return true;
    if (found->second.names.contains(std::string(name))) return true;
    if (!isSettings(name)) return false;
    if (found->second.isLayer) layersTouched_.emplace(name.substr(0, name.size() - kEnd.size()));
    // Root's word on where the firm's layer is.
    if (found->second.isLayer && name == "Firm.plist") return true;
    if (!found->second.isStore) return false;
    const std::string key(name.substr(0, name.size() - kEnd.size()));
    // A link that comes or is replaced leads somewhere else.
    const auto seen = seen_.find(key);
    if (seen != seen_.end() && seen->second.linked) return true;
    touched.insert(key);
    return false;
  }

  static bool isSettings(std::string_view name) {
    return name.size() > kEnd.size() && name.ends_with(kEnd) && name.front() != '.';
  }

  // ---- the files ------------------------------------------------------------------------------------------

  // Looks at every file that there is or was; tells what changed, unless this is the first look.
  void look(std::set<std::string>* changed) {
    for (auto& [key, seen] : seen_) seen.listed = false;
    std::vector<std::string> keys;
    bool links = false;
    {
      OpenFile folder(calls_, store_.folder(), O_RDONLY | O_DIRECTORY);
      if (!folder && errno != ENOENT && errno != ENOTDIR) return;  // Not now: the next look will tell.
      if (folder && !folder.list([&](std::string_view name, unsigned char) {
            if (isSettings(name)) keys.emplace_back(name.substr(0, name.size() - kEnd.size()));
          }))
        return;
    }
    for (const std::string& key : keys) {
      Seen& seen = seen_[key];
      const bool wasLinked = seen.linked;
      seen.listed = true;
      lookAt(key, changed, false);
      links = links || (seen_[key].linked && !wasLinked);
    }
    std::vector<std::string> gone;
    for (const auto& [key, seen] : seen_)
      if (!seen.listed) gone.push_back(key);
    for (const std::string& key : gone) {
      lookAt(key, changed, false);
      seen_.erase(key);
    }
    // The ways behind links that are new.
    if (links) follow();
  }

  void lookAt(const std::string& key, std::set<std::string>* changed, bool wasTouched) {
    const std::string path = store_.folder() + "/" + key + std::string(kEnd);
    struct stat status;
    std::optional<Identity> now;
    const timespec looking = calls_.fileTime();
    bool linked = calls_.lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
    if (calls_.stat(path.c_str(), &status) == 0)
      now = Identity::of(status);
    else if (errno != ENOENT && errno != ENOTDIR && errno != ELOOP)
      return;
    auto [at, isNew] = seen_.try_emplace(key);
    Seen& seen = at->second;
    const bool same = seen.file == now && !(wasTouched && now && now->mayHide(seen.looked));
    const bool turned = linked != seen.linked;
    seen.file = now;
    seen.looked = looking;
    seen.linked = linked;
    if (changed && !same && !isOurs(key, path, now.has_value(), seen.ownWrite)) changed->insert(key);
    seen.ownWrite = ownWrite(key);
    if (wasTouched && turned) follow();
  }

  // The keys whose settings the layers are part of: those that were loaded, and those that have files.
  void lookAtLayers(std::set<std::string>* changed) {
    if (!layered_) return;
    std::set<std::string> keys(layered_->loaded_.begin(), layered_->loaded_.end());
    for (const auto& [key, seen] : seen_) keys.insert(key);
    const std::vector<LayerFolder> folders = layerFolders(calls_);
    for (const std::string& key : keys) {
      const std::string everyYear(everyYearKey(key));
      const bool wereTouched = layersTouched_.contains(key) || layersTouched_.contains(everyYear);
      SeenLayers now{{}, calls_.fileTime()};
      for (const LayerFolder& folder : folders)
        for (const std::string& name : {key, everyYear}) {
          struct stat status;
          const std::string path = folder.path + "/" + name + std::string(kEnd);
          const bool there = calls_.stat(path.c_str(), &status) == 0;
          now.files.push_back(there ? std::optional(Identity::of(status)) : std::nullopt);
        }
      const auto before = seenLayers_.find(key);
      const bool isKnown = before != seenLayers_.end();
      const auto mayHide = [&](const auto& file) { return file && file->mayHide(before->second.looked); };
      if (changed && (!isKnown || before->second.files != now.files ||
                      (wereTouched && std::ranges::any_of(now.files, mayHide))))
        changed->insert(key);
      seenLayers_.insert_or_assign(key, std::move(now));
    }
  }

  std::uint64_t ownWrite(const std::string& key) const {
    const auto known = store_.known_.find(key);
    return known == store_.known_.end() ? 0 : known->second.write;
  }

  // Whether the store object itself left the file so, since that write of its own.
  bool isOurs(const std::string& key, const std::string& path, bool isThere, std::uint64_t since) const {
    const auto known = store_.known_.find(key);
    if (known == store_.known_.end() || !known->second.ours || known->second.write == since) return false;
    const std::string& bytes = known->second.bytes;
    if (!isThere || bytes.empty()) return !isThere && bytes.empty();
    OpenFile file(calls_, path, O_RDONLY | O_NONBLOCK);
    std::string found;
    return file && file.read(found, bytes.size() + 1) && found == bytes;
  }

  FileUserDefaults& store_;
  /// The same store where it has layers; else null.
  LayeredUserDefaults* layered_;
  SystemCalls& calls_;
  Handle poll_;
  Handle notify_;
  Handle ticker_;
  std::unordered_map<int, Watched> watched_;
  std::set<int> wanted_;
  std::map<std::string, Seen, std::less<>> seen_;
  std::map<std::string, SeenLayers, std::less<>> seenLayers_;
  /// The names of layers' files that were touched, without their end.
  std::set<std::string> layersTouched_;
  bool blind_ = false;
  bool ticking_ = false;
};

PreferenceWatch::PreferenceWatch(FileUserDefaults& store) : eyes_(std::make_unique<Eyes>(store)) {}
PreferenceWatch::~PreferenceWatch() = default;
int PreferenceWatch::descriptor() const { return eyes_->descriptor(); }
std::vector<Text> PreferenceWatch::changedKeys() { return eyes_->changedKeys(); }

}  // namespace qorvane::inline v1
