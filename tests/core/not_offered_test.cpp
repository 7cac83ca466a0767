#include "tests/support/library_test.h"

#include <ovk/ovk.h>

#include <gmock/gmock.h>

namespace ovk::test {
namespace {

using NotOfferedTest = LibraryTest;

TEST_F(NotOfferedTest, CallsOfTheInterfaceWithoutAnImplementationSaySoAndSendNothing) {
  const Wwn name{};
  const std::uint32_t results[] = {AddBind(0, nullptr),
                                   DelBind(0, nullptr),
                                   OVK_GetFcpTargetMappingByWWN(0, &name, nullptr),
                                   OVK_VPCreate(0, &name, &name),
                                   OVK_VPDelete(0, &name, &name),
                                   OVK_VPDeleteV2(0, &name, &name),
                                   OVK_GetAuthConfig(0, name, name, nullptr),
                                   OVK_SetAuthConfig(0, name, name, nullptr),
                                   OVK_DeleteAuthConfig(0, name, name),
                                   OVK_GetAuthConfigList(0, name, nullptr),
                                   OVK_GetAuthPassword(0, name, name, nullptr),
                                   OVK_SetAuthPassword(0, name, name, nullptr),
                                   OVK_EnableAuthentication(0),
                                   OVK_DisableAuthentication(0)};
  EXPECT_THAT(results, testing::Each(OVK_NOT_SUPPORTED));
}

}  // namespace
}  // namespace ovk::test
