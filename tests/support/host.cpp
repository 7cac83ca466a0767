#include "tests/support/host.h"

#include "tests/support/allocation.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <string_view>
#include <sys/time.h>
#include <unistd.h>

using ovk::test::host;

extern "C" {

FILE* fopen(const char* path, const char* mode) {
  static auto* const real = reinterpret_cast<decltype(&fopen)>(dlsym(RTLD_NEXT, "fopen"));
  if (!std::string_view{path}.starts_with("/scratch/")) {
    return real(path, mode);
  }
  const ovk::test::AllocationsUncounted uncounted;
  return real((host().root.string() + path).c_str(), mode);
}

int gettimeofday(timeval* time, void* /*zone*/) noexcept {
  *time = {.tv_sec = host().time, .tv_usec = 0};
  return 0;
}

int gethostname(char* name, size_t size) noexcept {
  const std::string& text = host().name;
  std::memcpy(name, text.c_str(), std::min(size, text.size() + 1));
  return text.size() < size ? 0 : -1;
}

unsigned sleep(unsigned seconds) {
  host().sleeps.push_back(seconds * std::uint64_t{1000000});
  return 0;
}

int usleep(useconds_t microseconds) {
  host().sleeps.push_back(microseconds);
  return 0;
}
}
