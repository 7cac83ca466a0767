#include "library/auth/gate.h"
#include "library/core/command.h"
#include "library/core/payload.h"

#include <ovk/auth.h>

using ovk::Command;

std::uint32_t OVK_SetAuthConfigV2(std::uint32_t board, AuthConfig* config) {
  if (const auto refused = ovk::authentication_gate(board)) return *refused;
  Command command{board};
  return command.invoke<"RAVN_MGMT_SET_AUTH_CONFIG_V2">(config).raw();
}

std::uint32_t OVK_GetAuthConfigV2(std::uint32_t board, Wwn wwn, AuthConfig* config,
                                  std::uint8_t flag) {
  if (const auto refused = ovk::authentication_gate(board)) return *refused;
  Command command{board};
  return command.invoke<"RAVN_MGMT_GET_AUTH_CONFIG_V2">(&wwn, config, &flag).raw();
}

std::uint32_t OVK_DeleteAuthConfigV2(std::uint32_t board, AuthConfig* config,
                                     std::uint8_t delete_all) {
  if (const auto refused = ovk::authentication_gate(board)) return *refused;
  Command command{board};
  if (delete_all == 0) {
    return command.invoke<"RAVN_MGMT_DEL_AUTH_CONFIG_V2">(config, &delete_all).raw();
  }
  // A record of zeros names every pair of ports. It is a whole one, for the channel copies as much;
  // the caller's may be null.
  const ovk::HeapBuffer<AuthConfig> every;
  if (!every) {
    return OVK_AUTH_NO_MEMORY;
  }
  return command.invoke<"RAVN_MGMT_DEL_AUTH_CONFIG_V2">(every.get(), &delete_all).raw();
}

std::uint32_t OVK_PersistAuthConfig(std::uint32_t board) {
  if (const auto refused = ovk::authentication_gate(board)) return *refused;
  Command command{board};
  return command.invoke<"RAVN_MGMT_PERSIST_AUTH_CONFIG">().raw();
}

std::uint32_t OVK_DeleteAuthConfigObject(std::uint32_t board) {
  if (const auto refused = ovk::authentication_gate(board)) return *refused;
  Command command{board};
  return command.invoke<"RAVN_MGMT_DEL_AUTH_CONFIG_OBJ">().raw();
}
