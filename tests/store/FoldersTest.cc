// Where the suite's folders are, and that they exist.
#include <unistd.h>

#include <algorithm>
#include <filesystem>

#include "qorvane/desktop/Bundle.h"
#include "qorvane/desktop/LogCapture.h"
#include "qorvane/desktop/MemoryFileManager.h"
#include "qorvane/store/OptionTable.h"
#include "tests/store/StoreTest.h"

namespace qorvane {
namespace {

namespace fs = std::filesystem;

// One line for each folder option: its default below D/Qorvane in both products (2020), and its message.
struct FolderCase {
  Text (Options::*get)();
  void (Options::*set)(Text);
  const char* key;
  const char* personal;
  const char* corporate;
  const char* message;
};
const FolderCase kFolders[] = {
    {&Options::lastYrFileFolder, &Options::setLastYrFileFolder, "LastYearFileFolder", "2019/T2019",
     "2019/T2_2019", "Could n't create directory for Last Year FileFolder"},
    {&Options::clientFileFolder, &Options::setClientFileFolder, "ClientFileFolder", "2020/T2020",
     "2020/T2_2020", "Could n't create directory for Client FileFolder"},
    {&Options::dotTaxFilesFolder, &Options::setDotTaxFilesFolder, "DotTaxFilesFolder", "2020/DotTax",
     "2020/DotTax", "Could n't create directory for Dot Tax FileFolder"},
    {&Options::pdfFileFolder, &Options::setPdfFileFolder, "PDFFileFolder", "2020/PDf", "2020/T2_PDf",
     "Could n't create directory for pdfFileFolder"},
    {&Options::efileDataBaseFolder, nullptr, "EFile", "2020/EFile", "2020/EFile",
     "Could n't create directory for Efile DataBase Folder"},
    {&Options::mrqDataBaseFolder, nullptr, "MRQFile", "2020/MRQFile", "2020/MRQFile",
     "Could n't create directory for MRQ DataBase FileFolder"},
    {&Options::t2ClientFileFolder, &Options::setT2ClientFileFolder, "T2ClientFileFolder", "2020/T2_2020",
     "2020/T2_2020", "Could n't create directory for t2ClientFileFolder"},
    {&Options::cifFileFolder, &Options::setCifFileFolder, "CIFFileFolder", "2020/CIF", "2020/CIF",
     "Could n't create directory for cifFileFolder"},
};

class FoldersTest : public testing_support::StoreTest {
 protected:
  FoldersTest() { store.loadOptions(); }

  fs::path suite() const { return home.path() / "Documents" / "Qorvane"; }

  Options store;
};

TEST_F(FoldersTest, EachDefaultIsMadeAndAnsweredInBothProducts) {
  for (const bool corporate : {false, true}) {
    for (const FolderCase& folder : kFolders) {
      fs::remove_all(suite());
      useProduct(corporate, 2020);
      const fs::path expected = suite() / (corporate ? folder.corporate : folder.personal);
      EXPECT_EQ((store.*folder.get)(), Text(expected.string()));
      EXPECT_TRUE(fs::is_directory(expected)) << expected;
      EXPECT_EQ(entry(store, folder.key), Value()) << "defaults are not stored";
    }
  }
}

TEST_F(FoldersTest, AFreshUsersClientFolderIsMadeLevelByLevel) {
  EXPECT_FALSE(fs::exists(suite()));
  EXPECT_EQ(store.clientFileFolder(), Text((suite() / "2020/T2020").string()));
  EXPECT_TRUE(fs::is_directory(suite() / "2020" / "T2020"));
}

TEST_F(FoldersTest, AStoredPathIsAnsweredAndMadeAgainWhenRemoved) {
  for (const FolderCase& folder : kFolders) {
    const fs::path chosen = home.path() / "my own" / folder.key;
    if (folder.set)
      (store.*folder.set)(Text(chosen.string()));
    else
      store.options()->set(Text(std::string(folder.key)), Text(chosen.string()));
    EXPECT_FALSE(notifyAll);
    EXPECT_EQ(entry(store, folder.key), Value(Text(chosen.string())));
    EXPECT_EQ((store.*folder.get)(), Text(chosen.string()));
    EXPECT_TRUE(fs::is_directory(chosen));
    fs::remove(chosen);
    EXPECT_EQ((store.*folder.get)(), Text(chosen.string()));
    EXPECT_TRUE(fs::is_directory(chosen)) << "made again";
  }
}

TEST_F(FoldersTest, AnEmptyPathMeansTheDefault) {
  for (const FolderCase& folder : kFolders) {
    store.options()->set(Text(std::string(folder.key)), Text(""));
    EXPECT_EQ((store.*folder.get)(), Text((suite() / folder.personal).string()));
    EXPECT_EQ(entry(store, folder.key), Value(Text(""))) << "and stays";
  }
}

TEST_F(FoldersTest, SettingNilBringsTheDefaultBack) {
  for (const FolderCase& folder : kFolders) {
    if (!folder.set) continue;
    (store.*folder.set)(Text((home.path() / "elsewhere").string()));
    (store.*folder.set)(nullptr);
    EXPECT_EQ(entry(store, folder.key), Value(Text("")));
    EXPECT_EQ((store.*folder.get)(), Text((suite() / folder.personal).string()));
    EXPECT_FALSE(notifyAll);
  }
}

TEST_F(FoldersTest, InBulkModeSettersStoreToo) {
  const BulkSetting bulk;
  store.setCifFileFolder("/x");
  EXPECT_EQ(entry(store, "CIFFileFolder"), Value(Text("/x")));
}

TEST_F(FoldersTest, AThrowingFileManagerIsLoggedAndTheAnswerIsEmpty) {
  MemoryFileManager files;
  files.setCreation(MemoryFileManager::Creation::Throws);
  for (const FolderCase& folder : kFolders) {
    for (const bool stored : {false, true}) {
      if (stored) store.options()->set(Text(std::string(folder.key)), Text("/chosen"));
      logged.clear();
      EXPECT_EQ((store.*folder.get)(), Text(""));
      EXPECT_EQ(logged.lines(), std::vector<Text>{Text(std::string(folder.message))});
    }
  }
}

TEST_F(FoldersTest, AFileManagerThatRefusesIsNotNoticed) {
  MemoryFileManager files;
  files.setCreation(MemoryFileManager::Creation::Fails);
  EXPECT_EQ(store.cifFileFolder(), Text((suite() / "2020/CIF").string()));
  EXPECT_EQ(files.asked(), (std::vector<Text>{Text(suite().string()), Text((suite() / "2020").string()),
                                              Text((suite() / "2020/CIF").string())}));
  EXPECT_TRUE(logged.lines().empty());
}

TEST_F(FoldersTest, APlainFileInTheWayIsAnsweredAsItIs) {
  testing_support::writeFile(suite() / "2020" / "CIF", "a file");
  EXPECT_EQ(store.cifFileFolder(), Text((suite() / "2020/CIF").string()));
  EXPECT_TRUE(fs::is_regular_file(suite() / "2020" / "CIF"));
}

TEST_F(FoldersTest, WhereSomethingIsNothingIsAskedToBeMade) {
  MemoryFileManager files;
  const Text path = (suite() / "2020/CIF").string();
  files.addFile(path);
  EXPECT_EQ(store.cifFileFolder(), path);
  EXPECT_EQ(std::ranges::count(files.asked(), path), 0);
}

TEST_F(FoldersTest, AnEntryThatIsNoTextReadsAsNilAndMakesNothing) {
  MemoryFileManager files;
  store.options()->set(Text("CIFFileFolder"), Data("x"));
  EXPECT_TRUE(store.cifFileFolder().isNil());
  EXPECT_EQ(files.asked(), std::vector<Text>{nullptr}) << "the file manager knows that nil is no path";
}

TEST_F(FoldersTest, TheRootsPassOnWhatTheFileManagerThrows) {
  MemoryFileManager files;
  files.setCreation(MemoryFileManager::Creation::Throws);
  EXPECT_THROW(store.rootPath(), Exception);
  EXPECT_THROW(store.lastYearRootPath(), Exception);
}

TEST_F(FoldersTest, ADanglingLinkIsAnsweredAndStays) {
  fs::create_directories(suite() / "2020");
  fs::create_symlink("nowhere/at/all", suite() / "2020" / "CIF");
  EXPECT_EQ(store.cifFileFolder(), Text((suite() / "2020/CIF").string()));
  EXPECT_TRUE(fs::is_symlink(suite() / "2020" / "CIF"));
  EXPECT_TRUE(logged.lines().empty());
}

TEST_F(FoldersTest, AParentThatIsAFileIsNotNoticed) {
  testing_support::writeFile(home.path() / "Documents", "a file");
  EXPECT_EQ(store.cifFileFolder(), Text((suite() / "2020/CIF").string()));
  EXPECT_TRUE(logged.lines().empty());
}

TEST_F(FoldersTest, AReadOnlyParentIsNotNoticed) {
  // Nothing is read-only for root, who becomes nobody for this test.
  constexpr uid_t kNobody = 65534;
  const bool root = geteuid() == 0;
  fs::create_directories(suite());
  fs::permissions(home.path(), fs::perms(0755));
  fs::permissions(suite(), fs::perms(0555));
  if (root) {
    ASSERT_EQ(seteuid(kNobody), 0);
  }
  EXPECT_EQ(store.cifFileFolder(), Text((suite() / "2020/CIF").string()));
  if (root) {
    ASSERT_EQ(seteuid(0), 0);
  }
  EXPECT_FALSE(fs::exists(suite() / "2020"));
}

TEST_F(FoldersTest, WithoutADocumentsFolderPathsStartAtTheRoot) {
  unsetenv("HOME");
  MemoryFileManager files;
  files.setCreation(MemoryFileManager::Creation::Fails);
  EXPECT_EQ(store.rootPath(), Text(""));
  EXPECT_EQ(store.lastYearRootPath(), Text(""));
  EXPECT_EQ(store.userDataPath(), Text(""));
  EXPECT_EQ(files.asked(), std::vector<Text>()) << "nothing is made";
  EXPECT_EQ(store.clientFileFolder(), Text("/T2020"));
  EXPECT_EQ(files.asked(), std::vector<Text>{"/T2020"});
  EXPECT_TRUE(store.applicationUserFolder().isNil());
}

TEST_F(FoldersTest, WithDocumentsThatAreNoUtf8NothingIsMade) {
  setenv("XDG_DOCUMENTS_DIR", (home.path().string() + "/\xe9t\xe9").c_str(), 1);
  MemoryFileManager files;
  EXPECT_EQ(store.clientFileFolder(), Text("/T2020"));
  EXPECT_EQ(files.asked(), std::vector<Text>());
  EXPECT_EQ(logged.lines().size(), 1u);
}

TEST_F(FoldersTest, ADocumentsFolderThatIsTheRootGetsNoSecondSeparator) {
  setenv("XDG_DOCUMENTS_DIR", "/", 1);
  MemoryFileManager files;
  for (const char* folder : {"ClientFile", "PDFFile"}) {
    const Text path = std::string(folder) == "PDFFile" ? store.pdfFileFolder() : store.clientFileFolder();
    EXPECT_TRUE(path.view().starts_with("/")) << path;
    EXPECT_EQ(path.view().find("//"), std::string_view::npos) << path;
  }
}

TEST_F(FoldersTest, TheRootsAreMadeAndAnswered) {
  EXPECT_EQ(store.rootPath(), Text((suite() / "2020").string()));
  EXPECT_TRUE(fs::is_directory(suite() / "2020"));
  EXPECT_EQ(store.lastYearRootPath(), Text((suite() / "2019").string()));
  EXPECT_TRUE(fs::is_directory(suite() / "2019"));
  EXPECT_EQ(store.userDataPath(), store.rootPath());
}

TEST_F(FoldersTest, TheDocumentsFolderMayBeElsewhere) {
  setenv("XDG_DOCUMENTS_DIR", (home.path() / "Mes documents/").c_str(), 1);
  EXPECT_EQ(store.rootPath(), Text((home.path() / "Mes documents/Qorvane/2020").string()))
      << "one separator between components";
}

TEST_F(FoldersTest, InTheCorporateProductClientsAndCorporateClientsShareAFolder) {
  useProduct(true, 2020);
  EXPECT_EQ(store.clientFileFolder(), store.t2ClientFileFolder());
}

TEST_F(FoldersTest, LoadingTheCorporateProductMakesItsTwoFolders) {
  EXPECT_FALSE(fs::exists(suite()));
  useProduct(true, 2020);
  store.loadOptions();
  EXPECT_TRUE(fs::is_directory(suite() / "2020" / "T2_2020"));
  EXPECT_TRUE(fs::is_directory(suite() / "2020" / "CIF"));
  EXPECT_FALSE(fs::exists(suite() / "2020" / "EFile"));
  EXPECT_EQ(entry(store, "CIFFileFolder"), Value());
}

TEST_F(FoldersTest, TheHelpFileIsTheJoinedTextWhetherOrNotItExists) {
  Bundle::mainBundle().setBundlePath("/opt/qorvane/bin");
  EXPECT_EQ(store.helpFile(), Text("/opt/qorvane/bin/../Help/QorvaneProHelp.chm"));
  Bundle lost("/nowhere/exe");
  Bundle::setMainBundle(&lost);
  EXPECT_EQ(store.helpFile(), Text(""));
  Bundle::setMainBundle(nullptr);
  Bundle::mainBundle().setBundlePath(nullptr);
}

TEST_F(FoldersTest, TheApplicationSupportFolderIsTheUsers) {
  EXPECT_EQ(store.applicationUserFolder(), Text((home.path() / ".local/share/Qorvane").string()));
}

TEST_F(FoldersTest, AnUnloadedStoreAnswersDefaultsToo) {
  Options fresh;
  fresh.setCifFileFolder("/x");
  EXPECT_EQ(fresh.cifFileFolder(), Text((suite() / "2020/CIF").string()));
}

}  // namespace
}  // namespace qorvane
