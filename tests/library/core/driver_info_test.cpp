#include "library/boards/driver_info.h"

#include "tests/support/library_test.h"

#include <ovk/core.h>
#include <ovk/hbaapi.h>

#include <cstring>

namespace ovk::test {
namespace {

constexpr std::uint32_t extended_sli_config = 0x1000;
constexpr std::uint32_t link_down_supported = 0x400;

class DriverInfoTest : public LibraryTest {
 protected:
  /** The driver's record: each byte tells its place, but for the words that decide something. */
  static ByteVector driver_record(std::uint32_t sli_mode, std::uint32_t features) {
    return with_at(with_at(counted_bytes(120), 96, sli_mode), 104, features);
  }

  Exchange& expect_info(std::uint32_t sli_mode, std::uint32_t features) {
    return channel.expect("RAVN_MGMT_GET_RAVNOVK_INFO", board0)
        .word(2, 120)
        .replies(1, driver_record(sli_mode, features));
  }
  Exchange& expect_adapter() { return channel.expect("RAVN_MGMT_HBA_ADAPTERATTRIBUTES", board0); }
  Exchange& expect_port() {
    return channel.expect("RAVN_MGMT_HBA_PORTATTRIBUTES", board0).replies(1, counted_bytes(20));
  }
  Exchange& expect_probe() { return channel.expect("RAVN_MGMT_MBOX_SLI_CFG_EXT_SUP", board0); }

  DrvInfo info = record_of<DrvInfo>(0xEE);
};

TEST_F(DriverInfoTest, CombinesDriverAdapterPortAndHostByteForByte) {
  host().name = "a-host-with-a-name-of-exactly-32";
  expect_info(5, link_down_supported);
  expect_adapter().replies(
      1, with_at(with_at(ByteVector(2192), 1160, "12.8.1.0-rc17-and-more"), 1936, "ravndriver"));
  expect_port();
  expect_probe();
  EXPECT_EQ(OVK_GetDrvInfo(0, &info), 0U);

  ByteVector expected(148);
  const ByteVector driver = driver_record(5, link_down_supported | extended_sli_config);
  const ByteVector port = counted_bytes(20);
  const auto put = [&expected](std::size_t offset, const void* bytes, std::size_t size) {
    std::memcpy(&expected[offset], bytes, size);
  };
  put(0, "\xEE\x15\xEE\xEE\x04\x00\x01\xEE", 8);
  put(8, "12.8.1.0-rc17-an", 16);
  put(24, "ravndriv", 8);
  put(32, &driver[0], 16);
  put(48, &driver[64], 8);
  put(80, &port[16], 4);
  put(84, &port[8], 8);
  put(92, &port[0], 8);
  put(100, host().name.data(), 32);
  put(136, &driver[96], 4);
  put(140, &driver[104], 8);
  EXPECT_THAT(bytes_of(info), SameBytes(expected));
}

TEST_F(DriverInfoTest, ExtendedMailboxesNeedAnSli4InterfaceAndAnAcceptedProbeButNoAttributes) {
  struct {
    std::uint32_t sli_mode;
    int adapter_delivery;
    std::uint32_t probe_status;
    std::uint32_t features;
  } const cases[] = {
      {4, 0, 0, extended_sli_config}, {4, 1, 0, extended_sli_config}, {3, 0, 0, 0}, {4, 0, 1, 0}};
  for (const auto& [sli_mode, adapter_delivery, probe_status, features] : cases) {
    expect_info(sli_mode, 0);
    expect_adapter().delivery_error(adapter_delivery);
    expect_port();
    expect_probe().status(probe_status);
    EXPECT_EQ(OVK_GetDrvInfo(0, &info), 0U);
    EXPECT_EQ(info.features, features) << sli_mode << ", " << probe_status;
    EXPECT_EQ(bytes_of(info.driver_version), ByteVector(16)) << "no stack bytes reach the caller";
  }
  expect_info(4, 0);
  expect_adapter();
  expect_port().status(1);
  EXPECT_EQ(OVK_GetDrvInfo(0, &info), 2U);
}

}  // namespace
}  // namespace ovk::test
