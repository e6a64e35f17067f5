// The same with QSettings, on the file that it is given.
#include <QSettings>
#include <QString>

int main(int, char** argv) {
  const QSettings settings(QString::fromUtf8(argv[1]), QSettings::IniFormat);
  return settings.value(QStringLiteral("Language")).toString() == QStringLiteral("English") ? 0 : 1;
}
