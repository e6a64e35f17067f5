// FolderLock: one process, and one lock object, at a time changes what stands in a folder. Internal to the
// file store.
//
//   <folder>/.lock         locked by the holder; always empty
//   <folder>/.lock-held    where files cannot be locked: there as long as somebody holds the lock
//   <folder>/.lock-held.*  the claim of a process to be that somebody; gone with its lock
//
// The first is a byte-range lock, which file servers honour where they ignore flock(); of the open file
// rather than of the process, so that it also excludes another lock object in this process; and it dies with
// its holder.
//
// A file system may have no such locks (a network home without a lock service). Then the lock is a second
// name given to a claim: making a name is atomic everywhere. A claim says on which machine which process made
// it. The lock of a process that is gone is taken away at once on its own machine, and elsewhere (other
// machine, container, or start of the machine) when it is older than kStaleSeconds by the file server's
// clock. A holder that slept through that finds out before it puts a file in place.
#pragma once

#include <memory>
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

  /// Throws FileException (EAGAIN) when the lock was taken away from a holder that seemed to be gone.
  void requireHeld() const;

 private:
  class Claim;

  bool take();

  SystemCalls& calls_;
  std::string path_;
  OpenFile file_;
  std::unique_ptr<Claim> claim_;
};

}  // namespace qorvane::inline v1
