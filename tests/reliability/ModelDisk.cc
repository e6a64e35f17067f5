#include "tests/reliability/ModelDisk.h"

#include <fcntl.h>

#include <filesystem>
#include <set>

#include "tests/TestHome.h"

namespace testing_support {

namespace fs = std::filesystem;

namespace {

std::string folderOf(const std::string& path) { return path.substr(0, path.find_last_of('/')); }

std::string withoutSlash(std::string path) {
  while (path.size() > 1 && path.ends_with('/')) path.pop_back();
  return path;
}

}  // namespace

ModelDisk::ModelDisk(const std::string& root) : root_(root) {
  std::map<ino_t, int> known;
  for (const auto& entry : fs::recursive_directory_iterator(root)) {
    struct ::stat status;
    SystemCalls::lstat(entry.path().c_str(), &status);
    int& node = known[status.st_ino];
    if (node == 0)
      node = entry.is_symlink()     ? newNode({Node::Kind::Link, fs::read_symlink(entry.path())})
             : entry.is_directory() ? newNode({Node::Kind::Folder, {}})
                                    : newNode({Node::Kind::File, readFile(entry.path())});
    before_[entry.path()] = node;
  }
  now_ = before_;
}

int ModelDisk::newNode(Node node) {
  nodes_.push_back(std::move(node));
  return static_cast<int>(nodes_.size()) - 1;
}

void ModelDisk::name(const std::string& path, int node) {
  if (node == 0)
    now_.erase(path);
  else
    now_[path] = node;
  changes_.push_back({Kind::Name, path, node, {}});
}

int ModelDisk::open(const char* path, int flags, mode_t mode) {
  const int file = FaultInjectingSystemCalls::open(path, flags, mode);
  if (file < 0) return file;
  opened_[file] = withoutSlash(path);
  if ((flags & O_CREAT) && !now_.contains(path)) name(path, newNode({Node::Kind::File, {}}));
  return file;
}

ssize_t ModelDisk::write(int file, const void* bytes, std::size_t count) {
  const ssize_t written = FaultInjectingSystemCalls::write(file, bytes, count);
  if (written > 0)
    changes_.push_back({Kind::Write,
                        {},
                        now_.at(opened_.at(file)),
                        {static_cast<const char*>(bytes), static_cast<std::size_t>(written)}});
  return written;
}

int ModelDisk::fsync(int file) {
  // Nothing waits for the real disk: what counts is when we were told that it is there.
  setSyncing(false);
  const int result = FaultInjectingSystemCalls::fsync(file);
  const std::string& path = opened_.at(file);
  const auto node = now_.find(path);
  const bool isFolder =
      node == now_.end() || nodes_[static_cast<std::size_t>(node->second)].kind == Node::Kind::Folder;
  if (result == 0)
    changes_.push_back({isFolder ? Kind::SyncFolder : Kind::SyncFile, path, isFolder ? 0 : node->second, {}});
  return result;
}

int ModelDisk::rename(const char* from, const char* to) {
  const int result = FaultInjectingSystemCalls::rename(from, to);
  // Renaming one name of a file to another of its names does nothing.
  const auto target = now_.find(to);
  if (result == 0 && (target == now_.end() || target->second != now_.at(from))) {
    name(to, now_.at(from));
    name(from, 0);
  }
  return result;
}

int ModelDisk::link(const char* from, const char* to) {
  const int result = FaultInjectingSystemCalls::link(from, to);
  if (result == 0) name(to, now_.at(from));
  return result;
}

int ModelDisk::unlink(const char* path) {
  const int result = FaultInjectingSystemCalls::unlink(path);
  if (result == 0) name(path, 0);
  return result;
}

int ModelDisk::mkdir(const char* path, mode_t mode) {
  const int result = FaultInjectingSystemCalls::mkdir(path, mode);
  if (result == 0) name(path, newNode({Node::Kind::Folder, {}}));
  return result;
}

int ModelDisk::rmdir(const char* path) {
  const int result = FaultInjectingSystemCalls::rmdir(path);
  if (result == 0) name(path, 0);
  return result;
}

void ModelDisk::atEachPowerCut(const std::function<void(bool)>& look) {
  for (std::size_t changes = 0; changes <= changes_.size(); ++changes) cutAfter(changes, look);
}

void ModelDisk::cutAfter(std::size_t changes, const std::function<void(bool)>& look) {
  // What may be missing: names changed since their folder's sync, and the files written since their own.
  std::vector<std::size_t> loose;
  std::map<int, std::string> synced;
  std::map<int, std::string> written;
  std::set<int> unsynced;
  for (std::size_t at = 0; at < changes; ++at) {
    const Change& change = changes_[at];
    switch (change.kind) {
      case Kind::Name:
        loose.push_back(at);
        break;
      case Kind::SyncFolder:
        std::erase_if(loose, [&](std::size_t i) { return folderOf(changes_[i].path) == change.path; });
        break;
      case Kind::Write:
        written[change.node] += change.bytes;
        unsynced.insert(change.node);
        break;
      case Kind::SyncFile:
        synced[change.node] = written[change.node];
        unsynced.erase(change.node);
        break;
    }
  }
  std::vector<std::map<int, std::string>> fates = {synced};
  for (const int node : unsynced) {
    const std::string& all = written[node];
    const std::string half = all.substr(0, all.size() / 2);
    std::vector<std::map<int, std::string>> more;
    for (const auto& fate : fates)
      for (const std::string& bytes : {std::string(), half, all, std::string(all.size(), '\0'),
                                       half + std::string(all.size() - half.size(), '\0')}) {
        more.push_back(fate);
        more.back()[node] = bytes;
      }
    fates = std::move(more);
  }
  if (loose.size() > 16) throw std::logic_error("too many changes to try every combination");
  for (std::size_t kept = 0; kept < std::size_t{1} << loose.size(); ++kept) {
    std::set<std::size_t> lost;
    for (std::size_t i = 0; i < loose.size(); ++i)
      if (!(kept >> i & 1)) lost.insert(loose[i]);
    Names names = before_;
    for (std::size_t at = 0; at < changes; ++at) {
      if (changes_[at].kind != Kind::Name || lost.contains(at)) continue;
      if (changes_[at].node == 0)
        names.erase(changes_[at].path);
      else
        names[changes_[at].path] = changes_[at].node;
    }
    // What stands in a folder that is not there is not there either; parents come before what is in them.
    for (auto entry = names.begin(); entry != names.end();) {
      const std::string folder = folderOf(entry->first);
      entry = folder == root_ || names.contains(folder) ? std::next(entry) : names.erase(entry);
    }
    for (const auto& contents : fates) {
      ++combinations_;
      const bool ended = changes == changes_.size();
      std::string state = ended ? "ended\n" : "stopped\n";
      for (const auto& [path, node] : names) {
        state += path + "=" + std::to_string(node);
        if (const auto bytes = contents.find(node); bytes != contents.end()) state += ":" + bytes->second;
        state += '\n';
      }
      if (!seen_.emplace(std::move(state), true).second) continue;
      ++states_;
      make(names, contents);
      look(ended);
    }
  }
}

void ModelDisk::make(const Names& names, const std::map<int, std::string>& contents) const {
  for (const auto& entry : fs::directory_iterator(root_)) fs::remove_all(entry);
  std::map<int, std::string> made;
  for (const auto& [path, number] : names) {
    const Node& node = nodes_[static_cast<std::size_t>(number)];
    if (node.kind == Node::Kind::Folder) {
      fs::create_directory(path);
    } else if (node.kind == Node::Kind::Link) {
      fs::create_symlink(node.bytes, path);
    } else if (const auto first = made.emplace(number, path); !first.second) {
      fs::create_hard_link(first.first->second, path);
    } else {
      const auto bytes = contents.find(number);
      writeFile(path, bytes == contents.end() ? node.bytes : bytes->second);
    }
  }
}

}  // namespace testing_support
