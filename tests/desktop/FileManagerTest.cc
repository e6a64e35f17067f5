#include "qorvane/desktop/FileManager.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "qorvane/desktop/MemoryFileManager.h"
#include "tests/TestHome.h"

namespace qorvane {
namespace {

namespace fs = std::filesystem;

class FileManagerTest : public testing::Test {
 protected:
  Text path(std::string_view below) const { return Text((home.path() / below).string()); }
  bool exists(const Text& text) const { return manager.fileExistsAtPath(text); }
  bool isFolder(const Text& text) const {
    bool isDirectory = false;
    return manager.fileExistsAtPath(text, &isDirectory) && isDirectory;
  }

  testing_support::TestHome home;
  FileManager& manager = FileManager::defaultManager();
};

TEST_F(FileManagerTest, TellsFilesFromFolders) {
  testing_support::writeFile(home.path() / "file", "x");
  bool isDirectory = true;
  EXPECT_TRUE(manager.fileExistsAtPath(path("file"), &isDirectory));
  EXPECT_FALSE(isDirectory);
  EXPECT_TRUE(manager.fileExistsAtPath(path(""), &isDirectory));
  EXPECT_TRUE(isDirectory);
  EXPECT_FALSE(manager.fileExistsAtPath(path("none"), &isDirectory));
  EXPECT_FALSE(isDirectory);
  isDirectory = true;
  EXPECT_FALSE(manager.fileExistsAtPath(path("file/below"), &isDirectory));
  EXPECT_FALSE(isDirectory);
  EXPECT_TRUE(exists("/dev/null"));
}

TEST_F(FileManagerTest, FollowsSymbolicLinks) {
  fs::create_directory(home.path() / "folder");
  fs::create_symlink("folder", home.path() / "link");
  fs::create_symlink("nowhere", home.path() / "dangling");
  fs::create_symlink("loop", home.path() / "loop");
  EXPECT_TRUE(isFolder(path("link")));
  EXPECT_FALSE(exists(path("dangling")));
  EXPECT_FALSE(exists(path("loop")));
}

TEST_F(FileManagerTest, NothingExistsAtWhatIsNoPath) {
  fs::create_directory(home.path() / "a");
  for (const Text& text : {Text(), Text(""), Text(path("a").string() + std::string("\0b", 2)),
                           Text("/" + std::string(5000, 'x'))}) {
    bool isDirectory = true;
    EXPECT_FALSE(manager.fileExistsAtPath(text, &isDirectory));
    EXPECT_FALSE(isDirectory);
    EXPECT_FALSE(manager.createDirectoryAtPath(text, true));
    EXPECT_FALSE(manager.createDirectoryAtPath(text, false));
  }
}

TEST_F(FileManagerTest, MakesAFolderWithThoseAboveItWhenAsked) {
  EXPECT_FALSE(manager.createDirectoryAtPath(path("a/b/c"), false));
  EXPECT_FALSE(exists(path("a")));
  EXPECT_TRUE(manager.createDirectoryAtPath(path("a/b/c"), true));
  EXPECT_TRUE(isFolder(path("a/b/c")));
  EXPECT_TRUE(manager.createDirectoryAtPath(path("a/b/d"), false));
  EXPECT_TRUE(isFolder(path("a/b/d")));
  EXPECT_TRUE(manager.createDirectoryAtPath(path("e/f/"), true));
  EXPECT_TRUE(isFolder(path("e/f")));
  EXPECT_TRUE(manager.createDirectoryAtPath(path("Déclarations 2020/été"), true));
  EXPECT_TRUE(isFolder(path("Déclarations 2020/été")));
}

TEST_F(FileManagerTest, AnExistingFolderIsASuccess) {
  fs::create_directory(home.path() / "folder");
  fs::create_symlink("folder", home.path() / "link");
  for (const bool intermediate : {true, false}) {
    EXPECT_TRUE(manager.createDirectoryAtPath(path("folder"), intermediate));
    EXPECT_TRUE(manager.createDirectoryAtPath(path("link"), intermediate));
  }
  EXPECT_TRUE(manager.createDirectoryAtPath(path("link/below"), true));
  EXPECT_TRUE(isFolder(path("folder/below")));
}

TEST_F(FileManagerTest, AFileInTheWayIsAFailure) {
  testing_support::writeFile(home.path() / "file", "x");
  fs::create_symlink("nowhere", home.path() / "dangling");
  for (const bool intermediate : {true, false})
    for (const char* name : {"file", "file/below", "dangling"})
      EXPECT_FALSE(manager.createDirectoryAtPath(path(name), intermediate)) << name;
  EXPECT_EQ(testing_support::readFile(home.path() / "file"), "x");
}

TEST_F(FileManagerTest, AFolderThatCannotBeMadeIsAFailure) {
  EXPECT_FALSE(manager.createDirectoryAtPath("/proc/none/below", true));
  EXPECT_FALSE(manager.createDirectoryAtPath("/proc/none", false));
}

TEST_F(FileManagerTest, TheUmaskDecidesWhoMayEnter) {
  const mode_t before = umask(027);
  manager.createDirectoryAtPath(path("a/b"), true);
  manager.createDirectoryAtPath(path("c"), false);
  umask(before);
  for (const char* name : {"a", "a/b", "c"}) {
    struct stat status {};
    ASSERT_EQ(stat((home.path() / name).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0750u) << name;
  }
}

TEST_F(FileManagerTest, ManyMayMakeTheSameFolderAtOnce) {
  for (int round = 0; round < 20; ++round) {
    const Text deep = path("r" + std::to_string(round) + "/a/b/c/d/e");
    std::vector<char> made(4, false);
    std::vector<std::thread> threads;
    for (char& each : made) threads.emplace_back([&] { each = manager.createDirectoryAtPath(deep, true); });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(made, std::vector<char>(4, true));
  }
}

TEST_F(FileManagerTest, AnotherManagerMayTakeItsPlace) {
  EXPECT_EQ(&FileManager::defaultManager(), &manager);
  {
    MemoryFileManager memory;
    EXPECT_EQ(&FileManager::defaultManager(), &memory);
    {
      const MemoryFileManager inner;
      EXPECT_EQ(&FileManager::defaultManager(), &inner);
    }
    EXPECT_EQ(FileManager::setDefaultManager(nullptr), &memory);
    EXPECT_EQ(&FileManager::defaultManager(), &manager);
  }
  EXPECT_EQ(&FileManager::defaultManager(), &manager);
}

TEST(MemoryFileManagerTest, RemembersFoldersAndFiles) {
  MemoryFileManager memory;
  bool isDirectory = false;
  isDirectory = true;
  EXPECT_FALSE(memory.fileExistsAtPath("/d", &isDirectory));
  EXPECT_FALSE(isDirectory);
  EXPECT_FALSE(memory.createDirectoryAtPath("/d/Qorvane/2020", false));
  EXPECT_FALSE(memory.fileExistsAtPath("/d"));
  EXPECT_TRUE(memory.createDirectoryAtPath("/d/Qorvane/2020", true));
  for (const Text& made : {Text("/d"), Text("/d/Qorvane"), Text("/d/Qorvane/2020")}) {
    EXPECT_TRUE(memory.fileExistsAtPath(made, &isDirectory));
    EXPECT_TRUE(isDirectory);
  }
  memory.addFile("/d/file");
  EXPECT_TRUE(memory.fileExistsAtPath("/d/file", &isDirectory));
  EXPECT_FALSE(isDirectory);
  EXPECT_FALSE(memory.createDirectoryAtPath("/d/file", true));
  EXPECT_FALSE(memory.createDirectoryAtPath("/d/file/below", true));
  EXPECT_TRUE(memory.createDirectoryAtPath("/d/Qorvane/2019", false));
  EXPECT_FALSE(memory.createDirectoryAtPath(nullptr, true));
  EXPECT_EQ(memory.asked().size(), 6u);
  EXPECT_EQ(memory.asked()[1], Text("/d/Qorvane/2020"));
  EXPECT_FALSE(memory.createDirectoryAtPath("/d/file/below/deeper", true));
}

TEST(MemoryFileManagerTest, FailsAndThrowsOnDemand) {
  MemoryFileManager memory;
  memory.setCreation(MemoryFileManager::Creation::Fails);
  EXPECT_FALSE(memory.createDirectoryAtPath("/d", true));
  memory.setCreation(MemoryFileManager::Creation::Throws);
  EXPECT_THROW(memory.createDirectoryAtPath("/d", true), Exception);
  memory.setCreation(MemoryFileManager::Creation::Succeeds);
  EXPECT_FALSE(memory.fileExistsAtPath("/d"));
  EXPECT_TRUE(memory.createDirectoryAtPath("/d", true));
  EXPECT_EQ(memory.asked(), (std::vector<Text>{"/d", "/d", "/d"}));
}

}  // namespace
}  // namespace qorvane
