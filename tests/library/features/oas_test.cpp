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
/** What set(5) sends. */
const std::string lun5_rule = "00" + port_digits + "0000000000000005";
constexpr std::uint8_t untouched = 0xEE;
constexpr std::size_t node_size = 308;

class OasTest : public LibraryTest {
 protected:
  Exchange& expect_list(std::uint32_t available) {
    return channel.expect("RAVN_MGMT_OAS_GET", board0)
        .word(6, 4117)
        .sends(1, local)
        .sends(2, target)
        .answers(3, available);
  }
  Exchange& expect_probe(std::uint32_t version = 2) {
    return channel.expect("RAVN_MGMT_OAS_VER", board0).word(6, 4120).answers(4, version);
  }
  Exchange& expect_set(const std::string& rule = lun5_rule, std::uint32_t operation = 1) {
    return channel.expect("RAVN_MGMT_OAS_SET", board0)
        .word(5, operation)
        .word(6, 4119)
        .sends(1, ByteVector(rule.begin(), rule.end()));
  }
  /** Expects the question for the local port's nodes; the target stands at a place in the answer.
   */
  Exchange& expect_nodes(std::uint32_t count = 1, std::size_t place = 0) {
    const ByteVector reply = with_at(ByteVector(4 + node_size * (place + 1)), 0, count);
    return channel.expect("RAVN_MGMT_VPORT_GET_NODE_INFO", board0)
        .word(2, 64)
        .sends(1, with_at(ByteVector(28), 8, local))
        .replies(2, with_at(reply, 4 + node_size * place + 284, target));
  }

  std::uint32_t get() { return OVK_GetOASLunList(0, &local, &target, 0xDEAD, &list); }
  static std::uint32_t set(std::uint64_t lun, std::uint8_t operation = 1) {
    return OVK_SetOASLun(0, &local, &target, static_cast<std::uint32_t>(lun),
                         static_cast<std::uint32_t>(lun >> 32), 0xDEAD, operation);
  }
  static std::uint32_t set_v2(std::uint8_t operation, std::uint8_t priority,
                              std::uint64_t lun = 5) {
    auto rule = record_of<OasRule>(untouched);
    rule.operation = operation;
    rule.priority = priority;
    rule.lun = lun;
    return OVK_SetOASLunV2(0, &local, &target, 0xDEAD, &rule);
  }

  OasLunList list = record_of<OasLunList>(untouched);
};

TEST_F(OasTest, EntriesAreReshapedByteForByte) {
  const ByteVector ports = bytes_of(std::array{target, local});
  ByteVector reply = ports;
  reply.insert(reply.end(), {0, 1, 0, 0, 0, 0, 0, 0, 0xFE, 0x2A});
  reply.resize(26 + 16);
  reply.insert(reply.end(), {0xA0, 0xA1, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7, 0x01, 0});
  expect_list(3).replies(3, reply);
  list.count = 2;
  EXPECT_EQ(get(), OVK_MORE_DATA);
  EXPECT_EQ(list.count, 3U);

  ByteVector expected{0, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 1, 0, 1, 0, 0x2A, untouched};
  expected.insert(expected.end(), ports.begin(), ports.end());
  EXPECT_THAT(bytes_of(list.luns[0]), SameBytes(expected));
  expected = {0xA6, 0xA7, 0xA4, 0xA5, 0xA2, 0xA3, 0xA0, 0xA1, 0xA7, 0xA6,
              0xA5, 0xA4, 0xA3, 0xA2, 0xA1, 0xA0, 0,    1,    0,    untouched};
  expected.resize(36);
  EXPECT_THAT(bytes_of(list.luns[1]), SameBytes(expected));
  EXPECT_THAT(bytes_of(list.luns[2]), SameBytes(ByteVector(36, untouched)));
}

TEST_F(OasTest, TheListStaysWithinItsBounds) {
  list.count = 0xFFFFFFFF;
  expect_list(0xFFFFFFFE);
  EXPECT_EQ(get(), OVK_OK);
  EXPECT_EQ(list.count, 0xFFFFFFFE);
  EXPECT_EQ(std::ranges::count(list.luns, 0, &OasLun::priority), OVK_OAS_MAX_LUNS);
}

TEST_F(OasTest, RulesAreSentAsText) {
  const std::string far_lun = "80000001fedcba98";
  struct {
    std::uint32_t version;
    std::uint32_t (*set)();
    std::uint32_t operation;
    std::string text;
  } const rules[] = {
      {2, [] { return set(5); }, 1, lun5_rule},
      {0xFFFFFFFF, [] { return set(5); }, 1, "ffffffff" + lun5_rule.substr(2)},
      {1, [] { return set(0x80000001FEDCBA98, 0); }, 2, "00" + port_digits + far_lun},
      {1, [] { return set_v2(1, 127, 0x80000001FEDCBA98); }, 1,
       "01" + port_digits + far_lun + "7f"},
      {3, [] { return set_v2(0, 0); }, 2, "01" + lun5_rule.substr(2) + "00"}};
  for (const auto& [version, set_rule, operation, text] : rules) {
    expect_probe(version);
    expect_set(text, operation);
    expect_nodes();
    EXPECT_EQ(set_rule(), OVK_OK) << text;
  }
  expect_probe(0).ends_with(0x0BAD0001, 3);
  expect_set();
  expect_nodes();
  EXPECT_EQ(set(5), OVK_OK) << "a probe that was not delivered does not count";
}

TEST_F(OasTest, ARefusedProbeComesFirstThenOperationAndPriorityThenTheVersion) {
  struct {
    std::uint32_t version;
    std::uint32_t probe_status;
    std::uint8_t operation;
    std::uint8_t priority;
    std::uint32_t result;
  } const cases[] = {{2, 0x0BAD0001, 9, 200, 32}, {0xFFFFFFFF, 0, 2, 0, 1},   {0, 0, 1, 128, 1},
                     {0, 0, 0, 255, 1},           {0xFFFFFFFF, 0, 1, 127, 4}, {0, 0, 0, 0, 4}};
  for (const auto& [version, status, operation, priority, result] : cases) {
    expect_probe(version).status(status);
    EXPECT_EQ(set_v2(operation, priority), result) << +operation << ", " << +priority;
  }
  expect_probe(0).delivery_error(3);
  EXPECT_EQ(set_v2(1, 1), 4U) << "the version is 0 then";

  expect_probe().status(0x0BAD0001);
  EXPECT_EQ(set(5, 9), 32U);
  expect_probe();
  EXPECT_EQ(set(5, 2), OVK_FAILED);
}

TEST_F(OasTest, ARefusedRuleIsNotFollowedByTheTargetCheck) {
  for (const auto& [status, delivery, result] :
       {Ending{0x0BAD0006, 0, 16}, Ending{0x0BAD0020, 0, 32}, Ending{0x0BAD002B, 0, 34},
        Ending{0x0BAD002C, 0, 34}, Ending{0x0BAD0030, 0, 33}, Ending{0x0BAD0010, 0, 1},
        Ending{0x0BAD0100, 2, 1}}) {
    expect_probe();
    expect_set().ends_with(status, delivery);
    EXPECT_EQ(set(5), result) << std::hex << status << ", " << delivery;
  }
}

TEST_F(OasTest, TheTargetIsLookedForAmongTheNodesThatWereDelivered) {
  struct {
    std::size_t place;
    std::uint32_t count;
    std::uint32_t result;
  } const cases[] = {{1, 2, OVK_OK}, {1, 1, 18}, {63, 65, OVK_OK}, {64, 0xFFFFFFFF, 18}};
  for (const auto& [place, count, result] : cases) {
    expect_probe();
    expect_set().status(0x0BAD0100);  // a rule that was set before
    expect_nodes(count, place);
    EXPECT_EQ(set(5), result) << count;
  }
  expect_probe();
  expect_set();
  expect_nodes().status(0x0BAD0020);
  EXPECT_EQ(set(5), 17U);
}

TEST_F(OasTest, WithoutMemoryTheResultTellsHowFarTheRuleGot) {
  for (const auto& [failing, result] : {std::pair{0, 16U}, {1, 12U}, {2, 17U}}) {
    expect_probe();
    if (failing > 0) {
      expect_set();
    }
    const AllocationWatch memory{failing};
    EXPECT_EQ(set(5), result) << failing;
    EXPECT_EQ(memory.outstanding(), 0);
  }
}

}  // namespace
}  // namespace ovk::test
