#include "window/Window.h"

#include <QApplication>
#include <QButtonGroup>
#include <QCloseEvent>
#include <QComboBox>
#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QScreen>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>

#include "tool/speech/Language.h"
#include "window/Failures.h"
#include "window/Toolkit.h"
#include "window/Words.h"

namespace optionsmgr::window {

namespace {

QFrame* lineBetween(QWidget* parent) {
  auto* line = new QFrame(parent);
  line->setFrameStyle(QFrame::HLine | QFrame::Plain);
  line->setForegroundRole(QPalette::Mid);
  return line;
}

}  // namespace

Window::Window(const Start& start) : desk_(start.folder) {
  setObjectName("window");
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(0);
  column->addWidget(makeHeader());
  column->addWidget(lineBetween(this));
  groups_ = new Sidebar(this);
  page_ = new Page(*this, groups_, this);
  auto* middle = new QHBoxLayout;
  middle->setSpacing(0);
  middle->addWidget(groups_);
  middle->addWidget(page_, 1);
  column->addLayout(middle, 1);
  banner_ = new Banner(this);
  column->addWidget(banner_);
  column->addWidget(lineBetween(this));
  column->addWidget(makeStrip());
  column->addWidget(makeFooter());
  makeActions();
  const QSize ample(fontMetrics().horizontalAdvance('0') * 126, fontMetrics().height() * 46);
  resize(ample.boundedTo(screen()->availableSize() * 9 / 10));

  connect(groups_, &QListWidget::currentRowChanged, this, [this] {
    words_->clear();
    showView(View::Group);
  });
  connect(qApp, &QApplication::focusChanged, this, &Window::focusMoved);
  desk_.changedOutside = [this](Sheet& sheet, const std::vector<const Item*>& items) {
    if (&sheet == sheet_) refreshRows(items);
  };
  desk_.heard = [this] { showTold(); };
  desk_.readAgain = [this](Sheet& sheet) {
    if (&sheet == sheet_) rebuild();
  };
  showSheet(start.corporate, start.year ? start.year : Desk::seasonYear());
  if (!start.search.empty()) search(shown(start.search));
  if (!start.option.empty()) goTo(start.option);
}

Window::~Window() {
  // What is destroyed below moves the keyboard.
  disconnect(qApp, nullptr, this, nullptr);
}

// ---- made once ----------------------------------------------------------------------------------------

QWidget* Window::makeHeader() {
  auto* header = new QWidget(this);
  auto* row = new QHBoxLayout(header);
  product_ = new QComboBox(header);
  product_->setObjectName("product");
  product_->addItem({}, false);
  product_->addItem({}, true);
  year_ = new QComboBox(header);
  year_->setObjectName("year");
  words_ = new QLineEdit(header);
  words_->setObjectName("search");
  words_->setClearButtonEnabled(true);
  words_->setMinimumWidth(fontMetrics().horizontalAdvance('0') * 34);
  auto* languages = new QButtonGroup(this);
  const auto languageButton = [&](const char* name) {
    auto* button = new QToolButton(header);
    button->setText(name);
    button->setObjectName(QString("language:") + name);
    button->setCheckable(true);
    languages->addButton(button);
    // Pressed is not enough to tell them apart on a dark desktop.
    connect(button, &QToolButton::toggled, button, [button](bool spoken) {
      QFont weighted = button->font();
      weighted.setBold(spoken);
      button->setFont(weighted);
    });
    return button;
  };
  english_ = languageButton("EN");
  french_ = languageButton("FR");
  menuButton_ = new QToolButton(header);
  menuButton_->setText("☰");
  menuButton_->setObjectName("menu");
  menuButton_->setPopupMode(QToolButton::InstantPopup);
  menu_ = new QMenu(menuButton_);
  menuButton_->setMenu(menu_);
  row->addWidget(product_);
  row->addWidget(year_);
  row->addStretch(1);
  row->addWidget(words_, 2);
  row->addStretch(1);
  row->addWidget(english_);
  row->addWidget(french_);
  row->addWidget(menuButton_);
  const auto switchSheet = [this] {
    showSheet(product_->currentData().toBool(), year_->currentText().toInt());
  };
  connect(product_, &QComboBox::activated, this, switchSheet);
  connect(year_, &QComboBox::activated, this, switchSheet);
  connect(english_, &QToolButton::clicked, this, [this] { speak(false); });
  connect(french_, &QToolButton::clicked, this, [this] { speak(true); });
  connect(words_, &QLineEdit::textChanged, this, [this](const QString& words) {
    if (!words.trimmed().isEmpty())
      showView(View::Search);
    else if (view_ == View::Search)
      showView(former_);
  });
  connect(words_, &QLineEdit::returnPressed, this, &Window::enterFound);
  return header;
}

QWidget* Window::makeStrip() {
  auto* strip = new QWidget(this);
  auto* row = new QHBoxLayout(strip);
  row->setContentsMargins(12, 6, 12, 6);
  description_ = new QLabel(strip);
  description_->setObjectName("description");
  description_->setWordWrap(true);
  description_->setTextFormat(Qt::PlainText);
  // Always room for two lines, so that nothing moves when the keyboard does.
  description_->setMinimumHeight(description_->fontMetrics().lineSpacing() * 2);
  default_ = new QLabel(strip);
  default_->setObjectName("default");
  default_->setTextFormat(Qt::PlainText);
  default_->setWordWrap(true);
  default_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  row->addWidget(description_, 3);
  row->addWidget(default_, 1);
  return strip;
}

QWidget* Window::makeFooter() {
  auto* footer = new QWidget(this);
  auto* row = new QHBoxLayout(footer);
  row->setContentsMargins(12, 8, 12, 8);
  counts_ = new QLabel(footer);
  counts_->setObjectName("counts");
  const auto button = [&](const char* name, auto run) {
    auto* made = new QPushButton(footer);
    made->setObjectName(name);
    made->setAutoDefault(false);
    connect(made, &QPushButton::clicked, this, run);
    return made;
  };
  showUnsaved_ = button("showUnsaved", [this] { showUnsaved(); });
  cancel_ = button("cancel", [this] { close(); });
  apply_ = button("apply", [this] { apply(); });
  ok_ = button("ok", [this] {
    if (apply()) close();
  });
  row->addWidget(counts_);
  row->addWidget(showUnsaved_);
  row->addStretch(1);
  row->addWidget(cancel_);
  row->addWidget(apply_);
  row->addWidget(ok_);
  return footer;
}

// ---- what is shown ------------------------------------------------------------------------------------

void Window::showSheet(bool corporate, int year) {
  sheet_ = &desk_.sheet(corporate, year);
  if (view_ == View::Compare) view_ = View::Group;
  if (former_ == View::Compare) former_ = View::Group;
  compared_.reset();
  rebuild();
}

void Window::speak(bool french) {
  if (french == speaksFrench()) {
    english_->setChecked(!french);
    french_->setChecked(french);
    return;
  }
  Row* row = currentRow();
  const std::string option = row ? std::string(row->item().row->name) : std::string();
  speakFrench(french);
  rebuild();
  if (const Item* item = option.empty() ? nullptr : sheet_->itemOf(option))
    if (Row* same = page_->rowOf(*item)) page_->goTo(*same);
}

// Everything anew, for another sheet or language. What was typed stands in the sheets.
void Window::rebuild() {
  stripped_ = nullptr;
  formerPlace_ = nullptr;
  search_.reset();
  page_->forget();
  translate();
  std::vector<const qorvane::OptionGroup*> groups;
  for (const Item& item : sheet_->items())
    if (groups.empty() || groups.back() != &item.row->group()) groups.push_back(&item.row->group());
  groups_->setGroups(groups);
  showView(view_);
  showStrip(nullptr);
  showBadges();
  showCounts();
  showTold();
}

void Window::translate() {
  translateToolkit(speaksFrench());
  setWindowTitle(QString("%1 – %2").arg(sheet_->name(), said(Word::AppName)));
  product_->setItemText(0, said(Word::PersonalProduct));
  product_->setItemText(1, said(Word::CorporateProduct));
  product_->setCurrentIndex(sheet_->product().corporate ? 1 : 0);
  // On Linux a list's name is what is chosen in it, so what it is for stands in its description.
  product_->setAccessibleDescription(said(Word::Product));
  fillYears();
  year_->setAccessibleDescription(said(Word::TaxYear));
  words_->setPlaceholderText(said(Word::SearchSettings) + "  Ctrl+F");
  words_->setAccessibleName(said(Word::SearchSettings));
  english_->setChecked(!speaksFrench());
  french_->setChecked(speaksFrench());
  english_->setAccessibleName(QString("%1: English").arg(said(Word::Language)));
  french_->setAccessibleName(QString("%1: français").arg(said(Word::Language)));
  menuButton_->setAccessibleName(said(Word::Menu));
  menuButton_->setToolTip(said(Word::Menu));
  showUnsaved_->setText(said(Word::ShowUnsaved));
  cancel_->setText(said(Word::Cancel));
  apply_->setText(said(Word::Apply));
  ok_->setText(said(Word::Ok));
  for (const auto& [action, word] : actions_) action->setText(said(word));
}

void Window::fillYears() {
  year_->clear();
  for (const int year : desk_.years(sheet_->product().corporate)) year_->addItem(QString::number(year));
  year_->setCurrentText(QString::number(sheet_->product().taxYear));
}

void Window::showView(View view) {
  if (view_ != View::Search) former_ = view_;
  view_ = view;
  showPage();
}

std::vector<Section> Window::sections() {
  std::vector<Section> sections;
  const auto add = [&](const Item& item) {
    const QString group = shown(item.row->group().name(language()));
    if (sections.empty() || sections.back().title != group) sections.push_back({group, {}, 1, false});
    sections.back().items.push_back(&item);
  };
  switch (view_) {
    case View::Group:
      for (const Item& item : sheet_->items())
        if (&item.row->group() == groups_->current()) add(item);
      if (!sections.empty()) {
        sections.back().hasHeadings = true;
        sections.back().columns = columnsOf(*groups_->current());
      }
      break;
    case View::Search:
      break;
    case View::Unsaved:
      for (const Item& item : sheet_->items())
        if (sheet_->edit(item)) add(item);
      break;
    case View::Changed:
      for (const Item& item : sheet_->items())
        if (sheet_->state(item) != State::Default) add(item);
      break;
    case View::Compare:
      for (const Item* item : differing(*sheet_, *compared_, false)) add(*item);
      break;
  }
  return sections;
}

void Window::showPage() {
  // Defaults in the place of settings that cannot be read would look like the user's.
  if (const auto& failure = sheet_->failure()) {
    page_->say(said(Word::CannotBeRead, sheet_->name(), inShort(*failure)), said(Word::TryAgain), [this] {
      sheet_->reload();
      rebuild();
    });
    return;
  }
  std::vector<Found> found;
  std::vector<Section> shownSections;
  if (view_ == View::Search) {
    if (!search_) search_ = std::make_unique<Search>(*sheet_);
    found = search_->find(words_->text());
    for (const Found& one : found) {
      const QString group = shown(one.item->row->group().name(language()));
      if (shownSections.empty() || shownSections.back().title != group)
        shownSections.push_back({group, {}, 1, false});
      shownSections.back().items.push_back(one.item);
    }
    for (Section& section : shownSections) section.title += QString(" (%1)").arg(section.items.size());
  } else {
    shownSections = sections();
  }
  if (shownSections.empty()) {
    page_->say(view_ == View::Search    ? said(Word::NothingMatches, words_->text().trimmed())
               : view_ == View::Unsaved ? said(Word::NothingUnsaved, sheet_->name())
               : view_ == View::Compare ? said(Word::NothingDiffers, compared_->name())
                                        : said(Word::NothingChanged, sheet_->name()));
    return;
  }
  std::size_t count = 0;
  for (const Section& section : shownSections) count += section.items.size();
  page_->show(*sheet_, shownSections, makeHead(count));
  for (Row* row : page_->rows()) {
    const auto other = view_ == View::Compare ? compared_->value(row->item()) : std::nullopt;
    row->setOther(other ? compared_->name() : QString(),
                  other ? std::optional(inWords(row->item(), sheet_->product(), *other)) : std::nullopt);
  }
  for (Row* row : page_->rows()) row->setFound({}, {});
  for (const Found& one : found) page_->rowOf(*one.item)->setFound(one.label, one.elsewhere);
  page_->fitLabels();
}

// What stands over a page of several groups.
QWidget* Window::makeHead(std::size_t count) {
  switch (view_) {
    case View::Group:
      break;
    case View::Search:
      return Page::makeTitle(counted(count, Word::FoundOne, Word::FoundMany), this);
    case View::Unsaved:
      return Page::makeTitle(said(Word::UnsavedPage), this);
    case View::Changed:
      return Page::makeTitle(said(Word::ChangedPage), this);
    case View::Compare:
      return makeCompareHead(count);
  }
  return nullptr;
}

void Window::showStrip(const Item* item) {
  stripped_ = item;
  if (!item) {
    description_->clear();
    default_->clear();
    return;
  }
  QStringList parts{item->label() + " · " + item->description()};
  QStringList aliases;
  for (const auto* alias : item->aliases)
    aliases << QString("%1 (%2)").arg(shown(alias->label(language())),
                                      shown(alias->group().name(language())));
  if (!aliases.isEmpty()) parts << said(Word::AlsoAs, aliases.join(", "));
  if (!item->canBeSet()) parts << said(Word::ReadOnly);
  description_->setText(parts.join(' '));
  QString fallback = inWords(*item, sheet_->product(), sheet_->fallback(*item));
  if (fallback.size() > 60) fallback = fallback.left(59) + "…";
  default_->setText(said(Word::Default, fallback));
}

void Window::showCounts() {
  const std::size_t all = desk_.unsaved();
  QStringList parts{all == 0 ? said(Word::NoUnsaved) : counted(all, Word::OneUnsaved, Word::ManyUnsaved)};
  for (const Sheet* other : desk_.sheets())
    if (other != sheet_ && other->unsaved() > 0)
      parts << said(Word::OfThemIn, QString::number(other->unsaved()), other->name());
  counts_->setText(parts.join(", "));
  showUnsaved_->setVisible(all > 0);
}

// Those of this sheet, or of another where this one has none.
void Window::showUnsaved() {
  if (sheet_->unsaved() == 0)
    for (const Sheet* other : desk_.sheets())
      if (other->unsaved() > 0) {
        showSheet(other->product().corporate, other->product().taxYear);
        break;
      }
  showView(View::Unsaved);
}

void Window::showBadges() {
  struct Badge {
    std::size_t unsaved = 0;
    State worst = State::Default;
  };
  std::map<const qorvane::OptionGroup*, Badge> badges;
  for (const Item& item : sheet_->items()) {
    Badge& badge = badges[&item.row->group()];
    if (sheet_->edit(item)) ++badge.unsaved;
    if (sheet_->conflict(item) || sheet_->refusal(item))
      badge.worst = std::max(badge.worst, sheet_->state(item));
  }
  for (const auto& [group, badge] : badges) {
    const bool urgent = badge.worst != State::Default;
    const QString words = urgent               ? wordOf(badge.worst)
                          : badge.unsaved == 0 ? QString()
                                               : counted(badge.unsaved, Word::OneUnsaved, Word::ManyUnsaved);
    groups_->setBadge(*group,
                      urgent          ? "!"
                      : badge.unsaved ? QString::number(badge.unsaved)
                                      : QString(),
                      words);
  }
}

void Window::showTold() {
  const std::vector<QString> told = desk_.takeTold();
  // What could not be read is told on the page itself.
  if (sheet_->failure() || told.empty()) return;
  banner_->tell(QStringList(told.begin(), told.end()).join('\n'));
}

void Window::refreshRows(const std::vector<const Item*>& items) {
  for (const Item* item : items) {
    if (search_) search_->forget(*item);
    page_->refresh(*item);
  }
  showBadges();
  showCounts();
}

Row* Window::currentRow() const { return Page::rowAround(QApplication::focusWidget()); }

void Window::focusMoved(QWidget* from, QWidget* to) {
  Row* const left = Page::rowAround(from);
  Row* const entered = Page::rowAround(to);
  // Made before the first letter is typed.
  if (to == words_ && !search_) search_ = std::make_unique<Search>(*sheet_);
  if (to == words_ && left && view_ != View::Search) formerPlace_ = &left->item();
  if (left == entered) return;
  if (left) judge();
  if (!entered || !isAncestorOf(entered)) return;
  showStrip(&entered->item());
  page_->ensureWidgetVisible(entered, 0, 12);
}

bool Window::goTo(std::string_view option) {
  const Item* item = sheet_->itemOf(option);
  if (!item) return false;
  groups_->choose(item->row->group());
  showView(View::Group);
  Row* row = page_->rowOf(*item);
  if (row) page_->goTo(*row);
  return row != nullptr;
}

void Window::search(const QString& words) {
  words_->setFocus();
  words_->setText(words);
}

}  // namespace optionsmgr::window
