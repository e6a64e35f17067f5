// FolderLock: one process, and one lock object, at a time changes what stands in a folder. Internal to the
// file store.
//
//   <folder>/.lock         locked by the holder; always empty
//   <folder>/.lock-held    where files cannot be locked: there as long as somebody holds the lock
//   <folder>/.lock-held.*  the claim of a process to be that somebody; gone with its lock
//
// The first is a byte-range lock, which file servers honour where they ignore flock(); of the open file
// rather than of the process, so that it also excludes another lock object in this process; and it dies with
// its holder. A process that was forked meanwhile holds nothing, and lets go of nothing. Whoever removes or
// replaces the file takes the lock away: a holder finds out before it puts a file in place.
//
// A file system may have no such locks (a network home without a lock service). Then the lock is a second
// name given to a claim: making a name is atomic everywhere. A claim says on which machine which process made
// it. The lock of a process that is gone is taken away at once on its own machine, and elsewhere (other
// machine, container, or start of the machine) when it is older than kStaleSeconds by the file server's
// clock. A holder that slept through that finds out before it puts a file in place.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "qorvane/preferences/OpenFile.h"

namespace qorvane::inline v1 {

class FolderLock {
 public:
  static constexpr int kStaleSeconds = 120;

  /// Takes the lock, waiting at most so long for whoever has it. Throws FileException; EAGAIN when the wait
  /// was in vain.
  FolderLock(SystemCalls& calls, const std::string& folder, int waitMilliseconds);
  ~FolderLock();

  /// Throws FileException (EAGAIN) when the lock was taken away from its holder, or in a process that only
  /// was forked from it.
  void requireHeld() const;

 private:
  class Claim;

  bool take();
  bool isLocked() const;

  SystemCalls& calls_;
  std::string path_;
  std::optional<OpenFile> file_;
  struct stat locked_ = {};
  std::unique_ptr<Claim> claim_;
  /// How often the process was forked, and had been, when the lock was taken.
  unsigned forks_;
  unsigned lineage_;
};

}  // namespace qorvane::inline v1
