// The fabric behind a board: servers, link services and SCSI targets. Requests and answers are in
// hex.

#include "tests/simulator/simulator_test.h"

#include <fstream>

namespace ravnsim::test {

namespace {

using enum DriverStatus;

constexpr std::uint32_t no_server = 0xFFFFFB;
constexpr std::uint32_t management_server = 0xFFFFFA;
constexpr std::uint32_t name_server = 0xFFFFFC;
const std::string lun_1 = "0001";
const std::string flat_300 = "412c";

class FabricTest : public SimulatorTest {
 protected:
  FabricTest() {
    use_topology(with(one_board, "\"fc_id\": 2", R"("fc_id": 2, "fc4_types": ["fcp"], "luns": [
        {"lun": 300, "serial_number": "A", "blocks": 100},
        {"lun": 1, "serial_number": "B", "blocks": 4294967294, "read_only": true}])"));
  }

  /** What the command answers with in one of its payloads, as far as it says; empty if it fails. */
  Bytes reply(const Answer& answer, std::size_t number) {
    status = answer.block.status;
    return status == success ? answer.part(0, answer.block.reply_size, number) : Bytes{};
  }

  Bytes ct(const std::string& iu, std::uint32_t destination = name_server) {
    const auto size = static_cast<std::uint32_t>(iu.size() / 2);
    return reply(ask("SEND_CT", {.request_size = size, .reply_size = 245760, .value = destination},
                     {hex(iu)}),
                 2);
  }
  /** A request to the name server: its command, its argument and the words that it has room for. */
  Bytes gs(const std::string& command, const std::string& argument,
           const std::string& room = "0000", std::uint32_t destination = name_server) {
    return ct("01000000fc020000" + command + room + "00000000" + argument, destination);
  }

  Bytes els(const std::string& request, std::uint8_t fc_id) {
    const auto size = static_cast<std::uint32_t>(request.size() / 2);
    return reply(ask("SEND_ELS", {.request_size = size, .reply_size = 1024},
                     {Bytes(8) + Bytes{fc_id}, hex(request)}),
                 3);
  }

  /** A command for a unit of the port of this last digit: its name and the FCP_CMND. */
  static Bytes fcp_command(char port, const std::string& lun, const std::string& cdb,
                           std::size_t length) {
    Bytes record = hex(std::string("100002000000000") + port + lun) + Bytes(10) + hex(cdb);
    record.resize(38);
    return record + Bytes{std::uint8_t(length >> 8), std::uint8_t(length)};
  }

  /** Sends a command to a unit of the first discovered port; gives the data, and sets the sense. */
  Bytes scsi(const std::string& lun, const std::string& cdb, const Bytes& data = Bytes(255)) {
    const auto length = static_cast<std::uint32_t>(data.size());
    const Answer answer =
        ask("HBA_SEND_SCSI", {.request_size = length}, {fcp_command('2', lun, cdb, length), data});
    sense = answer.part(40, answer.payload().at(168));
    return reply(answer, 2);
  }
  /** The sense key and code that a command ends with; empty with GOOD. */
  Bytes sense_of(const std::string& lun, const std::string& cdb) {
    scsi(lun, cdb);
    return sense.empty() ? sense : Bytes{sense.at(2), sense.at(12), sense.at(13)};
  }

  /** The FCP_RSP of a command with so much room for it. Its length stands in the middle of it. */
  Bytes fcp_response(char port, const std::string& cdb, std::uint8_t room = 160) {
    const Answer answer = ask("HBA_SEND_FCP", {.request_size = 255},
                              {fcp_command(port, flat_300, cdb, 255) + Bytes(16) + Bytes{room}});
    transferred = answer.block.reply_size;
    status = answer.block.status;
    return answer.part(40, status == success ? answer.payload().at(56) : 0U);
  }

  DriverStatus status{};
  Bytes sense;
  std::uint32_t transferred{};
};

/** What stands behind the preamble of an accepting CT_IU. */
Bytes contents(const Bytes& iu) {
  EXPECT_EQ(Bytes(iu.begin() + 8, iu.begin() + 10), hex("8002"));
  return {iu.begin() + 16, iu.end()};
}

Bytes reject_of(const Bytes& iu) {
  EXPECT_EQ(iu.size(), 16U);
  EXPECT_EQ(Bytes(iu.begin() + 8, iu.begin() + 10), hex("8001"));
  return {iu.begin() + 13, iu.begin() + 15};
}

TEST_F(FabricTest, TheNameServerWalksAllPortsAndFindsThemByTypeNameAndAddress) {
  const auto next = [this](const std::string& fc_id) {
    const Bytes port = contents(gs("0100", fc_id));
    EXPECT_EQ(port.size(), 620U);
    return Bytes(port.begin() + 1, port.begin() + 4);
  };
  EXPECT_EQ(next("00000000"), hex("000002"));
  EXPECT_EQ(next("00000003"), hex("010203"));
  EXPECT_EQ(next("00010203"), hex("000002"));
  EXPECT_EQ(contents(gs("0171", "00000008")), hex("0000000280010203"));
  EXPECT_EQ(contents(gs("0172", "00000020")), hex("80010203000000001000020000000001"));
  EXPECT_EQ(contents(gs("0113", "00000003")), hex("1000020100000003"));
  EXPECT_EQ(contents(gs("0118", "00010203")), (Bytes{3, 'o', 'w', 'n'}));
  EXPECT_EQ(contents(gs("0121", "1000020000000003")), hex("00000003"));
  const Bytes cut = gs("0171", "00000008", "0001");
  EXPECT_EQ(cut.size(), 20U) << "no more than the request has room for";
  EXPECT_EQ(Bytes(cut.begin() + 10, cut.begin() + 12), hex("0001")) << "a word was left out";
}

TEST_F(FabricTest, TheServersRejectWhatTheyDoNotKnow) {
  EXPECT_EQ(reject_of(gs("0113", "00000077")), hex("0901"));
  EXPECT_EQ(reject_of(gs("0171", "00000028")), hex("0907"));
  EXPECT_EQ(reject_of(gs("0999", "00000000")), hex("0b00"));
  EXPECT_EQ(reject_of(ct("01000000fc02")), hex("0400"));
  EXPECT_EQ(reject_of(gs("0100", "00000000", "0000", management_server)), hex("0b00"));
  gs("0100", "00000000", "0000", no_server);
  EXPECT_EQ(status, no_response) << "nobody is there";
  EXPECT_EQ(contents(ct("01000000fa0100000101000000000000", management_server)),
            hex("00000001100002000000000900000001"));
}

TEST_F(FabricTest, PortsEchoIdentifyThemselvesAndRejectWhatTheyDoNotKnow) {
  EXPECT_EQ(els("10000000010203", 2), hex("02000000010203"));
  const Bytes identity = els("78000000df000000", 3);
  EXPECT_EQ(identity.size(), 76U);
  EXPECT_EQ(identity.at(15), 3) << "the port's name";
  const Bytes errors = els("0f00000000000002", 2);
  EXPECT_EQ(errors.size(), 28U);
  EXPECT_NE(els("0f00000000000002", 2), errors) << "the counters advance";
  EXPECT_EQ(els("0f00000000000009", 2), hex("0100000000091f00"));
  EXPECT_EQ(els("55000000", 2), hex("0100000000010000"));
  els("10000000", 9);
  EXPECT_EQ(status, no_response);
}

TEST_F(FabricTest, LogicalUnitsCheckWhatTheyAreAsked) {
  EXPECT_EQ(sense_of(flat_300, "00"), Bytes{});
  EXPECT_EQ(sense_of(flat_300, "77"), hex("052000"));
  EXPECT_EQ(sense_of("0007", "00"), hex("052500"));
  EXPECT_EQ(sense_of("012c", "00"), hex("052500")) << "not a peripheral address";
  EXPECT_EQ(sense_of(flat_300, "1200800060"), hex("052400"));
  EXPECT_EQ(sense_of("0000", "a0000000000000000008"), hex("052400"));
  EXPECT_EQ(sense_of(lun_1, "2a0000000000000001"), hex("072700"));
  EXPECT_EQ(sense_of(lun_1, "2800ffffffff00ffff"), hex("052100"));
  EXPECT_EQ(sense_of(flat_300, "2a0000000000000001"), hex("0b4b00")) << "not a block's data";
  scsi(flat_300, "1201b00060");
  EXPECT_EQ(sense, hex("700005000000000a00000000240000c00002")) << "points at the page";
  scsi(flat_300, "280000000063000002");
  EXPECT_EQ(sense, hex("f00005000000630a00000000210000000000")) << "names the block";
  EXPECT_EQ(scsi("0007", "1200000060").at(0), 0x7F);
  EXPECT_EQ(scsi("0007", "0300000012").at(12), 0x25);
  EXPECT_EQ(scsi("0000", "a00000000000000000ff"),
            hex("00000010000000000001000000000000412c000000000000"));
  EXPECT_EQ(scsi(lun_1, "25"), hex("fffffffd00000200"));
}

TEST_F(FabricTest, BlocksAreWhereTheyWereWrittenAndNowhereElse) {
  const Bytes written(1024, 0x5A);
  scsi(flat_300, "2a0000000062000002", written);
  EXPECT_EQ(scsi(flat_300, "280000000062000002", Bytes(1024)), written);
  EXPECT_EQ(scsi(flat_300, "280000000061000001", Bytes(512)), Bytes(512));
  EXPECT_EQ(scsi(flat_300, "280000000000000002", Bytes(512)).size(), 512U) << "FCP_DL's bytes";

  const auto disk = folder / "disk.img";
  std::ofstream{disk} << std::string(512, 'x') << std::string(512, 'y');
  use_topology(with(one_board, "\"fc_id\": 2",
                    R"("fc_id": 2, "luns": [{"lun": 0, "serial_number": "F", "file": ")" +
                        disk.string() + "\"}]"));
  const std::string read_the_second_block = "280000000001000001";
  EXPECT_EQ(scsi("0000", read_the_second_block, Bytes(512)), Bytes(512, 'y'));
  std::filesystem::resize_file(disk, 512);
  EXPECT_EQ(sense_of("0000", read_the_second_block), hex("031100")) << "an unreadable medium";
}

TEST_F(FabricTest, AnFcpCommandEndsWithItsFcpResponse) {
  EXPECT_EQ(fcp_response('2', "1200000024"),
            hex("000000000000000000000800000000db1800000000000000"))
      << "a residual of 219 bytes under FCP_DL";
  EXPECT_EQ(transferred, 36U);
  const Bytes refused = fcp_response('2', "77");
  ASSERT_EQ(refused.size(), 24U + 18);
  EXPECT_EQ(Bytes(refused.begin() + 10, refused.begin() + 12), hex("0a02"))
      << "CHECK CONDITION with sense data and a residual";
  EXPECT_EQ(Bytes(refused.begin() + 24, refused.end()),
            hex("700005000000000a00000000200000000000"));
  EXPECT_EQ(fcp_response('2', "77", 30).size(), 30U);
  fcp_response('9', "00");
  EXPECT_EQ(status, not_found);
  fcp_response('3', "00");
  EXPECT_EQ(status, no_response) << "a port without logical units";
}

TEST_F(FabricTest, PortsPassManagementCommandsOnAndTakeResponses) {
  const auto get_fabric_name = [this](const std::string& port) {
    return reply(ask("HBA_SEND_MGMT_CMD", {.request_size = 24, .reply_size = 245760},
                     {hex("100002000000000" + port),
                      hex("01000000fa01000001140000000000001000020000000009")}),
                 3);
  };
  EXPECT_EQ(contents(get_fabric_name("2")), hex("1000020000000009"));
  get_fabric_name("8");
  EXPECT_EQ(status, transport_failed) << "no such port";
  EXPECT_EQ(status_of("HBA_SEND_MGMT_RSP", {.request_size = 245760}), not_permitted)
      << "not a CT_IU";
  EXPECT_EQ(status_of("HBA_SEND_MGMT_RSP", {.request_size = 245760}, {{3}}), success);
}

TEST_F(FabricTest, ABoardInADiagnosticStateIsNotOnTheFabric) {
  constexpr std::uint32_t enter_mode_3 = 19;
  EXPECT_EQ(status_of("SETDIAG", {.selector = enter_mode_3}), success);
  gs("0100", "00000000");
  EXPECT_EQ(status, not_ready);
  els("10000000", 2);
  EXPECT_EQ(status, not_ready);
  fcp_response('2', "00");
  EXPECT_EQ(status, not_ready);
}

}  // namespace

}  // namespace ravnsim::test
