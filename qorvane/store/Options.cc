#include "qorvane/store/Options.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "qorvane/desktop/Log.h"
#include "qorvane/desktop/NotificationCenter.h"
#include "qorvane/foundation/Exception.h"
#include "qorvane/preferences/UserDefaults.h"
#include "qorvane/store/Accessors.h"
#include "qorvane/store/Folders.h"
#include "qorvane/store/LoadLists.h"
#include "qorvane/store/Locks.h"
#include "qorvane/store/OptionTable.h"
#include "qorvane/store/Sharing.h"
#include "qorvane/store/StoredForms.h"
#include "qorvane/vocabulary/Notifications.h"
#include "qorvane/vocabulary/OptionStrings.h"

namespace qorvane::inline v1 {

namespace {

// What the store finds under the key by now, if it has layers there; a store that cannot say has none.
UserDefaults::Loaded layeredUnder(UserDefaults& store, const Text& key) {
  auto* const layered = dynamic_cast<LayeredUserDefaults*>(&store);
  return layered ? layered->load(key) : UserDefaults::Loaded();
}

}  // namespace

constinit bool notifyAll = false;
constinit bool bSettingVals = false;

Options::Options() : changed_(&notifyAll), bulk_(&bSettingVals) { notifyAll = false; }
Options::Options(UserDefaults& defaults, const Product& product)
    : changed_(&ownChanged_),
      bulk_(&ownBulk_),
      product_(std::make_unique<const Product>(product)),
      defaults_(&defaults) {}
Options::~Options() = default;

Options& Options::getOptionsObj() {
  static std::recursive_mutex& creation = *new std::recursive_mutex;
  static Options* shared = nullptr;  // Never destroyed, like the facade's store.
  const std::lock_guard lock(creation);
  if (!shared) shared = new Options;
  return *shared;
}

UserDefaults& Options::defaults() const {
  return defaults_ ? *defaults_ : UserDefaults::standardUserDefaults();
}

Product Options::product() const { return product_ ? *product_ : QVSettings::product(); }

void Options::loadOptions() {
  Text key;
  loadFailure_ = Failure{.code = FailureCode::notLoaded};
  try {
    key = settingsDomainKey();
    // Beforehand, for there may be no memory to note it afterwards.
    if (!unloadedUnder(key)) unloaded_.push_back({key, *loadFailure_});
    readDictionary(key);
    std::erase_if(unloaded_, [&](const Unloaded& unloaded) { return unloaded.key == key; });
    loadFailure_.reset();
  } catch (const Exception&) {
    noteLoadFailure(key);
    log("Options couldn't be loaded");
  } catch (...) {
    noteLoadFailure(key);
    throw;
  }
}

Options::Unloaded* Options::unloadedUnder(const Text& key) {
  const auto found = std::ranges::find(unloaded_, key, &Unloaded::key);
  return found == unloaded_.end() ? nullptr : &*found;
}

// Only while an exception is handled.
void Options::noteLoadFailure(const Text& key) {
  loadFailure_ = currentFailure();
  if (Unloaded* const unloaded = unloadedUnder(key)) unloaded->why = *loadFailure_;
}

void Options::readDictionary(const Text& key) {
  const bool corporate = StoreAccess(*this).running().isT2();
  UserDefaults& store = defaults();
  UserDefaults::Loaded loaded = store.load(key);
  auto sharing = std::make_unique<Sharing>(Sharing{
      .key = key, .base = std::move(loaded.stored), .layers = loaded.layers, .chosen = loaded.chosen});
  const bool waits = loaded.object.asDictionary() != sharing->base.asDictionary();
  if (waits && !isIdentical(loaded.object, sharing->base)) {
    // What waits to be written is in the dictionary now, so it waits on as this store's, which may take it
    // back.
    sharing->merge = std::make_shared<StoreMerge>();
    sharing->merge->prepare({.base = sharing->base,
                             .now = loaded.object,
                             .fills = {},
                             .product = product(),
                             .layers = loaded.layers,
                             .intent = {}});
    store.forget(key);
    store.update(loaded.object, key, sharing->merge);
  }
  opts_ = std::make_unique<Dictionary>(std::move(loaded.object).takeDictionary());
  sharing_ = std::move(sharing);

  // The getters, not a table of defaults: whatever else a getter does on its first read, it does here.
  *bulk_ = true;
  for (const std::string_view name : corporate ? corporateLoadList() : personalLoadList()) {
    try {
      valueForKey(name);
    } catch (const Exception&) {
      log("Could not load default options");
    }
  }
  *bulk_ = false;
  *changed_ = false;
}

bool Options::reload() {
  const bool bulk = *bulk_;
  const bool changed = *changed_;
  std::unique_ptr<Dictionary> before = std::move(opts_);
  std::unique_ptr<Sharing> sharing = std::move(sharing_);
  loadFailure_ = Failure{.code = FailureCode::notLoaded};
  try {
    defaults().forget(settingsDomainKey());
    loadOptions();
  } catch (...) {
    loadFailure_ = currentFailure();
  }
  if (!loadFailure_) return true;
  opts_ = std::move(before);
  sharing_ = std::move(sharing);
  *bulk_ = bulk;
  *changed_ = changed;
  return false;
}

// None when nothing was handed to the preference store; `saveFailure_` tells what came of it.
std::optional<Options::Saved> Options::writeDictionary() try {
  UserDefaults& store = defaults();
  const Text key = settingsDomainKey();
  if (const Unloaded* const unloaded = unloadedUnder(key)) {
    saveFailure_ = {FailureCode::loadFailedBefore, {}, unloaded->why.systemError, {unloaded->why}};
    log(*saveFailure_);
    return std::nullopt;
  }
  const Saved saved = save(store, key);
  saveFailure_ = saved.written ? saved.refused : store.lastFailure();
  if (!saved.written && !saveFailure_) saveFailure_ = Failure{.code = FailureCode::storeGaveNoReason};
  return saved;
} catch (...) {
  saveFailure_ = currentFailure();
  throw;
}

void Options::saveOptions() try {
  const Value before = sharing_ ? sharing_->base : Value();
  const std::optional<Saved> saved = writeDictionary();
  if (!saved) return;
  if (*changed_ || saved->othersChanged)
    announce(opts_ ? changedReadings(entriesOf(before), *opts_, product()) : std::vector<Text>());
  *changed_ = false;
} catch (const Exception&) {
  // The words of the load path, on purpose: whoever reads the log knows them.
  log("Options couldn't be loaded");
}

// `othersChanged`: what others saved makes an option read differently now. `refused`: what was not written
// because it is locked by now.
Options::Saved Options::save(UserDefaults& store, const Text& key) {
  if (!opts_) {
    store.setObject(nullptr, key);
    return {.written = store.synchronize(), .othersChanged = false, .refused = {}};
  }
  const Value whole(*opts_);
  if (!sharing_ || sharing_->key != key) return saveAnew(store, key, whole);
  Sharing& shared = *sharing_;
  shared.settle();
  if (!shared.merge) shared.merge = std::make_shared<StoreMerge>();
  const std::shared_ptr<StoreMerge> merge = shared.merge;
  merge->prepare({.base = shared.base,
                  .now = whole,
                  .fills = shared.fills,
                  .product = product(),
                  .layers = shared.layers,
                  .intent = shared.intent});
  store.update(whole, key, merge);
  if (!store.synchronize() && !merge->isWritten())
    return {.written = false, .othersChanged = false, .refused = {}};
  const Value written = merge->answer();
  const bool differs = written.asDictionary() != whole.asDictionary();
  // Dictionary and base move together or, when memory runs out here, not at all: what others changed would
  // else look like our change back.
  Dictionary entries = differs ? adopted(entriesOf(written)) : Dictionary();
  shared.base = written;
  shared.layers = merge->layers();
  shared.chosen = merge->chosen();
  shared.fills.clear();
  shared.merge.reset();
  bool othersChanged = false;
  if (differs) {
    *opts_ = std::move(entries);
    fillTaken(*this, entriesOf(whole));
    othersChanged = !changedReadings(entriesOf(whole), *opts_, product()).empty();
  }
  return {.written = true, .othersChanged = othersChanged, .refused = merge->refused()};
}

// Under a key that this store did not load: the whole dictionary, without what farther layers handed out.
Options::Saved Options::saveAnew(UserDefaults& store, const Text& key, const Value& whole) {
  Value own = whole;
  if (sharing_ && sharing_->layers) {
    Dictionary entries = entriesOf(whole);
    for (const Dictionary::Entry& entry : entriesOf(whole)) {
      const Value* const base = entriesOf(sharing_->base).find(entry.key.view());
      const bool isOurs = !base || (!isIdentical(*base, entry.value) && !sharing_->fills.fillsBase(entry));
      if (!isOurs && sharing_->layers->standing(entry.key).layer) entries.remove(entry.key);
    }
    own = Value(std::move(entries));
  }
  const Value chosen = sharing_ ? chosenAmong(sharing_->chosen, entriesOf(own)) : Value();
  if (chosen.isNil())
    store.setObject(own, key);
  else
    store.setSettings({own, chosen}, key);
  if (!store.synchronize()) return {.written = false, .othersChanged = false, .refused = {}};
  auto sharing = std::make_unique<Sharing>(Sharing{.key = key, .base = own, .chosen = chosen});
  bool othersChanged = false;
  if (UserDefaults::Loaded now = layeredUnder(store, key); now.layers) {
    sharing->base = std::move(now.stored);
    sharing->layers = std::move(now.layers);
    *opts_ = adopted(entriesOf(sharing->base));
    sharing_ = std::move(sharing);
    fillTaken(*this, entriesOf(whole));
    othersChanged = !changedReadings(entriesOf(whole), *opts_, product()).empty();
  } else {
    sharing_ = std::move(sharing);
  }
  return {.written = true, .othersChanged = othersChanged, .refused = {}};
}

// The entries, where the dictionary holds the same with its own objects.
Dictionary Options::adopted(const Dictionary& entries) const {
  Dictionary taken;
  taken.reserve(entries.size());
  for (const Dictionary::Entry& entry : entries) {
    const Value* const mine = opts_->find(entry.key.view());
    taken.set(entry.key, mine && isIdentical(*mine, entry.value) ? *mine : entry.value);
  }
  return taken;
}

std::vector<Text> Options::refresh() try {
  const Text key = settingsDomainKey();
  if (!opts_ || !sharing_ || sharing_->key != key) return {};
  std::vector<Text> names = takeIn(defaults().load(key));
  if (!names.empty()) announce(names);
  return names;
} catch (const Exception&) {
  log("Options couldn't be loaded");
  return {};
}

std::vector<Text> Options::takeIn(const UserDefaults::Loaded& found) {
  Sharing& shared = *sharing_;
  shared.settle();
  const Dictionary& theirs = entriesOf(found.stored);
  const Dictionary& base = entriesOf(shared.base);
  const bool locks = found.layers && found.layers->layers().lock();
  if (isIdentical(theirs, base) && !locks) {
    shared.layers = found.layers;
    shared.chosen = found.storedChosen;
    return {};
  }
  IsBlocked isBlocked;
  std::optional<Locks> locked;
  if (locks) {
    locked.emplace(found.layers->layers(), product());
    isBlocked = [&](const Text& key) { return locked->isLocked(key); };
  }
  Dictionary entries = adopted(merge(base, *opts_, shared.fills, theirs, isBlocked));
  Fills fills = shared.fills;
  fills.rebase(base, theirs);
  // All or nothing: entries of theirs over the old base would pass for changes of ours.
  const Dictionary before = std::exchange(*opts_, std::move(entries));
  shared.fills = std::move(fills);
  shared.base = found.stored;
  shared.layers = found.layers;
  shared.chosen = found.storedChosen;
  fillTaken(*this, before);
  return changedReadings(before, *opts_, product());
}

const Layer* Options::lockOf(const OptionRow& row) const {
  return sharing_ && sharing_->layers ? qorvane::lockOf(sharing_->layers->layers(), row, product()) : nullptr;
}

std::shared_ptr<const LayeredSettings> Options::layers() const {
  return sharing_ ? sharing_->layers : nullptr;
}

OptionOrigin Options::origin(std::string_view propertyName) const {
  const OptionRow* const row = findProperty(propertyName);
  if (!row) throw Exception({FailureCode::noSuchOption, {Text(propertyName)}});
  OptionOrigin origin;
  const Text entryKey = row->key(product());
  const Value* const now = opts_ && !entryKey.isNil() ? opts_->find(entryKey.view()) : nullptr;
  if (!now || !sharing_) return origin;
  const LayeredSettings* const layers = sharing_->layers.get();
  const auto placeOf = [](const Layer& layer) {
    return layer.kind() == LayerFolder::Kind::Firm ? OptionOrigin::Layer::Firm : OptionOrigin::Layer::Machine;
  };
  if (const Layer* const lock = lockOf(*row))
    origin.lock = {placeOf(*lock), lock->folder().path, lock->isEnforced()};
  const Value* const base = entriesOf(sharing_->base).find(entryKey.view());
  const bool isFill = sharing_->fills.fillsBase({entryKey, *now});
  const bool isOurs = !isFill && !(base && isIdentical(*base, *now));
  const Layers::Standing standing = layers ? layers->standing(entryKey) : Layers::Standing();
  if (!isOurs && standing.layer) {
    origin.layer = placeOf(*standing.layer);
    origin.everyYear = standing.everyYear;
    origin.file = standing.layer->file(standing.everyYear);
    if (const Value* const record = standing.layer->origin(entryKey)) origin.record = *record;
  } else if (isOurs ? !sharing_->fills.fillsRemoval({entryKey, *now}) : base != nullptr) {
    origin.layer = OptionOrigin::Layer::User;
    origin.file = defaults().fileOf(sharing_->key);
    origin.unsaved = isOurs;
  }
  return origin;
}

void Options::fill(const Key& key, Value value) {
  if (sharing_) {
    sharing_->settle();
    sharing_->fills.note(key, opts_->find(key), entriesOf(sharing_->base).find(key), value);
  }
  opts_->set(key, std::move(value));
}

void Options::announce(std::vector<Text> names) {
  changedNames_ = std::move(names);
  NotificationCenter::defaultCenter().postNotificationName(kPreferenceChangeEvt, this);
}

Text Options::settingsDomainKey() {
  const bool corporate = StoreAccess(*this).running().isT2();
  return Text((corporate ? "QorvaneT2Settings" : "QorvaneT1Settings") + std::to_string(yor()));
}

Text Options::getFileNameWithPath() { return "/Settings.opt"; }

Value Options::valueForKey(std::string_view propertyName) {
  const OptionRow* row = findProperty(propertyName);
  if (!row) throw Exception({FailureCode::noSuchOption, {Text(propertyName)}});
  return row->read(*this);
}

// ---- the accessors that follow the pattern ------------------------------------------------------------

// What a default asks of the product that runs there is `now` in options.def.
#define FALLBACK(fallback) []([[maybe_unused]] const Running& now) { return fallback; }
#define READ_ONLY(getter, entry, Form, fallback, Read, facade)     \
  Form::Type Options::getter() {                                   \
    static constexpr auto key = entryKey entry;                    \
    return readOption<Form, Read>(*this, key, FALLBACK(fallback)); \
  }
#define GETTER(getter, setter, entry, Form, fallback, Read, others, facade) \
  READ_ONLY(getter, entry, Form, fallback, Read, facade)
#define OPTION(getter, setter, entry, Form, fallback, Read, Write, facade)            \
  READ_ONLY(getter, entry, Form, fallback, Read, facade)                              \
  void Options::setter(Form::Argument value) {                                        \
    static constexpr auto key = entryKey entry;                                       \
    writeOption<Form, Read, Write>(*this, key, FALLBACK(fallback), std::move(value)); \
  }
#define RETIRED OPTION
#define SPECIAL(...)
#define DERIVED(...)
#include "qorvane/store/options.def"
#undef FALLBACK

// ---- and those of the general options that do not -------------------------------------------------------

bool Options::areDifferentColors(const Color& first, const Color& secColor) {
  return qorvane::areDifferentColors(first, secColor);
}

int Options::yor() { return StoreAccess(*this).running().YOR(); }
Text Options::currentYear() { return Text(std::to_string(yor())); }
Text Options::lastYear() { return Text(std::to_string(yor() - 1)); }
bool Options::IsEfile() { return true; }

namespace {
constexpr Key kStepsMode{"IsStepModeS"};
}

bool Options::isStepsMode() {
  // The corporate product has no steps, whatever the dictionary holds.
  if (StoreAccess(*this).running().isT2()) return false;
  return readOption<BooleanNumberForm, NonStoring>(*this, kStepsMode, [](const Running&) { return false; });
}

// The one setter that saves by itself: the windows that change their shape for it are told at once.
void Options::setIsStepsMode(bool on) {
  if (!opts_ || StoreAccess(*this).isLocked(kStepsMode) || (!*bulk_ && isStepsMode() == on)) return;
  const bool tell = !*bulk_;
  opts_->set(kStepsMode, BooleanNumberForm::encode(on));
  saveOptions();
  if (tell) NotificationCenter::defaultCenter().postNotificationName(kStepFormsModeChangeEvt, this);
}

}  // namespace qorvane::inline v1
