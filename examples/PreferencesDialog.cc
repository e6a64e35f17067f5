// A window of settings as an application has it, from the first look to OK: what a person types is collected
// beside the settings and applied as one step. It shows a dialog that is cancelled, one whose save fails, one
// under which another program changes something, and what the application hears of all that.
#include <iostream>
#include <string_view>

#include "qorvane/desktop/NotificationCenter.h"
#include "qorvane/manager/OptionsMgr.h"
#include "qorvane/preferences/FileUserDefaults.h"
#include "qorvane/siblings/QVSettings.h"
#include "qorvane/store/OptionEdits.h"
#include "qorvane/store/OptionTable.h"
#include "qorvane/store/Options.h"
#include "qorvane/vocabulary/Notifications.h"

using namespace qorvane;

namespace {

const Product kProduct{.corporate = true, .taxYear = 2021, .release = "VER2021_2"};

class Dialog {
 public:
  explicit Dialog(const char* title) { std::cout << "\n" << title << '\n'; }

  void type(std::string_view option, const Value& value) {
    edits_.set(option, value);
    std::cout << "  typed: " << findProperty(option)->label(Language::English) << " = " << value << '\n';
  }

  /// What a refusal, and then a conflict, looks like to the person at the desk.
  void showWhatIsOpen() {
    for (const OptionEdits::Refusal& refusal : edits_.check())
      std::cout << "  refused: " << refusal.name << ": " << refusal.failure.reason(Language::English) << '\n';
    for (const OptionEdits::Conflict& conflict : edits_.conflicts())
      std::cout << "  conflict: " << conflict.name << ": mine " << conflict.mine << ", theirs "
                << conflict.theirs << '\n';
  }
  void keepMine(std::string_view option) { edits_.keepMine(option); }

  /// True when the dialog may close. When it may not, everything typed is still there.
  bool ok() {
    const bool applied = edits_.apply();
    if (applied)
      std::cout << "  saved\n";
    else
      std::cout << "  not saved: " << edits_.failure()->reason(Language::English) << '\n';
    return applied;
  }
  /// Why it may not.
  Text reason() const { return edits_.failure()->reason(Language::English); }

 private:
  OptionEdits edits_ = OptionsMgr::edits();
};

// What another program at the same desk does.
void elsewhere(void (*change)(Options&)) {
  FileUserDefaults files;
  Options there(files, kProduct);
  there.loadOptions();
  const BulkSetting bulk(there);  // what it announces stays in its own process
  change(there);
  there.saveOptions();
}

}  // namespace

int main() {
  QVSettings::setProduct(kProduct);
  // Settings that could not be loaded are not the user's: nothing typed into them would be saved.
  if (const auto failure = OptionsMgr::loadFailure()) {
    std::cerr << "the settings could not be loaded: " << failure->reason(Language::English) << '\n';
    return 1;
  }
  std::cout << OptionsMgr::productName() << ", forms " << OptionsMgr::formsVersion() << '\n';
  const Observer observer =
      NotificationCenter::defaultCenter().addObserver(kPreferenceChangeEvt, [](const Notification&) {
        std::cout << "  heard of:";
        for (const Text& name : OptionsMgr::changedNames()) std::cout << ' ' << name;
        std::cout << '\n';
      });
  auto& files = dynamic_cast<FileUserDefaults&>(UserDefaults::standardUserDefaults());
  files.setLockWait(0);

  {
    Dialog dialog("A dialog that is cancelled");
    dialog.type("preparerCity", "Nowhere");
  }
  std::cout << "  the city is \"" << OptionsMgr::preparerCity() << "\"\n";

  {
    Dialog dialog("One that is saved");
    dialog.type("preparerFirmName", "Impôts Côté & filles");
    if (!dialog.ok()) {
      std::cerr << "the dialog: " << dialog.reason() << '\n';
      return 1;
    }
  }

  {
    Dialog dialog("One whose save fails the first time, and then a value that does not fit");
    dialog.type("preparerCity", "Gaspé");
    {
      FileUserDefaults other;
      const UserDefaults::Lock busy(other);
      dialog.ok();
    }
    dialog.type("preparerEmail", "not an address");
    dialog.showWhatIsOpen();
    dialog.type("preparerEmail", "cote@example.ca");
    if (!dialog.ok()) return 1;
  }

  {
    Dialog dialog("One under which another program saves");
    dialog.type("preparerCity", "Percé");
    elsewhere([](Options& there) {
      there.setPreparerCity("Alma");
      there.setPreparerPhone("418 555-0199");
    });
    dialog.ok();
    OptionsMgr::refresh();  // as when the watch of the settings says that something came
    dialog.showWhatIsOpen();
    dialog.keepMine("preparerCity");
    if (!dialog.ok()) return 1;
  }
  std::cout << "\n"
            << OptionsMgr::firmName() << ", " << OptionsMgr::preparerCity() << ", "
            << OptionsMgr::preparerPhone() << '\n';

  // Asking for a folder makes it.
  std::cout << "clients in " << OptionsMgr::t2ClientFileFolder() << '\n';

  for (const Text& language : {Text("English"), Text("French")}) {
    OptionsMgr::setLanguage(language);
    std::cout << language << ": " << OptionsMgr::numberFormatter()->stringFromNumber(1234567) << " and "
              << OptionsMgr::numberFormatterWithoutDollar()->stringFromNumber(-1234.5) << '\n';
  }
}
