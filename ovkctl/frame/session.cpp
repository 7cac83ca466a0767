#include "ovkctl/frame/session.h"

#include "ovkctl/frame/errors.h"

#include <ovk/core.h>

#include <array>

namespace ovkctl {
namespace {

std::uint32_t initialise() {
  std::array<DiagBoardEntry, OVK_MAX_BOARDS> entries{};
  const std::uint32_t count = OVK_InitDiagEnv(entries.data(), entries.size());
  // A refused channel leaves no reference to release.
  if (refcnt == 0) {
    throw OperationFailed("The management channel to the adapter driver could not be opened.",
                          "Check that the driver is loaded and fits this version of ovkctl.");
  }
  if (count == 0) {
    OVK_FreeDiagEnv();
    throw OperationFailed("There is no Fibre Channel board on this host.",
                          "Check that an adapter is installed and that its driver claimed it.");
  }
  return count;
}

}  // namespace

Session::Session() : board_count_{initialise()} {}

Session::~Session() { OVK_FreeDiagEnv(); }

}  // namespace ovkctl
