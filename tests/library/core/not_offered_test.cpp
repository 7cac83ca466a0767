#include "tests/support/library_test.h"

#include <ovk/ovk.h>

namespace ovk::test {
namespace {

using NotOfferedTest = LibraryTest;

TEST_F(NotOfferedTest, CallsOfTheInterfaceWithoutAnImplementationSaySoAndSendNothing) {
  const Wwn name{};
  struct {
    const char* call;
    std::uint32_t result;
  } const calls[] = {
      {"AddBind", AddBind(0, nullptr)},
      {"DelBind", DelBind(0, nullptr)},
      {"OVK_GetFcpTargetMappingByWWN", OVK_GetFcpTargetMappingByWWN(0, &name, nullptr)},
      {"OVK_VPCreate", OVK_VPCreate(0, &name, &name)},
      {"OVK_VPDelete", OVK_VPDelete(0, &name, &name)},
      {"OVK_VPDeleteV2", OVK_VPDeleteV2(0, &name, &name)},
      {"OVK_GetAuthConfig", OVK_GetAuthConfig(0, name, name, nullptr)},
      {"OVK_SetAuthConfig", OVK_SetAuthConfig(0, name, name, nullptr)},
      {"OVK_DeleteAuthConfig", OVK_DeleteAuthConfig(0, name, name)},
      {"OVK_GetAuthConfigList", OVK_GetAuthConfigList(0, name, nullptr)},
      {"OVK_GetAuthPassword", OVK_GetAuthPassword(0, name, name, nullptr)},
      {"OVK_SetAuthPassword", OVK_SetAuthPassword(0, name, name, nullptr)},
      {"OVK_EnableAuthentication", OVK_EnableAuthentication(0)},
      {"OVK_DisableAuthentication", OVK_DisableAuthentication(0)},
  };
  for (const auto& [call, result] : calls) {
    EXPECT_EQ(result, OVK_NOT_SUPPORTED) << call;
  }
}

}  // namespace
}  // namespace ovk::test
