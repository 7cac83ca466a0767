#include "library/core/assertion.h"

#include <cstdio>
#include <cstdlib>

namespace ovk {

void assert_that(bool condition, const char* text) {
  if (!condition) {
    std::fprintf(stderr, "libovk: assertion failed: %s\n", text);
    std::abort();
  }
}

}  // namespace ovk
