// Memory runs out at each allocation of a save and of a load: once, or from then on.
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <new>
#include <optional>

#include "qorvane/desktop/LogCapture.h"
#include "qorvane/desktop/NotificationCenter.h"
#include "qorvane/preferences/FileUserDefaults.h"
#include "qorvane/siblings/QVSettings.h"
#include "qorvane/store/Options.h"
#include "qorvane/vocabulary/Notifications.h"
#include "tests/TestHome.h"
#include "tests/foundation/Allocations.h"

namespace testing_support {
namespace {

namespace fs = std::filesystem;
using namespace qorvane;

constexpr Text kKey = "QorvaneT1Settings2020";
const Value kOld = Dictionary{{"PCity", Text("Québec")}, {"Number", Number(1)}};
const Value kNew = Dictionary{{"PCity", Text("Gaspé")}, {"Bytes", Data("x")}};

// Syncs are counted, not waited for; and no allocation is made for counting.
class CallsWithoutSync : public SystemCalls {
  int fsync(int) override { return 0; }
};

class OutOfMemoryTest : public testing::TestWithParam<bool> {
 protected:
  fs::path file() const { return home.store() / "QorvaneT1Settings2020.plist"; }
  static fs::path newest() { return FileUserDefaults().generations(kKey).at(0).path; }

  void save(const Value& value) {
    FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
    store.setObject(value, kKey);
    ASSERT_TRUE(store.synchronize());
  }
  std::vector<std::string> names() const {
    std::vector<std::string> found;
    for (const auto& entry : fs::directory_iterator(home.store())) found.push_back(entry.path().filename());
    return found;
  }
  void expectNoTemporaryFile(std::size_t allocation) const {
    for (const std::string& name : names())
      EXPECT_FALSE(name.ends_with(".new")) << name << ", " << allocation;
  }
  /// Makes each allocation in turn fail, until `attempt` makes no more: it is told how many succeed before.
  static void atEachAllocation(const std::function<bool(std::size_t)>& attempt) {
    for (std::size_t allocation = 0;; ++allocation) {
      const bool hadEffect = attempt(allocation);
      if (HasFailure()) return;
      if (!hadEffect) {
        RecordProperty("allocations", static_cast<int>(allocation));
        EXPECT_GT(allocation, 5u);
        return;
      }
    }
  }

  TestHome home;
  LogCapture logged;
  CallsWithoutSync calls;
};

TEST_P(OutOfMemoryTest, ASaveFailsAndTheNextOneSucceeds) {
  for (const Value& before : {Value(), kOld})
    for (const Value& value : {kNew, Value()})
      atEachAllocation([&](std::size_t allocation) {
        fs::remove_all(home.store());
        if (!before.isNil()) save(before);
        const std::string old = before.isNil() ? "" : readFile(file());
        logged.clear();
        FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
        bool set = false;
        bool answered = true;
        bool hadEffect;
        {
          const AllocationsFailAfter failing(allocation, GetParam());
          try {
            store.setObject(value, kKey);
            set = true;
            answered = store.synchronize();
          } catch (const std::bad_alloc&) {
            EXPECT_FALSE(set) << "synchronize answers, it does not throw; " << allocation;
          }
          hadEffect = failing.hadEffect();
        }
        EXPECT_TRUE(set || store.objectForKey(kKey) == before) << "what could not be set is not set";
        if (set && !answered) {
          EXPECT_EQ(fs::exists(file()) ? readFile(file()) : "", old) << allocation;
          if (store.lastFailure()) {
            EXPECT_EQ(store.lastFailure()->systemError, ENOMEM);
            EXPECT_NE(store.lastFailure()->reason(Language::English).view().find("memory"),
                      std::string_view::npos);
            // With a little memory left the reason names the file, and the log has it.
            if (GetParam()) {
              EXPECT_NE(store.lastFailure()->reason(Language::English).view().find(file().string()),
                        std::string_view::npos);
              EXPECT_EQ(logged.lines().size(), 1u);
            }
          } else {
            ADD_FAILURE() << "no reason, " << allocation;
          }
        }
        if (fs::exists(home.store())) expectNoTemporaryFile(allocation);
        store.setObject(value, kKey);
        EXPECT_TRUE(store.synchronize()) << allocation;
        EXPECT_TRUE(isIdentical(FileUserDefaults().objectForKey(kKey), value)) << allocation;
        expectNoTemporaryFile(allocation);
        return hadEffect;
      });
}

TEST_P(OutOfMemoryTest, ALoadThrowsAndChangesNothing) {
  save(kOld);
  save(kNew);
  const std::string good = readFile(file());
  atEachAllocation([&](std::size_t allocation) {
    FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
    bool hadEffect;
    {
      const AllocationsFailAfter failing(allocation, GetParam());
      try {
        EXPECT_TRUE(isIdentical(store.objectForKey(kKey), kNew)) << allocation;
        EXPECT_FALSE(failing.hadEffect());
      } catch (const std::bad_alloc&) {
      }
      hadEffect = failing.hadEffect();
    }
    EXPECT_EQ(readFile(file()), good);
    EXPECT_EQ(names().size(), 3u) << "the file, its copy and the lock";
    EXPECT_TRUE(logged.lines().empty()) << logged.lines()[0];
    EXPECT_TRUE(isIdentical(store.objectForKey(kKey), kNew));
    return hadEffect;
  });
}

TEST_P(OutOfMemoryTest, MendingADamagedFileLosesNothing) {
  for (const bool saving : {false, true})
    atEachAllocation([&](std::size_t allocation) {
      fs::remove_all(home.store());
      save(kOld);
      save(kNew);
      const std::string copy = readFile(newest());
      writeFile(file(), "junk");
      FileUserDefaults store(FileUserDefaults::defaultFolder(), calls);
      bool hadEffect;
      {
        const AllocationsFailAfter failing(allocation, GetParam());
        try {
          if (saving) {
            store.setObject(kNew, kKey);
            static_cast<void>(store.synchronize());
          } else {
            EXPECT_TRUE(isIdentical(store.objectForKey(kKey), kOld)) << allocation;
          }
        } catch (const std::bad_alloc&) {
        }
        hadEffect = failing.hadEffect();
      }
      expectNoTemporaryFile(allocation);
      EXPECT_EQ(readFile(newest()), copy) << allocation;
      bool kept = false;
      for (const std::string& name : names()) kept = kept || readFile(home.store() / name) == "junk";
      EXPECT_TRUE(kept) << allocation;
      const Value now = FileUserDefaults(FileUserDefaults::defaultFolder(), calls).objectForKey(kKey);
      EXPECT_TRUE(isIdentical(now, kOld) || (saving && isIdentical(now, kNew))) << allocation;
      return hadEffect;
    });
}

// The store that an application uses: whatever happened before, the next save with memory again keeps the
// change, and it was announced by then.
TEST_P(OutOfMemoryTest, AnOptionIsSavedAndAnnouncedInTheEnd) {
  int announced = 0;
  const Observer observer = NotificationCenter::defaultCenter().addObserver(
      kPreferenceChangeEvt, [&](const Notification&) { ++announced; });
  QVSettings::setProduct({.corporate = false, .taxYear = 2020});
  FileUserDefaults files(FileUserDefaults::defaultFolder(), calls);
  UserDefaults::setStandardUserDefaults(&files);
  Options options;
  options.loadOptions();
  bool zsupress = options.zsupress();
  atEachAllocation([&](std::size_t allocation) {
    zsupress = !zsupress;
    options.setZsupress(zsupress);
    announced = 0;
    bool threw = false;
    bool hadEffect;
    {
      const AllocationsFailAfter failing(allocation, GetParam());
      try {
        options.saveOptions();
      } catch (const std::bad_alloc&) {
        threw = true;
      }
      hadEffect = failing.hadEffect();
    }
    EXPECT_EQ(notifyAll, threw) << "a save that was broken off is announced by the next one";
    options.saveOptions();
    EXPECT_EQ(announced, 1) << allocation;
    Options other;
    other.loadOptions();
    EXPECT_EQ(other.zsupress(), zsupress) << allocation;
    return hadEffect;
  });
  UserDefaults::setStandardUserDefaults(nullptr);
}

// A save over what another program saved meanwhile: neither change is lost, whenever the memory ran out.
TEST_P(OutOfMemoryTest, AMergedSaveLosesNeitherChange) {
  const Product product{.taxYear = 2020};
  int round = 0;
  atEachAllocation([&](std::size_t allocation) {
    FileUserDefaults mine(FileUserDefaults::defaultFolder(), calls);
    FileUserDefaults theirs(FileUserDefaults::defaultFolder(), calls);
    Options store(mine, product);
    Options other(theirs, product);
    store.loadOptions();
    other.loadOptions();
    const Text number(std::to_string(++round));
    other.setPreparerPhone(number);
    other.saveOptions();
    store.setPreparerCity(number);
    bool hadEffect;
    {
      const AllocationsFailAfter failing(allocation, GetParam());
      try {
        store.saveOptions();
      } catch (const std::bad_alloc&) {
      }
      hadEffect = failing.hadEffect();
    }
    expectNoTemporaryFile(allocation);
    EXPECT_EQ(store.preparerCity(), number);
    store.saveOptions();
    EXPECT_FALSE(store.saveFailure()) << allocation;
    for (Options* one : {&store, &other}) {
      one->loadOptions();
      EXPECT_EQ(one->preparerCity(), number) << allocation;
      EXPECT_EQ(one->preparerPhone(), number) << allocation;
    }
    return hadEffect;
  });
}

INSTANTIATE_TEST_SUITE_P(, OutOfMemoryTest, testing::Bool(),
                         [](const auto& test) { return test.param ? "Once" : "FromThenOn"; });

}  // namespace
}  // namespace testing_support
