#include "qorvane/preferences/LayerFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "qorvane/preferences/FileException.h"
#include "qorvane/preferences/Layers.h"
#include "qorvane/propertylist/PropertyList.h"
#include "tests/TestHome.h"

namespace qorvane {
namespace {

namespace fs = std::filesystem;
using testing_support::readFile;
using testing_support::TestHome;
using testing_support::writeFile;

class LayerFileTest : public testing::Test {
 protected:
  LayerFileTest() : umask_(umask(077)) {}
  ~LayerFileTest() override { umask(umask_); }

  fs::path path() const { return home_.path() / "etc/xdg/Qorvane/QorvaneT1Settings.plist"; }
  static std::string rightsOf(const fs::path& path) {
    char text[8];
    std::snprintf(text, sizeof text, "%o", static_cast<unsigned>(fs::status(path).permissions()));
    return text;
  }

  TestHome home_;
  mode_t umask_;
  FaultInjectingSystemCalls calls_;
  LayerFile file_{machineFolder(), "QorvaneT1Settings", calls_};
};

TEST_F(LayerFileTest, IsWrittenForEverybodyToReadAndReadAsALayer) {
  EXPECT_EQ(file_.path(), path().string());
  EXPECT_TRUE(file_.read().entries.empty());
  file_.change([](LayerFile::Contents& contents) {
    contents.entries.set(Text("PCity"), "Alma");
    contents.locked = {"PCity"};
  });
  EXPECT_EQ(rightsOf(path()), "644");
  EXPECT_EQ(rightsOf(path().parent_path()), "755");
  EXPECT_TRUE(readFile(path()).starts_with("<?xml"));
  const Layers layers = Layers::read(layerFolders(calls_), "QorvaneT1Settings2031", calls_);
  EXPECT_EQ(layers.standing("PCity", nullptr, false).value->textValue(), Text("Alma"));
  EXPECT_NE(layers.lockOf("PCity"), nullptr);
}

TEST_F(LayerFileTest, KeepsWhatElseStandsThereAndGoesWhenNothingIsLeft) {
  writeFile(path(), writePropertyList(
                        Dictionary{{"QorvaneT1Settings", Dictionary{{"PCity", "Alma"}}}, {"Note", "ours"}},
                        PropertyListFormat::Binary));
  fs::permissions(path().parent_path(), fs::perms(0755));
  file_.change([](LayerFile::Contents& contents) { contents.entries.set(Text("PPhone"), "418"); });
  const Value top = readPropertyList(readFile(path()));
  EXPECT_EQ(top.asDictionary()->find("Note")->textValue(), Text("ours"));
  EXPECT_EQ(file_.read().entries.size(), 2u);
  file_.change([](LayerFile::Contents& contents) { contents.entries = {}; });
  EXPECT_FALSE(fs::exists(path()));
}

TEST_F(LayerFileTest, AFailureLeavesWhatWas) {
  file_.change([](LayerFile::Contents& contents) { contents.entries.set(Text("PCity"), "Alma"); });
  const std::string before = readFile(path());
  EXPECT_THROW(file_.change([](LayerFile::Contents&) { throw std::runtime_error("no"); }),
               std::runtime_error);
  for (const char* name : {"write", "fsync", "rename"}) {
    calls_.setFault([&](const std::string& call, int) { return call == name ? ENOSPC : 0; });
    // The folder is synced last: by then the new file is there.
    if (name == std::string("fsync"))
      calls_.setFault([done = false](const std::string& call, int) mutable {
        return call == "fsync" && !std::exchange(done, true) ? ENOSPC : 0;
      });
    EXPECT_THROW(
        file_.change([](LayerFile::Contents& contents) { contents.entries.set(Text("PCity"), "Gaspé"); }),
        FileException)
        << name;
    calls_.setFault({});
    EXPECT_EQ(readFile(path()), before) << name;
  }
  std::size_t files = 0;
  for (const auto& entry : fs::directory_iterator(path().parent_path()))
    files += static_cast<std::size_t>(entry.is_regular_file());
  EXPECT_LE(files, 2u) << "the file and the lock";
}

TEST_F(LayerFileTest, WhatCannotBeUnderstoodIsNotOverwritten) {
  writeFile(path(), "no list");
  fs::permissions(path().parent_path(), fs::perms(0755));
  EXPECT_THROW(file_.read(), Exception);
  EXPECT_THROW(file_.change([](LayerFile::Contents& contents) { contents.locked = {"*"}; }), Exception);
  EXPECT_EQ(readFile(path()), "no list");
}

}  // namespace
}  // namespace qorvane
