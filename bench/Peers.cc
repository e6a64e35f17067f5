#include "bench/Peers.h"

namespace peers {

std::vector<Store> stores([[maybe_unused]] const Entries& entries,
                          [[maybe_unused]] const std::string& folder) {
  std::vector<Store> all;
#ifdef HAVE_QT
  addQtStores(all, entries, folder);
#endif
#ifdef HAVE_GLIB
  addGlibStores(all, entries, folder);
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
