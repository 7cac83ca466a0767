#include "tests/support/library_test.h"

#include <ovk/fabric.h>
#include <ovk/hbaapi.h>

#include <algorithm>

namespace ovk::test {
namespace {

constexpr Wwn own_port{{0x10, 0, 2, 0, 0x54, 0, 0, 1}};
const ByteVector naa{1, 3, 0, 8, 0x30, 1, 2, 3, 4, 5, 6, 7};
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
  Exchange& expect_inquiry(std::uint32_t number, const ByteVector& descriptor) {
    const auto byte = static_cast<std::uint8_t>(number);
    const FcpCmnd inquiry{
        {byte, 2, 3, 4, 5, 6, 7, 8}, 0, 0, 0, 2, {0x12, 1, 0x83, 0, 255}, {0, 0, 0, 255}};
    ByteVector page{0, 0x83, 0, static_cast<std::uint8_t>(descriptor.size())};
    page.insert(page.end(), descriptor.begin(), descriptor.end());
    return channel.expect("RAVN_MGMT_HBA_SEND_SCSI", board0)
        .word(2, 255)
        .sends(1, with_at(ByteVector(40, byte), 8, inquiry))
        .answers(3, page.size())
        .replies(2, page);
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

TEST_F(TargetMappingTest, V2AsksForTheMappingOfTheBoardsOwnPortOnlyAndWithMemoryForIt) {
  ByteVector map = list_of(2, 0);
  expect_own_port();
  EXPECT_EQ(get_v2(map, Wwn{{0x10, 0, 2, 0, 0x54, 0, 0, 2}}), 5U);
  expect_own_port().status(0x0BAD0001);
  EXPECT_EQ(get_v2(map), 1U);
  EXPECT_THAT(map, SameBytes(list_of(2, 0)));

  ByteVector wrapping = with_at(map, 0, 0xFFFFFFFF / 300 + 1);
  expect_own_port();
  EXPECT_EQ(get_v2(wrapping), 1U);
  expect_own_port();
  const AllocationWatch memory{0};
  EXPECT_EQ(get_v2(map), 1U);
}

TEST_F(TargetMappingTest, V2CopiesTheFirstIdentifierOfAUnitIfThereIsOneAndNothingElse) {
  ByteVector longest{2, 0, 0, 127};
  longest.resize(4 + 127, 0x5A);
  ByteVector too_long{2, 0, 0, 128};
  too_long.resize(4 + 128, 0x5A);
  constexpr std::uint32_t sense_length = 128;  // all that the record holds
  static const ByteVector sense = with_at(ByteVector(172, 0x70), 168, sense_length);
  struct {
    const char* what;
    ByteVector descriptor;
    bool copied;
    void (*spoil)(Exchange& inquiry) = [](Exchange&) {};
  } const cases[] = {
      {"NAA", naa, true},
      {"EUI-64 with protocol bits", {0x61, 0x82, 0, 1, 0x99}, true},
      {"empty vendor specific", {2, 0, 0, 0}, true},
      {"the target port's", {1, 0x13, 0, 1, 0x99}, false},
      {"SCSI name string", {3, 8, 0, 1, 0x99}, false},
      {"relative target port", {1, 4, 0, 1, 0x99}, false},
      {"the longest", longest, true},
      {"a length that is negative as a signed byte", too_long, false},
      {"a failure", naa, false, [](Exchange& inquiry) { inquiry.status(0x0BAD0014); }},
      {"no data", naa, false, [](Exchange& inquiry) { inquiry.answers(3, 0); }},
      {"too much data", naa, false, [](Exchange& inquiry) { inquiry.answers(3, 256); }},
      {"sense data", naa, false, [](Exchange& inquiry) { inquiry.replies(1, sense); }},
  };
  for (const auto& [what, descriptor, copied, spoil] : cases) {
    ByteVector map = list_of(1, entry_v2_size);
    ByteVector expected = with_at(map, 4, entry(1));
    if (copied) {
      std::ranges::copy(descriptor, &expected[4 + entry_size]);
    }
    expect_own_port();
    expect_mapping(1, 1);
    spoil(expect_inquiry(1, descriptor));
    const AllocationWatch memory;
    EXPECT_EQ(get_v2(map), 0U);
    EXPECT_EQ(memory.outstanding(), 0);
    EXPECT_THAT(map, SameBytes(expected)) << what;
  }
}

TEST_F(TargetMappingTest, V2DeliversNoMoreThanTheDriverGives) {
  ByteVector map = list_of(1040, entry_v2_size);
  ByteVector expected = with_at(map, 0, 1030U);  // the count is the driver's
  expect_own_port();
  expect_mapping(1024, 1030);
  for (std::uint32_t i = 0; i < 1024; ++i) {
    expect_inquiry(i + 1, naa);
    std::ranges::copy(bytes_of(entry(i + 1)), &expected[4 + i * entry_v2_size]);
    std::ranges::copy(naa, &expected[4 + i * entry_v2_size + entry_size]);
  }
  EXPECT_EQ(get_v2(map), 0U);
  EXPECT_THAT(map, SameBytes(expected));
}

TEST_F(TargetMappingTest, V2PassesTheCountOnWithMoreDataAndKeepsItOnFailure) {
  struct {
    std::uint32_t room;
    std::uint32_t count;
    std::uint32_t status;
    std::uint32_t result;
    std::uint32_t told;
  } const cases[] = {{0, 3, 0, 7, 3}, {2, 0, 0, 0, 0}, {2, 1, 0x0BAD0014, 1, 2}};
  for (const auto& [room, count, status, result, told] : cases) {
    ByteVector map = list_of(room, 0);
    expect_own_port();
    expect_mapping(room, count).status(status);
    EXPECT_EQ(get_v2(map), result);
    EXPECT_THAT(map, SameBytes(bytes_of(told))) << result;
  }
}

}  // namespace
}  // namespace ovk::test
