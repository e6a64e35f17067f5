// KDE's KConfig. A shared library of its own, for it stands on another Qt than the other peers.
#include <KConfig>
#include <KConfigGroup>
#include <QString>
#include <cstdlib>
#include <memory>

#include "bench/Peers.h"
#include "bench/Ratios.h"

namespace peers {

namespace {

constexpr const char* kGroup = "Options";

QString wide(const std::string& text) { return QString::fromStdString(text); }

}  // namespace

void addKdeStores(std::vector<Store>& stores, const Entries& entries, const std::string& folder) {
  const QString file = wide(folder + "/kconfigrc");
  const auto config = std::make_shared<KConfig>(file, KConfig::SimpleConfig);
  KConfigGroup group(config.get(), kGroup);
  for (const auto& [key, value] : entries) group.writeEntry(key.c_str(), wide(value));
  if (!config->sync()) abort();
  const std::string key = entries.front().first;
  const QString values[] = {wide(kTexts[0]), wide(kTexts[1])};
  const auto change = [=](std::size_t which) {
    KConfigGroup(config.get(), kGroup).writeEntry(key.c_str(), values[which]);
  };
  stores.push_back({.name = "KConfig",
                    .read =
                        [config, key](std::size_t count) {
                          const KConfigGroup options(config.get(), kGroup);
                          while (count-- > 0) ratios::keep(options.readEntry(key.c_str(), QString()));
                        },
                    .set = setBy(change),
                    .load =
                        [file, key](std::size_t count) {
                          while (count-- > 0) {
                            const KConfig fresh(file, KConfig::SimpleConfig);
                            ratios::keep(KConfigGroup(&fresh, kGroup).readEntry(key.c_str(), QString()));
                          }
                        },
                    .save = saveBy(change, [config] {
                      if (!config->sync()) abort();
                    })});
}

}  // namespace peers
