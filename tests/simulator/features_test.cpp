#include "tests/simulator/simulator_test.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

namespace ravnsim::test {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr std::uint32_t in = VMK_MGMT_PARAMETER_IN;
constexpr std::uint32_t out = VMK_MGMT_PARAMETER_OUT;
constexpr std::uint32_t in_out = VMK_MGMT_PARAMETER_IN_OUT;

std::vector<vmk_MgmtCallbackInfo> declared() {
  using enum DriverCommand;
  return {callback(get_fcp_priority_flag),
          callback(set_fcp_priority_flag),
          callback(get_fcp_priority, {{35932, out}}),
          callback(set_fcp_priority, {{35932, in}}),
          callback(oas_ver),
          callback(oas_set, {{6656, in}}),
          callback(oas_get, {{8, in}, {8, in}, {6656, out}}),
          callback(vmid_get_qfpa, {{514, in_out}}),
          callback(vmid_get_id_mapping, {{76808, in_out}}),
          callback(vmid_update_mapping, {{76808, in}}),
          callback(get_ras_config, {{6, out}}),
          callback(set_ras_config, {{2, in}}),
          callback(get_ras_log, {{16, in_out}, {1, VMK_MGMT_PARAMETER_DESCRIPTOR}})};
}

/** A host with one board that offers the feature, and a state folder. */
class FeatureTest : public SimulatorTest {
 protected:
  FeatureTest() { use_state(); }

  void offer(const std::string& feature) {
    use_topology(with(one_board, "\"features\":", feature + ", \"features\":"));
  }
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
  DriverStatus set(const Channel& channel, const std::vector<Rule>& rules) {
    table.count = static_cast<std::uint32_t>(rules.size());
    std::ranges::copy(rules, table.rules);
    CommandBlock block{.driver_board = 3, .request_size = table.count};
    return channel.send(DriverCommand::set_fcp_priority, block, &table);
  }
  std::vector<std::uint32_t> get(const Channel& channel, std::uint32_t room) {
    CommandBlock block{.driver_board = 3, .request_size = room};
    EXPECT_EQ(channel.send(DriverCommand::get_fcp_priority, block, &table), DriverStatus::success);
    std::vector<std::uint32_t> priorities{table.count};
    std::transform(table.rules, table.rules + 3, std::back_inserter(priorities),
                   [](const Rule& entry) { return entry.priority; });
    return priorities;
  }

  Table table{};
};

TEST_F(FcpPriorityTest, RulesAndFlagStayUntilTheyAreReplaced) {
  offer(R"("fcp_priority": {"limit": 3})");
  {
    const Channel channel{declared()};
    ASSERT_EQ(set(channel, {rule(4, 7), rule(3, 8), rule(0, 9)}), DriverStatus::success);
    CommandBlock block{.driver_board = 3, .code = 1};
    EXPECT_EQ(channel.send(DriverCommand::set_fcp_priority_flag, block), DriverStatus::success);
    block = {.driver_board = 3, .code = 2};
    EXPECT_EQ(channel.send(DriverCommand::set_fcp_priority_flag, block),
              DriverStatus::not_permitted);
  }
  const Channel channel{declared()};
  EXPECT_THAT(get(channel, 998), ElementsAre(3, 7, 8, 9));
  EXPECT_THAT(get(channel, 1), ElementsAre(3, 7, 0, 0)) << "no more than there is room for";
  CommandBlock block{.driver_board = 3};
  EXPECT_EQ(channel.send(DriverCommand::get_fcp_priority_flag, block), DriverStatus::success);
  EXPECT_EQ(block.code, 1U);

  EXPECT_EQ(set(channel, {rule(4, 1), rule(4, 2), rule(4, 3), rule(4, 4)}),
            DriverStatus::does_not_fit);
  EXPECT_THAT(get(channel, 998), ElementsAre(3, 7, 8, 9));
  EXPECT_EQ(set(channel, {}), DriverStatus::success);
  EXPECT_THAT(get(channel, 998), ElementsAre(0, 0, 0, 0));
}

TEST_F(FcpPriorityTest, ATableInWhichAGeneralRuleHidesASpecificOneIsRefusedAloud) {
  use_topology(one_board);
  const Channel channel{declared()};
  testing::internal::CaptureStderr();
  EXPECT_EQ(set(channel, {rule(0, 1), rule(1, 2)}), DriverStatus::not_permitted);
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

  static DriverStatus set(const Channel& channel, const std::string& rule,
                          std::uint32_t operation = 1) {
    std::array<char, 6656> text{};
    std::ranges::copy(rule, text.begin());
    CommandBlock block{.driver_board = 3, .code = operation, .selector = 0x1017};
    return channel.send(DriverCommand::oas_set, block, &text);
  }
  DriverStatus list(const Channel& channel, std::uint8_t target = 2, std::uint8_t local = 1) {
    std::array<std::uint8_t, 8> local_port{0x10, 0, 0, 0, 0, 0, 0, local};
    std::array<std::uint8_t, 8> target_port{0x10, 0, 0, 0, 0, 0, 0, target};
    CommandBlock block{.driver_board = 3, .selector = 0x1015};
    const auto status =
        channel.send(DriverCommand::oas_get, block, &local_port, &target_port, &entries);
    count = block.reply_size;
    return status;
  }

  static constexpr const char* ports = "10000000000000011000000000000002";
  std::array<Entry, 256> entries{};
  std::uint32_t count = 0;
};

TEST_F(OasTest, ASetRuleIsListedAndAClearedOneIsNot) {
  offer(R"("oas": {"limit": 2})");
  const std::string lun5 = std::string{"00"} + ports + "0000000000000005";
  const std::string deep = std::string{"01"} + ports + "0004000300020001" + "7f";
  {
    const Channel channel{declared()};
    EXPECT_EQ(list(channel), DriverStatus::oas_no_lun);
    EXPECT_EQ(set(channel, lun5), DriverStatus::success);
    EXPECT_EQ(set(channel, lun5), DriverStatus::oas_rule_already_set);
    EXPECT_EQ(set(channel, deep), DriverStatus::success);
    EXPECT_EQ(set(channel, std::string{"00"} + ports + "0000000000000006"),
              DriverStatus::oas_rule_table_full);
  }
  const Channel channel{declared()};
  ASSERT_EQ(list(channel), DriverStatus::success);
  ASSERT_EQ(count, 2U);
  EXPECT_THAT(entries[0].lun, ElementsAre(0, 5, 0, 0, 0, 0, 0, 0));
  EXPECT_EQ(entries[0].flags, 1) << "the target is logged in";
  EXPECT_THAT(entries[1].lun, ElementsAre(0, 1, 0, 2, 0, 3, 0, 4));
  EXPECT_EQ(entries[1].flags, 3);
  EXPECT_EQ(entries[1].priority, 127);

  EXPECT_EQ(set(channel, lun5, 2), DriverStatus::success);
  EXPECT_EQ(set(channel, lun5, 2), DriverStatus::not_found);
  EXPECT_EQ(list(channel), DriverStatus::success);
  EXPECT_EQ(count, 1U);
  EXPECT_EQ(list(channel, 2, 9), DriverStatus::oas_no_such_port);
}

TEST_F(OasTest, RulesThatTheDriverCannotReadAreRefused) {
  offer(R"("oas": {})");
  const Channel channel{declared()};
  const std::string lun = "0000000000000005";
  const std::string other_port = "10000000000000091000000000000002";
  for (const std::string& rule :
       {std::string{}, "00" + std::string{ports}, "02" + std::string{ports} + lun,
        "01" + std::string{ports} + lun, "01" + std::string{ports} + lun + "80",
        "00" + std::string{ports} + lun + "00", "00" + std::string{ports} + "000000000000000x",
        "ffffffff" + std::string{ports} + lun, "00" + other_port + lun}) {
    EXPECT_EQ(set(channel, rule), DriverStatus::oas_bad_rule) << rule;
  }
  EXPECT_EQ(set(channel, "00" + std::string{ports} + lun, 3), DriverStatus::not_permitted);
}

TEST_F(OasTest, ADriverWithoutItOrAnAdapterThatHasItOffSaysSo) {
  CommandBlock block{.driver_board = 3, .selector = 0x1018};
  use_topology(one_board);
  EXPECT_EQ(Channel{declared()}.send(DriverCommand::oas_ver, block), DriverStatus::not_supported);
  offer(R"("oas": {"enabled": false})");
  EXPECT_EQ(Channel{declared()}.send(DriverCommand::oas_ver, block),
            DriverStatus::feature_disabled);
  offer(R"("oas": {"version": 2})");
  EXPECT_EQ(Channel{declared()}.send(DriverCommand::oas_ver, block), DriverStatus::success);
  EXPECT_EQ(block.value, 2U);
}

class VmidTest : public FeatureTest {
 protected:
  struct Machine {
    std::uint8_t uuid[16];
    char name[256];
    std::uint32_t identifier, action, qos_priority;
    std::uint8_t reserved[16];
  };
  struct Table {
    std::uint32_t count, reserved;
    Machine machines[256];
  };

  VmidTest() {
    offer(R"("vmid": {"ranges": [{"low": 5, "high": 6, "qos_priority": 2},
                                  {"low": 9, "high": 9}]})");
  }
  static Machine machine(std::uint8_t uuid, std::uint32_t action, std::uint32_t identifier = 0) {
    return {.uuid = {uuid}, .name = "vm", .identifier = identifier, .action = action};
  }
  DriverStatus update(const Channel& channel, const std::vector<Machine>& machines) {
    table = {.count = static_cast<std::uint32_t>(machines.size())};
    std::ranges::copy(machines, table.machines);
    CommandBlock block{.driver_board = 3};
    return channel.send(DriverCommand::vmid_update_mapping, block, &table);
  }
  std::vector<std::uint32_t> identifiers(const Channel& channel) {
    CommandBlock block{.driver_board = 3};
    EXPECT_EQ(channel.send(DriverCommand::vmid_get_id_mapping, block, &table),
              DriverStatus::success);
    std::vector<std::uint32_t> result;
    std::transform(table.machines, table.machines + table.count, std::back_inserter(result),
                   [](const Machine& entry) { return entry.identifier; });
    return result;
  }

  Table table{};
};

TEST_F(VmidTest, IdentifiersComeFromTheFabricsRangesAndAreGivenOnce) {
  const Channel channel{declared()};
  EXPECT_EQ(update(channel, {machine(1, 1, 6), machine(2, 1), machine(3, 1)}),
            DriverStatus::success);
  EXPECT_THAT(identifiers(channel), ElementsAre(6, 5, 9));
  EXPECT_EQ(table.machines[1].qos_priority, 2U);
  EXPECT_EQ(update(channel, {machine(4, 1)}), DriverStatus::does_not_fit);
  EXPECT_EQ(update(channel, {machine(1, 2), machine(4, 1)}), DriverStatus::success);
  EXPECT_THAT(identifiers(Channel{declared()}), ElementsAre(5, 9, 6));
}

TEST_F(VmidTest, AnUpdateWithAMistakeChangesNothing) {
  const Channel channel{declared()};
  ASSERT_EQ(update(channel, {machine(1, 1)}), DriverStatus::success);
  EXPECT_EQ(update(channel, {machine(2, 1), machine(9, 2)}), DriverStatus::not_found);
  EXPECT_EQ(update(channel, {machine(2, 1), machine(1, 1)}), DriverStatus::not_permitted);
  EXPECT_EQ(update(channel, {machine(2, 1, 7)}), DriverStatus::not_permitted);
  EXPECT_EQ(update(channel, {machine(2, 0)}), DriverStatus::not_permitted);
  table.count = 257;
  CommandBlock block{.driver_board = 3};
  EXPECT_EQ(channel.send(DriverCommand::vmid_update_mapping, block, &table),
            DriverStatus::not_permitted);
  EXPECT_THAT(identifiers(channel), ElementsAre(5));
}

TEST_F(VmidTest, QfpaGivesTheRangesOfTheFabric) {
  std::array<std::uint8_t, 514> record{};
  CommandBlock block{.driver_board = 3};
  ASSERT_EQ(Channel{declared()}.send(DriverCommand::vmid_get_qfpa, block, &record),
            DriverStatus::success);
  EXPECT_THAT((std::vector(record.begin(), record.begin() + 14)),
              ElementsAre(2, 0, 5, 6, 2, 0, 0, 0, 0, 0, 9, 9, 0, 0));
  use_topology(one_board);
  EXPECT_EQ(Channel{declared()}.send(DriverCommand::vmid_get_qfpa, block, &record),
            DriverStatus::not_supported);
}

class RasLogTest : public FeatureTest {
 protected:
  static DriverStatus set(const Channel& channel, std::uint8_t start, std::uint8_t level) {
    std::array<std::uint8_t, 2> setting{start, level};
    CommandBlock block{.driver_board = 3};
    return channel.send(DriverCommand::set_ras_config, block, &setting);
  }
  /** Reads into memory of that many bytes; the extent is in `exchange` then. */
  DriverStatus read(const Channel& channel, std::uint32_t offset, std::uint32_t size) {
    memory.assign(size, '\xEE');
    exchange = {0, 0, offset, size};
    vmk_MgmtDataDescriptor data{
        .length = size,
        .address = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(memory.data()))};
    CommandBlock block{.driver_board = 3};
    return channel.send(DriverCommand::get_ras_log, block, &exchange, &data);
  }

  std::array<std::uint32_t, 4> exchange{};
  std::string memory;
};

TEST_F(RasLogTest, TheLogGrowsWhileLoggingIsOnAndWrapsAtTheEndOfItsMemory) {
  offer(R"("ras_log": {"bytes_per_command": 102400})");
  const Channel channel{declared()};
  ASSERT_EQ(set(channel, 1, 4), DriverStatus::success);
  EXPECT_EQ(read(channel, 0, 64), DriverStatus::success);
  EXPECT_THAT(exchange, ElementsAre(102400, 0, 0, 64));
  EXPECT_THAT(memory, testing::StartsWith("0000000000 fw "));
  EXPECT_EQ(memory.back(), '\n');
  EXPECT_EQ(read(channel, 204768, 64), DriverStatus::success);
  EXPECT_EQ(exchange[0], 204800U);
  EXPECT_THAT(memory.substr(32), testing::Each('\xEE')) << "nothing behind the end";

  EXPECT_EQ(read(channel, 0, 64), DriverStatus::success);
  EXPECT_THAT(exchange, ElementsAre(262144, 45056, 0, 64));
  EXPECT_THAT(memory, testing::StartsWith("0000004096 fw ")) << "the ring begins anew";
  ASSERT_EQ(set(channel, 0, 0), DriverStatus::success);
  EXPECT_EQ(read(channel, 45056 - 32, 64), DriverStatus::success);
  EXPECT_EQ(exchange[1], 45056U) << "it stands still";
  EXPECT_THAT(memory.substr(32), testing::StartsWith("0000000704 fw ")) << "the oldest line";
  EXPECT_EQ(read(channel, 262145, 1), DriverStatus::does_not_fit);
}

TEST_F(RasLogTest, StartAndStopAreRefusedWhenThereIsNothingToDo) {
  offer(R"("ras_log": {})");
  {
    const Channel channel{declared()};
    EXPECT_EQ(set(channel, 0, 0), DriverStatus::ras_not_active);
    EXPECT_EQ(set(channel, 1, 5), DriverStatus::ras_bad_level);
    EXPECT_EQ(set(channel, 1, 3), DriverStatus::success);
  }
  const Channel channel{declared()};
  EXPECT_EQ(set(channel, 1, 3), DriverStatus::ras_already_active);
  std::array<std::uint8_t, 6> config{};
  CommandBlock block{.driver_board = 3};
  EXPECT_EQ(channel.send(DriverCommand::get_ras_config, block, &config), DriverStatus::success);
  EXPECT_THAT(config, ElementsAre(1, 3, 1, 0, 0, 0));
}

TEST_F(FeatureTest, MistakesInTheTopologyAreNamed) {
  const std::pair<const char*, const char*> mistakes[] = {
      {R"("fcp_priority": {"limit": 999})", "/boards/0/fcp_priority/limit: 999 is not"},
      {R"("oas": {"versoin": 1})", "\"versoin\" is unknown"},
      {R"("vmid": {})", "/boards/0/vmid/ranges: this member is missing"},
      {R"("vmid": {"ranges": [{"low": 9, "high": 8}]})", "/vmid/ranges/0/high: 8 is not"},
      {R"("ras_log": {"buffer_units": 0})", "/ras_log/buffer_units: 0 is not"},
      {R"("auth": {"peers": [{"port_wwn": "1"}]})", "/auth/peers/0/port_wwn: \"1\" is no"},
  };
  for (const auto& [feature, message] : mistakes) {
    offer(feature);
    EXPECT_THAT(said_by_a_channel(), HasSubstr(message));
  }
}

}  // namespace

}  // namespace ravnsim::test
