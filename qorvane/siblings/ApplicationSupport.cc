#include "qorvane/siblings/ApplicationSupport.h"

#include "qorvane/platform/BaseDirectories.h"

namespace qorvane {

Text applicationSupportDirectory() {
  const Text data = dataDirectory();
  return data.isNil() ? Text() : pathBelow(data, "Qorvane");
}

}  // namespace qorvane
