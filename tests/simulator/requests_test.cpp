// What the driver makes of requests that ovkctl does not send: those that make no sense, come at
// the wrong time, or have little room for their answer.

#include "tests/simulator/simulator_test.h"

#include <functional>
#include <sstream>
#include <tuple>

#include <gmock/gmock.h>

namespace ravnsim::test {

namespace {

using enum DriverStatus;

const Bytes own_port = hex("1000020000000001");
const Bytes port_2 = hex("1000020000000002");
const Bytes port_3 = hex("1000020000000003");
const Bytes unknown_port = hex("1000020000000009");

Bytes text(const std::string& characters) { return {characters.begin(), characters.end()}; }

/** An entry for port 2, enabled, with hashes 2 and 1 and group 5, but for one byte. */
Bytes auth_config(std::size_t at = 16, std::uint8_t value = 1) {
  Bytes config = own_port + port_2 + Bytes{1, 0, 0, 0, 2, 2, 1, 0, 0, 1, 5};
  config.at(at) = value;
  return config;
}

/** The passwords of both directions for port 2. */
Bytes auth_passwords(const std::string& own, const std::string& peers = "") {
  Bytes record = own_port + port_2 +
                 Bytes{1, std::uint8_t(own.size()), !peers.empty(), std::uint8_t(peers.size())} +
                 text(own);
  record.resize(148);
  return record + text(peers);
}

/** What an update does with a virtual machine: adds it with an identifier or any (1), removes it
 * (2). */
Bytes machine(std::uint8_t uuid, std::uint32_t action, std::uint32_t identifier = 0) {
  Bytes head{uuid};
  head.resize(272);
  return head + words({identifier, action, 0, 0, 0, 0, 0});
}

/** A request, and the status that the driver gives it. */
struct Case {
  std::string_view command;
  CommandBlock block;
  std::vector<Bytes> payloads;
  DriverStatus status;
};

class RequestsTest : public SimulatorTest {
 protected:
  RequestsTest() { use_topology(full_board()); }

  void check(const std::vector<Case>& cases) {
    for (std::size_t i = 0; i < cases.size(); ++i) {
      const auto& [command, block, payloads, status] = cases[i];
      EXPECT_EQ(status_of(command, block, payloads), status) << command << ", case " << i;
    }
  }
  void check_all(const std::string& commands, DriverStatus status) {
    std::istringstream names{commands};
    for (std::string name; names >> name;) {
      const auto own_id = command_named("RAVN_MGMT_" + name).value().number;
      EXPECT_EQ(status_of(name, {.selector = std::uint32_t(own_id), .option = 15}), status) << name;
    }
  }
};

TEST_F(RequestsTest, WordsThatMakeNoSenseAreRefusedUpToTheirLimits) {
  check({
      {"GET_RAVNOVK_INFO", {.request_size = 119}, {}, does_not_fit},
      {"GET_RAVNOVK_INFO", {.request_size = 120}, {}, success},
      {"GET_VPD", {.selector = 2}, {}, not_supported},
      {"GET_VPD", {.selector = 0}, {}, success},
      {"READ_PCI", {.index = 0xFFFFFFFC, .request_size = 8}, {}, does_not_fit},
      {"READ_PCI", {.request_size = 4097}, {}, does_not_fit},
      {"READ_PCI", {.request_size = 4096}, {}, success},
      {"WRITE_PCI", {.index = 4093, .request_size = 4}, {}, does_not_fit},
      {"WRITE_PCI", {.index = 4093, .request_size = 3}, {}, success},
      {"SETCFG", {.index = 16, .value = 1}, {}, not_found},
      {"SETCFG", {.index = 15, .value = 4}, {}, not_permitted},
      {"SETCFG", {.index = 1, .value = 0}, {}, does_not_fit},
      {"SETDIAG", {.selector = 15}, {}, not_supported},
      {"RESET", {.selector = 4}, {}, not_supported},
      {"EVENT_TEST", {.selector = 6}, {}, not_found},
      {"GET_TRUNK_INFO", {.selector = 1}, {}, not_permitted},
      {"OAS_VER", {.selector = 1}, {}, not_supported},
      {"LOOPBACK_MODE", {.code = 2}, {}, not_supported},
      {"LOOPBACK_TEST", {.request_size = 65537}, {}, does_not_fit},
      {"LOOPBACK_TEST", {.request_size = 0}, {}, does_not_fit},
      {"DIAG_MODE_END", {.option = 14}, {}, not_supported},
      {"HBA_GET_FCF_LIST", {.index = 3}, {}, not_found},
      {"HBA_RNID", {.request_size = 64, .code = 2}, {}, not_supported},
      {"HBA_RNID", {.request_size = 59, .code = 1}, {Bytes(8) + port_2}, does_not_fit},
      {"LIST_BIND", {.value = 0}, {}, does_not_fit},
      {"HBA_FCPTARGETMAPPING", {.request_size = 1}, {}, does_not_fit},
      {"VPORT_GET_LIST", {.request_size = 1}, {}, list_does_not_fit},
      {"VPORT_GET_NODE_INFO", {.request_size = 1}, {Bytes(8) + own_port}, list_does_not_fit},
      {"OAS_GET", {.selector = 0x1015}, {unknown_port}, oas_no_such_port},
      {"SET_RAS_CONFIG", {}, {{1, 5}}, ras_bad_level},
      {"GET_RAS_LOG", {}, {words({0, 0, 1, 1})}, does_not_fit},
      {"SET_RAS_CONFIG", {}, {{0, 0}}, ras_not_active},
      {"SET_RAS_CONFIG", {}, {{1, 4}}, success},
      {"SET_RAS_CONFIG", {}, {{1, 4}}, ras_already_active},
  });
}

TEST_F(RequestsTest, AVirtualMachinesUpdateIsTakenWholeOrNotAtAll) {
  const auto update = [this](std::uint32_t count, const Bytes& machines) {
    return status_of("VMID_UPDATE_MAPPING", {}, {words({count, 0}) + machines});
  };
  EXPECT_EQ(update(257, {}), not_permitted);
  EXPECT_EQ(update(1, machine(1, 0, 5)), not_permitted) << "no action";
  EXPECT_EQ(update(1, machine(1, 1, 7)), not_permitted) << "in no range";
  EXPECT_EQ(update(2, machine(1, 1) + machine(2, 1)), success);
  EXPECT_EQ(update(1, machine(3, 1)), does_not_fit);
  EXPECT_EQ(update(2, machine(1, 2) + machine(9, 2)), not_found);
  EXPECT_EQ(ask("VMID_GET_ID_MAPPING").word(0), 2U);
  EXPECT_EQ(update(2, machine(1, 2) + machine(3, 1)), success);
  EXPECT_EQ(ask("VMID_GET_ID_MAPPING").word(300 + 280), 5U) << "the identifier that became free";
}

TEST_F(RequestsTest, MailboxesFramesAndSequencesThatAreNoneAreRefused) {
  check({
      {"MBOX", {.request_size = 0}, {}, mailbox_failed},
      {"MBOX", {.request_size = 6}, {}, mailbox_failed},
      {"MBOX", {.request_size = 2052}, {}, mailbox_failed},
      {"MBOX", {.request_size = 256}, {{}, {}, words({2049})}, mailbox_failed},
      {"MBOX", {.request_size = 256}, {{}, {}, words({0, 2048})}, success},
      {"MBOX_SLI_CFG_EXT", {.request_size = 256, .selector = 3}, {}, mailbox_failed},
      {"MBOX_SLI_CFG_EXT", {.request_size = 4097, .selector = 1}, {}, mailbox_failed},
      {"MBOX_SLI_CFG_EXT", {.request_size = 0, .selector = 1}, {}, mailbox_failed},
      {"HBA_ISSUE_DMP_MBX", {.request_size = 4097}, {}, does_not_fit},
      {"HBA_ISSUE_UPD_MBX", {.request_size = 4097}, {}, does_not_fit},
      {"SEND_CT", {.request_size = 245761}, {}, does_not_fit},
      {"SEND_ELS", {.request_size = 1025}, {}, does_not_fit},
      {"SEND_ELS", {.request_size = 4}, {Bytes(8) + Bytes{2}, {0x10}}, does_not_fit},
      {"SEND_ELS", {.request_size = 4}, {Bytes(8) + Bytes{9}, {0x10}}, no_response},
      {"HBA_SEND_MGMT_CMD", {}, {unknown_port}, transport_failed},
      {"HBA_SEND_MGMT_RSP", {}, {{0}}, not_permitted},
      {"HBA_SEND_MGMT_RSP", {}, {{4}}, not_permitted},
      {"HBA_SEND_MGMT_RSP", {}, {{3}}, success},
      {"HBA_SEND_FCP", {}, {unknown_port}, not_found},
      {"HBA_SEND_SCSI", {}, {port_3}, no_response},
  });
}

TEST_F(RequestsTest, RulesThatTheDriverCannotTakeAreRefused) {
  testing::internal::CaptureStderr();
  const Bytes general_before_specific = words({2}) + Bytes(36, 0xFF) + Bytes(36);
  check({{"SET_FCP_PRIORITY_FLAG", {.code = 2}, {}, not_permitted},
         {"SET_FCP_PRIORITY", {.request_size = 4}, {words({4})}, does_not_fit},
         {"SET_FCP_PRIORITY", {.request_size = 1}, {words({2})}, does_not_fit},
         {"SET_FCP_PRIORITY", {.request_size = 2}, {general_before_specific}, not_permitted}});
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              testing::HasSubstr("stands before a more specific"));

  const std::string names = "10000200000000011000020000000002";
  const auto set_oas = [this](const std::string& rule, std::uint32_t operation) {
    return status_of("OAS_SET", {.code = operation, .selector = 0x1017}, {text(rule)});
  };
  for (const std::string& wrong :
       {std::string{}, "00" + names, "02" + names + "0000000000000005",
        "01" + names + "0000000000000005", "00" + names + "0000000000000005ff",
        "01" + names + "000000000000000580", "00" + names + "000000000000000x",
        "001000020000000002" + names.substr(16) + "0000000000000005"}) {
    EXPECT_EQ(set_oas(wrong, 1), oas_bad_rule) << wrong;
  }
  EXPECT_EQ(set_oas("00" + names + "0000000000000005", 3), not_permitted);
}

TEST_F(RequestsTest, AuthenticationTakesOnlyWhatCanWorkAndNeverGivesPasswordsBack) {
  constexpr std::pair<std::size_t, std::uint8_t> wrong_bytes[] = {
      {16, 3}, {17, 2}, {20, 0}, {20, 5}, {21, 0}, {22, 4}, {25, 0}, {26, 7}};
  for (const auto& [at, value] : wrong_bytes) {
    EXPECT_EQ(status_of("SET_AUTH_CONFIG_V2", {}, {auth_config(at, value)}), not_permitted) << at;
  }
  const std::string key = "the board's key";
  check({{"SET_AUTH_PASSWD_V2", {}, {auth_passwords(key)}, not_found},
         {"SET_AUTH_CONFIG_V2", {}, {auth_config(7, 2)}, not_found},
         {"SET_AUTH_CONFIG_V2", {}, {auth_config()}, success},
         {"SET_AUTH_PASSWD_V2", {}, {auth_passwords(key, key)}, not_permitted},
         {"SET_AUTH_PASSWD_V2", {}, {auth_passwords(key, "the peer's")}, not_permitted},
         {"SET_AUTH_PASSWD_V2", {}, {auth_passwords(key)}, success},
         {"INIT_AUTH", {}, {port_2, own_port}, not_found},
         {"INIT_AUTH", {}, {own_port, port_2}, success}});
  const Answer password = ask("GET_AUTH_PASSWD_V2", {}, {own_port + port_2, {1}});
  EXPECT_EQ(password.part(16, 264), hex("010f0000") + Bytes(260));
}

TEST_F(RequestsTest, LoopbackLastsFromAModeUntilItsEndAndALinkIsNotInitialisedMeanwhile) {
  use_topology(with(full_board(), R"("device")", R"("reset_milliseconds": 0, "device")"));
  use_faults(
      R"([{"command": "RAVN_MGMT_LOOPBACK_TEST", "skip": 1, "effect": "corrupt", "value": 10}])");
  check({{"LOOPBACK_TEST", {.request_size = 8}, {}, no_response},
         {"DIAG_MODE_END", {.option = 15}, {}, not_permitted},
         {"LOOPBACK_MODE", {.code = 1}, {}, success}});
  EXPECT_EQ(ask("LOOPBACK_TEST", {.request_size = 8}, {Bytes(9, 3)}).part(0, 9, 2),
            hex("0303fc030303030300"))
      << "a fault beyond a frame hits it too";
  check({{"LOOPBACK_TEST", {.request_size = 8}, {}, success},
         {"LIP", {}, {}, not_permitted},
         {"LOOPBACK_MODE", {.code = 4}, {}, success},
         {"LOOPBACK_TEST", {.request_size = 8}, {}, no_response},
         {"DIAG_MODE_END", {.option = 15}, {}, success},
         {"LIP", {}, {}, success},
         {"LOOPBACK_MODE", {.code = 1}, {}, success},
         {"RESET", {.selector = 1}, {}, success},
         {"DIAG_MODE_END", {.option = 15}, {}, not_permitted}});

  use_faults("[]");
  use_topology(with(one_board, R"("sli_mode": 4)", R"("sli_mode": 3)"));
  check({{"LOOPBACK_MODE", {.code = 1}, {words({7})}, not_permitted},
         {"LOOPBACK_MODE", {.code = 1}, {words({0xFFFFFFFF})}, success},
         {"LOOPBACK_TEST", {.request_size = 8}, {}, success},
         {"LIP", {}, {}, success},
         {"LOOPBACK_TEST", {.request_size = 8}, {}, no_response}});
}

TEST_F(RequestsTest, ABoardThatIsResetOrInADiagnosticModeSaysThatItIsNotReady) {
  use_topology(one_board_with(R"("reset_milliseconds": 3600000, "dump_region_size": 4096)"));
  check({{"RESET", {.selector = 1}, {}, success},
         {"RESET", {.selector = 1}, {}, not_ready},
         {"SETDIAG", {.selector = 17}, {}, not_ready},
         {"GET_DUMPREGION", {.request_size = 16}, {}, transport_failed}});
  check_all("INDUCE_DUMP DIAG_MODE_END LIP LOOPBACK_MODE LOOPBACK_TEST MBOX HBA_GET_FCF_LIST",
            not_ready);
  use_topology(one_board);
  check({{"SETDIAG", {.selector = 19}, {}, success}});
  check_all("SEND_CT SEND_ELS HBA_SEND_FCP HBA_SEND_SCSI HBA_SEND_MGMT_RSP", not_ready);
}

TEST_F(RequestsTest, ABoardWithoutAnAbilitySaysSo) {
  use_topology(with(with(one_board, R"("0x704")", R"("0x3200")"), R"("1.2.3")",
                    R"("1.2.3", "reset_mode_3": false)"));
  check_all(
      "OAS_VER OAS_SET OAS_GET VMID_GET_QFPA VMID_GET_ID_MAPPING VMID_UPDATE_MAPPING "
      "GET_RAS_CONFIG SET_RAS_CONFIG GET_RAS_LOG SET_AUTH_CONFIG_V2 GET_AUTH_CONFIG_V2 "
      "DEL_AUTH_CONFIG_V2 PERSIST_AUTH_CONFIG DEL_AUTH_CONFIG_OBJ SET_AUTH_PASSWD_V2 "
      "GET_AUTH_PASSWD_V2 INIT_AUTH "
      "GET_AUTH_STATUS VPORT_GET_RESRC VPORT_GET_LIST VPORT_GET_ATTRIB READ_MEM WRITE_MEM "
      "READ_CTLREG WRITE_CTLREG MBOX_SLI_CFG_EXT MBOX_SLI_CFG_EXT_SUP HBA_GET_FCF_LIST",
      not_supported);
  check({{"RESET", {.selector = 3}, {}, not_supported}});
  EXPECT_EQ(ask("GET_OVK_REV").payload(), words({4, 0, 0}));
  EXPECT_NE(ask("VPORT_GET_ATTRIB").block.reply_size, 0U) << "it is not that the name is unknown";
  use_topology(one_board_with(R"("oas": {"enabled": false}, "ras_log": {"enabled": false})"));
  check_all("OAS_VER GET_RAS_CONFIG", feature_disabled);

  use_topology(with(one_board, R"("sli_mode": 4)", R"("sli_mode": 3)"));
  check_all(
      "DIAG_MODE_END GET_TRUNK_INFO GET_LOGICAL_LINK_SPEED HBA_ISSUE_DMP_MBX HBA_ISSUE_UPD_MBX",
      not_supported);
  check({{"READ_CTLREG", {.index = 0x1}, {}, not_found},
         {"WRITE_CTLREG", {.index = 0x8}, {}, not_permitted},
         {"WRITE_MEM", {.index = 16381, .request_size = 4}, {}, does_not_fit}});
}

TEST_F(RequestsTest, AnswersAreNoLongerThanThereIsRoomFor) {
  for (int i = 0; i < 40; ++i) {
    ask("EVENT_TEST", {.selector = 5});
  }
  ask("SET_FCP_PRIORITY", {.request_size = 3}, {words({3}) + Bytes(3 * 36, 1)});
  EXPECT_EQ(ask("GET_FCP_PRIORITY", {.request_size = 1}).part(38, 4), hex("01010000"));
  const std::tuple<const char*, std::uint32_t, std::uint32_t> answers[] = {
      {"HBA_GETEVENT", 2, 2},
      {"HBA_GETEVENT", 100, 32},
      {"NODEINFO", 55, 28},
      {"GETCFG", 2 * 132 + 131, 2 * 132},
      {"GETCFG", 0xFFFFFFFF, 16 * 132}};
  for (const auto& [command, room, size] : answers) {
    EXPECT_EQ(ask(command, {.request_size = room}).block.reply_size, size) << command;
  }
}

TEST_F(RequestsTest, PortsAreGivenByTheirPlaceInTheListOfATagUntilTheListMoves) {
  use_topology(one_board_with(R"("timeline": [
    {"after_commands": 12, "happens": "port_leaves", "port_wwn": "1000020000000002"}])"));
  using PortAnswer = std::pair<DriverStatus, std::uint32_t>;
  const PortAnswer stale{success, 0xFFFFFFFF};
  const auto port = [this](const char* command, std::uint32_t tag, std::uint32_t index) {
    const Answer answer = ask(command, {.index = index, .value = tag});
    return PortAnswer{answer.block.status, answer.word(16)};
  };
  const auto discovered = std::bind_front(port, "HBA_DISCPORTATTRIBUTES");
  const auto by_index = std::bind_front(port, "HBA_INDEXPORTATTRIBUTES");
  EXPECT_EQ(discovered(0, 0), stale) << "never refreshed";
  const std::uint32_t tag = ask("HBA_REFRESHINFO").block.value;
  EXPECT_EQ(discovered(tag, 0), PortAnswer(success, 2));
  EXPECT_EQ(discovered(tag, 2).first, not_found);
  EXPECT_EQ(by_index(tag, 0), PortAnswer(success, 0x010203)) << "the board's own";
  EXPECT_EQ(by_index(tag, 2), PortAnswer(success, 3));
  EXPECT_EQ(by_index(tag, 3).first, does_not_fit);
  EXPECT_EQ(by_index(tag, 0xFFFFFFFF).first, does_not_fit);
  EXPECT_EQ(by_index(tag - 1, 0), stale);
  EXPECT_EQ(discovered(tag + 1, 99), stale) << "whatever the index";
  EXPECT_EQ(ask("HBA_REFRESHINFO").block.value, tag) << "nothing moved";
  EXPECT_EQ(discovered(tag, 1), PortAnswer(success, 3));
  EXPECT_EQ(discovered(tag, 0), stale) << "a port left";
  EXPECT_EQ(discovered(ask("HBA_REFRESHINFO").block.value, 0), PortAnswer(success, 3));
  EXPECT_EQ(status_of("RESET", {.selector = 1}), success);
  EXPECT_EQ(discovered(tag + 1, 0), stale) << "a reset discovers the ports anew";
  EXPECT_EQ(ask("LINKINFO").word(0), 2U) << "and the link is up again";
}

}  // namespace

}  // namespace ravnsim::test
