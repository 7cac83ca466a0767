#include "tests/simulator/simulator_test.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <numeric>
#include <span>

#include <gmock/gmock.h>

namespace ravnsim::test {

namespace {

using testing::HasSubstr;
using enum DriverStatus;

constexpr std::uint32_t transfer_size = 4096;
using Transfer = std::array<std::uint8_t, transfer_size>;

std::string sli3_board() { return with(one_board, R"("sli_mode": 4)", R"("sli_mode": 3)"); }

std::vector<vmk_MgmtCallbackInfo> hardware_callbacks() {
  return {
      callback(DriverCommand::read_pci, {{transfer_size, VMK_MGMT_PARAMETER_OUT}}),
      callback(DriverCommand::write_pci, {{transfer_size, VMK_MGMT_PARAMETER_IN}}),
      callback(DriverCommand::read_mem, {{transfer_size, VMK_MGMT_PARAMETER_OUT}}),
      callback(DriverCommand::write_mem, {{transfer_size, VMK_MGMT_PARAMETER_IN}}),
      callback(DriverCommand::read_ctlreg),
      callback(DriverCommand::write_ctlreg),
      callback(DriverCommand::get_vpd, {{616, VMK_MGMT_PARAMETER_OUT}}),
      callback(DriverCommand::get_pci_sbdf, {{24, VMK_MGMT_PARAMETER_OUT}}),
      callback(DriverCommand::getcfg, {{10560, VMK_MGMT_PARAMETER_OUT}}),
      callback(DriverCommand::setcfg),
      callback(DriverCommand::mod_info, {{6276, VMK_MGMT_PARAMETER_OUT}}),
      callback(DriverCommand::log_msg, {{64, VMK_MGMT_PARAMETER_IN}}),
      callback(DriverCommand::call_ver, {{72, VMK_MGMT_PARAMETER_OUT}}),
  };
}

/** Board 3 of a topology, as the driver's commands reach it. */
class Hardware {
 public:
  DriverStatus transfer(DriverCommand command, std::uint32_t offset, std::uint32_t count,
                        Transfer& data) {
    CommandBlock block{.driver_board = 3, .index = offset, .request_size = count};
    return channel.send(command, block, &data);
  }

  /** A dword of the PCI configuration space. */
  std::uint32_t config(std::uint32_t offset) {
    Transfer data{};
    EXPECT_EQ(transfer(DriverCommand::read_pci, offset, 4, data), success);
    std::uint32_t value;
    std::memcpy(&value, data.data(), sizeof value);
    return value;
  }

  void set_config(std::uint32_t offset, std::uint32_t value) {
    Transfer data{};
    std::memcpy(data.data(), &value, sizeof value);
    EXPECT_EQ(transfer(DriverCommand::write_pci, offset, 4, data), success);
  }

  DriverStatus read_register(std::uint32_t offset, std::uint32_t& value) {
    CommandBlock block{.driver_board = 3, .index = offset};
    const DriverStatus status = channel.send(DriverCommand::read_ctlreg, block);
    value = block.value;
    return status;
  }

  DriverStatus write_register(std::uint32_t offset, std::uint32_t value) {
    CommandBlock block{.driver_board = 3, .index = offset, .value = value};
    return channel.send(DriverCommand::write_ctlreg, block);
  }

  Channel channel{hardware_callbacks()};
};

class HardwareTest : public SimulatorTest {
 protected:
  HardwareTest() { use_topology(one_board); }
};

TEST_F(HardwareTest, TheConfigurationSpaceIsThatOfAPciExpressFunction) {
  use_topology(with(one_board, R"("device")", R"("subsystem": "0x77778888", "device")"));
  Hardware board;
  EXPECT_EQ(board.config(0x00), 0xABCD1234);
  EXPECT_EQ(board.config(0x08) >> 16, 0x0C04U) << "a Fibre Channel controller";
  EXPECT_EQ(board.config(0x2C), 0x77778888U);

  std::vector<std::uint32_t> capabilities;
  for (std::uint32_t place = board.config(0x34); place != 0;
       place = board.config(place) >> 8 & 0xFF) {
    ASSERT_LT(capabilities.size(), 16U) << "the capabilities go round in a circle";
    capabilities.push_back(board.config(place) & 0xFF);
  }
  EXPECT_THAT(capabilities, testing::ElementsAre(0x01, 0x11, 0x10));
  EXPECT_EQ(board.config(0x144), 0x00000001U) << "the serial number's lower half";
  EXPECT_EQ(board.config(0x148), 0x10000000U);
}

TEST_F(HardwareTest, ConfigurationWritesReachWhatHardwareLetsThemReach) {
  Hardware board;
  board.set_config(0x00, 0xFFFFFFFF);
  EXPECT_EQ(board.config(0x00), 0xABCD1234) << "identifiers are read-only";
  board.set_config(0x10, 0xFFFFFFFF);
  EXPECT_EQ(board.config(0x10), 0xFFFFC004) << "the BAR answers with its size and type";
  const std::uint32_t before = board.config(0x78);
  board.set_config(0x78, 0xFFFF0000);
  EXPECT_EQ(board.config(0x78), 0U) << "ones clear status bits, zeros clear control bits";
  board.set_config(0x78, before);
  EXPECT_EQ(board.config(0x78), before);

  Transfer data{};
  data[0] = 0x5A;
  EXPECT_EQ(board.transfer(DriverCommand::write_pci, 0x3C, 1, data), success);
  EXPECT_EQ(board.config(0x3C), 0x0000015AU) << "a single byte leaves its neighbours alone";
}

TEST_F(HardwareTest, TransfersBeyondASpaceAreRefused) {
  use_topology(sli3_board());
  Hardware board;
  Transfer data{};
  using enum DriverCommand;
  for (const auto command : {read_pci, write_pci}) {
    EXPECT_EQ(board.transfer(command, 0, 4096, data), success);
    EXPECT_EQ(board.transfer(command, 4096, 4, data), does_not_fit);
    EXPECT_EQ(board.transfer(command, 4092, 8, data), does_not_fit);
  }
  constexpr std::uint32_t end_of_memory = 16384;
  for (const auto command : {read_mem, write_mem}) {
    EXPECT_EQ(board.transfer(command, end_of_memory - 3, 3, data), success);
    EXPECT_EQ(board.transfer(command, end_of_memory - 3, 4, data), does_not_fit);
    EXPECT_EQ(board.transfer(command, 0, 4097, data), does_not_fit);
    EXPECT_EQ(board.transfer(command, 0xFFFFFFFC, 8, data), does_not_fit);
  }
}

TEST_F(HardwareTest, WhatWasWrittenIsThereForTheNextProcess) {
  use_topology(sli3_board());
  use_state();
  Transfer data{};
  std::iota(data.begin(), data.end(), std::uint8_t{1});
  {
    Hardware board;
    EXPECT_EQ(board.transfer(DriverCommand::write_mem, 100, 300, data), success);
    EXPECT_EQ(board.write_register(0xC, 0xCAFE), success);
    board.set_config(0x04, 0);
  }
  Hardware board;
  Transfer read{};
  EXPECT_EQ(board.transfer(DriverCommand::read_mem, 99, 302, read), success);
  EXPECT_TRUE(std::equal(data.begin(), data.begin() + 300, read.begin() + 1));
  EXPECT_EQ(read[0], 0);
  EXPECT_EQ(read[301], 0);
  std::uint32_t value = 0;
  EXPECT_EQ(board.read_register(0xC, value), success);
  EXPECT_EQ(value, 0xCAFEU);
  EXPECT_EQ(board.config(0x04), 0x00100000U);
}

TEST_F(HardwareTest, TheDoorbellRaisesAttentionUntilItIsCleared) {
  use_topology(sli3_board());
  Hardware board;
  std::uint32_t value = 0;
  EXPECT_EQ(board.write_register(0x4, 0x5), success);
  EXPECT_EQ(board.read_register(0x4, value), success);
  EXPECT_EQ(value, 0U);
  EXPECT_EQ(board.write_register(0x0, 0x1), success);
  EXPECT_EQ(board.read_register(0x0, value), success);
  EXPECT_EQ(value, 0x4U);
  EXPECT_EQ(board.write_register(0x8, 0), not_permitted) << "the status is read-only";
  EXPECT_EQ(board.read_register(0x10, value), not_found);
  EXPECT_EQ(board.read_register(0x1, value), not_found);
}

TEST_F(HardwareTest, MemoryAndRegistersAreThoseOfOlderBoards) {
  Hardware board;
  Transfer data{};
  std::uint32_t value = 0;
  EXPECT_EQ(board.transfer(DriverCommand::read_mem, 0, 4, data), not_supported);
  EXPECT_EQ(board.transfer(DriverCommand::write_mem, 0, 4, data), not_supported);
  EXPECT_EQ(board.read_register(0, value), not_supported);
  EXPECT_EQ(board.write_register(0, 0), not_supported);
}

/** The record that RAVN_MGMT_GET_VPD answers with. */
struct VpdRecord {
  std::uint32_t version;
  std::uint8_t read_only[256];
  char product[80];
  std::uint8_t read_write[256];
  std::uint32_t read_only_size;
  std::uint32_t read_write_size;
  std::uint32_t rest[3];
};

class VpdImageTest : public SimulatorTest {
 protected:
  static DriverStatus read(VpdRecord& record, std::uint32_t version = 1) {
    const Channel channel{hardware_callbacks()};
    CommandBlock block{.driver_board = 3, .selector = version};
    return channel.send(DriverCommand::get_vpd, block, &record);
  }

  /** The fields of one large resource, by their keywords. */
  static std::map<std::string, std::string> fields(std::span<const std::uint8_t> resource) {
    std::map<std::string, std::string> fields;
    const std::size_t end = 3U + resource[1] + resource[2] * 256U;
    EXPECT_LE(end, resource.size());
    std::size_t place = 3;
    while (place + 3 <= end) {
      const std::string keyword{resource.begin() + static_cast<std::ptrdiff_t>(place),
                                resource.begin() + static_cast<std::ptrdiff_t>(place) + 2};
      const std::size_t length = resource[place + 2];
      const auto text = resource.subspan(place + 3, length);
      fields[keyword] = {text.begin(), text.end()};
      place += 3 + length;
    }
    EXPECT_EQ(place, end) << "the fields fill their resource";
    return fields;
  }
};

TEST_F(VpdImageTest, ParsesAsThePciStandardHasIt) {
  use_topology(with(one_board, R"("model": "M1",)", R"("model": "Tarvos TV9", "vpd": {
    "engineering_change": "E7", "manufacture_id": "01A2", "asset_tag": "rack 4"},
    "model_description": "nine",)"));
  VpdRecord record{};
  EXPECT_EQ(read(record), success);
  EXPECT_EQ(record.version, 1U);
  EXPECT_STREQ(record.product, "Tarvos TV9");

  const std::span image{record.read_only, record.read_only_size};
  EXPECT_EQ(image[0], 0x82);
  EXPECT_EQ(std::string(image.begin() + 3, image.begin() + 7), "nine");
  EXPECT_EQ(image[7], 0x90);
  auto read_only = fields(image.subspan(7));
  EXPECT_EQ(std::accumulate(image.begin(), image.end(), 0) & 0xFF, 0) << "the checksum";
  read_only.erase("RV");
  EXPECT_EQ(read_only, (std::map<std::string, std::string>{
                           {"PN", "TV9"}, {"EC", "E7"}, {"SN", "S1"}, {"MN", "01A2"}}));

  const std::span writable{record.read_write, record.read_write_size};
  EXPECT_EQ(writable.front(), 0x91);
  EXPECT_EQ(writable.back(), 0x78) << "the end tag";
  EXPECT_EQ(fields(writable.first(writable.size() - 1)).at("YA"), "rack 4");
}

TEST_F(VpdImageTest, TheLongestTextsStillFit) {
  const std::string text(64, 'x');
  use_topology(with(with(one_board, R"("M1")", '"' + text + text + '"'), R"("S1")",
                    '"' + text + R"(", "hardware_version": ")" + text + '"'));
  VpdRecord record{};
  EXPECT_EQ(read(record), success);
  ASSERT_LE(record.read_only_size, sizeof record.read_only);
  EXPECT_EQ(fields(std::span{record.read_only}.subspan(3 + 96)).at("SN"), text.substr(0, 24));
}

TEST_F(VpdImageTest, CanBeAbsentAndHasOneVersion) {
  VpdRecord record{};
  use_topology(one_board);
  EXPECT_EQ(read(record, 0), success);
  EXPECT_EQ(read(record, 2), not_supported);
  use_topology(with(one_board, R"("device")", R"("vpd": {"present": false}, "device")"));
  EXPECT_EQ(read(record), no_vpd);
}

/** An entry of the table that RAVN_MGMT_GETCFG answers with. */
struct ParameterRecord {
  char name[32];
  std::uint32_t least;
  std::uint32_t most;
  std::uint32_t initial;
  std::uint32_t value;
  std::uint32_t takes_effect;
  char description[80];
};

class DriverParametersTest : public SimulatorTest {
 protected:
  DriverParametersTest() { use_topology(one_board); }

  static std::vector<ParameterRecord> list(const Channel& channel, std::uint32_t room = 10560) {
    std::vector<ParameterRecord> table(80);
    CommandBlock block{.driver_board = 3, .request_size = room};
    EXPECT_EQ(channel.send(DriverCommand::getcfg, block, table.data()), success);
    EXPECT_EQ(block.reply_size % sizeof(ParameterRecord), 0U);
    table.resize(block.reply_size / sizeof(ParameterRecord));
    return table;
  }

  static DriverStatus set(const Channel& channel, std::size_t index, std::uint32_t value) {
    CommandBlock block{
        .driver_board = 3, .index = static_cast<std::uint32_t>(index), .value = value};
    return channel.send(DriverCommand::setcfg, block);
  }
};

TEST_F(DriverParametersTest, EveryParameterTakesItsLimitsAndNothingBeyond) {
  const Channel channel{hardware_callbacks()};
  const auto table = list(channel);
  ASSERT_GT(table.size(), 10U);
  for (std::size_t i = 0; i < table.size(); ++i) {
    const ParameterRecord& parameter = table[i];
    EXPECT_NE(parameter.name[0], '\0');
    EXPECT_EQ(parameter.value, parameter.initial);
    if (parameter.takes_effect == 3) {
      EXPECT_EQ(set(channel, i, parameter.value), not_permitted) << parameter.name;
      continue;
    }
    EXPECT_EQ(set(channel, i, parameter.least), success) << parameter.name;
    EXPECT_EQ(set(channel, i, parameter.most), success) << parameter.name;
    if (parameter.least > 0) {
      EXPECT_EQ(set(channel, i, parameter.least - 1), does_not_fit) << parameter.name;
    }
    if (parameter.most < 0xFFFFFFFF) {
      EXPECT_EQ(set(channel, i, parameter.most + 1), does_not_fit) << parameter.name;
    }
    EXPECT_EQ(list(channel)[i].value, parameter.most) << parameter.name;
  }
  EXPECT_EQ(set(channel, table.size(), 1), not_found);
}

TEST_F(DriverParametersTest, ValuesOutliveTheProcessAndTheRoomLimitsTheList) {
  use_state();
  EXPECT_EQ(set(Channel{hardware_callbacks()}, 1, 17), success);
  const Channel channel{hardware_callbacks()};
  const auto table = list(channel, 2 * 132 + 131);
  ASSERT_EQ(table.size(), 2U);
  EXPECT_EQ(table[1].value, 17U);
  EXPECT_EQ(table[0].value, table[0].initial);
}

class ModuleTest : public SimulatorTest {
 protected:
  ModuleTest() { use_topology(one_board); }
};

TEST_F(ModuleTest, TellsOfItsBoardsAndCountsWhatItLogged) {
  const Channel channel{hardware_callbacks()};
  testing::internal::CaptureStderr();
  std::array<char, 64> message{};
  std::memset(message.data(), 'm', message.size());
  message[1] = '\x1b';
  CommandBlock block{};
  EXPECT_EQ(channel.send(DriverCommand::log_msg, block, message.data()), success);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "ravnsim: driver log: m?" + std::string(62, 'm') + "\n");

  std::array<std::uint32_t, 6276 / 4> record{};
  block = {};
  EXPECT_EQ(channel.send(DriverCommand::mod_info, block, record.data()), success);
  const auto* text = reinterpret_cast<const char*>(record.data());
  EXPECT_STREQ(text, "ravn");
  EXPECT_STREQ(text + 32, "1.2.3");
  EXPECT_EQ(record[17], 1U) << "boards";
  EXPECT_EQ(record[18], 1U) << "messages";
  EXPECT_EQ(record[33], 3U) << "the board's driver number";
  EXPECT_STREQ(text + 132 + 16, "M1");
}

TEST_F(ModuleTest, ItsSignatureIsTheInterfacesUnlessAFaultMakesItAnother) {
  use_faults(R"([{"command": "RAVN_MGMT_CALL_VER", "effect": "revision", "value": 7}])");
  const Channel channel{hardware_callbacks()};
  for (const std::uint32_t revision : {7U, 0x02000104U}) {
    std::array<std::uint32_t, 18> record{};
    CommandBlock block{};
    EXPECT_EQ(channel.send(DriverCommand::call_ver, block, record.data()), success);
    EXPECT_EQ(record[0], revision);
    EXPECT_STREQ(reinterpret_cast<const char*>(&record[1]), "ravn-mgmt");
    EXPECT_EQ(record[17], 94U);
  }
}

TEST_F(HardwareTest, MistakesInTheHardwareAreNamed) {
  struct Case {
    const char* member;
    const char* message;
  };
  for (const Case& c : {
           Case{R"("pci": {"bus": 256},)", "/boards/0/pci/bus: 256 is not between 0 and 255"},
           Case{R"("trunk": {"ports": [0, 1], "ports_up": [2]},)",
                "/boards/0/trunk/ports_up: a port that is up is one of the trunk's ports"},
           Case{R"("vpd": {"serial": "x"},)", "/boards/0/vpd: member \"serial\" is unknown"},
       }) {
    use_topology(with(one_board, R"("device")", std::string{c.member} + R"("device")"));
    EXPECT_THAT(said_by_a_channel(), HasSubstr(c.message));
  }
  use_topology(with(sli3_board(), R"("device")", R"("trunk": {}, "device")"));
  EXPECT_THAT(said_by_a_channel(), HasSubstr("/boards/0/trunk: only boards with an SLI mode"));
}

}  // namespace

}  // namespace ravnsim::test
