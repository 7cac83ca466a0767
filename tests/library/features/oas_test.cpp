#include "tests/support/library_test.h"

#include <ovk/core.h>
#include <ovk/features.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace ovk::test {
namespace {

constexpr Wwn local{{0x10, 0, 2, 0, 0x54, 1, 2, 3}};
constexpr Wwn target{{0x10, 0, 2, 0x0a, 0x54, 0x20, 4, 0xf5}};
const std::string port_digits = "10000200540102031000020a542004f5";
/** What set(5, 0) sends. */
const std::string lun5_rule = "00" + port_digits + "0000000000000005";
constexpr std::uint8_t untouched = 0xEE;

class OasTest : public LibraryTest {
 protected:
  OasTest() { std::memset(&list, untouched, sizeof list); }

  Exchange& expect_list() {
    return channel.expect("RAVN_MGMT_OAS_GET", board0)
        .word(6, 4117)
        .sends(1, local)
        .sends(2, target);
  }
  Exchange& expect_probe(std::uint32_t version) {
    return channel.expect("RAVN_MGMT_OAS_VER", board0).word(6, 4120).answers(4, version);
  }
  Exchange& expect_set(std::uint32_t operation, const std::string& rule) {
    return channel.expect("RAVN_MGMT_OAS_SET", board0)
        .word(5, operation)
        .word(6, 4119)
        .sends(1, ByteVector(rule.begin(), rule.end()));
  }
  /** Expects the rule that set(5, 0) sends, and answers with this status. */
  Exchange& expect_lun5_rule(std::uint32_t status = 0) {
    expect_probe(2);
    return expect_set(1, lun5_rule).status(status);
  }
  /** Expects a rule and all that belongs to it. */
  void expect_success(std::uint32_t version, std::uint32_t operation, const std::string& rule) {
    expect_probe(version);
    expect_set(operation, rule);
    expect_nodes({target}, 1);
  }
  /** Expects the question for the local port's nodes, and answers that it knows these. */
  Exchange& expect_nodes(const std::vector<Wwn>& nodes, std::uint32_t count) {
    ByteVector reply(4 + 308 * nodes.size());
    std::memcpy(reply.data(), &count, sizeof count);
    for (std::size_t i = 0; i < nodes.size(); ++i) {
      std::memcpy(&reply[4 + 308 * i + 284], &nodes[i], sizeof nodes[i]);
    }
    ByteVector request(28);
    std::memcpy(&request[8], &local, sizeof local);
    return channel.expect("RAVN_MGMT_VPORT_GET_NODE_INFO", board0)
        .word(2, 64)
        .sends(1, request)
        .replies(2, reply);
  }

  std::uint32_t get() { return OVK_GetOASLunList(0, &local, &target, 0xDEAD, &list); }
  static std::uint32_t set(std::uint32_t low, std::uint32_t high, std::uint8_t operation = 1) {
    return OVK_SetOASLun(0, &local, &target, low, high, 0xDEAD, operation);
  }
  static std::uint32_t set_v2(std::uint8_t operation, std::uint8_t priority,
                              std::uint64_t lun = 5) {
    OasRule rule;
    std::memset(&rule, untouched, sizeof rule);
    rule.operation = operation;
    rule.priority = priority;
    rule.lun = lun;
    return OVK_SetOASLunV2(0, &local, &target, 0xDEAD, &rule);
  }

  OasLunList list;
};

TEST_F(OasTest, EntriesAreReshapedByteForByte) {
  const ByteVector ports = bytes_of(std::array{target, local});
  ByteVector reply = ports;
  reply.insert(reply.end(), {0, 1, 0, 0, 0, 0, 0, 0, 0xFE, 0x2A});
  reply.resize(26 + 16);
  reply.insert(reply.end(), {0xA0, 0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7, 0x01, 0});
  expect_list().answers(3, 2).replies(3, reply);
  list.count = 2;
  EXPECT_EQ(get(), OVK_OK);
  EXPECT_EQ(list.count, 2U);

  ByteVector expected{0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 1, 0, 1, 0, 0x2A, untouched};
  expected.insert(expected.end(), ports.begin(), ports.end());
  EXPECT_THAT(bytes_of(list.luns[0]), SameBytes(expected));
  expected = {0xA6, 0xA7, 0xA4, 0xA5, 0xA2, 0xA3, 0xA0, 0xA1, 0xA7, 0xA6,
              0xA5, 0xA4, 0xA3, 0xA2, 0xA1, 0xA0, 0,    1,    0,    untouched};
  expected.resize(36);
  EXPECT_THAT(bytes_of(list.luns[1]), SameBytes(expected));
  EXPECT_THAT(bytes_of(list.luns[2]), SameBytes(ByteVector(36, untouched)));
}

TEST_F(OasTest, TheListTellsHowManyThereAreAndStaysWithinItsBounds) {
  struct {
    std::uint32_t room;
    std::uint32_t available;
    std::uint32_t result;
  } const cases[] = {{0, 3, OVK_MORE_DATA},
                     {2, 3, OVK_MORE_DATA},
                     {0, 0, OVK_OK},
                     {256, 300, OVK_MORE_DATA},
                     {0xFFFFFFFF, 0xFFFFFFFE, OVK_OK}};
  for (const auto& [room, available, result] : cases) {
    std::memset(&list, untouched, sizeof list);
    expect_list().answers(3, available);
    list.count = room;
    EXPECT_EQ(get(), result) << available << " in " << room;
    EXPECT_EQ(list.count, available);
    const std::size_t delivered = std::min({room, available, 256U});
    EXPECT_EQ(std::ranges::count(list.luns, untouched, &OasLun::priority), 256 - delivered);
  }
}

TEST_F(OasTest, ListFailuresHaveTheirResultsAndLeaveTheListAlone) {
  list.count = 1;
  for (const auto& [status, delivery, result] :
       {Ending{0x0BAD0010, 7, 7}, Ending{0, 7, 7}, Ending{0x0BAD0010, 6, 1}}) {
    expect_list().answers(3, 9).ends_with(status, delivery);
    EXPECT_EQ(get(), result) << std::hex << status << ", " << delivery;
  }
  EXPECT_EQ(OVK_GetOASLunList(0, &local, &target, 0, nullptr), OVK_MORE_DATA);
  EXPECT_EQ(list.count, 1U);
}

TEST_F(OasTest, RulesAreSentAsText) {
  for (const auto& [version, lead] :
       {std::pair{2U, "00"}, {0U, "00"}, {0x7FFFFFFFU, "00"}, {0xFFFFFFFFU, "ffffffff"}}) {
    expect_success(version, 1, lead + port_digits + "0000000000000005");
    EXPECT_EQ(set(5, 0), OVK_OK);
  }
  expect_success(1, 2, "00" + port_digits + "80000001fedcba98");
  EXPECT_EQ(set(0xFEDCBA98, 0x80000001, 0), OVK_OK);

  expect_success(1, 1, "01" + port_digits + "80000001fedcba98" + "7f");
  EXPECT_EQ(set_v2(1, 127, 0x80000001FEDCBA98), OVK_OK);
  expect_success(3, 2, "01" + port_digits + "0000000000000005" + "00");
  EXPECT_EQ(set_v2(0, 0), OVK_OK);
}

TEST_F(OasTest, ARefusedProbeComesFirstAndAnUndeliveredOneDoesNotCount) {
  expect_probe(2).status(0x0BAD0001);
  EXPECT_EQ(set(5, 0, 9), 32U);
  expect_probe(2).status(0x0BAD0001);
  EXPECT_EQ(set_v2(9, 200), 32U);

  expect_probe(0).ends_with(0x0BAD0001, 3);
  expect_set(1, lun5_rule);
  expect_nodes({target}, 1);
  EXPECT_EQ(set(5, 0), OVK_OK);
  expect_probe(0).delivery_error(3);
  EXPECT_EQ(set_v2(1, 1), 4U) << "the version is 0 then";
}

TEST_F(OasTest, OperationAndPriorityAreCheckedBeforeTheVersion) {
  struct {
    std::uint8_t operation;
    std::uint8_t priority;
    std::uint32_t result;
  } const cases[] = {{2, 0, 1}, {1, 128, 1}, {0, 255, 1}, {1, 127, 4}, {0, 0, 4}};
  for (const auto& [operation, priority, result] : cases) {
    expect_probe(0xFFFFFFFF);
    EXPECT_EQ(set_v2(operation, priority), result) << +operation << ", " << +priority;
  }
  expect_probe(0);
  EXPECT_EQ(set_v2(1, 0), 4U);
  expect_probe(2);
  EXPECT_EQ(set(5, 0, 2), OVK_FAILED);
}

TEST_F(OasTest, ARefusedRuleIsNotFollowedByTheTargetCheck) {
  for (const auto& [status, delivery, result] :
       {Ending{0x0BAD0006, 0, 16}, Ending{0x0BAD0020, 0, 32}, Ending{0x0BAD002B, 0, 34},
        Ending{0x0BAD002C, 0, 34}, Ending{0x0BAD0030, 0, 33}, Ending{0x0BAD000F, 0, 1},
        Ending{0x0BAD0010, 0, 1}, Ending{1, 0, 1}, Ending{0x0BAD0100, 2, 1}}) {
    expect_lun5_rule(status).delivery_error(delivery);
    EXPECT_EQ(set(5, 0), result) << std::hex << status << ", " << delivery;
  }
}

TEST_F(OasTest, TheTargetIsLookedForAmongTheNodesThatWereDelivered) {
  expect_lun5_rule(0x0BAD0100);
  expect_nodes({local, target}, 2);
  EXPECT_EQ(set(5, 0), OVK_OK) << "a rule that was set before";
  expect_lun5_rule();
  expect_nodes({local, target}, 1);
  EXPECT_EQ(set(5, 0), 18U);
  expect_lun5_rule();
  expect_nodes({}, 0).status(0x0BAD0020);
  EXPECT_EQ(set(5, 0), 17U);

  std::vector<Wwn> many(65, local);
  many[64] = target;
  expect_lun5_rule();
  expect_nodes(many, 0xFFFFFFFF);
  EXPECT_EQ(set(5, 0), 18U) << "there is room for 64";
  many[63] = target;
  expect_lun5_rule();
  expect_nodes(many, 65);
  EXPECT_EQ(set(5, 0), OVK_OK);
}

TEST_F(OasTest, WithoutMemoryTheResultTellsHowFarTheRuleGot) {
  for (const auto& [failing, result] : {std::pair{0, 16U}, {1, 12U}, {2, 17U}}) {
    expect_probe(2);
    if (failing > 0) {
      expect_set(1, lun5_rule);
    }
    const AllocationWatch memory{failing};
    EXPECT_EQ(set(5, 0), result) << failing;
    EXPECT_EQ(memory.outstanding(), 0);
  }
}

TEST_F(OasTest, ResultLinesNameTheCommandsTheirOwnWay) {
  log_at(OVK_LOG_SUCCESS | OVK_LOG_CALL);
  expect_success(1, 1, "01" + port_digits + "0000000000000005" + "07");
  set_v2(1, 7);
  list.count = 0;
  expect_list();
  get();
  EXPECT_EQ(log_lines(),
            (std::vector<LogLine>{
                {"OVK_SetOASLunV2", "call: RAVN_MGMT_OAS_VER id"},
                {"OVK_SetOASLunV2", "cmd ok:         RAVN_MGMT_OAS_VERSION brd[0] id"},
                {"OVK_SetOASLunV2", "call: RAVN_MGMT_OAS_SET id"},
                {"OVK_SetOASLunV2", "cmd ok:        RAVN_MGMT_OAS_SET_RULE brd[0] id"},
                {"OVK_GetAllNodeInfoByWWN", "call: RAVN_MGMT_VPORT_GET_NODE_INFO id"},
                {"OVK_GetAllNodeInfoByWWN", "cmd ok:  RAVN_MGMT_VPORT_GET_NODE_INFO brd[0] id"},
                {"OVK_GetOASLunList", "call: RAVN_MGMT_OAS_GET id"},
                {"OVK_GetOASLunList", "cmd ok:        RAVN_MGMT_OAS_GET_LIST brd[0] id"}}));
}

}  // namespace
}  // namespace ovk::test
