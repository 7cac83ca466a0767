#include "driver_abi/records/vmid.h"
#include "tests/simulator/simulator_test.h"

#include <algorithm>
#include <cstring>

#include <gmock/gmock.h>

namespace ravnsim::test {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using enum DriverStatus;

/** A host with one board that offers the feature, and a state folder. */
class FeatureTest : public SimulatorTest {
 protected:
  FeatureTest() { use_state(); }

  void offer(const std::string& feature) { use_topology(one_board_with(feature)); }
};

class FcpPriorityTest : public FeatureTest {
 protected:
  struct Rule {
    std::uint8_t match[32];
    std::uint32_t priority;
  };
  struct Table {
    std::uint32_t count;
    Rule rules[998];
  };

  /** A rule whose field is a wildcard; 4 for none. */
  static Rule rule(int wildcard, std::uint32_t priority) {
    Rule result{.priority = priority};
    if (wildcard < 4) {
      std::memset(&result.match[8 * wildcard], 0xFF, 8);
    }
    return result;
  }
  DriverStatus set(const std::vector<Rule>& rules) {
    table.count = static_cast<std::uint32_t>(rules.size());
    std::ranges::copy(rules, table.rules);
    return send("RAVN_MGMT_SET_FCP_PRIORITY", {.request_size = table.count}, &table);
  }
  /** The count, and the priorities of the first three rules. */
  std::vector<std::uint32_t> get(std::uint32_t room = 998) {
    EXPECT_EQ(send("RAVN_MGMT_GET_FCP_PRIORITY", {.request_size = room}, &table), success);
    const Rule* const rules = table.rules;
    return {table.count, rules[0].priority, rules[1].priority, rules[2].priority};
  }

  Table table{};
};

TEST_F(FcpPriorityTest, RulesStayUntilTheyAreReplacedByNoMoreThanTheLimit) {
  offer(R"("fcp_priority": {"limit": 3})");
  ASSERT_EQ(set({rule(4, 7), rule(3, 8), rule(0, 9)}), success);
  EXPECT_THAT(get(), ElementsAre(3, 7, 8, 9));
  EXPECT_THAT(get(1), ElementsAre(3, 7, 0, 0)) << "no more than there is room for";
  EXPECT_EQ(set({rule(4, 1), rule(4, 2), rule(4, 3), rule(4, 4)}), does_not_fit);
  EXPECT_THAT(get(), ElementsAre(3, 7, 8, 9));
  EXPECT_EQ(set({}), success);
  EXPECT_THAT(get(), ElementsAre(0, 0, 0, 0));
  EXPECT_EQ(send("RAVN_MGMT_SET_FCP_PRIORITY_FLAG", {.code = 2}), not_permitted);
}

TEST_F(FcpPriorityTest, ATableInWhichAGeneralRuleHidesASpecificOneIsRefusedAloud) {
  use_topology(one_board);
  testing::internal::CaptureStderr();
  EXPECT_EQ(set({rule(0, 1), rule(1, 2)}), not_permitted);
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("stands before a more specific"));
}

class OasTest : public FeatureTest {
 protected:
  struct [[gnu::packed]] Entry {
    std::uint8_t ports[16];
    std::uint8_t lun[8];
    std::uint8_t flags;
    std::uint8_t priority;
  };

  DriverStatus set(const std::string& rule, std::uint32_t operation = 1) {
    std::array<char, 6656> text{};
    std::ranges::copy(rule, text.begin());
    return send("RAVN_MGMT_OAS_SET", {.code = operation, .selector = 0x1017}, &text);
  }
  DriverStatus list(std::uint8_t target = 2, std::uint8_t local = 1) {
    std::array<std::uint8_t, 8> local_port{0x10, 0, 2, 0, 0, 0, 0, local};
    std::array<std::uint8_t, 8> target_port{0x10, 0, 2, 0, 0, 0, 0, target};
    return send("RAVN_MGMT_OAS_GET", {.selector = 0x1015}, &local_port, &target_port, &entries);
  }

  const std::string ports = "10000200000000011000020000000002";
  const std::string lun5 = "0000000000000005";
  std::array<Entry, 256> entries{};
};

TEST_F(OasTest, ASetRuleIsListedAndAClearedOneIsNot) {
  offer(R"("oas": {"limit": 2})");
  const std::string plain = "00" + ports + lun5;
  EXPECT_EQ(list(), oas_no_lun);
  EXPECT_EQ(set(plain), success);
  EXPECT_EQ(set(plain), oas_rule_already_set);
  EXPECT_EQ(set("01" + ports + "0004000300020001" + "7f"), success);
  EXPECT_EQ(set("00" + ports + "0000000000000006"), oas_rule_table_full);
  ASSERT_EQ(list(), success);
  ASSERT_EQ(answer.reply_size, 2U);
  EXPECT_THAT(entries[0].lun, ElementsAre(0, 5, 0, 0, 0, 0, 0, 0));
  EXPECT_EQ(entries[0].flags, 1) << "the target is logged in";
  EXPECT_THAT(entries[1].lun, ElementsAre(0, 1, 0, 2, 0, 3, 0, 4));
  EXPECT_EQ(entries[1].flags, 3);
  EXPECT_EQ(entries[1].priority, 127);

  EXPECT_EQ(set(plain, 2), success);
  EXPECT_EQ(set(plain, 2), not_found);
  EXPECT_EQ(list(), success);
  EXPECT_EQ(answer.reply_size, 1U);
  EXPECT_EQ(list(2, 8), oas_no_such_port);
}

TEST_F(OasTest, AVirtualPortHasRulesOfItsOwn) {
  offer(R"("oas": {}, "npiv": {"virtual_ports": [
      {"node_wwn": "1000020100000009", "port_wwn": "1000020000000009", "fc_id": 9}]})");
  EXPECT_EQ(set("0010000200000000091000020000000002" + lun5), success);
  EXPECT_EQ(list(2, 9), success);
  EXPECT_EQ(list(2, 1), oas_no_lun);
}

TEST_F(OasTest, RulesThatTheDriverCannotReadAreRefused) {
  offer(R"("oas": {})");
  const std::string other_port = "10000200000000081000020000000002";
  for (const std::string& rule :
       {std::string{}, "00" + ports, "02" + ports + lun5, "01" + ports + lun5,
        "01" + ports + lun5 + "80", "00" + ports + lun5 + "00", "00" + ports + "000000000000000x",
        "ffffffff" + ports + lun5, "00" + other_port + lun5}) {
    EXPECT_EQ(set(rule), oas_bad_rule) << rule;
  }
  EXPECT_EQ(set("00" + ports + lun5, 3), not_permitted);
}

TEST_F(OasTest, ADriverWithoutItOrAnAdapterThatHasItOffSaysSo) {
  const auto version = [this] { return send("RAVN_MGMT_OAS_VER", {.selector = 0x1018}); };
  use_topology(one_board);
  EXPECT_EQ(version(), not_supported);
  offer(R"("oas": {"enabled": false})");
  EXPECT_EQ(version(), feature_disabled);
  offer(R"("oas": {"version": 2})");
  EXPECT_EQ(version(), success);
  EXPECT_EQ(answer.value, 2U);
}

class VmidTest : public FeatureTest {
 protected:
  VmidTest() {
    offer(R"("vmid": {"ranges": [{"low": 5, "high": 6, "qos_priority": 2},
                                  {"low": 9, "high": 9}]})");
  }
  static ovk::VmidMachine machine(std::uint8_t uuid, std::uint32_t action,
                                  std::uint32_t identifier = 0) {
    return {.uuid = {uuid},
            .name = {"vm"},
            .identifier = identifier,
            .action = ovk::VmidAction{action}};
  }
  DriverStatus update(const std::vector<ovk::VmidMachine>& machines) {
    table = {.count = static_cast<std::uint32_t>(machines.size())};
    std::ranges::copy(machines, table.machines.begin());
    return send("RAVN_MGMT_VMID_UPDATE_MAPPING", {}, &table);
  }
  std::vector<std::uint32_t> identifiers() {
    EXPECT_EQ(send("RAVN_MGMT_VMID_GET_ID_MAPPING", {}, &table), success);
    std::vector<std::uint32_t> result;
    std::transform(table.machines.begin(), table.machines.begin() + table.count,
                   std::back_inserter(result),
                   [](const ovk::VmidMachine& entry) { return entry.identifier; });
    return result;
  }

  ovk::VmidRecord table{};
};

TEST_F(VmidTest, IdentifiersComeFromTheFabricsRangesAndAreGivenOnce) {
  EXPECT_EQ(update({machine(1, 1, 6), machine(2, 1), machine(3, 1)}), success);
  EXPECT_THAT(identifiers(), ElementsAre(6, 5, 9));
  EXPECT_EQ(table.machines[1].qos_priority, 2U);
  EXPECT_EQ(update({machine(4, 1)}), does_not_fit);
  EXPECT_EQ(update({machine(1, 2), machine(4, 1)}), success);
  restart();
  EXPECT_THAT(identifiers(), ElementsAre(5, 9, 6));
}

TEST_F(VmidTest, AnUpdateWithAMistakeChangesNothing) {
  ASSERT_EQ(update({machine(1, 1)}), success);
  EXPECT_EQ(update({machine(2, 1), machine(9, 2)}), not_found);
  EXPECT_EQ(update({machine(2, 1), machine(1, 1)}), not_permitted);
  EXPECT_EQ(update({machine(2, 1, 7)}), not_permitted);
  EXPECT_EQ(update({machine(2, 0)}), not_permitted);
  table.count = 257;
  EXPECT_EQ(send("RAVN_MGMT_VMID_UPDATE_MAPPING", {}, &table), not_permitted);
  EXPECT_THAT(identifiers(), ElementsAre(5));
}

TEST_F(VmidTest, QfpaGivesTheRangesOfTheFabric) {
  std::array<std::uint8_t, 514> record{};
  ASSERT_EQ(send("RAVN_MGMT_VMID_GET_QFPA", {}, &record), success);
  EXPECT_TRUE(same(record, {2, 0, 5, 6, 2, 0, 0, 0, 0, 0, 9, 9, 0, 0}));
  use_topology(one_board);
  EXPECT_EQ(send("RAVN_MGMT_VMID_GET_QFPA", {}, &record), not_supported);
}

class RasLogTest : public FeatureTest {
 protected:
  DriverStatus set(std::uint8_t start, std::uint8_t level) {
    std::array<std::uint8_t, 2> setting{start, level};
    return send("RAVN_MGMT_SET_RAS_CONFIG", {}, &setting);
  }
  /** Reads into memory of that many bytes; the extent is in `exchange` then. */
  DriverStatus read(std::uint32_t offset, std::uint32_t size) {
    memory.assign(size, '\xEE');
    exchange = {0, 0, offset, size};
    vmk_MgmtDataDescriptor data{
        .length = size,
        .address = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(memory.data()))};
    return send("RAVN_MGMT_GET_RAS_LOG", {}, &exchange, &data);
  }

  std::array<std::uint32_t, 4> exchange{};
  std::string memory;
};

TEST_F(RasLogTest, TheLogGrowsWhileLoggingIsOnAndWrapsAtTheEndOfItsMemory) {
  offer(R"("ras_log": {"bytes_per_command": 102400})");
  ASSERT_EQ(set(1, 4), success);
  EXPECT_EQ(read(0, 64), success);
  EXPECT_THAT(exchange, ElementsAre(102400, 0, 0, 64));
  EXPECT_THAT(memory, testing::StartsWith("0000000000 fw "));
  EXPECT_EQ(memory.back(), '\n');
  EXPECT_EQ(read(204768, 64), success);
  EXPECT_EQ(exchange[0], 204800U);
  EXPECT_THAT(memory.substr(32), testing::Each('\xEE')) << "nothing behind the end";

  EXPECT_EQ(read(0, 64), success);
  EXPECT_THAT(exchange, ElementsAre(262144, 45056, 0, 64));
  EXPECT_THAT(memory, testing::StartsWith("0000004096 fw ")) << "the ring begins anew";
  ASSERT_EQ(set(0, 0), success);
  EXPECT_EQ(read(45056 - 32, 64), success);
  EXPECT_EQ(exchange[1], 45056U) << "it stands still";
  EXPECT_THAT(memory.substr(32), testing::StartsWith("0000000704 fw ")) << "the oldest line";
  EXPECT_EQ(read(262145, 1), does_not_fit);
}

TEST_F(RasLogTest, StartAndStopAreRefusedWhenThereIsNothingToDo) {
  offer(R"("ras_log": {})");
  EXPECT_EQ(set(0, 0), ras_not_active);
  EXPECT_EQ(set(1, 5), ras_bad_level);
  EXPECT_EQ(set(1, 3), success);
  restart();
  EXPECT_EQ(set(1, 3), ras_already_active);
  std::array<std::uint8_t, 6> config{};
  EXPECT_EQ(send("RAVN_MGMT_GET_RAS_CONFIG", {}, &config), success);
  EXPECT_THAT(config, ElementsAre(1, 3, 1, 0, 0, 0));
}

}  // namespace

}  // namespace ravnsim::test
