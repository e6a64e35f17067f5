// Sidebar: the groups of settings, each with how many of its changes wait or that something stands in their
// way.
#pragma once

#include <QListWidget>
#include <map>
#include <string_view>

#include "qorvane/store/OptionTable.h"

namespace optionsmgr::window {

class Sidebar : public QListWidget {
 public:
  explicit Sidebar(QWidget* parent);

  /// These groups, in the language of the window.
  void setGroups(const std::vector<const qorvane::OptionGroup*>& groups);
  /// What stands behind the group's name: nothing, "!" or a number, and the words for it.
  void setBadge(const qorvane::OptionGroup& group, const QString& badge, const QString& words);
  const qorvane::OptionGroup* current() const;
  void choose(const qorvane::OptionGroup& group);

  QSize sizeHint() const override;

 private:
  std::vector<const qorvane::OptionGroup*> groups_;
};

}  // namespace optionsmgr::window
