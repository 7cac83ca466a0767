#include "library/features/fcp_priority.h"
#include "tests/support/library_test.h"

#include <ovk/ovk.h>

#include <memory>

namespace ovk::test {
namespace {

struct Refusal {
  const char* call;
  std::uint32_t result;
  std::uint32_t expected = OVK_NOT_SUPPORTED;
};

using RefusalsTest = LibraryTest;

void expect_refusals(std::initializer_list<Refusal> refusals) {
  for (const auto& [call, result, expected] : refusals) {
    EXPECT_EQ(result, expected) << call;
  }
}

TEST_F(RefusalsTest, CallsOfTheInterfaceWithoutAnImplementationSaySoAndSendNothing) {
  const Wwn name{};
  expect_refusals({
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
  });
  FcpPersistentBinding persistent{77};
  EXPECT_EQ(GetFcpPersistentBinding(0, &persistent), OVK_OK);
  EXPECT_EQ(persistent.NumberOfEntries, 0U);
}

TEST_F(RefusalsTest, ArgumentsThatMeanNothingAreRefusedBeforeAnythingIsSent) {
  std::uint8_t memory[16]{};
  const auto ct = [&](std::uint32_t destination, std::uint32_t length) {
    return static_cast<std::uint32_t>(GetCTInfo(0, destination, memory, length, memory, 16));
  };
  const auto rules = std::make_unique<FcpPriorityList>();
  rules->count = OVK_FCP_PRIORITY_MAX_ENTRIES + 1;
  FwLogConfig log{.action = 3};
  const AllocationWatch watch;
  expect_refusals({
      {"CT to no well-known address", ct(0x01FFFC, 1), 0xFFFFFFFC},
      {"CT to another one", ct(0xFFFEFC, 1), 0xFFFFFFFC},
      {"a CT request that is too long", ct(0xFFFFFC, OVK_CT_MAX_LENGTH + 1), 0xFFFFFFFD},
      {"a PCI read of no whole words", OVK_ReadPciCfg(0, memory, 0, 6), OVK_FAILED},
      {"a PCI read that is too long", OVK_ReadPciCfg(0, memory, 0, 4100), OVK_FAILED},
      {"a PCI read within a word", OVK_ReadPciCfg(0, memory, 2, 4), OVK_FAILED},
      {"a PCI read behind the space", OVK_ReadPciCfg(0, memory, 4100, 4), OVK_FAILED},
      {"a PCI write within a word", WritePciCfg(0, memory, 1, 4), OVK_FAILED},
      {"a PCI write behind the space", WritePciCfg(0, memory, 4100, 4), OVK_FAILED},
      {"no trunk record", OVK_GetTrunkInfo(0, nullptr), OVK_TRUNK_NO_RECORD},
      {"no list of LUNs", OVK_GetOASLunList(0, nullptr, nullptr, 0, nullptr), OVK_MORE_DATA},
      {"too many rules to set", OVK_QoSSetConfig(0, rules.get()), OVK_FAILED},
      {"room for too many rules", OVK_QoSGetConfig(0, rules.get()), OVK_FAILED},
      {"too many rules to order", order_fcp_priority_list(rules.get()), OVK_FAILED},
      {"no action of the log", OVK_FwLogConfig(0, &log), OVK_FW_LOG_BAD_ACTION},
      {"a mode between the modes", static_cast<std::uint32_t>(SetBrdEnv(0, 4)), 0},
      {"a mode behind the modes", static_cast<std::uint32_t>(SetBrdEnv(0, 6)), 0},
  });
  EXPECT_EQ(watch.outstanding(), 0);
  EXPECT_EQ(rules->count, OVK_FCP_PRIORITY_MAX_ENTRIES + 1);
  const AllocationWatch without_memory{0};
  EXPECT_EQ(OVK_ReadPciCfg(0, memory, 2, 6), OVK_NO_MEMORY) << "before the range is looked at";
}

}  // namespace
}  // namespace ovk::test
