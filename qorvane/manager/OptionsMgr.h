// OptionsMgr: the suite's settings, as class operations.
//
// The first operation of any kind creates the one store of the process (an Options object) and loads it; from
// then on each settings request is handed to that store, unchanged. Changes reach the disk only with
// `saveOptions`. Main thread only.
#pragma once

#include <memory>

#include "qorvane/foundation/Text.h"

namespace qorvane {

class Options;

class OptionsMgr {
 public:
  /// Making an instance puts a fresh, unloaded store in the place of the facade's: until somebody loads it,
  /// every getter answers its default, no setter has an effect, and saving removes the year's entry. Not part
  /// of normal use; the store from before stays alive, for observers may still hold its address.
  OptionsMgr();
  /// Gives up the instance's share of its store, which the facade keeps using.
  ~OptionsMgr();
  OptionsMgr(const OptionsMgr&) = delete;
  OptionsMgr& operator=(const OptionsMgr&) = delete;

  // ---- The facade's own answers ---------------------------------------------------------------------

  /// Saves the store; see Options::saveOptions.
  static void saveOptions();

  /// The display language; see Options::language.
  static Text language();
  static void setLanguage(const Text& language);
  /// True when the language is exactly "English".
  static bool isEnglish();

  /// A print run has begun. False in every new process, never saved.
  static bool startPrinting();
  static void setStartPrinting(bool printing);

  /// The forms of the Quebec agency are being printed. False in every new process, never saved.
  static bool isMRQPrinting();
  static void setIsMRQPrinting(bool printing);

 private:
  std::shared_ptr<Options> share_;
};

}  // namespace qorvane
