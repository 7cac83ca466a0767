#include "driver_abi/records/hardware.h"

#include "driver_abi/records/parameters.h"
#include "tests/simulator/simulator_test.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <utility>

#include <gmock/gmock.h>

namespace ravnsim::test {

namespace {

using enum DriverStatus;
using ovk::ParameterRecord;
using ovk::VpdRecord;

constexpr std::uint32_t transfer_size = 4096;
using Transfer = std::array<std::uint8_t, transfer_size>;

class HardwareTest : public SimulatorTest {
 protected:
  HardwareTest() { use_topology(one_board); }

  DriverStatus transfer(CommandId command, std::uint32_t offset, std::uint32_t count,
                        Transfer& data) {
    return send(command, {.index = offset, .request_size = count}, &data);
  }

  /** A dword of the PCI configuration space. */
  std::uint32_t config(std::uint32_t offset) {
    Transfer data{};
    EXPECT_EQ(transfer("RAVN_MGMT_READ_PCI", offset, 4, data), success);
    std::uint32_t value;
    std::memcpy(&value, data.data(), sizeof value);
    return value;
  }

  void set_config(std::uint32_t offset, std::uint32_t value) {
    Transfer data{};
    std::memcpy(data.data(), &value, sizeof value);
    EXPECT_EQ(transfer("RAVN_MGMT_WRITE_PCI", offset, 4, data), success);
  }
};

TEST_F(HardwareTest, TheConfigurationSpaceListsTheCapabilitiesOfAPciExpressFunction) {
  std::vector<std::uint32_t> capabilities;
  for (std::uint32_t place = config(0x34); place != 0; place = config(place) >> 8 & 0xFF) {
    ASSERT_LT(capabilities.size(), 16U) << "the capabilities go round in a circle";
    capabilities.push_back(config(place) & 0xFF);
  }
  EXPECT_THAT(capabilities, testing::ElementsAre(0x01, 0x11, 0x10));
}

TEST_F(HardwareTest, ConfigurationWritesReachWhatHardwareLetsThemReach) {
  set_config(0x00, 0xFFFFFFFF);
  EXPECT_EQ(config(0x00), 0xABCD1234) << "identifiers are read-only";
  set_config(0x10, 0xFFFFFFFF);
  EXPECT_EQ(config(0x10), 0xFFFFC004) << "the BAR answers with its size and type";
  const std::uint32_t before = config(0x78);
  set_config(0x78, 0xFFFF0000);
  EXPECT_EQ(config(0x78), 0U) << "ones clear status bits, zeros clear control bits";
  set_config(0x78, before);
  EXPECT_EQ(config(0x78), before);

  Transfer data{};
  data[0] = 0x5A;
  EXPECT_EQ(transfer("RAVN_MGMT_WRITE_PCI", 0x3C, 1, data), success);
  EXPECT_EQ(config(0x3C), 0x0000015AU) << "a single byte leaves its neighbours alone";
}

TEST_F(HardwareTest, TransfersBeyondASpaceAreRefused) {
  use_topology(sli3_board());
  Transfer data{};
  for (const CommandId command :
       {CommandId{"RAVN_MGMT_READ_PCI"}, CommandId{"RAVN_MGMT_WRITE_PCI"}}) {
    EXPECT_EQ(transfer(command, 0, 4096, data), success);
    EXPECT_EQ(transfer(command, 4096, 4, data), does_not_fit);
    EXPECT_EQ(transfer(command, 4092, 8, data), does_not_fit);
  }
  constexpr std::uint32_t end_of_memory = 16384;
  for (const CommandId command :
       {CommandId{"RAVN_MGMT_READ_MEM"}, CommandId{"RAVN_MGMT_WRITE_MEM"}}) {
    EXPECT_EQ(transfer(command, end_of_memory - 3, 3, data), success);
    EXPECT_EQ(transfer(command, end_of_memory - 3, 4, data), does_not_fit);
    EXPECT_EQ(transfer(command, 0, 4097, data), does_not_fit);
    EXPECT_EQ(transfer(command, 0xFFFFFFFC, 8, data), does_not_fit);
  }
}

TEST_F(HardwareTest, AWriteToMemoryLeavesItsNeighboursAlone) {
  use_topology(sli3_board());
  Transfer ones{};
  ones.fill(1);
  EXPECT_EQ(transfer("RAVN_MGMT_WRITE_MEM", 100, 300, ones), success);
  Transfer read{};
  EXPECT_EQ(transfer("RAVN_MGMT_READ_MEM", 99, 302, read), success);
  Transfer expected{};
  std::fill_n(expected.begin() + 1, 300, std::uint8_t{1});
  EXPECT_TRUE(same(read, expected));
}

TEST_F(HardwareTest, RegistersAreFourOfWhichTheStatusIsReadOnlyAndWhatTheOthersHoldIsKept) {
  use_topology(sli3_board());
  use_state();
  EXPECT_EQ(send("RAVN_MGMT_READ_CTLREG", {.index = 0x8}), success);
  EXPECT_EQ(send("RAVN_MGMT_WRITE_CTLREG", {.index = 0x8}), not_permitted);
  EXPECT_EQ(send("RAVN_MGMT_READ_CTLREG", {.index = 0x10}), not_found);
  EXPECT_EQ(send("RAVN_MGMT_READ_CTLREG", {.index = 0x1}), not_found);
  EXPECT_EQ(send("RAVN_MGMT_WRITE_CTLREG", {.index = 0xC, .value = 0xCAFE}), success);
  EXPECT_EQ(send("RAVN_MGMT_WRITE_CTLREG", {.index = 0x4, .value = 5}), success)
      << "raises what waits";
  EXPECT_EQ(send("RAVN_MGMT_WRITE_CTLREG", {.index = 0x0, .value = 1}), success)
      << "clears some of it";
  restart();
  for (const auto& [place, value] : {std::pair{0xCU, 0xCAFEU}, {0x4U, 0U}, {0x0U, 4U}}) {
    EXPECT_EQ(send("RAVN_MGMT_READ_CTLREG", {.index = place}), success);
    EXPECT_EQ(answer.value, value) << place;
  }
}

TEST_F(HardwareTest, MemoryAndRegistersAreThoseOfOlderBoards) {
  Transfer data{};
  EXPECT_EQ(transfer("RAVN_MGMT_READ_MEM", 0, 4, data), not_supported);
  EXPECT_EQ(transfer("RAVN_MGMT_WRITE_MEM", 0, 4, data), not_supported);
  EXPECT_EQ(send("RAVN_MGMT_READ_CTLREG", {.index = 0}), not_supported);
  EXPECT_EQ(send("RAVN_MGMT_WRITE_CTLREG", {.index = 0}), not_supported);
}

class VpdImageTest : public SimulatorTest {
 protected:
  DriverStatus read(VpdRecord& record, std::uint32_t version = 1) {
    return send("RAVN_MGMT_GET_VPD", {.selector = version}, &record);
  }

  static std::string field(const std::string& keyword, const std::string& text) {
    return keyword + static_cast<char>(text.size()) + text;
  }

  /** A large resource: its tag, its length in two bytes, and its contents. */
  static std::string resource(char tag, const std::string& contents) {
    return tag + std::string{static_cast<char>(contents.size()), '\0'} + contents;
  }
};

TEST_F(VpdImageTest, IsLaidOutAsThePciStandardHasIt) {
  use_topology(with(one_board, R"("model": "M1",)", R"("model": "Tarvos TV9", "vpd": {
    "engineering_change": "E7", "manufacture_id": "01A2", "asset_tag": "rack 4"},
    "model_description": "nine",)"));
  VpdRecord record{};
  EXPECT_EQ(read(record), success);
  EXPECT_EQ(record.version, 1U);
  EXPECT_STREQ(record.product, "Tarvos TV9");

  std::string image{record.read_only, record.read_only + record.read_only_size};
  EXPECT_EQ(std::accumulate(image.begin(), image.end(), 0) & 0xFF, 0) << "the checksum";
  image.back() = '?';
  EXPECT_EQ(image, resource('\x82', "nine") +
                       resource('\x90', field("PN", "TV9") + field("EC", "E7") + field("SN", "S1") +
                                            field("MN", "01A2") + field("RV", "?")));

  image = {record.read_write, record.read_write + record.read_write_size};
  const std::string free = field("RW", std::string(0x34, '\0'));
  EXPECT_EQ(image, resource('\x91', field("YA", "rack 4") + free) + "\x78") << "with the end tag";
}

TEST_F(VpdImageTest, TheLongestTextsStillFit) {
  const std::string text(64, 'x');
  use_topology(with(with(one_board, R"("M1")", '"' + text + text + '"'), R"("S1")",
                    '"' + text + R"(", "hardware_version": ")" + text + '"'));
  VpdRecord record{};
  EXPECT_EQ(read(record), success);
  ASSERT_LE(record.read_only_size, sizeof record.read_only);
  const std::string image{record.read_only, record.read_only + record.read_only_size};
  EXPECT_THAT(image, testing::HasSubstr(field("SN", text.substr(0, 24)) + "RV"));
}

TEST_F(VpdImageTest, CanBeAbsentAndHasOneVersion) {
  VpdRecord record{};
  use_topology(one_board);
  EXPECT_EQ(read(record, 0), success);
  EXPECT_EQ(read(record, 2), not_supported);
  use_topology(one_board_with(R"("vpd": {"present": false})"));
  EXPECT_EQ(read(record), no_vpd);
}

class DriverParametersTest : public SimulatorTest {
 protected:
  DriverParametersTest() { use_topology(one_board); }

  std::vector<ParameterRecord> list(std::uint32_t room = 10560) {
    std::vector<ParameterRecord> table(80);
    EXPECT_EQ(send("RAVN_MGMT_GETCFG", {.request_size = room}, table.data()), success);
    EXPECT_EQ(answer.reply_size % sizeof(ParameterRecord), 0U);
    table.resize(answer.reply_size / sizeof(ParameterRecord));
    return table;
  }

  DriverStatus set(std::size_t index, std::uint32_t value) {
    return send("RAVN_MGMT_SETCFG", {.index = static_cast<std::uint32_t>(index), .value = value});
  }
};

TEST_F(DriverParametersTest, EveryParameterTakesItsLimitsAndNothingBeyond) {
  const auto table = list();
  ASSERT_GT(table.size(), 10U);
  for (std::size_t i = 0; i < table.size(); ++i) {
    const ParameterRecord& parameter = table[i];
    EXPECT_NE(parameter.name[0], '\0');
    EXPECT_EQ(parameter.value, parameter.initial);
    if (parameter.takes_effect == ovk::TakesEffect::never_set) {
      EXPECT_EQ(set(i, parameter.value), not_permitted) << parameter.name;
      continue;
    }
    EXPECT_EQ(set(i, parameter.least), success) << parameter.name;
    EXPECT_EQ(set(i, parameter.most), success) << parameter.name;
    if (parameter.least > 0) {
      EXPECT_EQ(set(i, parameter.least - 1), does_not_fit) << parameter.name;
    }
    if (parameter.most < 0xFFFFFFFF) {
      EXPECT_EQ(set(i, parameter.most + 1), does_not_fit) << parameter.name;
    }
    EXPECT_EQ(list()[i].value, parameter.most) << parameter.name;
  }
  EXPECT_EQ(set(table.size(), 1), not_found);
  EXPECT_EQ(list(2 * sizeof(ParameterRecord) + 131).size(), 2U) << "what has room";
}

TEST_F(SimulatorTest, TheModuleTellsOfItsBoardsAndCountsWhatItLogged) {
  use_topology(one_board);
  testing::internal::CaptureStderr();
  std::string message(64, 'm');
  message[1] = '\x1b';
  EXPECT_EQ(send("RAVN_MGMT_LOG_MSG", {}, message.data()), success);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "ravnsim: driver log: m?" + std::string(62, 'm') + "\n");

  std::array<std::uint32_t, 6276 / 4> record{};
  EXPECT_EQ(send("RAVN_MGMT_MOD_INFO", {}, record.data()), success);
  const auto* text = reinterpret_cast<const char*>(record.data());
  EXPECT_STREQ(text, "ravn");
  EXPECT_STREQ(text + 32, "1.2.3");
  EXPECT_EQ(record[17], 1U) << "boards";
  EXPECT_EQ(record[18], 1U) << "messages";
  EXPECT_EQ(record[33], 3U) << "the board's driver number";
  EXPECT_STREQ(text + 132 + 16, "M1");
}

}  // namespace

}  // namespace ravnsim::test
