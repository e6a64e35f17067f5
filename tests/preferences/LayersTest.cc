#include "qorvane/preferences/Layers.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "qorvane/desktop/LogCapture.h"
#include "qorvane/preferences/FileException.h"
#include "qorvane/preferences/SystemCalls.h"
#include "qorvane/propertylist/PropertyList.h"
#include "tests/Table.h"
#include "tests/TestHome.h"

namespace qorvane {
namespace {

namespace fs = std::filesystem;
using testing_support::TestHome;
using testing_support::writeFile;

constexpr Text kKey = "QorvaneT1Settings2020";
constexpr Text kEveryYear = "QorvaneT1Settings";

class LayersTest : public testing::Test {
 protected:
  LayersTest() { umask(022); }
  ~LayersTest() override { unsetenv("XDG_CONFIG_DIRS"); }

  static void write(const fs::path& folder, const Text& name, Dictionary entries, Array locked = {}) {
    Dictionary top = {{name, std::move(entries)}};
    if (!locked.empty()) top.set("Locked", std::move(locked));
    writeFile(folder / (name.string() + ".plist"), writePropertyList(top, PropertyListFormat::Xml));
  }
  LayerFolder folder(const char* name, LayerFolder::Kind kind = LayerFolder::Kind::Machine) const {
    return {kind, (home_.path() / name).string(), geteuid()};
  }
  Layers read(std::vector<LayerFolder> folders) { return Layers::read(folders, kKey, calls_); }

  TestHome home_;
  LogCapture log_;
  FaultInjectingSystemCalls calls_;
};

// A cell of the table: a value, a lock, both or neither.
struct Cell {
  explicit Cell(std::string text) : locked(text.ends_with('!')), value(text.substr(0, text.find('!'))) {}
  bool has() const { return !value.empty() && value != "-"; }
  bool locked;
  std::string value;
};

TEST_F(LayersTest, WhatALoadReadsFollowsTheTable) {
  constexpr Text kEntry = "PostAssessmentOption";
  int rows = 0;
  const std::vector<testing_support::Row> table = testing_support::table("preferences/layers.tsv", 22);
  for (auto line = table.begin() + 1; line != table.end(); ++line) {
    std::map<std::string, std::string> row;
    for (std::size_t column = 0; column < line->size(); ++column)
      row[table.front()[column]] = (*line)[column];
    if (row["option"] != "preparerPostAssessmentReview") continue;
    SCOPED_TRACE("row " + row["id"]);
    ++rows;
    const fs::path top = home_.path() / row["id"];
    std::vector<LayerFolder> folders;
    for (const char* layer : {"machine", "firm"}) {
      for (const char* year : {"_year", "_every"}) {
        const Cell cell(row[std::string(layer) + year]);
        Dictionary entries;
        if (cell.has()) entries.set(kEntry, Text(cell.value));
        if (cell.has() || cell.locked)
          write(top / layer, year == std::string("_year") ? kKey : kEveryYear, entries,
                cell.locked ? Array{kEntry} : Array{});
      }
      folders.push_back({layer == std::string("firm") ? LayerFolder::Kind::Firm : LayerFolder::Kind::Machine,
                         (top / layer).string(), geteuid()});
    }
    const Layers layers = read(folders);
    const Cell user(row["user"]);
    const Value mine = Text(user.value);
    const bool chosen = user.has() && (row["user_in_Chosen"] == "1" || user.value != row["default"]);
    const Layers::Standing standing = layers.standing(kEntry, user.has() ? &mine : nullptr, chosen);

    EXPECT_EQ(standing.value ? standing.value->textValue().string() : row["default"], row["loaded_reads"]);
    const std::string from =
        standing.layer ? std::string(standing.layer->kind() == LayerFolder::Kind::Firm ? "firm" : "machine") +
                             (standing.everyYear ? "_every" : "_year")
        : standing.value ? "user"
                         : "default";
    EXPECT_EQ(from, row["loaded_from"]);
    EXPECT_EQ(standing.lock ? "yes" : "no", row["loaded_locked"]);
  }
  EXPECT_GT(rows, 100);
  EXPECT_TRUE(log_.lines().empty());
}

TEST_F(LayersTest, AStarLocksWhateverThisFolderOrAFartherOneHas) {
  write(home_.path() / "near", kEveryYear, {}, {"*"});
  write(home_.path() / "far", kKey, {{"PCity", "Alma"}});
  const Layers layers = read({folder("near"), folder("far")});
  const Value mine = "Gaspé";
  EXPECT_EQ(layers.standing("PCity", &mine, true).value->textValue(), Text("Alma"));
  EXPECT_EQ(layers.standing("PPhone", &mine, true).value, &mine);
  EXPECT_EQ(layers.lockOf("PPhone"), nullptr);
}

TEST_F(LayersTest, WhatOthersCouldChangeIsLeftOutWithOneLine) {
  write(home_.path() / "open", kKey, {{"PCity", "Alma"}});
  fs::permissions(home_.path() / "open", fs::perms::group_write, fs::perm_options::add);
  write(home_.path() / "file", kKey, {{"PCity", "Alma"}});
  fs::permissions(home_.path() / "file/QorvaneT1Settings2020.plist", fs::perms::others_write,
                  fs::perm_options::add);
  for (int load = 0; load < 3; ++load) {
    const Layers layers = read({folder("open"), folder("file"), folder("missing")});
    EXPECT_FALSE(layers.has("PCity"));
  }
  EXPECT_EQ(log_.lines().size(), 2u);
}

TEST_F(LayersTest, WhatBelongsToAnotherUserIsLeftOut) {
  if (geteuid() != 0) GTEST_SKIP() << "only root gives files away";
  write(home_.path() / "theirs", kKey, {{"PCity", "Alma"}});
  ASSERT_EQ(chown((home_.path() / "theirs/QorvaneT1Settings2020.plist").c_str(), 65534, 65534), 0);
  LayerFolder trusting = folder("theirs");
  EXPECT_FALSE(read({trusting}).has("PCity"));
  trusting.owner = 65534;
  EXPECT_TRUE(read({trusting}).has("PCity"));
}

TEST_F(LayersTest, LinksAndWhatIsNoListAreLeftOut) {
  write(home_.path() / "elsewhere", kKey, {{"PCity", "Alma"}});
  fs::create_directories(home_.path() / "links");
  fs::create_symlink(home_.path() / "elsewhere/QorvaneT1Settings2020.plist",
                     home_.path() / "links/QorvaneT1Settings2020.plist");
  writeFile(home_.path() / "damaged/QorvaneT1Settings2020.plist", "bplist00 and then nothing");
  writeFile(home_.path() / "array/QorvaneT1Settings2020.plist",
            writePropertyList(Array{"PCity"}, PropertyListFormat::Binary));
  fs::create_directories(home_.path() / "folder/QorvaneT1Settings2020.plist");
  fs::create_directories(home_.path() / "huge");
  fs::path huge = home_.path() / "huge/QorvaneT1Settings2020.plist";
  writeFile(huge, "");
  fs::resize_file(huge, std::uintmax_t{17} << 20);
  fs::create_directories(home_.path() / "pipe");
  ASSERT_EQ(mkfifo((home_.path() / "pipe/QorvaneT1Settings2020.plist").c_str(), 0600), 0);
  write(home_.path() / "sound", kEveryYear, {{"PCity", "Percé"}});
  const Layers layers = read({folder("links"), folder("damaged"), folder("array"), folder("folder"),
                              folder("huge"), folder("pipe"), folder("sound")});
  EXPECT_EQ(layers.standing("PCity", nullptr, false).value->textValue(), Text("Percé"));
  EXPECT_EQ(log_.lines().size(), 6u);
}

TEST_F(LayersTest, WhatCannotBeReadNowThrows) {
  write(home_.path() / "layer", kKey, {{"PCity", "Alma"}});
  for (const char* name : {"open", "openat", "fstat", "read"})
    for (const int error : {EIO, EMFILE, ENOMEM}) {
      calls_.setFault([&](const std::string& call, int) { return call == name ? error : 0; });
      EXPECT_THROW(read({folder("layer")}), FileException) << name << ' ' << error;
    }
}

TEST_F(LayersTest, TheFoldersAreThoseOfTheEnvironment) {
  setenv("XDG_CONFIG_DIRS", "relative:/a/first::/b:/a/first", 1);
  std::vector<LayerFolder> folders = layerFolders(calls_);
  ASSERT_EQ(folders.size(), 3u);
  EXPECT_EQ(folders[0].path, "/a/first/Qorvane");
  EXPECT_EQ(folders[1].path, "/b/Qorvane");
  EXPECT_EQ(folders[2].path, (home_.path() / ".local/state/Qorvane/firm/current").string());
  EXPECT_EQ(folders[2].kind, LayerFolder::Kind::Firm);
  std::string many;
  for (int i = 0; i < 1'000; ++i) many += "/f" + std::to_string(i) + ":";
  setenv("XDG_CONFIG_DIRS", many.c_str(), 1);
  EXPECT_LE(layerFolders(calls_).size(), 100u);
  unsetenv("XDG_CONFIG_DIRS");
  EXPECT_EQ(layerFolders(calls_)[0].path, "/etc/xdg/Qorvane");
}

TEST_F(LayersTest, RootSaysWhereTheFirmsSettingsStandAndWhoseTheyAre) {
  const fs::path machine = home_.path() / "xdg/Qorvane";
  writeFile(machine / "Firm.plist", writePropertyList(Dictionary{{"Folder", "/srv/firm"}, {"Owner", "4711"}},
                                                      PropertyListFormat::Xml));
  setenv("XDG_CONFIG_DIRS", (home_.path() / "xdg").c_str(), 1);
  const LayerFolder firm = layerFolders(calls_).back();
  if (geteuid() == 0) {
    EXPECT_EQ(firm.path, "/srv/firm/current");
    EXPECT_EQ(firm.owner, 4711u);
  } else {
    // A list of the user's own says nothing of the firm.
    EXPECT_EQ(firm.path, (home_.path() / ".local/state/Qorvane/firm/current").string());
  }
}

TEST(EveryYearKeyTest, IsTheKeyWithoutItsYear) {
  EXPECT_EQ(everyYearKey("QorvaneT1Settings2020"), "QorvaneT1Settings");
  EXPECT_EQ(everyYearKey("QorvaneT2Settings12345"), "QorvaneT2Settings");
  EXPECT_EQ(everyYearKey("Other"), "Other");
}

}  // namespace
}  // namespace qorvane
