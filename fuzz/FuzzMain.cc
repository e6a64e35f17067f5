// The entry of every fuzz target; FUZZ_TARGET is the function of FuzzTargets.h that the program is for.
#include <cstddef>
#include <cstdint>

#include "fuzz/FuzzTargets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  qorvane::fuzzing::FUZZ_TARGET({reinterpret_cast<const char*>(data), size});
  return 0;
}
