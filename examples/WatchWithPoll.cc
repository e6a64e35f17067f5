// Hears what other programs change in the settings, in an event loop of its own: prints the keys, until
// something comes on standard input or that ends.
#include <poll.h>

#include <iostream>
#include <iterator>

#include "qorvane/preferences/FileUserDefaults.h"
#include "qorvane/preferences/PreferenceWatch.h"

int main() {
  qorvane::FileUserDefaults store;
  qorvane::PreferenceWatch watch(store);
  std::cout << "listening" << std::endl;
  for (;;) {
    pollfd ends[] = {{watch.descriptor(), POLLIN, 0}, {0, POLLIN, 0}};
    if (poll(ends, std::size(ends), -1) < 0) continue;
    if (ends[1].revents != 0) return 0;
    for (const qorvane::Text& key : watch.changedKeys()) std::cout << key.string() << std::endl;
  }
}
