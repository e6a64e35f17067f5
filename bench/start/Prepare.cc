// Saves 150 options for the others to read.
#include <string>

#include "qorvane/foundation/Dictionary.h"
#include "qorvane/store/Options.h"

using namespace qorvane;

int main() {
  Options store;
  store.loadOptions();
  for (int i = static_cast<int>(store.options()->size()); i < 150; ++i)
    store.options()->set(Text("SomeOption" + std::to_string(i)),
                         Text("a value of usual length " + std::to_string(i)));
  store.saveOptions();
}
