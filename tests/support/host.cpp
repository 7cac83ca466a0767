#include "tests/support/host.h"

#include "tests/support/allocation.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <string_view>
#include <sys/time.h>
#include <unistd.h>

namespace ovk::test {

namespace {

template <typename Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

Host& host() {
  static Host host;
  return host;
}

}  // namespace ovk::test

using ovk::test::host;

extern "C" {

FILE* fopen(const char* path, const char* mode) {
  constexpr std::string_view redirected = "/scratch/";
  static auto* const real = ovk::test::next<decltype(fopen)>("fopen");
  if (std::string_view{path}.starts_with(redirected)) {
    const ovk::test::AllocationsUncounted uncounted;
    return real((host().root.string() + path).c_str(), mode);
  }
  return real(path, mode);
}

int gettimeofday(timeval* time, void* zone) noexcept {
  static auto* const real = ovk::test::next<int(timeval*, void*)>("gettimeofday");
  if (host().time) {
    *time = {.tv_sec = *host().time, .tv_usec = 0};
    return 0;
  }
  return real(time, zone);
}

int gethostname(char* name, size_t size) noexcept {
  const std::string& text = host().name;
  std::memcpy(name, text.c_str(), std::min(size, text.size() + 1));
  if (text.size() < size) {
    return 0;
  }
  errno = ENAMETOOLONG;
  return -1;
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
