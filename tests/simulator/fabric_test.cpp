// The fabric behind a board: servers, link services and SCSI targets.

#include "simulator/fabric/wire.h"
#include "simulator/topology/wwn.h"
#include "tests/simulator/simulator_test.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>

#include <gmock/gmock.h>

namespace ravnsim::test {

namespace {

using enum DriverStatus;

constexpr std::uint32_t ct_size = 245760;
constexpr std::uint32_t data_size = 262144;

constexpr std::uint16_t flat_300 = 0x412C;
const std::string two_luns = R"("fc_id": 2, "fc4_types": ["fcp"], "luns": [
    {"lun": 300, "serial_number": "A", "blocks": 100, "naa": "3000000000000300"},
    {"lun": 1, "serial_number": "B", "blocks": 4294967294, "read_only": true}])";

struct ScsiAnswer {
  std::uint32_t transferred;
  ByteVector data;
  ByteVector sense;
};

class FabricTest : public SimulatorTest {
 protected:
  FabricTest() { use_topology(with(one_board, "\"fc_id\": 2", two_luns)); }

  ByteVector ask(const ByteVector& iu, std::uint32_t destination = 0xFFFFFC) {
    ByteVector sent = iu;
    sent.resize(ct_size);
    ByteVector received(ct_size);
    status = send("RAVN_MGMT_SEND_CT",
                  {.request_size = static_cast<std::uint32_t>(iu.size()),
                   .reply_size = ct_size,
                   .value = destination},
                  sent.data(), received.data());
    received.resize(status == success ? answer.reply_size : 0);
    return received;
  }

  ByteVector els(const ByteVector& request, std::uint8_t fc_id) {
    ByteVector destination(16);
    destination[8] = fc_id;
    ByteVector sent = request;
    sent.resize(1024);
    ByteVector received(1024);
    const auto size = static_cast<std::uint32_t>(request.size());
    status = send("RAVN_MGMT_SEND_ELS", {.request_size = size, .reply_size = 1024},
                  destination.data(), sent.data(), received.data());
    received.resize(status == success ? answer.reply_size : 0);
    return received;
  }

  /** A command for a unit of the port of this last digit: its name and the FCP_CMND. */
  static ByteVector command_for(char port, std::uint16_t lun, const ByteVector& cdb,
                                std::uint32_t data_length) {
    ByteVector record;
    put_bytes(record, parse_wwn(std::string("100002000000000") + port)->bytes);
    put_number(record, lun, 2);
    put_zeros(record, 10);
    put_bytes(record, cdb);
    record.resize(36);
    put_number(record, data_length, 4);
    return record;
  }

  /** Sends a command to a unit of the first discovered port. */
  ScsiAnswer scsi(std::uint16_t lun, const ByteVector& cdb, ByteVector data = ByteVector(255)) {
    const auto length = static_cast<std::uint32_t>(data.size());
    ByteVector record = command_for('2', lun, cdb, length);
    record.resize(172);
    data.resize(data_size);
    EXPECT_EQ(send("RAVN_MGMT_HBA_SEND_SCSI", {.request_size = length}, record.data(), data.data()),
              success);
    data.resize(std::min(answer.reply_size, data_size));
    return {answer.reply_size, data,
            ByteVector(record.begin() + 40, record.begin() + 40 + record[168])};
  }

  /** The FCP_RSP of a command with so much room for it. Its length stands in the middle of it. */
  ByteVector fcp_response(char port, const ByteVector& cdb, std::uint8_t room = 160) {
    constexpr std::uint32_t length = 255;
    ByteVector record = command_for(port, flat_300, cdb, length);
    record.resize(200);
    record[56] = room;
    ByteVector data(data_size);
    status = send("RAVN_MGMT_HBA_SEND_FCP", {.request_size = length}, record.data(), data.data());
    return {record.begin() + 40, record.begin() + 40 + (status == success ? record[56] : 0)};
  }

  /** The sense key and code that a command ends with; empty with GOOD. */
  ByteVector sense_of(std::uint16_t lun, const ByteVector& cdb) {
    const ByteVector sense = scsi(lun, cdb).sense;
    return sense.empty() ? sense : ByteVector{sense.at(2), sense.at(12), sense.at(13)};
  }

  DriverStatus status{};
};

ByteVector name_server_request(std::uint16_t command, std::uint32_t argument,
                               std::uint16_t words = 0) {
  ByteVector iu{1, 0, 0, 0, 0xFC, 2, 0, 0};
  put_number(iu, command, 2);
  put_number(iu, words, 2);
  put_zeros(iu, 4);
  put_number(iu, argument, 4);
  return iu;
}

/** What stands behind the preamble of an accepting CT_IU. */
ByteVector contents(const ByteVector& iu) {
  EXPECT_GE(iu.size(), 16U);
  EXPECT_EQ(get_number(iu, 8, 2), 0x8002U);
  return {iu.begin() + std::min<std::ptrdiff_t>(16, std::ssize(iu)), iu.end()};
}

ByteVector reject_of(const ByteVector& iu) {
  EXPECT_EQ(iu.size(), 16U);
  EXPECT_EQ(get_number(iu, 8, 2), 0x8001U);
  return {iu.at(13), iu.at(14)};
}

TEST_F(FabricTest, TheNameServerWalksAllPortsAndFindsThemByTypeAndAddress) {
  const ByteVector first = contents(ask(name_server_request(0x0100, 0)));
  EXPECT_EQ(first.size(), 620U);
  EXPECT_EQ(get_number(first, 1, 3), 2U);
  EXPECT_EQ(get_number(contents(ask(name_server_request(0x0100, 3))), 1, 3), 0x010203U);
  EXPECT_EQ(get_number(contents(ask(name_server_request(0x0100, 0x010203))), 1, 3), 2U);

  const ByteVector fcp = contents(ask(name_server_request(0x0171, 8)));
  EXPECT_EQ(fcp, (ByteVector{0, 0, 0, 2, 0x80, 1, 2, 3}));
  const ByteVector named = contents(ask(name_server_request(0x0172, 0x20)));
  EXPECT_EQ(named, (ByteVector{0x80, 1, 2, 3, 0, 0, 0, 0, 0x10, 0, 2, 0, 0, 0, 0, 1}));
  EXPECT_EQ(contents(ask(name_server_request(0x0113, 3))), (ByteVector{0x10, 0, 2, 1, 0, 0, 0, 3}));
  EXPECT_EQ(contents(ask(name_server_request(0x0118, 0x010203))), (ByteVector{3, 'o', 'w', 'n'}));

  ByteVector of_name{1, 0, 0, 0, 0xFC, 2, 0, 0, 0x01, 0x21, 0, 0, 0, 0, 0, 0};  // GID_PN
  put_bytes(of_name, parse_wwn("1000020000000003")->bytes);
  EXPECT_EQ(contents(ask(of_name)), (ByteVector{0, 0, 0, 3}));

  const ByteVector cut = ask(name_server_request(0x0171, 8, 1));
  EXPECT_EQ(cut.size(), 20U) << "no more than the request has room for";
  EXPECT_EQ(get_number(cut, 10, 2), 1U) << "a word was left out";
}

TEST_F(FabricTest, TheServersRejectWhatTheyDoNotKnow) {
  EXPECT_EQ(reject_of(ask(name_server_request(0x0113, 77))), (ByteVector{0x09, 0x01}));
  EXPECT_EQ(reject_of(ask(name_server_request(0x0171, 0x28))), (ByteVector{0x09, 0x07}));
  EXPECT_EQ(reject_of(ask(name_server_request(0x0999, 0))), (ByteVector{0x0B, 0x00}));
  EXPECT_EQ(reject_of(ask({1, 0, 0, 0, 0xFC, 2})), (ByteVector{0x04, 0x00}));
  EXPECT_EQ(reject_of(ask(name_server_request(0x0100, 0), 0xFFFFFA)), (ByteVector{0x0B, 0x00}));
  ask(name_server_request(0x0100, 0), 0xFFFFFB);
  EXPECT_EQ(status, no_response) << "nobody is there";

  const ByteVector elements =
      contents(ask({1, 0, 0, 0, 0xFA, 1, 0, 0, 1, 1, 0, 0, 0, 0, 0, 0}, 0xFFFFFA));
  EXPECT_EQ(elements, (ByteVector{0, 0, 0, 1, 0x10, 0, 2, 0, 0, 0, 0, 9, 0, 0, 0, 1}));
}

TEST_F(FabricTest, PortsEchoIdentifyThemselvesAndRejectWhatTheyDoNotKnow) {
  EXPECT_EQ(els({0x10, 0, 0, 0, 1, 2, 3}, 2), (ByteVector{2, 0, 0, 0, 1, 2, 3}));
  const ByteVector identity = els({0x78, 0, 0, 0, 0xDF, 0, 0, 0}, 3);
  EXPECT_EQ(identity.size(), 76U);
  EXPECT_EQ(identity.at(15), 3) << "the port's name";
  const ByteVector errors = els({0x0F, 0, 0, 0, 0, 0, 0, 2}, 2);
  EXPECT_EQ(errors.size(), 28U);
  EXPECT_NE(els({0x0F, 0, 0, 0, 0, 0, 0, 2}, 2), errors) << "the counters advance";
  EXPECT_EQ(els({0x0F, 0, 0, 0, 0, 0, 0, 9}, 2), (ByteVector{1, 0, 0, 0, 0, 9, 0x1F, 0}));
  EXPECT_EQ(els({0x55, 0, 0, 0}, 2), (ByteVector{1, 0, 0, 0, 0, 1, 0, 0}));
  els({0x10, 0, 0, 0}, 9);
  EXPECT_EQ(status, no_response);
}

TEST_F(FabricTest, LogicalUnitsCheckWhatTheyAreAsked) {
  EXPECT_EQ(sense_of(flat_300, {0x00}), ByteVector{});
  EXPECT_EQ(sense_of(flat_300, {0x77}), (ByteVector{5, 0x20, 0}));
  EXPECT_EQ(sense_of(7, {0x00}), (ByteVector{5, 0x25, 0}));
  EXPECT_EQ(sense_of(300, {0x00}), (ByteVector{5, 0x25, 0})) << "not a peripheral address";
  EXPECT_EQ(sense_of(flat_300, {0x12, 0, 0x80, 0, 96}), (ByteVector{5, 0x24, 0}));
  EXPECT_EQ(scsi(flat_300, {0x12, 1, 0xB0, 0, 96}).sense,
            (ByteVector{0x70, 0, 5, 0, 0, 0, 0, 10, 0, 0, 0, 0, 0x24, 0, 0, 0xC0, 0, 2}))
      << "points at the page";
  EXPECT_EQ(scsi(7, {0x12, 0, 0, 0, 96}).data.at(0), 0x7F);
  EXPECT_EQ(scsi(7, {0x03, 0, 0, 0, 18}).data.at(12), 0x25);
  EXPECT_EQ(sense_of(0, {0xA0, 0, 0, 0, 0, 0, 0, 0, 0, 8}), (ByteVector{5, 0x24, 0}));
  EXPECT_EQ(sense_of(1, {0x2A, 0, 0, 0, 0, 0, 0, 0, 1}), (ByteVector{7, 0x27, 0}));

  const ByteVector list = scsi(0, {0xA0, 0, 0, 0, 0, 0, 0, 0, 0, 255}).data;
  EXPECT_EQ(list, (ByteVector{0, 0, 0, 16, 0,    0,    0, 0, 0, 1, 0, 0,
                              0, 0, 0, 0,  0x41, 0x2C, 0, 0, 0, 0, 0, 0}));
  EXPECT_EQ(scsi(1, {0x25}).data, (ByteVector{0xFF, 0xFF, 0xFF, 0xFD, 0, 0, 2, 0}));
}

/** What sg3-utils says of sense data. */
std::string decoded_sense(const ByteVector& sense) {
  std::string command = "sg_decode_sense";
  for (const std::uint8_t byte : sense) {
    std::array<char, 4> digits;
    std::snprintf(digits.data(), digits.size(), " %02x", byte);
    command += digits.data();
  }
  return ovk::test::output_of(command);
}

TEST_F(FabricTest, AForeignDecoderReadsTheSenseDataToItsDetails) {
  using testing::AllOf;
  using testing::HasSubstr;
  EXPECT_THAT(decoded_sense(scsi(flat_300, {0x77}).sense),
              HasSubstr("Invalid command operation code"));
  EXPECT_THAT(decoded_sense(scsi(7, {0x00}).sense), HasSubstr("Logical unit not supported"));
  EXPECT_THAT(decoded_sense(scsi(flat_300, {0x12, 1, 0xB0, 0, 96}).sense),
              AllOf(HasSubstr("Invalid field in cdb"), HasSubstr("Error in Command: byte 2")));
  EXPECT_THAT(decoded_sense(scsi(flat_300, {0x28, 0, 0, 0, 0, 99, 0, 0, 2}).sense),
              AllOf(HasSubstr("Logical block address out of range"), HasSubstr("Info fld=0x63")));
}

TEST_F(FabricTest, AnFcpCommandEndsWithItsFcpResponse) {
  const ByteVector good = fcp_response('2', {0x12, 0, 0, 0, 36});
  EXPECT_EQ(answer.reply_size, 36U);
  EXPECT_EQ(good, (ByteVector{0, 0, 0, 0,   0,  0, 0, 0, 0, 0, 0x08, 0,
                              0, 0, 0, 219, 24, 0, 0, 0, 0, 0, 0,    0}))
      << "a residual of 219 bytes under FCP_DL";

  const ByteVector refused = fcp_response('2', {0x77});
  ASSERT_EQ(refused.size(), 24U + 18);
  EXPECT_EQ(refused[10], 0x0A) << "sense data, and a residual";
  EXPECT_EQ(refused[11], 0x02) << "CHECK CONDITION";
  EXPECT_THAT(decoded_sense({refused.begin() + 24, refused.end()}),
              testing::HasSubstr("Invalid command operation code"));
  EXPECT_EQ(fcp_response('2', {0x77}, 30).size(), 30U);

  fcp_response('9', {0});
  EXPECT_EQ(status, not_found);
  fcp_response('3', {0});
  EXPECT_EQ(status, no_response) << "a port without logical units";
}

TEST_F(FabricTest, PortsPassManagementCommandsOnAndTakeResponses) {
  const auto command = [this](char port) {
    ByteVector name;
    put_bytes(name, parse_wwn(std::string("100002000000000") + port)->bytes);
    ByteVector sent{1, 0, 0, 0, 0xFA, 1, 0, 0, 1, 0x14, 0, 0, 0, 0, 0, 0};  // GFN
    put_bytes(sent, parse_wwn("1000020000000009")->bytes);
    sent.resize(ct_size);
    ByteVector received(ct_size);
    status = send("RAVN_MGMT_HBA_SEND_MGMT_CMD", {.request_size = 24, .reply_size = ct_size},
                  name.data(), sent.data(), received.data());
    received.resize(status == success ? answer.reply_size : 0);
    return received;
  };
  EXPECT_EQ(contents(command('2')), (ByteVector{0x10, 0, 2, 0, 0, 0, 0, 9})) << "the fabric's name";
  command('8');
  EXPECT_EQ(status, transport_failed) << "no such port";

  ByteVector response(ct_size);
  EXPECT_EQ(send("RAVN_MGMT_HBA_SEND_MGMT_RSP", {.request_size = ct_size}, response.data()),
            not_permitted)
      << "not a CT_IU";
  response[0] = 3;
  EXPECT_EQ(send("RAVN_MGMT_HBA_SEND_MGMT_RSP", {.request_size = ct_size}, response.data()),
            success);
}

TEST_F(FabricTest, ABoardInADiagnosticStateIsNotOnTheFabric) {
  constexpr std::uint32_t enter_mode_3 = 19;
  EXPECT_EQ(send("RAVN_MGMT_SETDIAG", {.selector = enter_mode_3}), success);
  ask(name_server_request(0x0100, 0));
  EXPECT_EQ(status, not_ready);
  els({0x10, 0, 0, 0}, 2);
  EXPECT_EQ(status, not_ready);
  fcp_response('2', {0});
  EXPECT_EQ(status, not_ready);
}

TEST_F(FabricTest, BlocksAreWhereTheyWereWrittenAndNowhereElse) {
  const ByteVector written(1024, 0x5A);
  EXPECT_EQ(scsi(flat_300, {0x2A, 0, 0, 0, 0, 98, 0, 0, 2}, written).transferred, 1024U);
  EXPECT_EQ(scsi(flat_300, {0x28, 0, 0, 0, 0, 98, 0, 0, 2}, ByteVector(1024)).data, written);
  EXPECT_EQ(scsi(flat_300, {0x28, 0, 0, 0, 0, 97, 0, 0, 1}, ByteVector(512)).data, ByteVector(512));
  EXPECT_EQ(scsi(flat_300, {0x28, 0, 0, 0, 0, 0, 0, 0, 2}, ByteVector(512)).transferred, 512U)
      << "FCP_DL bounds what comes";
  EXPECT_EQ(sense_of(flat_300, {0x2A, 0, 0, 0, 0, 0, 0, 0, 1}), (ByteVector{0x0B, 0x4B, 0}))
      << "not a block's data";

  EXPECT_EQ(scsi(flat_300, {0x28, 0, 0, 0, 0, 99, 0, 0, 2}).sense,
            (ByteVector{0xF0, 0, 5, 0, 0, 0, 99, 10, 0, 0, 0, 0, 0x21, 0, 0, 0, 0, 0}));
  EXPECT_EQ(sense_of(1, {0x28, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0xFF, 0xFF}),
            (ByteVector{5, 0x21, 0}));
}

TEST_F(FabricTest, AFileThatBecameShorterThanItsUnitIsAnUnreadableMedium) {
  const auto disk = folder / "disk.img";
  std::ofstream{disk} << std::string(512, 'x') << std::string(512, 'y');
  use_topology(with(one_board, "\"fc_id\": 2",
                    R"("fc_id": 2, "luns": [{"lun": 0, "serial_number": "F", "file": ")" +
                        disk.string() + "\"}]"));
  const ByteVector read_the_second_block{0x28, 0, 0, 0, 0, 1, 0, 0, 1};
  EXPECT_EQ(scsi(0, read_the_second_block, ByteVector(512)).data, ByteVector(512, 'y'));
  std::filesystem::resize_file(disk, 512);
  EXPECT_EQ(sense_of(0, read_the_second_block), (ByteVector{3, 0x11, 0}));
}

}  // namespace

}  // namespace ravnsim::test
