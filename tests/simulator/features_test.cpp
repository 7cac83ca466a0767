// FCP priority, optimized access, virtual machine identifiers and the firmware log.

#include "tests/simulator/simulator_test.h"

#include <gmock/gmock.h>

namespace ravnsim::test {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using enum DriverStatus;

class FeaturesTest : public SimulatorTest {
 protected:
  FeaturesTest() { use_state(); }

  void offer(const std::string& feature) { use_topology(one_board_with(feature)); }

  /** Sets rules of which one has this priority and its wildcard at a field, 4 for none. */
  DriverStatus set_priorities(const std::vector<std::pair<std::size_t, std::uint32_t>>& rules) {
    const auto count = static_cast<std::uint32_t>(rules.size());
    Bytes table = words({count});
    for (const auto& [wildcard, priority] : rules) {
      Bytes match(40);
      std::fill_n(&match[8 * wildcard], 8, std::uint8_t{0xFF});
      match.resize(32);
      table = table + match + words({priority});
    }
    return status_of("SET_FCP_PRIORITY", {.request_size = count}, {table});
  }
  /** The count, and the priorities of the first three rules. */
  std::vector<std::uint32_t> priorities(std::uint32_t room = 998) {
    const Answer table = ask("GET_FCP_PRIORITY", {.request_size = room});
    return {table.word(0), table.word(36), table.word(72), table.word(108)};
  }

  DriverStatus set_oas(const std::string& rule, std::uint32_t operation = 1) {
    return status_of("OAS_SET", {.code = operation, .selector = 0x1017},
                     {Bytes(rule.begin(), rule.end())});
  }
  Answer list_oas(const std::string& own = own_port) {
    return ask("OAS_GET", {.selector = 0x1015}, {hex(own), hex(target)});
  }

  struct Machine {
    std::uint8_t uuid;
    std::uint32_t action, identifier = 0;
  };
  DriverStatus update(const std::vector<Machine>& machines, std::uint32_t more = 0) {
    Bytes table = words({static_cast<std::uint32_t>(machines.size()) + more, 0});
    for (const auto& [uuid, action, identifier] : machines) {
      Bytes head{uuid};
      head.resize(272);
      table = table + head + words({identifier, action, 0, 0, 0, 0, 0});
    }
    return status_of("VMID_UPDATE_MAPPING", {}, {table});
  }
  /** The identifiers of the first three machines. */
  std::vector<std::uint32_t> identifiers() {
    const Answer table = ask("VMID_GET_ID_MAPPING");
    return {table.word(280), table.word(580), table.word(880)};
  }

  /** Reads the firmware's log into memory of that many bytes; gives what is there and where the
      oldest byte stands. */
  std::vector<std::uint32_t> read_log(std::uint32_t offset, std::uint32_t size) {
    memory.assign(size, '\xEE');
    const auto address = reinterpret_cast<std::uintptr_t>(memory.data());
    const Answer read =
        ask("GET_RAS_LOG", {},
            {words({0, 0, offset, size}), words({size, 0, static_cast<std::uint32_t>(address)})});
    return read.block.status == success ? std::vector{read.word(0), read.word(4)}
                                        : std::vector<std::uint32_t>{};
  }
  DriverStatus set_log(std::uint8_t start, std::uint8_t level) {
    return status_of("SET_RAS_CONFIG", {}, {{start, level}});
  }

  inline static const std::string own_port = "1000020000000001";
  inline static const std::string target = "1000020000000002";
  const std::string lun5 = own_port + target + "0000000000000005";
  std::string memory;
};

TEST_F(FeaturesTest, PriorityRulesAreNoMoreThanTheLimitAndInTheOrderInWhichAllApply) {
  offer(R"("fcp_priority": {"limit": 3})");
  ASSERT_EQ(set_priorities({{4, 7}, {3, 8}, {0, 9}}), success);
  EXPECT_THAT(priorities(1), ElementsAre(3, 7, 0, 0)) << "no more than there is room for";
  EXPECT_EQ(set_priorities({{4, 1}, {4, 2}, {4, 3}, {4, 4}}), does_not_fit);
  testing::internal::CaptureStderr();
  EXPECT_EQ(set_priorities({{0, 1}, {1, 2}}), not_permitted);
  EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("stands before a more specific"));
  EXPECT_THAT(priorities(), ElementsAre(3, 7, 8, 9));
  EXPECT_EQ(set_priorities({}), success);
  EXPECT_THAT(priorities(), ElementsAre(0, 0, 0, 0));
  EXPECT_EQ(status_of("SET_FCP_PRIORITY_FLAG", {.code = 2}), not_permitted);
}

TEST_F(FeaturesTest, OasRulesAreSetOnceForAPortOfTheBoardAndNoMoreThanTheLimit) {
  offer(R"("oas": {"limit": 2}, "npiv": {"virtual_ports": [
      {"node_wwn": "1000020100000009", "port_wwn": "1000020000000009", "fc_id": 9}]})");
  EXPECT_EQ(list_oas().block.status, oas_no_lun);
  EXPECT_EQ(set_oas("00" + lun5), success);
  EXPECT_EQ(set_oas("00" + lun5), oas_rule_already_set);
  EXPECT_EQ(set_oas("01" + lun5 + "7f"), success) << "another priority";
  const std::string of_the_virtual_port = "00" + ("1000020000000009" + lun5.substr(16));
  EXPECT_EQ(set_oas(of_the_virtual_port), success);
  EXPECT_EQ(set_oas("00" + own_port + target + "0000000000000006"), oas_rule_table_full);
  const Answer list = list_oas();
  EXPECT_EQ(list.block.reply_size, 1U);
  EXPECT_EQ(list.part(16, 10, 3), hex("0005000000000000037f")) << "logged in, with a priority";
  EXPECT_EQ(list_oas("1000020000000009").block.reply_size, 1U);
  EXPECT_EQ(list_oas("1000020000000008").block.status, oas_no_such_port);
  EXPECT_EQ(set_oas(of_the_virtual_port, 2), success);
  EXPECT_EQ(set_oas(of_the_virtual_port, 2), not_found);
  EXPECT_EQ(set_oas("00" + lun5, 3), not_permitted);
}

TEST_F(FeaturesTest, OasRulesThatTheDriverCannotReadAreRefused) {
  offer(R"("oas": {})");
  for (const std::string& rule :
       {std::string{}, "00" + lun5.substr(16), "02" + lun5, "01" + lun5, "01" + lun5 + "80",
        "00" + lun5 + "00", "00" + lun5.substr(1) + "x", "ffffffff" + lun5,
        "00" + target + lun5.substr(16)}) {
    EXPECT_EQ(set_oas(rule), oas_bad_rule) << rule;
  }
  const auto version = [this] { return ask("OAS_VER", {.selector = 0x1018}).block; };
  offer(R"("oas": {"enabled": false})");
  EXPECT_EQ(version().status, feature_disabled);
  offer(R"("oas": {"version": 2})");
  EXPECT_EQ(version().value, 2U);
}

TEST_F(FeaturesTest, MachinesGetIdentifiersOfTheFabricsRangesOnceAndAllOfAnUpdateOrNone) {
  offer(R"("vmid": {"ranges": [{"low": 5, "high": 6, "qos_priority": 2}, {"low": 9, "high": 9}]})");
  EXPECT_EQ(ask("VMID_GET_QFPA").part(0, 18), hex("020005060200000000000909000000000000"));
  EXPECT_EQ(update({{1, 1, 6}, {2, 1}, {3, 1}}), success);
  EXPECT_THAT(identifiers(), ElementsAre(6, 5, 9));
  EXPECT_EQ(ask("VMID_GET_ID_MAPPING").word(588), 2U) << "the range's priority";
  EXPECT_EQ(update({{4, 1}}), does_not_fit);
  EXPECT_EQ(update({{3, 2}, {1, 2}}), success);
  EXPECT_EQ(update({{4, 1}, {9, 2}}), not_found);
  EXPECT_EQ(update({{4, 1}, {2, 1}}), not_permitted) << "it is there";
  EXPECT_EQ(update({{4, 1, 7}}), not_permitted) << "in no range";
  EXPECT_EQ(update({{4, 0}}), not_permitted);
  EXPECT_EQ(update({}, 257), not_permitted);
  restart();
  EXPECT_THAT(identifiers(), ElementsAre(5, 0, 0));
}

TEST_F(FeaturesTest, TheFirmwaresLogGrowsWhileItLogsAndWrapsAtTheEndOfItsMemory) {
  offer(R"("ras_log": {"bytes_per_command": 102400})");
  EXPECT_EQ(set_log(0, 0), ras_not_active);
  EXPECT_EQ(set_log(1, 5), ras_bad_level);
  ASSERT_EQ(set_log(1, 4), success);
  EXPECT_THAT(read_log(0, 64), ElementsAre(102400, 0));
  EXPECT_THAT(memory, testing::StartsWith("0000000000 fw "));
  EXPECT_EQ(memory.back(), '\n');
  EXPECT_THAT(read_log(204768, 64), ElementsAre(204800, 0));
  EXPECT_THAT(memory.substr(32), testing::Each('\xEE')) << "nothing behind the end";
  EXPECT_THAT(read_log(0, 64), ElementsAre(262144, 45056));
  EXPECT_THAT(memory, testing::StartsWith("0000004096 fw ")) << "the ring begins anew";

  restart();
  EXPECT_EQ(set_log(1, 3), ras_already_active);
  ASSERT_EQ(set_log(0, 0), success);
  EXPECT_THAT(read_log(45056 - 32, 64), ElementsAre(262144, 45056)) << "it stands still";
  EXPECT_THAT(memory.substr(32), testing::StartsWith("0000000704 fw ")) << "the oldest line";
  EXPECT_THAT(read_log(262145, 1), testing::IsEmpty());
  EXPECT_EQ(ask("GET_RAS_CONFIG").part(0, 6), hex("000401000000"));
}

TEST_F(FeaturesTest, ABoardWithoutAFeatureSaysSo) {
  use_topology(one_board);
  for (const char* command : {"OAS_VER",
                              "OAS_SET",
                              "OAS_GET",
                              "VMID_GET_QFPA",
                              "VMID_GET_ID_MAPPING",
                              "VMID_UPDATE_MAPPING",
                              "GET_RAS_CONFIG",
                              "SET_RAS_CONFIG",
                              "GET_RAS_LOG",
                              "SET_AUTH_CONFIG_V2",
                              "GET_AUTH_CONFIG_V2",
                              "DEL_AUTH_CONFIG_V2",
                              "PERSIST_AUTH_CONFIG",
                              "DEL_AUTH_CONFIG_OBJ",
                              "SET_AUTH_PASSWD_V2",
                              "GET_AUTH_PASSWD_V2",
                              "INIT_AUTH",
                              "GET_AUTH_STATUS",
                              "VPORT_GET_RESRC",
                              "VPORT_GET_LIST",
                              "VPORT_GET_ATTRIB",
                              "READ_MEM",
                              "WRITE_MEM",
                              "READ_CTLREG",
                              "WRITE_CTLREG",
                              "MBOX_SLI_CFG_EXT",
                              "MBOX_SLI_CFG_EXT_SUP"}) {
    const std::uint32_t own_id = declared(command).id;
    EXPECT_EQ(status_of(command, {.selector = own_id}), not_supported) << command;
  }
}

}  // namespace

}  // namespace ravnsim::test
