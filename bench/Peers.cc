#include "bench/Peers.h"

#include <cstdio>

namespace peers {

std::vector<Store> stores([[maybe_unused]] const Entries& entries,
                          [[maybe_unused]] const std::string& folder) {
  std::vector<Store> all;
#ifdef HAVE_QT
  addQtStores(all, entries, folder);
#else
  std::fputs("Qt 6 is not installed: QSettings is not measured\n", stderr);
#endif
#ifdef HAVE_GLIB
  addGlibStores(all, entries, folder);
#else
  std::fputs("GLib is not installed: GKeyFile and GSettings are not measured\n", stderr);
#endif
#ifdef HAVE_KDE
  addKdeStores(all, entries, folder);
#else
  std::fputs("KConfig is not installed and not measured\n", stderr);
#endif
#ifdef HAVE_BOOST
  addBoostStores(all, entries, folder);
#else
  std::fputs("Boost is not installed: PropertyTree is not measured\n", stderr);
#endif
  return all;
}

#ifdef HAVE_QT
const std::function<void(double)> formatAmount = formatAmountByQt;
const std::function<void(std::string_view)> parseAmount = parseAmountByQt;
#else
const std::function<void(double)> formatAmount;
const std::function<void(std::string_view)> parseAmount;
#endif

}  // namespace peers
