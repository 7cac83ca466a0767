#include "tests/support/library_test.h"

#include <ovk/fabric.h>
#include <ovk/hbaapi.h>

#include <algorithm>
#include <optional>

namespace ovk::test {
namespace {

constexpr Wwn own_port{{0x10, 0, 2, 0, 0x54, 0, 0, 1}};
constexpr Wwn other_port{{0x10, 0, 2, 0, 0x54, 0, 0, 2}};
const ByteVector naa_header{1, 3, 0, 8};
constexpr std::size_t entry_size = sizeof(FcpScsiEntry);
constexpr std::size_t entry_v2_size = sizeof(FcpScsiEntryV2);

/** A list that the caller made: its room, and entries that nobody has written to. */
ByteVector list_of(std::uint32_t room, std::size_t entry_bytes) {
  return with_at(ByteVector(4 + room * entry_bytes, 0xEE), 0, room);
}

template <typename List>
List* as(ByteVector& memory) {
  void* bytes = memory.data();
  return static_cast<List*>(bytes);
}

/** The mapping of the logical unit of a number. */
FcpScsiEntry entry(std::uint32_t number) {
  auto entry = record_of<FcpScsiEntry>(static_cast<std::uint8_t>(number));
  entry.FcpLun = 0x0807060504030200 + static_cast<std::uint8_t>(number);
  return entry;
}

/** An identification descriptor: its header, which tells its length, and the designator. */
ByteVector descriptor(ByteVector header) {
  header.resize(4U + header[3], 0x5A);
  return header;
}

class TargetMappingTest : public LibraryTest {
 protected:
  Exchange& expect_mapping(std::uint32_t room, std::uint32_t count) {
    ByteVector reply(4 + room * entry_size);
    for (std::uint32_t i = 0; i < std::min(room, count); ++i) {
      reply = with_at(std::move(reply), 4 + i * entry_size, entry(i + 1));
    }
    return channel.expect("RAVN_MGMT_HBA_FCPTARGETMAPPING", board0)
        .word(2, room)
        .answers(3, count)
        .replies(1, reply);
  }

  Exchange& expect_own_port() {
    return channel.expect("RAVN_MGMT_HBA_PORTATTRIBUTES", board0)
        .replies(1, with_at(ByteVector(490), 8, own_port));
  }

  /** Expects the inquiry of the logical unit of a number, and answers with a first descriptor. */
  Exchange& expect_inquiry(std::uint32_t number, const ByteVector& header) {
    const auto byte = static_cast<std::uint8_t>(number);
    const FcpCmnd inquiry{
        {byte, 2, 3, 4, 5, 6, 7, 8}, 0, 0, 0, 2, {0x12, 1, 0x83, 0, 255}, {0, 0, 0, 255}};
    return channel.expect("RAVN_MGMT_HBA_SEND_SCSI", board0)
        .word(2, 255)
        .sends(1, with_at(ByteVector(40, byte), 8, inquiry))
        .answers(3, 8U + header[3])
        .replies(2, with_at(ByteVector(8U + header[3]), 4, descriptor(header)));
  }

  static std::uint32_t get_v2(ByteVector& map, const Wwn& port = own_port) {
    return OVK_GetFcpTargetMappingV2(0, &port, as<FcpTargetMappingV2>(map));
  }
};

TEST_F(TargetMappingTest, AMissingBufferIsPassedOnAndNeverRead) {
  ByteVector map = list_of(2, entry_size);
  const ByteVector expected = with_at(map, 0, 1);
  channel.expect("RAVN_MGMT_HBA_FCPTARGETMAPPING", board0).word(2, 2).lacks(1).answers(3, 1);
  const AllocationWatch memory{0};
  EXPECT_EQ(GetFcpTargetMapping(0, as<FcpTargetMapping>(map)), 0U);
  EXPECT_THAT(map, SameBytes(expected));
}

TEST_F(TargetMappingTest, V2AsksForTheMappingOfTheBoardsOwnPortAndTellsTheCountUnlessItFails) {
  struct {
    std::uint32_t room;
    std::optional<std::uint32_t> count;  // of the mapping, if it is asked for
    std::uint32_t status;
    std::uint32_t result;
    std::uint32_t told;
    const Wwn& port = own_port;
  } const cases[] = {{2, {}, 0, OVK_ILLEGAL_WWN, 2, other_port},
                     {0xFFFFFFFF / 300 + 1, {}, 0, OVK_FAILED, 0xFFFFFFFF / 300 + 1},
                     {0, 3, 0, OVK_MORE_DATA, 3},
                     {2, 0, 0, OVK_OK, 0},
                     {2, 1, 0x0BAD0014, OVK_FAILED, 2}};
  for (const auto& [room, count, status, result, told, port] : cases) {
    ByteVector map = bytes_of(room);
    expect_own_port();
    if (count) {
      expect_mapping(room, *count).status(status);
    }
    EXPECT_EQ(get_v2(map, port), result);
    EXPECT_THAT(map, SameBytes(bytes_of(told)));
  }
  ByteVector map = bytes_of(2U);
  expect_own_port().status(0x0BAD0001);
  EXPECT_EQ(get_v2(map), OVK_FAILED);
  expect_own_port();
  const AllocationWatch memory{0};
  EXPECT_EQ(get_v2(map), OVK_FAILED);
}

TEST_F(TargetMappingTest, V2CopiesTheFirstIdentifierOfAUnitIfThereIsOneAndNothingElse) {
  constexpr std::uint32_t sense_length = 128;  // all that the record holds
  static const ByteVector sense = with_at(ByteVector(172, 0x70), 168, sense_length);
  struct {
    ByteVector header;
    bool copied;
    void (*spoil)(Exchange& inquiry) = [](Exchange&) {};
  } const cases[] = {
      {naa_header, true},
      {{0x61, 0x82, 0, 1}, true},  // EUI-64 with protocol bits
      {{2, 0, 0, 0}, true},
      {{2, 0, 0, 127}, true},
      {{2, 0, 0, 128}, false},   // the length is negative as a signed byte
      {{1, 0x13, 0, 1}, false},  // of the target port
      {{1, 4, 0, 1}, false},     // of a type that FC-HBA does not know
      {naa_header, false, [](Exchange& inquiry) { inquiry.status(0x0BAD0014); }},
      {naa_header, false, [](Exchange& inquiry) { inquiry.answers(3, 0); }},
      {naa_header, false, [](Exchange& inquiry) { inquiry.answers(3, 256); }},
      {naa_header, false, [](Exchange& inquiry) { inquiry.replies(1, sense); }},
  };
  for (const auto& [header, copied, spoil] : cases) {
    ByteVector map = list_of(1, entry_v2_size);
    ByteVector expected = with_at(map, 4, entry(1));
    if (copied) {
      expected = with_at(expected, 4 + entry_size, descriptor(header));
    }
    expect_own_port();
    expect_mapping(1, 1);
    spoil(expect_inquiry(1, header));
    const AllocationWatch memory;
    EXPECT_EQ(get_v2(map), 0U);
    EXPECT_EQ(memory.outstanding(), 0);
    EXPECT_THAT(map, SameBytes(expected)) << testing::PrintToString(header);
  }
}

TEST_F(TargetMappingTest, V2DeliversNoMoreThanTheDriverGives) {
  ByteVector map = list_of(1040, entry_v2_size);
  ByteVector expected = with_at(map, 0, 1030U);  // the count is the driver's
  expect_own_port();
  expect_mapping(1024, 1030);
  for (std::uint32_t i = 0; i < 1024; ++i) {
    expect_inquiry(i + 1, naa_header);
    std::ranges::copy(bytes_of(entry(i + 1)), &expected[4 + i * entry_v2_size]);
    std::ranges::copy(descriptor(naa_header), &expected[4 + i * entry_v2_size + entry_size]);
  }
  EXPECT_EQ(get_v2(map), 0U);
  EXPECT_THAT(map, SameBytes(expected));
}

}  // namespace
}  // namespace ovk::test
