// Hearing what others change: in the folder, on the ways to it, behind links, and where nothing is heard.
#include "qorvane/preferences/PreferenceWatch.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "qorvane/preferences/LayeredUserDefaults.h"
#include "qorvane/propertylist/PropertyList.h"
#include "tests/preferences/FileStoreTest.h"

namespace qorvane {
namespace {

using Keys = std::vector<Text>;

class PreferenceWatchTest : public FileStoreTest {
 protected:
  /// What the watch tells when its descriptor has become readable; nothing when it does not.
  static Keys heard(PreferenceWatch& watch, int milliseconds = 5000) {
    pollfd end = {watch.descriptor(), POLLIN, 0};
    for (;;) {
      if (poll(&end, 1, milliseconds) <= 0) return {};
      if (Keys keys = watch.changedKeys(); !keys.empty()) return keys;
    }
  }
  /// Nothing more is told.
  static bool isSilent(PreferenceWatch& watch) {
    return watch.changedKeys().empty() && watch.changedKeys().empty();
  }
  static void saveIn(const fs::path& folder, const Value& value, const Text& key = kKey) {
    CallsWithoutSync calls;
    FileUserDefaults other(folder.string(), calls);
    other.setObject(value, key);
    ASSERT_TRUE(other.synchronize()) << other.lastFailure()->reason(Language::English);
  }

  CallsWithoutSync calls;
  FileUserDefaults store{FileUserDefaults::defaultFolder(), calls};
};

TEST_F(PreferenceWatchTest, OthersSavesAreToldAndOurOwnAreNot) {
  save(kOld);
  PreferenceWatch watch(store);
  EXPECT_TRUE(isSilent(watch)) << "what stood there is known";
  save(kNew);
  EXPECT_EQ(heard(watch), Keys{kKey});
  EXPECT_TRUE(isSilent(watch));
  store.setObject(kOld, kKey);
  EXPECT_TRUE(store.synchronize());
  EXPECT_TRUE(isSilent(watch));
  store.setObject(nullptr, kKey);
  EXPECT_TRUE(store.synchronize());
  EXPECT_TRUE(isSilent(watch));
  save(kOld);
  EXPECT_EQ(heard(watch), Keys{kKey});
  save(nullptr);
  EXPECT_EQ(heard(watch), Keys{kKey}) << "a removal";
  // Ours and another's on it.
  store.setObject(kOld, kKey);
  EXPECT_TRUE(store.synchronize());
  save(kNew);
  EXPECT_EQ(heard(watch), Keys{kKey});
  EXPECT_TRUE(isSilent(watch));
}

TEST_F(PreferenceWatchTest, SeveralKeysAreToldOnceAndInOrder) {
  PreferenceWatch watch(store);
  for (const Text& key : {Text("b"), Text("a"), Text("b"), Text("c")}) saveIn(home.store(), kNew, key);
  for (const Text& key : {Text("a"), Text("b")}) saveIn(home.store(), kOld, key);
  EXPECT_EQ(heard(watch), (Keys{"a", "b", "c"}));
  EXPECT_TRUE(isSilent(watch));
}

TEST_F(PreferenceWatchTest, AFileThatIsWrittenInPlaceIsTold) {
  save(kOld);
  PreferenceWatch watch(store);
  std::ofstream(file(), std::ios::app) << "x";
  EXPECT_EQ(heard(watch), Keys{kKey});
  // The same size and the same moment.
  for (int i = 0; i < 20; ++i) {
    writeFile(file(), "junk" + std::to_string(i % 10));
    EXPECT_EQ(heard(watch), Keys{kKey}) << i;
  }
}

TEST_F(PreferenceWatchTest, AFolderThatComesLaterIsHeard) {
  PreferenceWatch watch(store);
  EXPECT_FALSE(fs::exists(home.path() / ".config"));
  EXPECT_TRUE(isSilent(watch));
  save(kOld);
  EXPECT_EQ(heard(watch), Keys{kKey});
  save(kNew);
  EXPECT_EQ(heard(watch), Keys{kKey});
  fs::remove_all(home.path() / ".config");
  EXPECT_EQ(heard(watch), Keys{kKey});
  save(kOld);
  EXPECT_EQ(heard(watch), Keys{kKey});
}

TEST_F(PreferenceWatchTest, AFolderThatIsReplacedIsHeard) {
  save(kOld);
  PreferenceWatch watch(store);
  fs::rename(home.store(), home.path() / "old");
  EXPECT_EQ(heard(watch), Keys{kKey});
  saveIn(home.path() / "old", kNew);
  EXPECT_TRUE(isSilent(watch)) << "that is the store's folder no more";
  saveIn(home.path() / "new", kNew);
  fs::rename(home.path() / "new", home.store());
  EXPECT_EQ(heard(watch), Keys{kKey});
  save(kOld);
  EXPECT_EQ(heard(watch), Keys{kKey});
  // A folder above it.
  fs::rename(home.path() / ".config", home.path() / "above");
  EXPECT_EQ(heard(watch), Keys{kKey});
  fs::rename(home.path() / "above", home.path() / ".config");
  EXPECT_EQ(heard(watch), Keys{kKey});
}

TEST_F(PreferenceWatchTest, LinksAreFollowedAndTheirTurningIsHeard) {
  // The folder through a link, and in it a file that is one.
  const fs::path one = home.path() / "one";
  const fs::path two = home.path() / "two";
  saveIn(one, kOld);
  saveIn(two, kNew);
  fs::create_directories(home.path() / ".config");
  fs::create_directory_symlink("../one", home.store());
  PreferenceWatch watch(store);
  saveIn(one, kNew);
  EXPECT_EQ(heard(watch), Keys{kKey});
  fs::remove(home.store());
  fs::create_directory_symlink("../two", home.store());
  EXPECT_EQ(heard(watch), Keys{kKey});
  saveIn(one, kOld);
  EXPECT_TRUE(isSilent(watch));
  saveIn(two, kOld);
  EXPECT_EQ(heard(watch), Keys{kKey});

  const fs::path dotfiles = home.path() / "dotfiles";
  fs::create_directories(dotfiles);
  fs::rename(two / file().filename(), dotfiles / "settings");
  fs::create_symlink("../dotfiles/settings", two / file().filename());
  heard(watch);
  saveIn(two, kNew);
  EXPECT_EQ(heard(watch), Keys{kKey}) << "behind the link of the file";
  writeFile(dotfiles / "bystander", "mine");
  EXPECT_TRUE(isSilent(watch));
  fs::remove(dotfiles / "settings");
  EXPECT_EQ(heard(watch), Keys{kKey});
}

// As of a file server, whose other clients the kernel does not hear.
TEST_F(PreferenceWatchTest, WhereTheKernelIsBlindTheFilesAreCompared) {
  class NetworkCalls : public CallsWithoutSync {
   public:
    int statfs(const char* path, struct ::statfs* status) override {
      const int result = SystemCalls::statfs(path, status);
      status->f_type = static_cast<decltype(status->f_type)>(type);
      return result;
    }
    long type = NFS_SUPER_MAGIC;
  };
  save(kOld);
  for (const long type : {long{NFS_SUPER_MAGIC}, long{FUSE_SUPER_MAGIC}, 0xFF534D42L}) {
    NetworkCalls network;
    network.type = type;
    FileUserDefaults remote(FileUserDefaults::defaultFolder(), network);
    PreferenceWatch watch(remote);
    pollfd end = {watch.descriptor(), POLLIN, 0};
    EXPECT_EQ(poll(&end, 1, 10'000), 1) << "it ticks";
    EXPECT_TRUE(watch.changedKeys().empty());
    EXPECT_EQ(poll(&end, 1, 0), 0);
  }
  PreferenceWatch local(store);
  pollfd end = {local.descriptor(), POLLIN, 0};
  EXPECT_EQ(poll(&end, 1, 2500), 0) << "and does not where the kernel sees";
}

TEST_F(PreferenceWatchTest, WithoutAFolderThereIsNothingToWatch) {
  FileUserDefaults none{std::string()};
  EXPECT_THROW(PreferenceWatch{none}, FileException);
}

using PreferenceWatchSlowTest = PreferenceWatchTest;

TEST_F(PreferenceWatchSlowTest, LeavesNoDescriptorOpenAndNoThread) {
  const auto countIn = [](const char* folder) {
    return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
  };
  const auto open = [&] { return countIn("/proc/self/fd"); };
  save(kOld);
  const auto before = open();
  const auto threads = countIn("/proc/self/task");
  for (int round = 0; round < 10'000; ++round) {
    const PreferenceWatch watch(store);
    if (round == 5'000) {
      EXPECT_GT(open(), before);
    }
  }
  EXPECT_EQ(open(), before);
  EXPECT_EQ(countIn("/proc/self/task"), threads);
}

// More files than the kernel's queue has room for.
TEST_F(PreferenceWatchSlowTest, AStormEndsInTheTrueState) {
  constexpr int kFiles = 40'000;
  fs::create_directories(home.store());
  fs::permissions(home.store(), fs::perms(0700));
  PreferenceWatch watch(store);
  for (int i = 0; i < kFiles; ++i) {
    const int out =
        ::open((home.store() / ("key" + std::to_string(i) + ".plist")).c_str(), O_WRONLY | O_CREAT, 0600);
    ASSERT_GE(out, 0);
    ::close(out);
  }
  EXPECT_EQ(watch.changedKeys().size(), static_cast<std::size_t>(kFiles));
  EXPECT_TRUE(isSilent(watch));
  save(kNew);
  EXPECT_EQ(heard(watch), Keys{kKey}) << "it hears on";
}

// ---- layers ---------------------------------------------------------------------------------------------

class LayerWatchTest : public PreferenceWatchTest {
 protected:
  LayerWatchTest() { umask(022); }

  void writeLayer(const fs::path& folder, const Text& key, const char* city) {
    const fs::path staged = folder / "staged";
    writeFile(staged,
              writePropertyList(Dictionary{{key, Dictionary{{"PCity", city}}}}, PropertyListFormat::Xml));
    fs::rename(staged, folder / (key.string() + ".plist"));
  }
  void turn(const fs::path& to) {
    fs::create_symlink(to, firm() / "next");
    fs::rename(firm() / "next", firm() / "current");
  }
  fs::path machine() const { return home.path() / "etc/xdg/Qorvane"; }
  fs::path firm() const { return home.path() / ".local/state/Qorvane/firm"; }
  std::string city() {
    const Value found = layered.load(kKey).object;
    const Value* const value = found.asDictionary() ? found.asDictionary()->find("PCity") : nullptr;
    return value ? value->textValue().string() : "none";
  }

  LayeredUserDefaults layered{FileUserDefaults::defaultFolder(), optionLayerRule(), calls};
  const Text kEvery = Text(everyYearKey(kKey));
};

TEST_F(LayerWatchTest, AMachinesFileThatComesChangesAndGoesIsTold) {
  EXPECT_EQ(city(), "none");
  PreferenceWatch watch(layered);
  EXPECT_TRUE(isSilent(watch));
  writeLayer(machine(), kKey, "Alma");
  EXPECT_EQ(heard(watch), Keys{kKey});
  EXPECT_EQ(city(), "Alma");
  // The file for every year is a part of this year's settings.
  writeLayer(machine(), kEvery, "Gaspé");
  EXPECT_EQ(heard(watch), Keys{kKey});
  EXPECT_TRUE(isSilent(watch));
  fs::remove(machine() / (kKey.string() + ".plist"));
  EXPECT_EQ(heard(watch), Keys{kKey});
  EXPECT_EQ(city(), "Gaspé");
  writeLayer(machine(), "Another", "Percé");
  EXPECT_TRUE(isSilent(watch)) << "of no key that anybody loaded";
  fs::remove_all(home.path() / "etc");
  EXPECT_EQ(heard(watch), Keys{kKey});
  EXPECT_EQ(city(), "none");
}

TEST_F(LayerWatchTest, AFirmsTurnedLinkIsTold) {
  writeLayer(firm() / "states/1", kEvery, "Alma");
  writeLayer(firm() / "states/2", kEvery, "Gaspé");
  turn("states/1");
  EXPECT_EQ(city(), "Alma");
  PreferenceWatch watch(layered);
  for (int round = 0; round < 5; ++round) {
    turn("states/2");
    EXPECT_EQ(heard(watch), Keys{kKey});
    EXPECT_EQ(city(), "Gaspé");
    turn("states/1");
    EXPECT_EQ(heard(watch), Keys{kKey});
    EXPECT_EQ(city(), "Alma");
  }
  EXPECT_TRUE(isSilent(watch));
  writeLayer(firm() / "states/2", kEvery, "Percé");
  EXPECT_TRUE(isSilent(watch)) << "nobody reads there now";
}

TEST_F(LayerWatchTest, ALayerWrittenInPlaceIsTold) {
  writeLayer(machine(), kKey, "Alma");
  EXPECT_EQ(city(), "Alma");
  PreferenceWatch watch(layered);
  const fs::path file = machine() / (kKey.string() + ".plist");
  const std::string bytes = readFile(file);
  for (int i = 0; i < 10; ++i) {
    writeFile(file, bytes);
    EXPECT_EQ(heard(watch), Keys{kKey}) << i;
  }
}

TEST_F(LayerWatchTest, ThisStoresOwnSavesAreNotTold) {
  writeLayer(machine(), kEvery, "Alma");
  EXPECT_EQ(city(), "Alma");
  PreferenceWatch watch(layered);
  layered.setObject(kNew, kKey);
  EXPECT_TRUE(layered.synchronize());
  EXPECT_TRUE(isSilent(watch));
  save(kOld);
  EXPECT_EQ(heard(watch), Keys{kKey});
}

}  // namespace
}  // namespace qorvane
