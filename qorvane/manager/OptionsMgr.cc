#include "qorvane/manager/OptionsMgr.h"

#include <vector>

#include "qorvane/jurisdictions/DisplayLanguage.h"
#include "qorvane/store/Options.h"

namespace qorvane {

namespace {

struct Facade {
  std::shared_ptr<Options> store;
  // Stores that an instance replaced: observers of their notifications may still compare their addresses.
  std::vector<std::shared_ptr<Options>> replaced;
  bool startPrn = false;
  bool isMrqPrn = false;
};

// Kept for the life of the process: destructors of static objects may still ask for a setting.
constinit Facade* facadeState = nullptr;

Facade& initialised() {
  auto* facade = new Facade;
  facade->store = std::make_shared<Options>();
  // In place before the load, whose getters may ask the facade for the language.
  facadeState = facade;
  facade->store->loadOptions();
  return *facade;
}

Facade& facade() { return facadeState ? *facadeState : initialised(); }

Options& store() { return *facade().store; }

}  // namespace

bool displayLanguageIsEnglish() { return OptionsMgr::isEnglish(); }

OptionsMgr::OptionsMgr() {
  Facade& state = facade();
  share_ = std::make_shared<Options>();
  state.replaced.push_back(std::exchange(state.store, share_));
}

OptionsMgr::~OptionsMgr() = default;

void OptionsMgr::saveOptions() { store().saveOptions(); }

Text OptionsMgr::language() { return store().language(); }
void OptionsMgr::setLanguage(const Text& language) { store().setLanguage(language); }
bool OptionsMgr::isEnglish() { return language().isEqualTo("English"); }

bool OptionsMgr::startPrinting() { return facade().startPrn; }
void OptionsMgr::setStartPrinting(bool printing) { facade().startPrn = printing; }
bool OptionsMgr::isMRQPrinting() { return facade().isMrqPrn; }
void OptionsMgr::setIsMRQPrinting(bool printing) { facade().isMrqPrn = printing; }

}  // namespace qorvane
