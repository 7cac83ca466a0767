#include "tests/support/host.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <string_view>
#include <sys/time.h>
#include <unistd.h>

namespace ovk::test {

namespace {

struct AllocationCount {
  bool counting;
  int failing;
  int allocations;
  int outstanding;
};

constinit thread_local AllocationCount count{};

/** Whether the allocation that is being asked for gets its memory. */
bool grant_allocation() {
  if (!count.counting) {
    return true;
  }
  if (count.allocations++ == count.failing) {
    return false;
  }
  ++count.outstanding;
  return true;
}

template <typename Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

Host& host() {
  static Host host;
  return host;
}

AllocationWatch::AllocationWatch(int failing) { count = {.counting = true, .failing = failing}; }
AllocationWatch::~AllocationWatch() { count.counting = false; }
int AllocationWatch::allocations() const { return count.allocations; }
int AllocationWatch::outstanding() const { return count.outstanding; }

AllocationsUncounted::AllocationsUncounted() : was_counting_{count.counting} {
  count.counting = false;
}
AllocationsUncounted::~AllocationsUncounted() { count.counting = was_counting_; }

}  // namespace ovk::test

using ovk::test::count;
using ovk::test::grant_allocation;
using ovk::test::host;

extern "C" {

// The real allocator: the sanitizer's where there is one. Looking it up with dlsym would allocate.
[[gnu::weak]] void* __interceptor_malloc(size_t);
[[gnu::weak]] void* __interceptor_calloc(size_t, size_t);
[[gnu::weak]] void __interceptor_free(void*);
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void __libc_free(void*);

void* malloc(size_t size) {
  if (!grant_allocation()) {
    return nullptr;
  }
  return __interceptor_malloc != nullptr ? __interceptor_malloc(size) : __libc_malloc(size);
}

void* calloc(size_t members, size_t size) {
  if (!grant_allocation()) {
    return nullptr;
  }
  return __interceptor_calloc != nullptr ? __interceptor_calloc(members, size)
                                         : __libc_calloc(members, size);
}

void free(void* pointer) {
  if (count.counting && pointer != nullptr) {
    --count.outstanding;
  }
  if (__interceptor_free != nullptr) {
    __interceptor_free(pointer);
  } else {
    __libc_free(pointer);
  }
}

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
