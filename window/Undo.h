// Undo and redo of what a person changed in the window and has not saved.
#pragma once

#include <QUndoCommand>
#include <functional>

#include "window/Sheet.h"

namespace optionsmgr::window {

/// One change of one row. Typing in one row is one change, as long as nothing else is done between.
class ChangeCommand : public QUndoCommand {
 public:
  using Put = std::function<void(Sheet& sheet, const Item& item, const std::optional<Edit>& edit)>;

  ChangeCommand(Sheet& sheet, const Item& item, std::optional<Edit> edit, bool typing, Put put)
      : sheet_(sheet),
        item_(item),
        before_(sheet.edit(item)),
        after_(std::move(edit)),
        typing_(typing),
        put_(std::move(put)) {}

  void undo() override { put_(sheet_, item_, before_); }
  void redo() override { put_(sheet_, item_, after_); }
  int id() const override { return typing_ ? 1 : -1; }
  bool mergeWith(const QUndoCommand* later) override {
    const auto* change = dynamic_cast<const ChangeCommand*>(later);
    if (!change || &change->item_ != &item_) return false;
    after_ = change->after_;
    return true;
  }

 private:
  Sheet& sheet_;
  const Item& item_;
  std::optional<Edit> before_, after_;
  bool typing_;
  Put put_;
};

}  // namespace optionsmgr::window
