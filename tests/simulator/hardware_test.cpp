// PCI configuration, memory, registers, vital product data, parameters and the module.

#include "tests/simulator/simulator_test.h"

#include <algorithm>
#include <numeric>

#include <gmock/gmock.h>

namespace ravnsim::test {

namespace {

using enum DriverStatus;

class HardwareTest : public SimulatorTest {
 protected:
  HardwareTest() { use_topology(one_board); }

  DriverStatus transfer(const char* command, std::uint32_t offset, std::uint32_t count) {
    return status_of(command, {.index = offset, .request_size = count});
  }
  /** A dword of the PCI configuration space. */
  std::uint32_t config(std::uint32_t offset) {
    return ask("READ_PCI", {.index = offset, .request_size = 4}).word(0);
  }
  /** The dword that is there after so many bytes were written. */
  std::uint32_t written(std::uint32_t offset, std::uint32_t value, std::uint32_t size = 4) {
    EXPECT_EQ(status_of("WRITE_PCI", {.index = offset, .request_size = size}, {words({value})}),
              success);
    return config(offset);
  }
};

TEST_F(HardwareTest, ConfigurationWritesReachWhatHardwareLetsThemReach) {
  EXPECT_EQ(written(0x00, 0xFFFFFFFF), 0xABCD1234) << "identifiers are read-only";
  EXPECT_EQ(written(0x10, 0xFFFFFFFF), 0xFFFFC004) << "the BAR answers with its size and type";
  const std::uint32_t before = config(0x78);
  EXPECT_EQ(written(0x78, 0xFFFF0000), 0U) << "ones clear status bits, zeros clear control bits";
  EXPECT_EQ(written(0x78, before), before);
  EXPECT_EQ(written(0x3C, 0x5A, 1), 0x0000015AU) << "a single byte leaves its neighbours alone";
}

TEST_F(HardwareTest, TransfersBeyondASpaceAreRefusedAndWritesLeaveTheirNeighboursAlone) {
  use_topology(sli3_board());
  for (const auto& [read, write, end] :
       {std::tuple{"READ_PCI", "WRITE_PCI", 4096U}, {"READ_MEM", "WRITE_MEM", 16384U}}) {
    for (const char* command : {read, write}) {
      EXPECT_EQ(transfer(command, end - 4096, 4096), success);
      EXPECT_EQ(transfer(command, end - 3, 3), success);
      EXPECT_EQ(transfer(command, end - 3, 4), does_not_fit);
      EXPECT_EQ(transfer(command, end, 4), does_not_fit);
      EXPECT_EQ(transfer(command, 0, 4097), does_not_fit);
      EXPECT_EQ(transfer(command, 0xFFFFFFFC, 8), does_not_fit);
    }
  }
  EXPECT_EQ(status_of("WRITE_MEM", {.index = 100, .request_size = 300}, {Bytes(4096, 1)}), success);
  EXPECT_EQ(ask("READ_MEM", {.index = 99, .request_size = 302}).payload(),
            Bytes(1) + Bytes(300, 1) + Bytes(3795));
}

TEST_F(HardwareTest, RegistersAreFourOfWhichTheStatusIsReadOnlyAndWhatTheOthersHoldIsKept) {
  use_topology(sli3_board());
  use_state();
  EXPECT_EQ(status_of("READ_CTLREG", {.index = 0x8}), success);
  EXPECT_EQ(status_of("WRITE_CTLREG", {.index = 0x8}), not_permitted);
  EXPECT_EQ(status_of("READ_CTLREG", {.index = 0x10}), not_found);
  EXPECT_EQ(status_of("READ_CTLREG", {.index = 0x1}), not_found);
  EXPECT_EQ(status_of("WRITE_CTLREG", {.index = 0xC, .value = 0xCAFE}), success);
  EXPECT_EQ(status_of("WRITE_CTLREG", {.index = 0x4, .value = 5}), success) << "raises what waits";
  EXPECT_EQ(status_of("WRITE_CTLREG", {.index = 0x0, .value = 1}), success) << "clears some of it";
  restart();
  for (const auto& [place, value] : {std::pair{0xCU, 0xCAFEU}, {0x4U, 0U}, {0x0U, 4U}}) {
    EXPECT_EQ(ask("READ_CTLREG", {.index = place}).block.value, value) << place;
  }
}

class VpdImageTest : public SimulatorTest {
 protected:
  Answer read(std::uint32_t version = 1) { return ask("GET_VPD", {.selector = version}); }

  /** The read-only or the writable part of the image. */
  static std::string image(const Answer& vpd, bool writable) {
    const Bytes bytes = vpd.part(writable ? 340 : 4, vpd.word(writable ? 600 : 596));
    return {bytes.begin(), bytes.end()};
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
  const Answer vpd = read();
  EXPECT_EQ(vpd.word(0), 1U) << "the version";
  EXPECT_EQ(vpd.part(260, 11), (Bytes{'T', 'a', 'r', 'v', 'o', 's', ' ', 'T', 'V', '9', 0}));
  std::string read_only = image(vpd, false);
  EXPECT_EQ(std::accumulate(read_only.begin(), read_only.end(), 0) & 0xFF, 0) << "the checksum";
  read_only.back() = '?';
  EXPECT_EQ(read_only,
            resource('\x82', "nine") +
                resource('\x90', field("PN", "TV9") + field("EC", "E7") + field("SN", "S1") +
                                     field("MN", "01A2") + field("RV", "?")));
  const std::string free = field("RW", std::string(0x34, '\0'));
  EXPECT_EQ(image(vpd, true), resource('\x91', field("YA", "rack 4") + free) + "\x78");
}

TEST_F(VpdImageTest, HasRoomForTheLongestTextsCanBeAbsentAndHasOneVersion) {
  const std::string text(64, 'x');
  use_topology(with(with(one_board, R"("M1")", '"' + text + text + '"'), R"("S1")",
                    '"' + text + R"(", "hardware_version": ")" + text + '"'));
  EXPECT_LE(read().word(596), 256U);
  EXPECT_THAT(image(read(), false), testing::HasSubstr(field("SN", text.substr(0, 24)) + "RV"));
  EXPECT_EQ(read(0).block.status, success);
  EXPECT_EQ(read(2).block.status, not_supported);
  use_topology(one_board_with(R"("vpd": {"present": false})"));
  EXPECT_EQ(read().block.status, no_vpd);
}

TEST_F(HardwareTest, EveryParameterTakesItsLimitsAndNothingBeyond) {
  constexpr std::uint32_t size = 132;
  const auto set = [this](std::uint32_t index, std::uint32_t value) {
    return status_of("SETCFG", {.index = index, .value = value});
  };
  const Answer table = ask("GETCFG", {.request_size = 80 * size});
  const std::uint32_t count = table.block.reply_size / size;
  ASSERT_GT(count, 10U);
  EXPECT_EQ(table.block.reply_size % size, 0U);
  for (std::uint32_t i = 0; i < count; ++i) {
    SCOPED_TRACE(i);
    const auto word = [&](std::size_t offset) { return table.word(i * size + offset); };
    const std::uint32_t least = word(32);
    const std::uint32_t most = word(36);
    EXPECT_NE(table.payload()[i * size], 0) << "its name";
    EXPECT_EQ(word(44), word(40)) << "at first its value is the initial one";
    if (word(48) == 3) {
      EXPECT_EQ(set(i, word(44)), not_permitted);
      continue;
    }
    EXPECT_EQ(set(i, least), success);
    EXPECT_EQ(set(i, most), success);
    EXPECT_TRUE(least == 0 || set(i, least - 1) == does_not_fit);
    EXPECT_TRUE(most == 0xFFFFFFFF || set(i, most + 1) == does_not_fit);
    EXPECT_EQ(ask("GETCFG", {.request_size = 80 * size}).word(i * size + 44), most);
  }
  EXPECT_EQ(set(count, 1), not_found);
  EXPECT_EQ(ask("GETCFG", {.request_size = 2 * size + 131}).block.reply_size, 2 * size);
}

TEST_F(HardwareTest, TheModuleTellsOfItsBoardsAndCountsWhatItLogged) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(status_of("LOG_MSG", {}, {Bytes{'m', 0x1b} + Bytes(62, 'm')}), success);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "ravnsim: driver log: m?" + std::string(62, 'm') + "\n");
  const Answer module = ask("MOD_INFO");
  EXPECT_EQ(module.part(0, 5), (Bytes{'r', 'a', 'v', 'n', 0}));
  EXPECT_EQ(module.part(32, 6), (Bytes{'1', '.', '2', '.', '3', 0}));
  EXPECT_EQ(module.part(68, 8), words({1, 1})) << "boards and messages";
  EXPECT_EQ(module.word(132), 3U) << "the board's driver number";
  EXPECT_EQ(module.part(148, 3), (Bytes{'M', '1', 0}));
}

}  // namespace

}  // namespace ravnsim::test
