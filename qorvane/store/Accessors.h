// The accessor pattern: how every option is read and written. Internal to the store.
//
// A read kind answers an option from the dictionary, or its default when there is no entry; a write kind
// decides whether a new value is stored and whether the next save announces it. Both are types, named in the
// columns of options.def; both do nothing to a store that was never loaded, whose dictionary is null.
#pragma once

#include <optional>
#include <type_traits>
#include <utility>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/preferences/LayeredUserDefaults.h"
#include "qorvane/siblings/Utils.h"
#include "qorvane/store/ColorComparison.h"
#include "qorvane/store/Options.h"
#include "qorvane/store/Running.h"
#include "qorvane/store/Sharing.h"

namespace qorvane::inline v1 {

/// What an accessor needs of its store.
class StoreAccess {
 public:
  explicit StoreAccess(Options& store) noexcept : store_(store) {}

  /// Null until the store is loaded.
  Dictionary* dictionary() const noexcept { return store_.opts_.get(); }
  /// What the store works for.
  Running running() const noexcept { return Running(store_.product_.get(), store_.makesFolders_); }
  /// Setters store without comparing and without marking.
  bool bulk() const noexcept { return *store_.bulk_; }
  /// The next save announces.
  void mark() const noexcept { *store_.changed_ = true; }
  /// Whether a layer locks one of the entries: a setter that writes them has no effect then.
  template <class... Keys>
  bool isLocked(const Keys&... keys) const {
    const Sharing* const sharing = store_.sharing_.get();
    if (!sharing || !sharing->layers) return false;
    const Layers& layers = sharing->layers->layers();
    return (layers.lockOf(keys.text()) || ...);
  }
  /// Stores the default of an entry that counts as missing.
  void fill(const Key& key, Value value) const { store_.fill(key, std::move(value)); }
  /// Makes these the store's entries, as if they had just been loaded.
  void take(Dictionary entries) const { store_.opts_ = std::make_unique<Dictionary>(std::move(entries)); }

 private:
  Options& store_;
};

/// The key of an entry that the two products keep apart.
struct ProductKey {
  Key personal;
  Key corporate;
};

consteval Key entryKey(Text key) { return Key(key); }
consteval ProductKey entryKey(Text personal, Text corporate) { return {Key(personal), Key(corporate)}; }

// Which product is running is asked on each call, and only where it matters.
template <class GetRunning>
constexpr const Key& keyNow(const Key& key, GetRunning) {
  return key;
}
template <class GetRunning>
const Key& keyNow(const ProductKey& key, GetRunning running) {
  return running().isT2() ? key.corporate : key.personal;
}

/// A default that is stored on the read that finds no entry while another value is answered by that read.
template <class T>
struct StoresButAnswers {
  T stored;
  T answered;
};

template <class Form, class T>
typename Form::Type answerOf(T&& fallback) {
  if constexpr (requires { fallback.answered; })
    return std::forward<T>(fallback).answered;
  else
    return std::forward<T>(fallback);
}

template <class Form, class T>
typename Form::Type defaultOf(T&& fallback) {
  if constexpr (requires { fallback.stored; })
    return std::forward<T>(fallback).stored;
  else
    return std::forward<T>(fallback);
}

// ---- read kinds -------------------------------------------------------------------------------------

inline bool isMissing(const Value* entry) { return entry == nullptr; }
inline bool isMissingOrEmpty(const Value* entry) { return !entry || Utils::isStringNilOrEmpty(*entry); }

template <bool (*Missing)(const Value*), bool Stores>
struct Reading {
  static constexpr bool kStores = Stores;
  static bool misses(const Value* entry) { return Missing(entry); }

  template <class Form, class Fallback>
  static typename Form::Type read(StoreAccess store, const Key& key, Fallback fallback) {
    Dictionary* const options = store.dictionary();
    if (const Value* entry = options ? options->find(key) : nullptr; !Missing(entry))
      return Form::decode(*entry);
    auto value = fallback(store.running());
    if (Stores && options) store.fill(key, Form::encode(defaultOf<Form>(value)));
    return answerOf<Form>(std::move(value));
  }
};

/// A missing entry gets the default.
using Storing = Reading<isMissing, true>;
/// A missing entry, or one that holds the empty text, gets the default.
using StoringOverEmpty = Reading<isMissingOrEmpty, true>;
/// A missing entry stays missing; the default is only answered.
using NonStoring = Reading<isMissing, false>;

// ---- write kinds ------------------------------------------------------------------------------------

// What a write kind needs of its option: the two steps, the default, and the entry's form.
template <class Form, class Read, class Fallback>
struct Accessor {
  StoreAccess access;
  const Key& key;
  Fallback fallback;

  Dictionary& options() const { return *access.dictionary(); }
  typename Form::Type current() const { return Read::template read<Form>(access, key, fallback); }
  typename Form::Type byDefault() const { return defaultOf<Form>(fallback(access.running())); }
  void store(typename Form::Argument value) const { options().set(key, Form::encode(value)); }

  /// The entry, if it is there and holds a text as the option reads; else null.
  const Value* textEntry() const {
    if constexpr (requires { Form::textIn, Read::misses; })
      if (const Value* entry = options().find(key); !Read::misses(entry) && Form::textIn(*entry))
        return entry;
    return nullptr;
  }
};

// The change that the comparing kinds have in common: in bulk mode the value is stored as it comes; otherwise
// it is stored, and announced by the next save, when `differs` says so.
template <class Differs, class Store>
void storeIfChanged(StoreAccess access, Differs differs, Store store) {
  if (!access.bulk()) {
    if (!differs()) return;
    store();
    access.mark();
  } else {
    store();
  }
}

inline Text emptyIfNil(const Text& value) { return value.isNil() ? Text("") : value; }
inline Value emptyIfNil(const Value& value) { return value.isNil() ? Value(Text("")) : value; }

/// What a text setter stores for nil.
enum class NilAs { Empty, Default };

template <NilAs Nil, class Accessor>
void storeUnlessNil(const Accessor& accessor, const Text& value) {
  if (!value.isNil())
    accessor.store(value);
  else if constexpr (Nil == NilAs::Empty)
    accessor.store(Text(""));
  else
    accessor.store(accessor.byDefault());
}

/// Comparing, for flags.
struct Comparing {
  template <class A>
  static void write(const A& option, bool value) {
    storeIfChanged(
        option.access, [&] { return option.current() != value; }, [&] { option.store(value); });
  }
};

/// Comparing, for texts: nil counts as a change always, and is stored as the empty text or the default.
template <NilAs Nil>
struct ComparingText {
  template <class A>
  static void write(const A& option, Text value) {
    // What nearly every call is: one text in the place of another, found once and compared there.
    if (const Value* entry = value.isNil() ? nullptr : option.textEntry())
      storeIfChanged(
          option.access, [&] { return !entry->asText()->isEqualTo(value); },
          [&] { option.options().replace(*entry, std::move(value)); });
    else
      storeIfChanged(
          option.access, [&] { return !option.current().isEqualTo(value); },
          [&] { storeUnlessNil<Nil>(option, value); });
  }
};
using ComparingNilAsEmpty = ComparingText<NilAs::Empty>;
using ComparingNilAsDefault = ComparingText<NilAs::Default>;

/// Comparing, for texts: nil is the empty text from the start, and no change when that is there already.
struct ComparingAsEmpty {
  template <class A>
  static void write(const A& option, const Text& value) {
    ComparingNilAsEmpty::write(option, emptyIfNil(value));
  }
};

/// Comparing, for texts: nil is ignored, and another object is a change even when it holds the same text.
struct ComparingIdentity {
  template <class A>
  static void write(const A& option, const Text& value) {
    if (value.isNil()) return;
    storeIfChanged(
        option.access, [&] { return !option.current().isSameObject(value); }, [&] { option.store(value); });
  }
};

/// True when both are numbers of the same value. The empty text of a cleared date is the same as no number,
/// itself included.
inline bool isSameNumber(const Value& a, const Value& b) {
  return a.asNumber() && b.asNumber() && *a.asNumber() == *b.asNumber();
}

/// Comparing, for dates: by numeric value. Nil counts as a change always and is stored as the empty text.
struct ComparingNumber {
  template <class A>
  static void write(const A& option, const Value& value) {
    storeIfChanged(
        option.access, [&] { return !isSameNumber(option.current(), value); },
        [&] { option.store(emptyIfNil(value)); });
  }
};

/// Comparing, for colours: nil is ignored. Some ask with the new colour first, the others with the current
/// one.
template <bool NewFirst>
struct ComparingColor {
  template <class A>
  static void write(const A& option, const std::optional<Color>& value) {
    if (!value) return;
    storeIfChanged(
        option.access,
        [&] {
          const Color current = option.current();
          return NewFirst ? areDifferentColors(*value, current) : areDifferentColors(current, *value);
        },
        [&] { option.store(value); });
  }
};
using ComparingNewColor = ComparingColor<true>;
using ComparingCurrentColor = ComparingColor<false>;

/// Stores at once, whatever the mode, and is never announced; nil is stored as the empty text.
struct Direct {
  template <class A, class T>
  static void write(const A& option, const T& value) {
    if constexpr (std::is_same_v<T, bool> || std::is_same_v<T, int>)
      option.store(value);
    else
      option.store(emptyIfNil(value));
  }
};

/// Direct; nil is ignored.
struct DirectNilIgnored {
  template <class A>
  static void write(const A& option, const Text& value) {
    if (!value.isNil()) option.store(value);
  }
};

/// Direct; nil is stored as the default.
struct DirectNilAsDefault {
  template <class A>
  static void write(const A& option, const Text& value) {
    storeUnlessNil<NilAs::Default>(option, value);
  }
};

/// Direct; nil and the empty text are stored as the default.
struct DirectEmptyAsDefault {
  template <class A>
  static void write(const A& option, const Text& value) {
    DirectNilAsDefault::write(option, value.isNilOrEmpty() ? Text() : value);
  }
};

// ---- one option's two operations ------------------------------------------------------------------------

template <class Form, class Read, class EntryKey, class Fallback>
typename Form::Type readOption(Options& options, const EntryKey& key, Fallback fallback) {
  const StoreAccess store(options);
  return Read::template read<Form>(store, keyNow(key, [&] { return store.running(); }), fallback);
}

template <class Form, class Read, class Write, class EntryKey, class Fallback>
void writeOption(Options& options, const EntryKey& key, Fallback fallback, typename Form::Argument value) {
  const StoreAccess store(options);
  if (!store.dictionary()) return;
  const Key& entry = keyNow(key, [&] { return store.running(); });
  if (!store.isLocked(entry))
    Write::write(Accessor<Form, Read, Fallback>{store, entry, fallback}, std::move(value));
}

}  // namespace qorvane::inline v1
