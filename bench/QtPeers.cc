// Qt 6: QSettings in its INI form, and QLocale.
#include <fcntl.h>
#include <sys/stat.h>

#include <QLocale>
#include <QSettings>
#include <QString>
#include <memory>

#include "bench/Peers.h"
#include "bench/Ratios.h"

namespace peers {

namespace {

QString wide(const std::string& text) { return QString::fromStdString(text); }

const QLocale& canada() {
  static const QLocale locale(QLocale::English, QLocale::Canada);
  return locale;
}

}  // namespace

void addQtStores(std::vector<Store>& stores, const Entries& entries, const std::string& folder) {
  const std::string file = folder + "/qt.ini";
  const auto settings = std::make_shared<QSettings>(wide(file), QSettings::IniFormat);
  for (const auto& [key, value] : entries) settings->setValue(wide(key), wide(value));
  settings->sync();
  const QString key = wide(entries.front().first);
  const QString values[] = {wide(kTexts[0]), wide(kTexts[1])};
  const auto change = [=](std::size_t which) { settings->setValue(key, values[which]); };
  stores.push_back({.name = "QSettings",
                    .read =
                        [settings, key](std::size_t count) {
                          while (count-- > 0) ratios::keep(settings->value(key).toString());
                        },
                    .set = setBy(change),
                    .load =
                        [file, key, second = time_t{0}](std::size_t count) mutable {
                          while (count-- > 0) {
                            // It keeps a file that it has read until the time of its last change differs.
                            const timespec times[] = {{0, UTIME_OMIT}, {++second, 0}};
                            utimensat(AT_FDCWD, file.c_str(), times, 0);
                            const QSettings fresh(wide(file), QSettings::IniFormat);
                            ratios::keep(fresh.value(key).toString());
                          }
                        },
                    .save = saveBy(change, [settings] { settings->sync(); })});
}

void formatAmountByQt(double amount) { ratios::keep(canada().toString(amount, 'f', 2).toUtf8()); }
void parseAmountByQt(std::string_view text) {
  ratios::keep(canada().toDouble(QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()))));
}

}  // namespace peers
