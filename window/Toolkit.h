// The texts of the toolkit's own dialogs and menus, such as "Copy" in a field's menu.
#pragma once

namespace optionsmgr::window {

/// From now on they are French, where the toolkit's translations are installed, or English.
void translateToolkit(bool french);

}  // namespace optionsmgr::window
