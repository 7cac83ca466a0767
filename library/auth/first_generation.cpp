#include <ovk/auth.h>

#include <cstdint>

// Old callers find these by name; what they did is done by the calls of the second generation.

std::uint32_t OVK_GetAuthConfig(std::uint32_t, Wwn, Wwn, void*) { return OVK_NOT_SUPPORTED; }
std::uint32_t OVK_SetAuthConfig(std::uint32_t, Wwn, Wwn, const void*) { return OVK_NOT_SUPPORTED; }
std::uint32_t OVK_DeleteAuthConfig(std::uint32_t, Wwn, Wwn) { return OVK_NOT_SUPPORTED; }
std::uint32_t OVK_GetAuthConfigList(std::uint32_t, Wwn, void*) { return OVK_NOT_SUPPORTED; }
std::uint32_t OVK_GetAuthPassword(std::uint32_t, Wwn, Wwn, void*) { return OVK_NOT_SUPPORTED; }
std::uint32_t OVK_SetAuthPassword(std::uint32_t, Wwn, Wwn, const void*) {
  return OVK_NOT_SUPPORTED;
}
std::uint32_t OVK_EnableAuthentication(std::uint32_t) { return OVK_NOT_SUPPORTED; }
std::uint32_t OVK_DisableAuthentication(std::uint32_t) { return OVK_NOT_SUPPORTED; }
