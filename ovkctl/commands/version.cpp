#include "ovkctl/frame/command.h"

#include <ovk/core.h>

#include <array>

namespace ovkctl {
namespace {

Report version_report() {
  std::array<char, OVK_LIB_VERSION_SIZE> library{};
  OVK_GetLibVer(library.data());
  std::uint32_t major = 0;
  std::uint32_t minor = 0;
  GetOvkRev(&major, &minor);

  Report report;
  report.field("tool", "ovkctl", OVKCTL_VERSION)
      .field("library", "libovk", fixed_text(library))
      .field("interface_revision", "interface revision",
             std::to_string(major) + "." + std::to_string(minor));
  return report;
}

}  // namespace

void add_version(Command root) {
  const Command version =
      root.subcommand("version", "Show the versions of ovkctl, the library and its interface");
  version.example("ovkctl version");
  version.action([](const Context& context) { context.print(version_report()); });
}

}  // namespace ovkctl
