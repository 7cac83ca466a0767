// The fabric behind a board: servers, link services and SCSI targets.

#include "simulator/wire.h"
#include "simulator/wwn.h"
#include "tests/simulator/simulator_test.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>

#include <gmock/gmock.h>

namespace ravnsim::test {

namespace {

constexpr std::uint32_t in = VMK_MGMT_PARAMETER_IN;
constexpr std::uint32_t out = VMK_MGMT_PARAMETER_OUT;
constexpr std::uint32_t both = VMK_MGMT_PARAMETER_IN_OUT;
constexpr std::uint32_t ct_size = 245760;
constexpr std::uint32_t data_size = 262144;

const std::string target_name = "1000000000000002";
const std::string two_luns = R"("fc_id": 2, "fc4_types": ["fcp"], "luns": [
    {"lun": 300, "serial_number": "A", "blocks": 100, "naa": "5000000000000300"},
    {"lun": 1, "serial_number": "B", "blocks": 4294967294, "read_only": true}])";

struct ScsiAnswer {
  std::uint32_t transferred;
  ByteVector data;
  ByteVector sense;
};

class FabricTest : public SimulatorTest {
 protected:
  void open(const std::string& topology) {
    use_topology(topology);
    channel_ = std::make_unique<Channel>(
        std::vector{callback(DriverCommand::send_ct, {{ct_size, in}, {ct_size, out}}),
                    callback(DriverCommand::send_els, {{16, in}, {1024, in}, {1024, out}}),
                    callback(DriverCommand::hba_send_scsi, {{172, both}, {data_size, both}}),
                    callback(DriverCommand::hba_send_fcp, {{200, both}, {data_size, both}}),
                    callback(DriverCommand::hba_fcptargetmapping, {{303108, out}}),
                    callback(DriverCommand::setdiag)});
    ASSERT_EQ(channel_->open_result(), 0);
  }

  ByteVector ask(const ByteVector& iu, std::uint32_t destination = 0xFFFFFC) {
    ByteVector sent = iu;
    sent.resize(ct_size);
    ByteVector received(ct_size);
    CommandBlock block{.driver_board = 3,
                       .request_size = static_cast<std::uint32_t>(iu.size()),
                       .reply_size = ct_size,
                       .value = destination};
    status = channel_->send(DriverCommand::send_ct, block, sent.data(), received.data());
    received.resize(status == DriverStatus::success ? block.reply_size : 0);
    return received;
  }

  ByteVector els(const ByteVector& request, std::uint8_t fc_id) {
    ByteVector destination(16);
    destination[8] = fc_id;
    ByteVector sent = request;
    sent.resize(1024);
    ByteVector received(1024);
    CommandBlock block{.driver_board = 3,
                       .request_size = static_cast<std::uint32_t>(request.size()),
                       .reply_size = 1024};
    status = channel_->send(DriverCommand::send_els, block, destination.data(), sent.data(),
                            received.data());
    received.resize(status == DriverStatus::success ? block.reply_size : 0);
    return received;
  }

  /** A request record up to its reply, for the first discovered port. */
  static ByteVector scsi_record(std::uint16_t lun, const ByteVector& cdb, std::uint32_t length) {
    ByteVector record;
    put_bytes(record, parse_wwn(target_name)->bytes);
    put_number(record, lun, 2);
    put_zeros(record, 10);
    put_bytes(record, cdb);
    record.resize(36);
    put_number(record, length, 4);
    return record;
  }

  ScsiAnswer scsi(std::uint16_t lun, const ByteVector& cdb, ByteVector data = ByteVector(255)) {
    const auto length = static_cast<std::uint32_t>(data.size());
    ByteVector record = scsi_record(lun, cdb, length);
    record.resize(172);
    data.resize(data_size);
    CommandBlock block{.driver_board = 3, .request_size = length};
    status = channel_->send(DriverCommand::hba_send_scsi, block, record.data(), data.data());
    data.resize(std::min(block.reply_size, data_size));
    return {block.reply_size, data,
            ByteVector(record.begin() + 40, record.begin() + 40 + record[168])};
  }

  /** The sense key and code that a command ends with; empty with GOOD. */
  ByteVector sense_of(std::uint16_t lun, const ByteVector& cdb) {
    const ByteVector sense = scsi(lun, cdb).sense;
    return sense.empty() ? sense : ByteVector{sense.at(2), sense.at(12), sense.at(13)};
  }

  DriverStatus status{};

 private:
  std::unique_ptr<Channel> channel_;
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
  open(with(one_board, "\"fc_id\": 2", two_luns));
  const ByteVector first = contents(ask(name_server_request(0x0100, 0)));
  EXPECT_EQ(first.size(), 620U);
  EXPECT_EQ(get_number(first, 1, 3), 2U);
  EXPECT_EQ(get_number(contents(ask(name_server_request(0x0100, 3))), 1, 3), 0x010203U);
  EXPECT_EQ(get_number(contents(ask(name_server_request(0x0100, 0x010203))), 1, 3), 2U);

  const ByteVector fcp = contents(ask(name_server_request(0x0171, 8)));
  EXPECT_EQ(fcp, (ByteVector{0, 0, 0, 2, 0x80, 1, 2, 3}));
  const ByteVector named = contents(ask(name_server_request(0x0172, 0x20)));
  EXPECT_EQ(named, (ByteVector{0x80, 1, 2, 3, 0, 0, 0, 0, 0x10, 0, 0, 0, 0, 0, 0, 1}));
  EXPECT_EQ(contents(ask(name_server_request(0x0113, 3))), (ByteVector{0x20, 0, 0, 0, 0, 0, 0, 3}));
  EXPECT_EQ(contents(ask(name_server_request(0x0118, 0x010203))), (ByteVector{3, 'o', 'w', 'n'}));

  const ByteVector cut = ask(name_server_request(0x0171, 8, 1));
  EXPECT_EQ(cut.size(), 20U) << "no more than the request has room for";
  EXPECT_EQ(get_number(cut, 10, 2), 1U) << "a word was left out";
}

TEST_F(FabricTest, TheServersRejectWhatTheyDoNotKnow) {
  open(one_board);
  EXPECT_EQ(reject_of(ask(name_server_request(0x0113, 77))), (ByteVector{0x09, 0x01}));
  EXPECT_EQ(reject_of(ask(name_server_request(0x0171, 0x28))), (ByteVector{0x09, 0x07}));
  EXPECT_EQ(reject_of(ask(name_server_request(0x0999, 0))), (ByteVector{0x0B, 0x00}));
  EXPECT_EQ(reject_of(ask({1, 0, 0, 0, 0xFC, 2})), (ByteVector{0x04, 0x00}));
  EXPECT_EQ(reject_of(ask(name_server_request(0x0100, 0), 0xFFFFFA)), (ByteVector{0x0B, 0x00}));
  ask(name_server_request(0x0100, 0), 0xFFFFFB);
  EXPECT_EQ(status, DriverStatus::no_response) << "nobody is there";

  const ByteVector elements =
      contents(ask({1, 0, 0, 0, 0xFA, 1, 0, 0, 1, 1, 0, 0, 0, 0, 0, 0}, 0xFFFFFA));
  EXPECT_EQ(elements, (ByteVector{0, 0, 0, 1, 0x10, 0, 0, 0, 0, 0, 0, 9, 0, 0, 0, 1}));
}

TEST_F(FabricTest, PortsEchoIdentifyThemselvesAndRejectWhatTheyDoNotKnow) {
  open(one_board);
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
  EXPECT_EQ(status, DriverStatus::no_response);
}

TEST_F(FabricTest, LogicalUnitsCheckWhatTheyAreAsked) {
  open(with(one_board, "\"fc_id\": 2", two_luns));
  constexpr std::uint16_t flat_300 = 0x412C;
  EXPECT_EQ(sense_of(flat_300, {0x00}), ByteVector{});
  EXPECT_EQ(sense_of(flat_300, {0x77}), (ByteVector{5, 0x20, 0}));
  EXPECT_EQ(sense_of(7, {0x00}), (ByteVector{5, 0x25, 0}));
  EXPECT_EQ(sense_of(300, {0x00}), (ByteVector{5, 0x25, 0})) << "not a peripheral address";
  EXPECT_EQ(sense_of(flat_300, {0x12, 0, 0x80, 0, 96}), (ByteVector{5, 0x24, 0}));
  EXPECT_EQ(scsi(flat_300, {0x12, 1, 0xB0, 0, 96}).sense.at(17), 2) << "points at the page";
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
  FILE* const pipe = popen((command + " 2>&1").c_str(), "r");
  std::string output;
  std::array<char, 256> part;
  while (std::fgets(part.data(), part.size(), pipe) != nullptr) {
    output += part.data();
  }
  EXPECT_EQ(pclose(pipe), 0) << output;
  return output;
}

TEST_F(FabricTest, AForeignDecoderReadsTheSenseDataToItsDetails) {
  open(with(one_board, "\"fc_id\": 2", two_luns));
  constexpr std::uint16_t flat_300 = 0x412C;
  EXPECT_THAT(decoded_sense(scsi(flat_300, {0x77}).sense),
              testing::HasSubstr("Invalid command operation code"));
  EXPECT_THAT(decoded_sense(scsi(7, {0x00}).sense),
              testing::HasSubstr("Logical unit not supported"));
  const std::string field = decoded_sense(scsi(flat_300, {0x12, 1, 0xB0, 0, 96}).sense);
  EXPECT_THAT(field, testing::HasSubstr("Invalid field in cdb"));
  EXPECT_THAT(field, testing::HasSubstr("Error in Command: byte 2"));
  const std::string lba = decoded_sense(scsi(flat_300, {0x28, 0, 0, 0, 0, 99, 0, 0, 2}).sense);
  EXPECT_THAT(lba, testing::HasSubstr("Logical block address out of range"));
  EXPECT_THAT(lba, testing::HasSubstr("Info fld=0x63"));
}

TEST_F(FabricTest, BlocksAreWhereTheyWereWrittenAndNowhereElse) {
  open(with(one_board, "\"fc_id\": 2", two_luns));
  constexpr std::uint16_t flat_300 = 0x412C;
  const ByteVector written(1024, 0x5A);
  EXPECT_EQ(scsi(flat_300, {0x2A, 0, 0, 0, 0, 98, 0, 0, 2}, written).transferred, 1024U);
  EXPECT_EQ(scsi(flat_300, {0x28, 0, 0, 0, 0, 98, 0, 0, 2}, ByteVector(1024)).data, written);
  EXPECT_EQ(scsi(flat_300, {0x28, 0, 0, 0, 0, 97, 0, 0, 1}, ByteVector(512)).data, ByteVector(512));
  EXPECT_EQ(scsi(flat_300, {0x28, 0, 0, 0, 0, 0, 0, 0, 2}, ByteVector(512)).transferred, 512U)
      << "FCP_DL bounds what comes";
  EXPECT_EQ(sense_of(flat_300, {0x2A, 0, 0, 0, 0, 0, 0, 0, 1}), (ByteVector{0x0B, 0x4B, 0}))
      << "not a block's data";

  const ByteVector beyond = scsi(flat_300, {0x28, 0, 0, 0, 0, 99, 0, 0, 2}).sense;
  EXPECT_EQ(ByteVector(beyond.begin(), beyond.begin() + 7), (ByteVector{0xF0, 0, 5, 0, 0, 0, 99}));
  EXPECT_EQ(sense_of(1, {0x28, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0xFF, 0xFF}),
            (ByteVector{5, 0x21, 0}));
}

TEST_F(FabricTest, AFileHoldsTheBlocksOfItsUnit) {
  const auto disk = folder / "disk.img";
  std::ofstream{disk} << std::string(512, 'x') << std::string(512, 'y');
  open(with(one_board, "\"fc_id\": 2",
            "\"fc_id\": 2, \"luns\": [{\"lun\": 0, \"serial_number\": \"F\", \"file\": \"" +
                disk.string() + "\"}]"));
  EXPECT_EQ(scsi(0, {0x28, 0, 0, 0, 0, 1, 0, 0, 1}, ByteVector(512)).data, ByteVector(512, 'y'));
  EXPECT_EQ(scsi(0, {0x2A, 0, 0, 0, 0, 0, 0, 0, 1}, ByteVector(512, 'z')).transferred, 512U);
  std::ifstream file{disk};
  EXPECT_EQ(file.get(), 'z');
  std::filesystem::resize_file(disk, 512);
  EXPECT_EQ(sense_of(0, {0x28, 0, 0, 0, 0, 1, 0, 0, 1}), (ByteVector{3, 0x11, 0}));
}

TEST_F(FabricTest, MistakesInLogicalUnitsAreRefusedWithTheirPlace) {
  for (const auto& [unit, mistake] :
       {std::pair{R"({"lun": 0, "serial_number": "S"})", "either blocks or a file"},
        std::pair{R"({"lun": 16384, "serial_number": "S", "blocks": 1})", "/luns/0/lun"},
        std::pair{R"({"lun": 0, "serial_number": "S", "blocks": 1, "naa": "7000000000000001"})",
                  "no NAA identifier"},
        std::pair{R"({"lun": 0, "serial_number": "S", "file": "/no/such/disk"})",
                  "/no/such/disk: No such file"}}) {
    use_topology(
        with(one_board, "\"fc_id\": 2", "\"fc_id\": 2, \"luns\": [" + std::string{unit} + "]"));
    EXPECT_THAT(said_by_a_channel(), testing::HasSubstr(mistake)) << unit;
  }
}

}  // namespace

}  // namespace ravnsim::test
