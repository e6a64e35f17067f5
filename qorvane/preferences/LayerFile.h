// LayerFile: one file of a layer, for whoever administers it. The library itself only reads layers
// (Layers.h).
//
// Written whole or not at all, under the lock of its folder, as an XML property list that everybody may read
// and that people and configuration management can read, too.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/foundation/Text.h"
#include "qorvane/preferences/SystemCalls.h"

namespace qorvane {
inline namespace [[gnu::visibility("default")]] v1 {

class LayerFile {
 public:
  /// The key is that of the year's file or of the one for every year (everyYearKey). The system calls outlive
  /// it.
  LayerFile(std::string folder, Text key, SystemCalls& calls = SystemCalls::standard());

  const std::string& folder() const { return folder_; }
  std::string path() const;

  struct Contents {
    Dictionary entries;
    /// Stored keys, or "*" for all.
    std::vector<Text> locked;
  };
  /// What it holds; nothing when it is not there. Throws FileException when it cannot be read, and Exception
  /// when it is damaged: whether others could have changed it is not asked.
  Contents read() const;

  /// Reads it, lets the function change that, and puts the result in its place, all under the lock; what else
  /// stands at its top level stays. Missing folders are made, for everybody to read. Without entries and
  /// locks the file goes. Nothing is written when nothing was changed. Throws FileException (EACCES for a
  /// folder that is not the process's user's), Exception when the file is damaged, and what the function
  /// throws: then nothing was changed. Only when the folder
  /// cannot be synced (FailureCode::cannotSyncFolder) the new file stands there and may not outlive a power
  /// cut.
  void change(const std::function<void(Contents&)>& change) const;

 private:
  Dictionary top() const;

  std::string folder_;
  Text key_;
  SystemCalls& calls_;
};

/// The folder in which the machine's layer is administered: the first of XDG_CONFIG_DIRS, with Qorvane below
/// it; empty when that names none.
std::string machineFolder();

}  // namespace v1
}  // namespace qorvane
