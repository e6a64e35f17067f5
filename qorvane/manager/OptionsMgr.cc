#include "qorvane/manager/OptionsMgr.h"

#include <atomic>
#include <mutex>
#include <utility>

#include "qorvane/foundation/Exception.h"
#include "qorvane/jurisdictions/DisplayLanguage.h"
#include "qorvane/manager/FacadeState.h"
#include "qorvane/store/OptionEdits.h"
#include "qorvane/store/OptionOrigin.h"
#include "qorvane/store/OptionTable.h"
#include "qorvane/store/Options.h"
#include "qorvane/store/StoredForms.h"

namespace qorvane::inline v1 {

namespace {

struct Facade {
  std::shared_ptr<Options> store;
  // Stores that an instance replaced: observers of their notifications may still compare their addresses.
  std::vector<std::shared_ptr<Options>> replaced;
  bool startPrn = false;
  bool isMrqPrn = false;
};

// Kept for the life of the process: destructors of static objects may still ask for a setting.
constinit std::atomic<Facade*> facadeState = nullptr;

constinit std::recursive_mutex loading;
constinit Facade* made = nullptr;

// Whoever comes first loads the store; another thread waits until it is loaded. The load's own getters may
// ask the facade for the language: they get the store as far as it is.
Facade& initialised() {
  const std::lock_guard lock(loading);
  if (made) return *made;
  made = new Facade;
  made->store = std::make_shared<Options>();
  made->store->loadOptions();
  facadeState.store(made, std::memory_order_release);
  return *made;
}

Facade& facade() {
  Facade* state = facadeState.load(std::memory_order_acquire);
  return state ? *state : initialised();
}

}  // namespace

void forgetFacade() {
  facadeState = nullptr;
  delete std::exchange(made, nullptr);
}

void OptionsMgr::initialize() { facade(); }
Options& OptionsMgr::store() { return *facade().store; }

bool displayLanguageIsEnglish() { return OptionsMgr::isEnglish(); }

OptionsMgr::OptionsMgr() {
  Facade& state = facade();
  share_ = std::make_shared<Options>();
  state.replaced.push_back(std::exchange(state.store, share_));
}

OptionsMgr::~OptionsMgr() = default;

namespace {

NamedOption optionNamed(std::string_view name) {
  const NamedOption option = findPropertyOrFacadeName(name);
  if (!option.row) throw Exception(Failure{FailureCode::noSuchOption, {Text(name)}});
  return option;
}

}  // namespace

void OptionsMgr::saveOptions() { store().saveOptions(); }
std::vector<Text> OptionsMgr::refresh() { return store().refresh(); }
const std::vector<Text>& OptionsMgr::changedNames() { return store().changedNames(); }
OptionEdits OptionsMgr::edits() { return OptionEdits(store()); }
OptionOrigin OptionsMgr::origin(std::string_view name) { return store().origin(optionNamed(name).row->name); }
std::optional<Failure> OptionsMgr::saveFailure() { return store().saveFailure(); }
bool OptionsMgr::reload() { return store().reload(); }
std::optional<Failure> OptionsMgr::loadFailure() { return store().loadFailure(); }

Value OptionsMgr::valueForKey(std::string_view name) {
  const NamedOption option = optionNamed(name);
  const Value value = option.row->read(store());
  return option.facadeName && option.facadeName->asFlag ? Value(value == Value(kYes)) : value;
}

void OptionsMgr::setValueForKey(const Value& value, std::string_view name) {
  const NamedOption option = optionNamed(name);
  const bool readOnly = option.facadeName ? option.facadeName->setter.empty() : !option.row->write;
  if (readOnly) throw Exception(Failure{FailureCode::optionReadOnly, {Text(name)}});
  const bool asFlag = option.facadeName && option.facadeName->asFlag;
  option.row->write(store(), asFlag ? Value(value.boolValue() ? kYes : kNo) : value);
}

bool OptionsMgr::isEnglish() { return language().isEqualTo("English"); }

bool OptionsMgr::startPrinting() { return facade().startPrn; }
void OptionsMgr::setStartPrinting(bool printing) { facade().startPrn = printing; }
bool OptionsMgr::isMRQPrinting() { return facade().isMrqPrn; }
void OptionsMgr::setIsMRQPrinting(bool printing) { facade().isMrqPrn = printing; }

// ---- the settings ---------------------------------------------------------------------------------------

namespace {

// What an accessor of the store answers and takes. The definitions below get their types from the store, so
// the declarations in the header have to agree with it.
template <class Answer>
Answer answerOf(Answer (Options::*getter)());
template <class Argument>
Argument argumentOf(void (Options::*setter)(Argument));

}  // namespace

#define FORWARD(getter, setter, storeGetter, storeSetter)                                          \
  decltype(answerOf(&Options::storeGetter)) OptionsMgr::getter() { return store().storeGetter(); } \
  void OptionsMgr::setter(decltype(argumentOf(&Options::storeSetter)) value) {                     \
    store().storeSetter(std::move(value));                                                         \
  }
#define FORWARD_READ(getter, storeGetter) \
  decltype(answerOf(&Options::storeGetter)) OptionsMgr::getter() { return store().storeGetter(); }
#define FORWARD_FLAG(getter, setter, storeGetter, storeSetter)                \
  bool OptionsMgr::getter() { return store().storeGetter().isEqualTo(kYes); } \
  void OptionsMgr::setter(bool on) { store().storeSetter(on ? kYes : kNo); }
#define FORWARD_RETIRED MAKE
#include "qorvane/store/facade-names.def"

Text OptionsMgr::helpFilePath() const { return store().helpFile(); }

}  // namespace qorvane::inline v1
