#include "tests/support/library_test.h"

#include <ovk/info.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace ovk::test {
namespace {

constexpr std::uint32_t transfer_size = 4096;

using Read = std::uint32_t(std::uint32_t, void*, std::uint32_t, std::uint32_t);
using Range = std::pair<std::uint32_t, std::uint32_t>;

class RawAccessTest : public LibraryTest {
 protected:
  Exchange& expect_transfer(std::string_view name, Range range) {
    return channel.expect(name, board0).word(1, range.first).word(2, range.second);
  }

  /** Checks that the buffer got this many bytes of the driver's, and nothing behind them. */
  void expect_received(std::size_t count) {
    ByteVector expected = counted_bytes(buffer.size());
    std::fill(expected.begin() + static_cast<std::ptrdiff_t>(count), expected.end(),
              std::uint8_t{0});
    EXPECT_THAT(buffer, SameBytes(expected));
  }

  ByteVector buffer = ByteVector(2 * transfer_size);
};

TEST_F(RawAccessTest, PciReadsDeliverTheBytesThatWereAskedFor) {
  for (Read* read : {OVK_ReadPciCfg, ReadPciCfg}) {
    for (const Range& range : {Range{0, 4}, Range{4096, 4}, Range{256, 4096}, Range{64, 0}}) {
      std::ranges::fill(buffer, std::uint8_t{0});
      expect_transfer("RAVN_MGMT_READ_PCI", range).replies(1, counted_bytes(transfer_size));
      const AllocationWatch memory;
      EXPECT_EQ(read(0, buffer.data(), range.first, range.second), OVK_OK);
      EXPECT_EQ(memory.outstanding(), 0);
      expect_received(range.second);
    }
  }
}

TEST_F(RawAccessTest, PciAccessRefusesAWrongRangeBeforeTheDriverIsAsked) {
  const AllocationWatch memory;
  for (const Range& range : {Range{0, 4097}, Range{0, 4100}, Range{0, 6}, Range{2, 4},
                             Range{4100, 4}, Range{0xFFFFFFFC, 4}, Range{0, 0xFFFFFFFC}}) {
    EXPECT_EQ(OVK_ReadPciCfg(0, buffer.data(), range.first, range.second), OVK_FAILED);
  }
  for (const std::uint32_t offset : {1U, 4097U, 4100U}) {
    EXPECT_EQ(WritePciCfg(0, buffer.data(), offset, 4), OVK_FAILED);
  }
  EXPECT_EQ(memory.outstanding(), 0);

  const AllocationWatch no_memory{0};
  EXPECT_EQ(OVK_ReadPciCfg(0, buffer.data(), 2, 6), OVK_NO_MEMORY) << "before the range is checked";
}

TEST_F(RawAccessTest, PciWritesSendAnyCountButNoMoreThanOneTransfer) {
  const ByteVector data = counted_bytes(buffer.size());
  for (const Range& range : {Range{4096, 7}, Range{0, 4096}, Range{16, 8192}}) {
    const auto sent = std::min(range.second, transfer_size);
    expect_transfer("RAVN_MGMT_WRITE_PCI", range).sends(1, counted_bytes(sent));
    EXPECT_EQ(WritePciCfg(0, data.data(), range.first, range.second), OVK_OK);
  }
}

TEST_F(RawAccessTest, MemoryMovesAnyCountButNoMoreThanOneTransfer) {
  const ByteVector data = counted_bytes(buffer.size());
  for (const Range& range : {Range{3, 5}, Range{0xFFFFFFFF, 4096}, Range{0, 8192}}) {
    const auto moved = std::min(range.second, transfer_size);
    std::ranges::fill(buffer, std::uint8_t{0});
    expect_sli_mode(board0, 3);
    expect_transfer("RAVN_MGMT_READ_MEM", range).replies(1, counted_bytes(transfer_size));
    EXPECT_EQ(ReadMem(0, buffer.data(), range.first, range.second), OVK_OK);
    expect_received(moved);

    expect_sli_mode(board0, 3);
    expect_transfer("RAVN_MGMT_WRITE_MEM", range).sends(1, counted_bytes(moved));
    EXPECT_EQ(WriteMem(0, data.data(), range.first, range.second), OVK_OK);
  }
}

}  // namespace
}  // namespace ovk::test
