// What the toolkit itself says in the window.
#include "window/Toolkit.h"

#include <QFile>
#include <QLibraryInfo>

#include "tests/window/WindowTest.h"

namespace {

using testing_support::WindowTest;

class ToolkitTest : public WindowTest {};

TEST_F(ToolkitTest, SpeaksTheLanguageOfTheWindow) {
  if (!QFile::exists(QLibraryInfo::path(QLibraryInfo::TranslationsPath) + "/qtbase_fr.qm"))
    GTEST_SKIP() << "the toolkit's translations are not installed";
  const auto copy = [] { return QCoreApplication::translate("QLineEdit", "&Copy"); };
  open();
  EXPECT_EQ(copy(), "&Copy");
  window->speak(true);
  EXPECT_EQ(copy(), "Cop&ier");
  window->speak(false);
  EXPECT_EQ(copy(), "&Copy");
}

}  // namespace
