#include "library/core/version.h"

#include <ovk/core.h>

#include <cstdio>

int OVK_GetLibVer(char* buf) {
  return std::snprintf(buf, OVK_LIB_VERSION_SIZE, "%d.%d.%d.%d", 14, 0, 198, 0);
}

std::uint32_t GetOvkRev(std::uint32_t* major, std::uint32_t* minor) {
  *major = ovk::interface_major;
  *minor = ovk::interface_minor;
  return OVK_OK;
}
