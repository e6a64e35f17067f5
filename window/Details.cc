#include "window/Details.h"

#include <QDateTime>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLocale>
#include <QPushButton>
#include <QScrollArea>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "qorvane/foundation/Exception.h"
#include "qorvane/preferences/LayeredUserDefaults.h"
#include "tool/speech/Language.h"
#include "window/Failures.h"
#include "window/History.h"
#include "window/Source.h"
#include "window/Words.h"

namespace optionsmgr::window {

using qorvane::Value;

Details::Details(const Item& item, Sheet& sheet, qorvane::FileUserDefaults& files, QWidget* parent)
    : QDialog(parent), item_(item), sheet_(sheet), files_(files) {
  setObjectName("details");
  setAttribute(Qt::WA_DeleteOnClose);
  setWindowTitle(QString("%1 – %2").arg(item.label(), sheet.name()));
  column_ = new QVBoxLayout(this);
  addText(item.description());
  addOrigin();
  addLastYear();
  addEarlier();
  addNames();
  addButtons();
  setMinimumWidth(fontMetrics().horizontalAdvance('0') * 64);
}

QString Details::words(const Value& value) const { return inWords(item_, sheet_.product(), value); }

void Details::take(const Edit& edit) {
  if (taken) taken(edit);
  close();
}

void Details::addTitle(const QString& text) {
  auto* title = new QLabel(text, this);
  QFont bold = title->font();
  bold.setWeight(QFont::DemiBold);
  title->setFont(bold);
  title->setContentsMargins(0, 10, 0, 0);
  column_->addWidget(title);
}

void Details::addText(const QString& text) {
  auto* label = new QLabel(text, this);
  label->setTextFormat(Qt::PlainText);
  label->setWordWrap(true);
  label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  column_->addWidget(label);
}

namespace {

Word wordOf(qorvane::OptionOrigin::Layer layer) {
  using enum qorvane::OptionOrigin::Layer;
  switch (layer) {
    case Default:
      return Word::LayerDefault;
    case Firm:
      return Word::LayerFirm;
    case Machine:
      return Word::LayerMachine;
    case User:
      return Word::LayerUser;
  }
  return Word::LayerDefault;
}

// What such a file notes of an entry, in its own order.
QString noted(const Value& record) {
  if (const qorvane::Dictionary* parts = record.asDictionary()) {
    QStringList words;
    for (const auto& [name, value] : *parts)
      if (const QString word = shown(value.textValue()); !word.isEmpty()) words << word;
    return words.join(" · ");
  }
  return shown(record.textValue());
}

}  // namespace

// The nearest layer first, each with what it says.
void Details::addOrigin() {
  addTitle(said(Word::WhereFrom));
  const qorvane::OptionOrigin origin = sheet_.origin(item_);
  const bool isEdited = sheet_.edit(item_).has_value();
  const auto line = [&](const QString& layer, const QString& value, bool counts) {
    addText(QString("%1: %2").arg(counts && !isEdited ? said(Word::LayerCounts, layer) : layer, value));
  };
  if (isEdited) addText(QString("%1: %2").arg(said(Word::LayerUnsaved), words(sheet_.value(item_))));
  const auto layers = sheet_.layers();
  const std::string_view key = item_.row->key(sheet_.product()).view();
  using Layer = qorvane::OptionOrigin::Layer;
  bool counted = origin.layer == Layer::User;
  if (!layers) {
    const bool isSet = !readSame(item_, sheet_.product(), sheet_.saved(item_), sheet_.fallback(item_));
    counted = isSet;
    line(said(Word::LayerUser), isSet ? words(sheet_.saved(item_)) : said(Word::NotHere), isSet);
  } else {
    const Value* own = layers->ownEntries().find(key);
    line(said(Word::LayerUser), own ? wordsIn(layers->ownEntries()) : said(Word::NotHere), counted);
    for (const qorvane::Layer& layer : layers->layers()) {
      const auto entry = layer.find(key);
      const bool isFirm = layer.kind() == qorvane::LayerFolder::Kind::Firm;
      QString name = said(wordOf(isFirm ? Layer::Firm : Layer::Machine));
      if (entry && entry->everyYear) name = said(Word::LayerEveryYear, name);
      if (layer.locks(key))
        name = said(layer.isEnforced() ? Word::LayerLocks : Word::LayerLocksPrograms, name);
      const bool counts = entry && origin.file == layer.file(entry->everyYear);
      counted = counted || counts;
      line(name, entry ? wordsIn(entry->everyYear ? layer.everyYear() : layer.year()) : said(Word::NotHere),
           counts);
    }
  }
  line(said(Word::LayerDefault), words(item_.row->fallback(sheet_.product())), !counted);
  if (const QString note = noted(origin.record); !note.isEmpty()) addText(said(Word::OriginNoted, note));
}

QString Details::wordsIn(const qorvane::Dictionary& entries) const {
  return words(Source({}, sheet_.product(), entries).value(item_).value_or(Value()));
}

void Details::addLastYear() {
  qorvane::Product before = sheet_.product();
  --before.taxYear;
  const QString year = QString::number(before.taxYear);
  addTitle(said(Word::InYear, year));
  std::unique_ptr<Source> source;
  try {
    source = sourceOfYear(files_, before);
  } catch (const qorvane::Exception& error) {
    return addText(inShort(error.failure()));
  }
  const auto value = source ? source->value(item_) : std::nullopt;
  if (!value) return addText(said(Word::NoSettingsIn, year));
  auto* line = new QHBoxLayout;
  auto* text = new QLabel(words(*value), this);
  text->setObjectName("lastYear");
  text->setTextFormat(Qt::PlainText);
  text->setWordWrap(true);
  line->addWidget(text, 1);
  if (sheet_.canBeSet(item_) && differs(sheet_, item_, *source)) {
    auto* button = new QPushButton(said(Word::TakeOfYear, year), this);
    connect(button, &QPushButton::clicked, this, [this, taken = *value] { take({false, taken}); });
    line->addWidget(button);
  }
  column_->addLayout(line);
}

void Details::addEarlier() {
  addTitle(said(Word::EarlierValues));
  const std::vector<Former> values = formerValues(item_, sheet_, files_);
  if (values.empty()) return addText(said(Word::NoEarlierValue));
  auto* list = new QTreeWidget(this);
  list->setObjectName("earlier");
  list->setRootIsDecorated(false);
  list->setAccessibleName(said(Word::EarlierValues));
  list->setHeaderLabels({said(Word::SavedAt), said(Word::ValueColumn)});
  const QLocale locale(speaksFrench() ? "fr_CA" : "en_CA");
  for (const Former& former : values)
    new QTreeWidgetItem(list,
                        {locale.toString(QDateTime::fromSecsSinceEpoch(former.since), QLocale::ShortFormat),
                         words(former.value)});
  list->setCurrentItem(list->topLevelItem(0));
  list->resizeColumnToContents(0);
  list->setFixedHeight(fontMetrics().height() * 7);
  column_->addWidget(list);
  if (!sheet_.canBeSet(item_)) return;
  auto* button = new QPushButton(said(Word::TakeThisOne), this);
  button->setObjectName("takeThisOne");
  column_->addWidget(button, 0, Qt::AlignLeft);
  connect(button, &QPushButton::clicked, this, [this, list, values] {
    const int chosen = list->indexOfTopLevelItem(list->currentItem());
    if (chosen >= 0) take({false, values[static_cast<std::size_t>(chosen)].value});
  });
}

void Details::addNames() {
  addTitle(said(Word::ForSupport));
  addText(said(Word::NameIs, shown(item_.row->name)) + "\n" +
          said(Word::KeyIs, shown(item_.row->key(sheet_.product()))) + "\n" +
          said(Word::FileIs, QString::fromStdString(files_.pathForKey(sheet_.key()))));
}

void Details::addButtons() {
  auto* buttons = new QDialogButtonBox(this);
  if (sheet_.canBeSet(item_)) {
    QString fallback = words(sheet_.fallback(item_));
    if (fallback.size() > 40) fallback = fallback.left(39) + "…";
    auto* reset =
        buttons->addButton(said(Word::DoResetTo, fallback.replace('&', "&&")), QDialogButtonBox::ResetRole);
    connect(reset, &QPushButton::clicked, this, [this] { take({true, nullptr}); });
  }
  auto* closing = buttons->addButton(said(Word::Close), QDialogButtonBox::RejectRole);
  closing->setDefault(true);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  column_->addSpacing(8);
  column_->addWidget(buttons);
}

}  // namespace optionsmgr::window
