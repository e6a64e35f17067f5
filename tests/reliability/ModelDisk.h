// ModelDisk: what may stand on the disk after the power is cut.
//
// It lets every call through and records what each changes. A disk owes us little: of a file, what was
// written since its last sync may be there, in part, as zeros, or not at all; of the names in a folder, each
// change since that folder's last sync may be there or not, whatever became of the others, and a rename may
// have come half-way, with both names or neither. What was synced is there. That is less than any file system
// in use keeps, so a store that gets along with it gets along with those.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "qorvane/preferences/SystemCalls.h"

namespace testing_support {

class ModelDisk : public qorvane::FaultInjectingSystemCalls {
 public:
  /// What stands below the root now is on the disk for good.
  explicit ModelDisk(const std::string& root);

  /// Everything that a power cut at any moment of what was recorded may leave: calls `look` with each
  /// different state made below the root. The moment is the last one, after all calls, when `ended`.
  void atEachPowerCut(const std::function<void(bool ended)>& look);

  /// How many combinations were tried, and how many of them differed.
  int combinations() const { return combinations_; }
  int states() const { return states_; }

  int open(const char* path, int flags, mode_t mode) override;
  ssize_t write(int file, const void* bytes, std::size_t count) override;
  int fsync(int file) override;
  int rename(const char* from, const char* to) override;
  int link(const char* from, const char* to) override;
  int unlink(const char* path) override;
  int mkdir(const char* path, mode_t mode) override;
  int rmdir(const char* path) override;

 private:
  enum class Kind { Name, Write, SyncFile, SyncFolder };
  /// One change: a name that stands for a node from now on (0: for nothing), bytes appended to a node, or a
  /// sync of a node or of the names in a folder.
  struct Change {
    Kind kind;
    std::string path;
    int node = 0;
    std::string bytes;
  };
  struct Node {
    enum class Kind { File, Folder, Link } kind;
    std::string bytes;  // A file's at the start; where a link points.
  };
  using Names = std::map<std::string, int>;

  int newNode(Node node);
  void name(const std::string& path, int node);
  void cutAfter(std::size_t changes, const std::function<void(bool)>& look);
  void make(const Names& names, const std::map<int, std::string>& contents) const;

  std::string root_;
  std::vector<Node> nodes_ = {{}};
  Names before_;
  Names now_;
  std::map<int, std::string> opened_;  // The paths of open files.
  std::vector<Change> changes_;
  std::map<std::string, bool> seen_;
  int combinations_ = 0;
  int states_ = 0;
};

}  // namespace testing_support
