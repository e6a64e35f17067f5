#include "qorvane/desktop/Bundle.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "qorvane/foundation/Exception.h"
#include "tests/TestHome.h"

namespace qorvane {
namespace {

namespace fs = std::filesystem;

TEST(BundleTest, TheMainBundleIsTheFolderOfTheProgram) {
  const Text path = Bundle::mainBundle().bundlePath();
  EXPECT_EQ(path.string(), fs::read_symlink("/proc/self/exe").parent_path().string());
  EXPECT_TRUE(fs::exists(fs::path(path.string()) / "test_desktop"));
  EXPECT_EQ(&Bundle::mainBundle(), &Bundle::mainBundle());
}

TEST(BundleTest, TheApplicationMaySayOtherwise) {
  Bundle& bundle = Bundle::mainBundle();
  const Text own = bundle.bundlePath();
  const Text chosen(std::string("/opt/Qorvane/bin"));
  bundle.setBundlePath(chosen);
  EXPECT_TRUE(bundle.bundlePath().isSameObject(chosen));
  bundle.setBundlePath("");
  EXPECT_EQ(bundle.bundlePath(), Text(""));
  bundle.setBundlePath(nullptr);
  EXPECT_EQ(bundle.bundlePath(), own);
}

TEST(BundleTest, AProgramThatCannotBeFoundThrows) {
  Bundle lost("/nonexistent/exe");
  try {
    lost.bundlePath();
    FAIL() << "no exception";
  } catch (const Exception& thrown) {
    EXPECT_NE(std::string(thrown.what()).find("/nonexistent/exe"), std::string::npos);
  }
  lost.setBundlePath("/opt");
  EXPECT_EQ(lost.bundlePath(), Text("/opt"));
}

TEST(BundleTest, AProgramInTheRootFolder) {
  testing_support::TestHome home;
  const fs::path link = home.path() / "exe";
  fs::create_symlink("/program", link);
  EXPECT_EQ(Bundle(link.string()).bundlePath(), Text("/"));
}

TEST(BundleTest, AnotherBundleMayBeTheMainOne) {
  Bundle lost("/nonexistent/exe");
  Bundle::setMainBundle(&lost);
  EXPECT_EQ(&Bundle::mainBundle(), &lost);
  EXPECT_THROW(Bundle::mainBundle().bundlePath(), Exception);
  Bundle::setMainBundle(nullptr);
  EXPECT_NO_THROW(Bundle::mainBundle().bundlePath());
}

}  // namespace
}  // namespace qorvane
