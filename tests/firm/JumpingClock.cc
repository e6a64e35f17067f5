// Loaded before the C library, it moves the wall clock of a program by as many seconds as the file that
// JUMPING_CLOCK names holds now; the clock that measures time goes on as it does.
#include <sys/syscall.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace {

long jump() {
  const char* const path = std::getenv("JUMPING_CLOCK");
  std::FILE* const file = path ? std::fopen(path, "r") : nullptr;
  long seconds = 0;
  if (file) {
    if (std::fscanf(file, "%ld", &seconds) != 1) seconds = 0;
    std::fclose(file);
  }
  return seconds;
}

}  // namespace

extern "C" int clock_gettime(clockid_t clock, timespec* now) noexcept {
  const long failed = syscall(SYS_clock_gettime, clock, now);
  if (failed == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE)) now->tv_sec += jump();
  return static_cast<int>(failed);
}

extern "C" time_t time(time_t* out) noexcept {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  if (out) *out = now.tv_sec;
  return now.tv_sec;
}
