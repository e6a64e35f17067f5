// PreferenceWatch: tells which settings others changed, for a program that is at work with them.
//
// `descriptor` becomes readable when something may have changed; an event loop (poll, GLib, Qt) waits for it,
// and then `changedKeys` says what. Saves through the store object that the watch was made for are not
// reported; those through any other, in this process or another one, are, and so are files that another
// program wrote, removed, or put in place. When a file is written several times before it is asked for, its
// key is told once: what counts is the state, not the way to it.
//
// The folder need not exist yet; it may be replaced, and it and its files may be links. Where the kernel
// cannot see what other machines change (network file systems), and where it has no watches left, the
// descriptor becomes readable every two seconds and the files are compared with what they were.
//
// Made for a store with layers (LayeredUserDefaults), it hears those, too: a key is told when a file of a
// layer that its settings are read from changes, comes or goes, or when the firm's folder is turned to
// another. A file for every year is told as each key that the store has loaded or that has a file.
//
// Main thread only. The store object must outlive the watch. A child process that was forked shares the
// descriptor and must not use it.
#pragma once

#include <memory>
#include <vector>

#include "qorvane/foundation/Text.h"
#include "qorvane/preferences/FileUserDefaults.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class PreferenceWatch {
 public:
  /// What stands there now is known. Throws FileException when the system gives no descriptor, and when the
  /// store has no folder.
  explicit PreferenceWatch(FileUserDefaults& store);
  ~PreferenceWatch();
  PreferenceWatch(const PreferenceWatch&) = delete;
  PreferenceWatch& operator=(const PreferenceWatch&) = delete;

  /// To be waited for, with poll for instance: readable when `changedKeys` should be asked. Nothing else may
  /// be done with it; it stays the same as long as the watch lives.
  int descriptor() const;

  /// The keys whose files changed, came or went since the last time, sorted; the descriptor is no longer
  /// readable then. Answers at once, an empty list when nothing did: the descriptor may also become readable
  /// for changes of our own. What cannot be looked at now is told when it can.
  std::vector<Text> changedKeys();

 private:
  class Eyes;
  std::unique_ptr<Eyes> eyes_;
};

}  // namespace v1
}  // namespace qorvane
