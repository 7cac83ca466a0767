#include "library/auth/gate.h"
#include "library/core/command.h"

#include <ovk/auth.h>

using ovk::Command;

std::uint32_t OVK_SetAuthPasswordV2(std::uint32_t board, const AuthPassword* password_record) {
  if (const auto refused = ovk::authentication_gate(board)) return *refused;
  Command command{board};
  return command.invoke<"RAVN_MGMT_SET_AUTH_PASSWD_V2">(password_record).raw();
}

std::uint32_t OVK_GetAuthPasswordV2(std::uint32_t board, AuthPassword* password_record,
                                    std::uint8_t flag) {
  if (const auto refused = ovk::authentication_gate(board)) return *refused;
  Command command{board};
  return command.invoke<"RAVN_MGMT_GET_AUTH_PASSWD_V2">(password_record, &flag).raw();
}

std::uint32_t OVK_InitiateAuthentication(std::uint32_t board, Wwn wwn1, Wwn wwn2) {
  if (const auto refused = ovk::authentication_gate(board)) return *refused;
  Command command{board};
  return command.invoke<"RAVN_MGMT_INIT_AUTH">(&wwn1, &wwn2).raw();
}

std::uint32_t OVK_GetAuthStatus(std::uint32_t board, AuthStatus* status_record) {
  if (const auto refused = ovk::authentication_gate(board)) return *refused;
  Command command{board};
  return command.invoke<"RAVN_MGMT_GET_AUTH_STATUS">(status_record).raw();
}
