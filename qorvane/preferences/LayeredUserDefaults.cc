#include "qorvane/preferences/LayeredUserDefaults.h"

#include <algorithm>
#include <utility>

#include "qorvane/desktop/Log.h"
#include "qorvane/preferences/FileContents.h"

namespace qorvane::inline v1 {

namespace {

const Dictionary& entriesIn(const Value& object) {
  static const Dictionary none;
  const Dictionary* const entries = object.asDictionary();
  return entries ? *entries : none;
}

std::shared_ptr<const Layers> readLayers(const Text& key, SystemCalls& calls, KnownLayerFiles& known) {
  return std::make_shared<const Layers>(Layers::read(layerFolders(calls), key, calls, &known));
}

}  // namespace

Value chosenAmong(const Value& chosen, const Dictionary& entries) {
  Array kept;
  if (chosen.asArray())
    for (const Value& name : *chosen.asArray())
      if (name.asText() && entries.find(name.asText()->view())) kept.push_back(name);
  return kept.empty() ? Value() : Value(std::move(kept));
}

// ---- all layers together --------------------------------------------------------------------------------

LayeredSettings::LayeredSettings(Text key, Settings own, std::shared_ptr<const Layers> layers,
                                 const LayerRule& rule)
    : key_(std::move(key)), own_(std::move(own)), layers_(std::move(layers)), rule_(rule) {
  if (!own_.chosen.asArray()) return;
  for (const Value& name : *own_.chosen.asArray())
    if (name.asText()) marks_.set(*name.asText(), Number(true));
}

std::shared_ptr<const LayeredSettings> LayeredSettings::with(Settings own) const {
  return std::make_shared<const LayeredSettings>(key_, std::move(own), layers_, rule_);
}

const Dictionary& LayeredSettings::ownEntries() const { return entriesIn(own_.object); }

bool LayeredSettings::isChosen(std::string_view entryKey) const {
  const Value* const mine = ownEntries().find(entryKey);
  return mine && (isMarked(entryKey) || isChosenByItself(entryKey, *mine));
}

Layers::Standing LayeredSettings::standingApart(std::string_view entryKey) const {
  const Value* const mine = ownEntries().find(entryKey);
  return layers_->standing(entryKey, mine, mine && isChosen(entryKey));
}

Layers::Standing LayeredSettings::standing(std::string_view entryKey) const {
  for (const LayerRule::Follower& follower : rule_.followers()) {
    if (follower.entry.view() != entryKey || layers_->lockOf(entryKey)) continue;
    if (follower.fromTheirLayer) {
      Layers::Standing leader = standingApart(follower.leaders.front());
      if (!leader.value) break;
      if (!leader.layer) {
        leader.value = ownEntries().find(entryKey);
      } else if (const auto entry = leader.layer->find(entryKey)) {
        leader.value = entry->value;
        leader.everyYear = entry->everyYear;
      } else {
        leader.value = nullptr;
        leader.layer = nullptr;
      }
      return leader;
    }
    const bool stays = std::ranges::any_of(follower.leaders, [&](const Text& leader) {
      const Layers::Standing standing = standingApart(leader);
      return standing.value && !standing.layer;
    });
    if (!stays) return layers_->standing(entryKey, ownEntries().find(entryKey), false);
  }
  return standingApart(entryKey);
}

void LayeredSettings::put(const Text& entryKey, Dictionary& effective) const {
  const Layers::Standing counts = standing(entryKey);
  if (counts.layer || !counts.value) effective.set(entryKey, counts.value ? *counts.value : Value());
}

Dictionary LayeredSettings::effective() const {
  Dictionary effective = ownEntries();
  if (layers_->empty()) return effective;
  for (const Layer& layer : *layers_)
    for (const Dictionary* entries : {&layer.year(), &layer.everyYear()})
      for (const Dictionary::Entry& entry : *entries) put(entry.key, effective);
  for (const LayerRule::Follower& follower : rule_.followers()) put(follower.entry, effective);
  return effective;
}

// ---- the store ------------------------------------------------------------------------------------------

// A merge that is asked with the layers as they stand then, by the user's store.
class LayeredUserDefaults::OverLayers : public Merge {
 public:
  OverLayers(const LayeredUserDefaults& store, Text key, std::shared_ptr<Merge> inner)
      : key_(std::move(key)),
        inner_(std::move(inner)),
        rule_(store.rule_),
        calls_(store.calls_),
        known_(store.known_) {}

  bool isOf(const std::shared_ptr<Merge>& merge, const Text& key) const {
    return inner_ == merge && key_ == key;
  }

  Value merged(const Value& standing) override { return mergedSettings({standing, nullptr}).object; }
  Settings mergedSettings(const Settings& standing) override {
    return inner_->mergedLayers(
        std::make_shared<const LayeredSettings>(key_, standing, readLayers(key_, calls_, *known_), rule_));
  }
  void written() override { inner_->written(); }

 private:
  Text key_;
  std::shared_ptr<Merge> inner_;
  const LayerRule& rule_;
  SystemCalls& calls_;
  std::shared_ptr<KnownLayerFiles> known_;
};

LayeredUserDefaults::LayeredUserDefaults(std::string folder, const LayerRule& rule, SystemCalls& calls)
    : FileUserDefaults(std::move(folder), calls), rule_(rule), calls_(calls) {}
LayeredUserDefaults::~LayeredUserDefaults() = default;

Layers LayeredUserDefaults::layers(const Text& key) const { return *readLayers(key, calls_, *known_); }

std::shared_ptr<const LayeredSettings> LayeredUserDefaults::over(const Text& key, Settings own) const {
  return std::make_shared<const LayeredSettings>(key, std::move(own), readLayers(key, calls_, *known_),
                                                 rule_);
}

UserDefaults::Loaded LayeredUserDefaults::load(const Text& key) {
  if (!loaded_.contains(key.view())) loaded_.insert(key.string());
  Loaded loaded = FileUserDefaults::load(key);
  std::shared_ptr<const Layers> farther;
  try {
    farther = readLayers(key, calls_, *known_);
  } catch (const FileException& error) {
    logFailure([&] { return Failure{FailureCode::settingsNotLoaded, {key}, 0, {error.failure()}}; });
    throw;
  }
  if (farther->empty()) return loaded;
  const bool waits =
      !isIdentical(loaded.stored, loaded.object) || !isIdentical(loaded.storedChosen, loaded.chosen);
  loaded.layers = std::make_shared<const LayeredSettings>(
      key, Settings{std::move(loaded.stored), loaded.storedChosen}, std::move(farther), rule_);
  loaded.stored = loaded.layers->effective();
  loaded.object =
      waits ? Value(loaded.layers->with({loaded.object, loaded.chosen})->effective()) : loaded.stored;
  return loaded;
}

void LayeredUserDefaults::update(const Value& whole, const Text& key, std::shared_ptr<Merge> merge) {
  std::erase_if(handed_, [](const auto& handed) { return handed.expired(); });
  std::shared_ptr<OverLayers> over;
  for (const auto& handed : handed_)
    if (const auto one = handed.lock(); one && one->isOf(merge, key)) over = one;
  if (!over) {
    over = std::make_shared<OverLayers>(*this, key, std::move(merge));
    handed_.push_back(over);
  }
  FileUserDefaults::update(whole, key, std::move(over));
}

}  // namespace qorvane::inline v1
