// The suite's folders: where they are by default, and the read kind that makes sure they exist. Internal to
// the store.
//
// With D the user's documents folder and Y the tax year, everything stands below D/Qorvane/Y, and last year's
// returns below D/Qorvane/(Y-1). Defaults are computed on each read and never stored.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "qorvane/desktop/Log.h"
#include "qorvane/foundation/Exception.h"
#include "qorvane/store/Accessors.h"
#include "qorvane/store/StoredForms.h"

namespace qorvane::inline v1 {

/// A folder option: a text, an absolute path.
struct FolderForm : TextForm {
  static constexpr std::string_view kStored = "a text, an absolute path";
  static constexpr bool kIsMachineSpecific = true;
};

/// The tax year and the year before it, in digits.
Text thisYear(const Running& now);
Text previousYear(const Running& now);

/// D/Qorvane/Y for that year, made when missing, whether or not that succeeds; "" without a documents folder,
/// and nothing is made. What the file manager throws passes through.
Text yearRoot(const Running& now, const Text& year);

/// The text of the running product.
Text byProduct(const Running& now, Text personal, Text corporate);

/// The three texts in a row. A plain joining: without a root the path starts at the root of the file system.
Text folderBelow(const Text& root, const Text& prefix, const Text& name);

/// Makes the folder, with those above it, when nothing is at the path, if folders are made at all; whether
/// that succeeds is not examined.
void ensureFolder(const Running& now, const Text& path);

/// A log message as a template argument.
template <std::size_t N>
struct Message {
  char bytes[N];
  constexpr Message(const char (&literal)[N]) { std::copy_n(literal, N, bytes); }
  Text text() const { return Text(std::string_view(bytes, N - 1)); }
};

/// The read kind of the folders: a missing or empty entry means the default, and what is answered is made
/// when nothing is there. When the file manager throws meanwhile, logs the message and answers "".
template <Message Complaint>
struct ExistingFolder {
  template <class Form, class Fallback>
  static Text read(StoreAccess store, const Key& key, Fallback fallback) try {
    Text path = Reading<isMissingOrEmpty, false>::read<Form>(store, key, fallback);
    ensureFolder(store.running(), path);
    return path;
  } catch (const Exception&) {
    log(Complaint.text());
    return "";
  }
};

}  // namespace qorvane::inline v1
