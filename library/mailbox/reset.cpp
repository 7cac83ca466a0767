#include "library/core/command.h"

#include <ovk/mailbox.h>

#include <cstdint>

using ovk::Command;

namespace {

/** The driver's answer to RAVN_MGMT_GET_OVK_REV. */
struct DriverRevision {
  std::uint32_t words0[2];
  std::uint32_t has_mode3;  ///< not 0 where the driver has the third mode
};

static_assert(sizeof(DriverRevision) == 12);
static_assert(offsetof(DriverRevision, has_mode3) == 8);

bool has_mode(const DriverRevision& revision, std::uint32_t mode) {
  return mode == 1 || mode == 2 || (mode == 3 && revision.has_mode3 != 0);
}

}  // namespace

std::uint32_t OVK_ResetAdapter(std::uint32_t board, std::uint32_t mode) {
  DriverRevision revision{};
  Command query{board};
  query.block.driver_board = 0;  // intended: always asked of driver board 0
  if (!query.invoke<"RAVN_MGMT_GET_OVK_REV">(&revision).succeeded()) {
    return OVK_FAILED;
  }
  if (!has_mode(revision, mode)) {
    return OVK_RESET_NO_SUCH_MODE;
  }
  Command reset{board, {.selector = mode}};
  return reset.invoke<"RAVN_MGMT_RESET">().result();
}
