// Boost.PropertyTree, in its INI form.
#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <memory>

#include "bench/Peers.h"
#include "bench/Ratios.h"

namespace peers {

void addBoostStores(std::vector<Store>& stores, const Entries& entries, const std::string& folder) {
  using boost::property_tree::ptree;
  const std::string file = folder + "/boost.ini";
  const auto tree = std::make_shared<ptree>();
  for (const auto& [key, value] : entries) {
    // A value of several lines takes one here.
    std::string line = value;
    for (char& c : line) c = c == '\n' ? ' ' : c;
    tree->put(key, line);
  }
  boost::property_tree::write_ini(file, *tree);
  const std::string key = entries.front().first;
  stores.push_back({.name = "PropertyTree",
                    .read =
                        [tree, key](std::size_t count) {
                          while (count-- > 0) ratios::keep(tree->get<std::string>(key));
                        },
                    .set = setBy([tree, key](std::size_t which) { tree->put(key, kTexts[which]); }),
                    .load =
                        [file](std::size_t count) {
                          while (count-- > 0) {
                            ptree fresh;
                            boost::property_tree::read_ini(file, fresh);
                            ratios::keep(fresh);
                          }
                        },
                    // It writes to streams, which know of no disk.
                    .save = {}});
}

}  // namespace peers
