// Counts the instructions of each call, and those of its commands by hand, for callgrind to write
// down:   instructions [--check]
//
// With --check nothing is counted: what both sides send to the driver, and leave in the caller's
// memory, is compared, because a hand that does less would set a wrong measure; and no call may go
// to the kernel for memory once it has been made a few times.

#include "bench/calls.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <numeric>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <valgrind/callgrind.h>

namespace {

using ovk::bench::Call;
using ovk::bench::calls;
using ovk::bench::Function;
using ovk::bench::Sent;

constexpr int warm_up = 20;  // until libc has all the memory it is going to need
constexpr int counted = 10;

void count(const Call& call, const std::vector<Function>& functions, const char* side) {
  std::vector<std::uint8_t> memory(ovk::bench::memory_size);
  answer_with(call.answer);
  CALLGRIND_ZERO_STATS;
  for (int i = 0; i < warm_up + counted; ++i) {
    prepare(call, memory.data());
    for (const Function function : functions) {
      if (i >= warm_up) {
        CALLGRIND_TOGGLE_COLLECT;
      }
      function(memory.data());
      if (i >= warm_up) {
        CALLGRIND_TOGGLE_COLLECT;
      }
    }
  }
  char line[160];
  std::snprintf(line, sizeof line, "%s;%s;%u;%u;%d", side, call.name, call.allowed,
                call.allowed_percent, counted);
  CALLGRIND_DUMP_STATS_AT(line);
}

/** What a side sends and leaves behind. */
struct Trace {
  std::vector<Sent> sent;
  std::vector<std::uint8_t> memory;
  std::uint32_t result = 0;
};

Trace trace(const Call& call, const std::vector<Function>& functions) {
  Trace trace{.sent = {}, .memory = std::vector<std::uint8_t>(ovk::bench::memory_size)};
  std::iota(trace.memory.begin(), trace.memory.end(), std::uint8_t{1});
  prepare(call, trace.memory.data());
  answer_with(call.answer);
  record_into(&trace.sent);
  for (const Function function : functions) {
    trace.result = function(trace.memory.data());
  }
  ovk::bench::record_into(nullptr);
  return trace;
}

bool same(const Call& call) {
  const Trace library = trace(call, {call.library});
  const Trace by_hand = trace(call, call.by_hand);
  if (library.result != call.result) {
    std::printf("%s: its result is %u\n", call.name, library.result);
    return false;
  }
  if (library.sent.size() != by_hand.sent.size()) {
    std::printf("%s: %zu commands, by hand %zu\n", call.name, library.sent.size(),
                by_hand.sent.size());
    return false;
  }
  for (std::size_t i = 0; i < library.sent.size(); ++i) {
    const Sent& a = library.sent[i];
    const Sent& b = by_hand.sent[i];
    const auto [at, other] = std::ranges::mismatch(a.bytes, b.bytes);
    if (a != b) {
      std::printf("%s: %s and by hand %s differ from byte %td\n", call.name, a.command.c_str(),
                  b.command.c_str(), at - a.bytes.begin());
      return false;
    }
  }
  if (call.compares_memory && library.memory != by_hand.memory) {
    const auto [at, other] = std::ranges::mismatch(library.memory, by_hand.memory);
    std::printf("%s: the memory differs from byte %td: %d, by hand %d\n", call.name,
                at - library.memory.begin(), *at, *other);
    return false;
  }
  return true;
}

/** The page faults of so many calls. */
long faults_in(int count, const Call& call) {
  static std::uint8_t memory[ovk::bench::memory_size];
  rusage before{};
  getrusage(RUSAGE_SELF, &before);
  for (int i = 0; i < count; ++i) {
    prepare(call, memory);
    call.library(memory);
  }
  rusage after{};
  getrusage(RUSAGE_SELF, &after);
  return after.ru_minflt - before.ru_minflt;
}

/** Whether the pages of a call's memory stay with the process from call to call. Each call has a
    process of its own, because libc keeps the more memory the larger a block it was given back. */
bool keeps_its_memory(const Call& call) {
  constexpr int times = 3000;
  constexpr long strays = times / 100;  // that the kernel has reasons of its own for
  const pid_t child = fork();
  if (child == 0) {
    answer_with(call.answer);
    faults_in(10, call);
    const long faults = faults_in(times, call);
    if (faults > strays) {
      std::printf("%s: %ld page faults in %d calls\n", call.name, faults, times);
      std::fflush(stdout);
    }
    _exit(faults > strays ? 1 : 0);
  }
  int status = 1;
  return child > 0 && waitpid(child, &status, 0) == child && status == 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1 && std::strcmp(argv[1], "--check") == 0) {
    const auto memory_kept = std::ranges::count_if(calls(), keeps_its_memory);
    const auto alike = std::ranges::count_if(calls(), same);
    const auto all = std::ssize(calls());
    return memory_kept == all && alike == all ? 0 : 1;
  }
  for (const Call& call : calls()) {
    count(call, call.by_hand, "by hand");
    count(call, {call.library}, "library");
  }
  return 0;
}
