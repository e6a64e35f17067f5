// TakeDialog: what would be taken over from elsewhere, with a tick a row: carrying last year's settings
// forward, and importing a file. It changes nothing by itself.
#pragma once

#include <QDialog>
#include <vector>

#include "window/Source.h"

class QTreeWidget;

namespace optionsmgr::window {

class TakeDialog : public QDialog {
 public:
  /// What belongs to one machine, what is secret, and what nobody set there is not ticked at first, and says
  /// why.
  TakeDialog(const Sheet& sheet, const Source& source, const std::vector<const Item*>& items,
             QWidget* parent);

  std::vector<const Item*> ticked() const;

 private:
  std::vector<const Item*> items_;
  QTreeWidget* list_;
};

}  // namespace optionsmgr::window
