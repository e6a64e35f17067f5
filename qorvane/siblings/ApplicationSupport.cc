#include "qorvane/siblings/ApplicationSupport.h"

#include "qorvane/desktop/BaseDirectories.h"

namespace qorvane::inline v1 {

Text applicationSupportDirectory() {
  const Text data = dataDirectory();
  return data.isNil() ? Text() : pathBelow(data, "Qorvane");
}

}  // namespace qorvane::inline v1
