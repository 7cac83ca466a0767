// SCSI targets and the fabric's management as only a caller of the driver meets them. Commands and
// answers are in hex.

#include "tests/simulator/simulator_test.h"

#include <tuple>

namespace ravnsim::test {

namespace {

using enum DriverStatus;

const std::string lun_1 = "0001";
const std::string flat_300 = "412c";

class FabricTest : public SimulatorTest {
 protected:
  FabricTest() { use_topology(full_board()); }

  /** A command for a unit of port 2: its name and the FCP_CMND. */
  static Bytes fcp_command(const std::string& lun, const std::string& cdb, std::size_t length) {
    Bytes record = hex("1000020000000002" + lun) + Bytes(10) + hex(cdb);
    record.resize(38);
    return record + Bytes{std::uint8_t(length >> 8), std::uint8_t(length)};
  }

  /** Sends a command to a unit; gives the data, and sets the sense. */
  Bytes scsi(const std::string& lun, const std::string& cdb, const Bytes& data = Bytes(255)) {
    const auto length = static_cast<std::uint32_t>(data.size());
    const Answer answer =
        ask("HBA_SEND_SCSI", {.request_size = length}, {fcp_command(lun, cdb, length), data});
    sense = answer.part(40, answer.payload().at(168));
    return answer.part(0, answer.block.reply_size, 2);
  }
  /** The sense key and code that a command ends with; empty with GOOD. */
  Bytes sense_of(const std::string& lun, const std::string& cdb) {
    scsi(lun, cdb);
    return sense.empty() ? sense : Bytes{sense.at(2), sense.at(12), sense.at(13)};
  }

  /** The FCP_RSP of a command with so much room for it. Its length stands in the middle of it. */
  Bytes fcp_response(const std::string& cdb, std::uint8_t room = 160) {
    const Answer answer = ask("HBA_SEND_FCP", {.request_size = 255},
                              {fcp_command(flat_300, cdb, 255) + Bytes(16) + Bytes{room}});
    return answer.part(40, answer.payload().at(56));
  }

  Bytes sense;
};

TEST_F(FabricTest, LogicalUnitsCheckWhatTheyAreAsked) {
  const std::tuple<std::string, const char*, const char*> commands[] = {
      {flat_300, "00", ""},
      {flat_300, "77", "052000"},
      {"0007", "00", "052500"},
      {"012c", "00", "052500"},  // no flat address
      {flat_300, "1202800060", "052400"},
      {flat_300, "0301", "052400"},
      {"0000", "a0000000000000000008", "052400"},
      {"0000", "a00003000000000000ff", "052400"},
      {lun_1, "2a0000000000000001", "072700"},
      {lun_1, "2800ffffffff00ffff", "052100"},
      {lun_1, "282000000000000001", "052400"},
      {flat_300, "2a0000000000000001", "0b4b00"},  // less than a block's data
  };
  for (const auto& [lun, cdb, code] : commands) {
    EXPECT_EQ(sense_of(lun, cdb), hex(code)) << cdb;
  }
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
  ovk::test::write_file(disk, std::string(1024, 'x'));
  use_topology(
      with(full_board(), R"("A", "blocks": 100)", R"("A", "file": ")" + disk.string() + '"'));
  EXPECT_EQ(sense_of(flat_300, "00"), Bytes{});
  std::filesystem::resize_file(disk, 512);
  EXPECT_EQ(sense_of(flat_300, "280000000001000001"), hex("031100")) << "an unreadable medium";
}

TEST_F(FabricTest, AnFcpCommandEndsWithItsFcpResponse) {
  EXPECT_EQ(fcp_response("1200000024"), hex("000000000000000000000800000000db1800000000000000"))
      << "a residual of 219 bytes under FCP_DL";
  EXPECT_EQ(fcp_response("77"), hex("000000000000000000000a02000000ff2a00000000000000"
                                    "700005000000000a00000000200000000000"))
      << "CHECK CONDITION with sense data and a residual";
  EXPECT_EQ(fcp_response("77", 30).size(), 30U);
}

TEST_F(FabricTest, PortsPassManagementCommandsOnToTheManagementServer) {
  const Answer answer =
      ask("HBA_SEND_MGMT_CMD", {.request_size = 24, .reply_size = 245760},
          {hex("1000020000000002"), hex("01000000fa01000001140000000000001000020000000009")});
  EXPECT_EQ(answer.part(0, answer.block.reply_size, 3),
            hex("01000000fa01000080020000000000001000020000000009"));
}

}  // namespace

}  // namespace ravnsim::test
