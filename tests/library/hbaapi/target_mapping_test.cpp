#include "tests/support/library_test.h"

#include <ovk/hbaapi.h>

#include <algorithm>

namespace ovk::test {
namespace {

constexpr Wwn own_port{{0x10, 0, 2, 0, 0x54, 0, 0, 1}};
constexpr std::uint8_t untouched = 0xEE;
const ByteVector naa{1, 3, 0, 8, 0x30, 1, 2, 3, 4, 5, 6, 7};

void append(ByteVector& bytes, const ByteVector& more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
}

/** A count and entries, in memory of exactly this size. */
ByteVector list_of(std::uint32_t count, const ByteVector& entries) {
  ByteVector list = bytes_of(count);
  append(list, entries);
  return list;
}

/** Room for entries that nobody has written to. */
template <typename Entry>
ByteVector room_for(std::size_t entries) {
  return ByteVector(entries * sizeof(Entry), untouched);
}

template <typename List>
List* as(ByteVector& memory) {
  void* bytes = memory.data();
  return static_cast<List*>(bytes);
}

/** The mapping of the logical unit of a number. */
ByteVector entry(std::uint32_t number) {
  auto entry = record_of<FcpScsiEntry>(static_cast<std::uint8_t>(number));
  entry.FcpLun = 0x0807060504030200 + static_cast<std::uint8_t>(number);
  return bytes_of(entry);
}

/** That mapping as the second generation delivers it: the identifier stands behind it. */
ByteVector entry_v2(std::uint32_t number, const ByteVector& identifier) {
  ByteVector bytes = entry(number);
  append(bytes, identifier);
  bytes.resize(sizeof(FcpScsiEntryV2), untouched);
  return bytes;
}

/** The mappings of the first logical units. */
ByteVector first_entries(std::uint32_t count) {
  ByteVector entries;
  for (std::uint32_t i = 1; i <= count; ++i) {
    append(entries, entry(i));
  }
  return entries;
}

class TargetMappingTest : public LibraryTest {
 protected:
  Exchange& expect_mapping(std::uint32_t room, std::uint32_t count) {
    return channel.expect("RAVN_MGMT_HBA_FCPTARGETMAPPING", board0)
        .word(2, room)
        .answers(3, count)
        .replies(1, list_of(count, first_entries(std::min(count, room))));
  }

  void expect_own_port() {
    channel.expect("RAVN_MGMT_HBA_PORTATTRIBUTES", board0)
        .replies(1, with_at(ByteVector(490), 8, own_port));
  }

  /** Expects the inquiry of the logical unit of a number, and answers with a first descriptor. */
  Exchange& expect_inquiry(std::uint32_t number, const ByteVector& descriptor) {
    const auto byte = static_cast<std::uint8_t>(number);
    ByteVector request(8, byte);
    append(request, {byte, 2, 3, 4, 5, 6, 7, 8, 0, 0, 0, 2, 0x12, 1, 0x83, 0, 255});
    request.resize(40);
    request.back() = 255;
    ByteVector page{0, 0x83, 0, static_cast<std::uint8_t>(descriptor.size())};
    append(page, descriptor);
    return channel.expect("RAVN_MGMT_HBA_SEND_SCSI", board0)
        .word(2, 255)
        .sends(1, request)
        .answers(3, page.size())
        .replies(2, page);
  }

  static std::uint32_t get(ByteVector& map) {
    return GetFcpTargetMapping(0, as<FcpTargetMapping>(map));
  }
  static std::uint32_t get_v2(ByteVector& map, const Wwn& port = own_port) {
    return OVK_GetFcpTargetMappingV2(0, &port, as<FcpTargetMappingV2>(map));
  }
};

TEST_F(TargetMappingTest, GivesTheEntriesThatTheDriverHoldsButNoMoreThanItGives) {
  struct {
    std::uint32_t room;
    std::uint32_t count;
    std::uint32_t given;
  } const cases[] = {{5, 2, 2}, {1030, 1024, 1024}, {1030, 1030, 1024}};
  for (const auto& [room, count, given] : cases) {
    ByteVector map = list_of(room, room_for<FcpScsiEntry>(room));
    expect_mapping(std::min(room, 1024U), count);
    const AllocationWatch memory;
    EXPECT_EQ(get(map), 0U);
    EXPECT_EQ(memory.outstanding(), 0);
    ByteVector expected = list_of(count, first_entries(given));
    append(expected, room_for<FcpScsiEntry>(room - given));
    EXPECT_THAT(map, SameBytes(expected)) << count << " in " << room;
  }
}

TEST_F(TargetMappingTest, TellsTheCountWhateverTheResult) {
  struct {
    std::uint32_t room;
    std::uint32_t count;
    std::uint32_t status;
    int delivery;
    std::uint32_t result;
  } const cases[] = {{0, 3, 0, 0, 7},          {2, 3, 0, 0, 7},          {2, 3, 0x0BAD0014, 0, 7},
                     {2, 3, 0, 9, 7},          {2, 1, 0x0BAD005D, 0, 7}, {2, 1, 0x0BAD005D, 9, 7},
                     {2, 1, 0x0BAD0014, 0, 1}, {2, 0, 0, 9, 1}};
  for (const auto& [room, count, status, delivery, result] : cases) {
    SCOPED_TRACE(testing::Message()
                 << room << " " << count << " " << std::hex << status << " " << delivery);
    ByteVector map = list_of(room, room_for<FcpScsiEntry>(2));
    expect_mapping(room, count).ends_with(status, delivery);
    EXPECT_EQ(get(map), result);
    EXPECT_THAT(map, SameBytes(list_of(count, room_for<FcpScsiEntry>(2))));
  }
}

TEST_F(TargetMappingTest, AMissingBufferIsPassedOnAndNeverRead) {
  for (const int delivery : {9, 0}) {
    ByteVector map = list_of(2, room_for<FcpScsiEntry>(2));
    channel.expect("RAVN_MGMT_HBA_FCPTARGETMAPPING", board0)
        .word(2, 2)
        .lacks(1)
        .answers(3, 1)
        .delivery_error(delivery);
    const AllocationWatch memory{0};
    EXPECT_EQ(get(map), delivery == 0 ? 0U : 1U);
    EXPECT_THAT(map, SameBytes(list_of(1, room_for<FcpScsiEntry>(2))));
  }
}

TEST_F(TargetMappingTest, V2AsksForTheMappingOfTheBoardsOwnPortOnlyAndWithMemoryForIt) {
  ByteVector map = list_of(2, {});
  expect_own_port();
  EXPECT_EQ(get_v2(map, Wwn{{0x10, 0, 2, 0, 0x54, 0, 0, 2}}), 5U);
  channel.expect("RAVN_MGMT_HBA_PORTATTRIBUTES", board0).status(0x0BAD0001);
  EXPECT_EQ(get_v2(map), 1U);
  EXPECT_THAT(map, SameBytes(list_of(2, {})));

  ByteVector wrapping = list_of(0xFFFFFFFF / 300 + 1, {});
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
    ByteVector map = list_of(1, room_for<FcpScsiEntryV2>(1));
    expect_own_port();
    expect_mapping(1, 1);
    spoil(expect_inquiry(1, descriptor));
    const AllocationWatch memory;
    EXPECT_EQ(get_v2(map), 0U);
    EXPECT_EQ(memory.outstanding(), 0);
    EXPECT_THAT(map, SameBytes(list_of(1, entry_v2(1, copied ? descriptor : ByteVector{}))))
        << what;
  }
}

TEST_F(TargetMappingTest, V2DeliversNoMoreThanTheDriverGives) {
  ByteVector map = list_of(1040, room_for<FcpScsiEntryV2>(1040));
  ByteVector expected = with_at(map, 0, 1030U);  // the count is the driver's
  expect_own_port();
  expect_mapping(1024, 1030);
  for (std::uint32_t i = 0; i < 1024; ++i) {
    expect_inquiry(i + 1, naa);
    std::ranges::copy(entry_v2(i + 1, naa), &expected[4 + i * sizeof(FcpScsiEntryV2)]);
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
    ByteVector map = list_of(room, {});
    expect_own_port();
    expect_mapping(room, count).status(status);
    EXPECT_EQ(get_v2(map), result);
    EXPECT_THAT(map, SameBytes(list_of(told, {}))) << result;
  }
}

class BindingTest : public LibraryTest {
 protected:
  Exchange& expect_list(std::uint32_t count) {
    return channel.expect("RAVN_MGMT_LIST_BIND", board0).word(2, 131076).word(4, count);
  }

  static std::uint32_t get(ByteVector& bindings) {
    return GetFcpBindList(0, as<FcpBindList>(bindings));
  }
};

TEST_F(BindingTest, TheListIsFilledByTheDriversCountThroughAZeroedBufferOrByTheDriverItself) {
  struct {
    std::uint32_t room;
    std::uint32_t count;
    std::size_t written;
    int allocations;
  } const cases[] = {
      {4095, 3, 3, 1},
      {1, 0xFFFFFFFF, 4096, 1},  // no more than the work buffer is read
      {4096, 1, 4096, 0},
      {0x08000000, 1, 4096, 0},
  };
  for (const auto& [room, count, written, allocations] : cases) {
    SCOPED_TRACE(testing::Message() << room << " " << count);
    const ByteVector all(4096 * sizeof(FcpBinding), 0x42);
    ByteVector bindings = list_of(room, room_for<FcpBinding>(4096));
    const ByteVector sent = allocations != 0 ? ByteVector(131076) : bindings;
    const Exchange& exchange = expect_list(room).replies(1, list_of(count, all));
    const AllocationWatch memory;
    EXPECT_EQ(get(bindings), 0U);
    EXPECT_EQ(memory.allocations(), allocations);
    EXPECT_EQ(memory.outstanding(), 0);
    EXPECT_THAT(exchange.sent(1), SameBytes(sent));
    ByteVector expected = list_of(count, ByteVector(written * sizeof(FcpBinding), 0x42));
    append(expected, room_for<FcpBinding>(4096 - written));
    EXPECT_THAT(bindings, SameBytes(expected));
  }
}

TEST_F(BindingTest, ARefusalTellsTheNeededCountAndADeliveryErrorDoesNot) {
  const ByteVector room = room_for<FcpBinding>(2);
  ByteVector bindings = list_of(2, room);
  expect_list(2)
      .answers(1, 50)
      .replies(1, list_of(9, ByteVector(room.size(), 0x42)))
      .status(0x0BAD005D);
  EXPECT_EQ(get(bindings), 1U);
  EXPECT_THAT(bindings, SameBytes(list_of(50, room)));
  expect_list(50).answers(1, 60).ends_with(0x0BAD005D, 3);
  EXPECT_EQ(get(bindings), 1U);
  EXPECT_THAT(bindings, SameBytes(list_of(50, room)));

  const AllocationWatch memory{0};
  EXPECT_EQ(get(bindings), 12U);
}

TEST_F(BindingTest, ThereAreNoPersistentBindings) {
  FcpPersistentBinding persistent{77};
  EXPECT_EQ(GetFcpPersistentBinding(0, &persistent), 0U);
  EXPECT_EQ(persistent.NumberOfEntries, 0U);
}

}  // namespace
}  // namespace ovk::test
