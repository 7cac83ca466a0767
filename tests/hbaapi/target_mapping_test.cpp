#include "tests/support/library_test.h"

#include <ovk/hbaapi.h>

#include <cstring>
#include <vector>

namespace ovk::test {
namespace {

constexpr Wwn own_port{{0x10, 0, 0, 0, 0xC9, 0, 0, 1}};
constexpr std::uint8_t untouched = 0xEE;

/** A count word and as many entries, in memory of exactly this size. */
template <typename Map>
class MapMemory {
 public:
  using Entry = std::remove_extent_t<decltype(Map::entry)>;

  MapMemory(std::uint32_t count, std::size_t entries)
      : bytes_(offsetof(Map, entry) + entries * sizeof(Entry), untouched) {
    std::memcpy(bytes_.data(), &count, sizeof count);
  }

  Map* get() {
    void* memory = bytes_.data();
    return static_cast<Map*>(memory);
  }

  [[nodiscard]] std::uint32_t count() const {
    std::uint32_t count = 0;
    std::memcpy(&count, bytes_.data(), sizeof count);
    return count;
  }

  /** The bytes behind the count. */
  [[nodiscard]] ByteVector entries() const {
    return {bytes_.begin() + offsetof(Map, entry), bytes_.end()};
  }

 private:
  ByteVector bytes_;
};

FcpScsiEntry entry(std::uint8_t number) {
  FcpScsiEntry entry{};
  std::memset(&entry, number, sizeof entry);
  entry.FcpLun = 0x0807060504030200 + number;
  return entry;
}

ByteVector mapping_reply(std::uint32_t count) {
  ByteVector reply = bytes_of(count);
  for (std::uint32_t i = 0; i < count; ++i) {
    const ByteVector bytes = bytes_of(entry(static_cast<std::uint8_t>(i + 1)));
    reply.insert(reply.end(), bytes.begin(), bytes.end());
  }
  return reply;
}

class TargetMappingTest : public LibraryTest {
 protected:
  Exchange& expect_mapping(std::uint32_t room, std::uint32_t count) {
    return channel.expect("RAVN_MGMT_HBA_FCPTARGETMAPPING", board0)
        .word(2, room)
        .answers(3, count)
        .replies(1, mapping_reply(std::min(count, room)));
  }

  void expect_own_port() {
    ByteVector record(490);
    std::memcpy(record.data() + 8, &own_port, sizeof own_port);
    channel.expect("RAVN_MGMT_HBA_PORTATTRIBUTES", board0).replies(1, record);
  }

  /** Expects the inquiry of the logical unit of a number, and answers with a first descriptor. */
  Exchange& expect_inquiry(std::uint8_t number, const ByteVector& descriptor) {
    ByteVector request(172);
    std::memset(request.data(), number, sizeof(Wwn));
    const ByteVector image{number, 2, 3, 4, 5, 6, 7, 8, 0, 0, 0, 2, 0x12, 1, 0x83, 0, 255};
    std::copy(image.begin(), image.end(), request.begin() + 8);
    request[39] = 255;
    ByteVector page{0, 0x83, 0, static_cast<std::uint8_t>(descriptor.size())};
    page.insert(page.end(), descriptor.begin(), descriptor.end());
    return channel.expect("RAVN_MGMT_HBA_SEND_SCSI", board0)
        .word(2, 255)
        .sends(1, request)
        .answers(3, static_cast<std::uint32_t>(page.size()))
        .replies(2, page);
  }
};

using Mapping = MapMemory<FcpTargetMapping>;
using MappingV2 = MapMemory<FcpTargetMappingV2>;

TEST_F(TargetMappingTest, GivesTheEntriesThatTheDriverHolds) {
  Mapping map{5, 5};
  expect_mapping(5, 2);
  const AllocationWatch memory;
  EXPECT_EQ(GetFcpTargetMapping(0, map.get()), 0U);
  EXPECT_EQ(memory.outstanding(), 0);
  EXPECT_EQ(map.count(), 2U);
  ByteVector expected(5 * sizeof(FcpScsiEntry), untouched);
  const ByteVector reply = mapping_reply(2);
  std::copy(reply.begin() + 4, reply.end(), expected.begin());
  EXPECT_EQ(map.entries(), expected);
}

TEST_F(TargetMappingTest, AsksForNoMoreThanTheDriverGivesAndReadsNoMore) {
  Mapping map{5000, 5000};
  expect_mapping(1024, 1024);
  EXPECT_EQ(GetFcpTargetMapping(0, map.get()), 0U);
  EXPECT_EQ(map.count(), 1024U);

  Mapping other{5000, 5000};
  expect_mapping(1024, 4999);
  EXPECT_EQ(GetFcpTargetMapping(0, other.get()), 0U);
  EXPECT_EQ(other.count(), 4999U) << "the count is the driver's";
  EXPECT_EQ(other.entries()[1024 * sizeof(FcpScsiEntry) - 9], 0) << "number 1024, wrapped";
  EXPECT_EQ(other.entries()[1024 * sizeof(FcpScsiEntry)], untouched);
}

TEST_F(TargetMappingTest, TellsTheCountWhateverTheResult) {
  struct Row {
    std::uint32_t room;
    std::uint32_t count;
    std::uint32_t status;
    int delivery;
    std::uint32_t result;
  };
  for (const Row& row :
       {Row{0, 3, 0, 0, 7}, Row{2, 3, 0, 0, 7}, Row{2, 3, 0x0BAD0014, 0, 7}, Row{2, 3, 0, 9, 7},
        Row{2, 1, 0x0BAD005D, 0, 7}, Row{2, 1, 0x0BAD005D, 9, 7}, Row{2, 1, 0x0BAD0014, 0, 1},
        Row{2, 0, 0, 9, 1}}) {
    SCOPED_TRACE(testing::Message() << row.room << " " << row.count << " " << row.status);
    Mapping map{row.room, 2};
    expect_mapping(row.room, row.count).status(row.status).delivery_error(row.delivery);
    EXPECT_EQ(GetFcpTargetMapping(0, map.get()), row.result);
    EXPECT_EQ(map.count(), row.count);
    EXPECT_EQ(map.entries(), ByteVector(2 * sizeof(FcpScsiEntry), untouched));
  }
}

TEST_F(TargetMappingTest, AMissingBufferIsPassedOnAndNeverRead) {
  for (const int delivery : {9, 0}) {
    Mapping map{2, 2};
    channel.expect("RAVN_MGMT_HBA_FCPTARGETMAPPING", board0)
        .word(2, 2)
        .lacks(1)
        .answers(3, 1)
        .delivery_error(delivery);
    const AllocationWatch memory{0};
    EXPECT_EQ(GetFcpTargetMapping(0, map.get()), delivery == 0 ? 0U : 1U);
    EXPECT_EQ(map.entries(), ByteVector(2 * sizeof(FcpScsiEntry), untouched));
  }
}

TEST_F(TargetMappingTest, V2AnswersForTheBoardsOwnPortOnly) {
  MappingV2 map{2, 2};
  expect_own_port();
  const Wwn other{{0x10, 0, 0, 0, 0xC9, 0, 0, 2}};
  EXPECT_EQ(OVK_GetFcpTargetMappingV2(0, &other, map.get()), 5U);
  channel.expect("RAVN_MGMT_HBA_PORTATTRIBUTES", board0).status(0x0BAD0001);
  EXPECT_EQ(OVK_GetFcpTargetMappingV2(0, &own_port, map.get()), 1U);
  EXPECT_EQ(map.count(), 2U);
}

TEST_F(TargetMappingTest, V2CopiesTheFirstIdentifierOfAUnitAndNothingElse) {
  struct Row {
    const char* what;
    ByteVector descriptor;
    bool copied;
  };
  ByteVector longest(4 + 127, 0x5A);
  std::memcpy(longest.data(), "\x02\x00\x00\x7F", 4);
  ByteVector too_long(4 + 128, 0x5A);
  std::memcpy(too_long.data(), "\x02\x00\x00\x80", 4);
  const std::vector<Row> rows{
      {"NAA", {1, 3, 0, 8, 0x60, 1, 2, 3, 4, 5, 6, 7}, true},
      {"EUI-64 with protocol bits", {0x61, 0x82, 0, 1, 0x99}, true},
      {"empty vendor specific", {2, 0, 0, 0}, true},
      {"the target port's", {1, 0x13, 0, 1, 0x99}, false},
      {"SCSI name string", {3, 8, 0, 1, 0x99}, false},
      {"relative target port", {1, 4, 0, 1, 0x99}, false},
      {"the longest", longest, true},
      {"a length that is negative as a signed byte", too_long, false},
  };
  const auto count = static_cast<std::uint32_t>(rows.size());
  expect_own_port();
  expect_mapping(count, count);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    expect_inquiry(static_cast<std::uint8_t>(i + 1), rows[i].descriptor);
  }
  MappingV2 map{count, count};
  const AllocationWatch memory;
  ASSERT_EQ(OVK_GetFcpTargetMappingV2(0, &own_port, map.get()), 0U);
  EXPECT_EQ(memory.outstanding(), 0);

  const ByteVector entries = map.entries();
  for (std::size_t i = 0; i < rows.size(); ++i) {
    SCOPED_TRACE(rows[i].what);
    ByteVector expected(sizeof(FcpScsiEntryV2), untouched);
    const ByteVector bytes = bytes_of(entry(static_cast<std::uint8_t>(i + 1)));
    std::copy(bytes.begin(), bytes.end(), expected.begin());
    if (rows[i].copied) {
      std::ranges::copy(rows[i].descriptor, expected.begin() + sizeof(FcpScsiEntry));
    }
    const auto begin = entries.begin() + static_cast<std::ptrdiff_t>(i * sizeof(FcpScsiEntryV2));
    EXPECT_EQ(ByteVector(begin, begin + sizeof(FcpScsiEntryV2)), expected);
  }
}

TEST_F(TargetMappingTest, V2SucceedsWithoutAnIdentifierWhenTheInquiryGivesNone) {
  const ByteVector naa{1, 3, 0, 1, 0x60};
  ByteVector checked(172, 0x70);
  const std::uint32_t sense_length = 128;  // more than the 64 bytes that were offered
  std::memcpy(checked.data() + 168, &sense_length, sizeof sense_length);

  expect_own_port();
  expect_mapping(4, 4);
  expect_inquiry(1, naa).status(0x0BAD0014);
  expect_inquiry(2, naa).answers(3, 0);
  expect_inquiry(3, naa).replies(1, checked);
  expect_inquiry(4, naa).answers(3, 256);
  MappingV2 map{4, 4};
  EXPECT_EQ(OVK_GetFcpTargetMappingV2(0, &own_port, map.get()), 0U);
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(map.get()->entry[i].identifier[0], untouched) << i;
  }
}

TEST_F(TargetMappingTest, V2PassesTheCountOnWithMoreDataAndKeepsItOnFailure) {
  MappingV2 none{0, 0};
  expect_own_port();
  expect_mapping(0, 3);
  EXPECT_EQ(OVK_GetFcpTargetMappingV2(0, &own_port, none.get()), 7U);
  EXPECT_EQ(none.count(), 3U);

  MappingV2 empty{2, 0};
  expect_own_port();
  expect_mapping(2, 0);
  EXPECT_EQ(OVK_GetFcpTargetMappingV2(0, &own_port, empty.get()), 0U);
  EXPECT_EQ(empty.count(), 0U);

  MappingV2 failed{2, 0};
  expect_own_port();
  expect_mapping(2, 1).status(0x0BAD0014);
  EXPECT_EQ(OVK_GetFcpTargetMappingV2(0, &own_port, failed.get()), 1U);
  EXPECT_EQ(failed.count(), 2U);
}

TEST_F(TargetMappingTest, V2WithoutMemoryDoesNotAskForTheMapping) {
  MappingV2 map{2, 0};
  expect_own_port();
  {
    const AllocationWatch memory{0};
    EXPECT_EQ(OVK_GetFcpTargetMappingV2(0, &own_port, map.get()), 1U);
  }
  MappingV2 wrapping{0xFFFFFFFF / 300 + 1, 0};
  expect_own_port();
  EXPECT_EQ(OVK_GetFcpTargetMappingV2(0, &own_port, wrapping.get()), 1U);
}

class BindingTest : public LibraryTest {
 protected:
  Exchange& expect_list(std::uint32_t count) {
    return channel.expect("RAVN_MGMT_LIST_BIND", board0).word(2, 131076).word(4, count);
  }

  static ByteVector list(std::uint32_t count, std::size_t entries) {
    ByteVector bytes = bytes_of(count);
    bytes.resize(4 + entries * sizeof(FcpBinding), 0x42);
    return bytes;
  }
};

using Bindings = MapMemory<FcpBindList>;

TEST_F(BindingTest, ASmallListIsFilledByTheDriversCountThroughAZeroedBuffer) {
  Bindings bindings{4095, 4};
  Exchange& exchange = expect_list(4095).replies(1, list(3, 4096));
  const AllocationWatch memory;
  EXPECT_EQ(GetFcpBindList(0, bindings.get()), 0U);
  EXPECT_EQ(memory.allocations(), 1);
  EXPECT_EQ(memory.outstanding(), 0);
  EXPECT_EQ(exchange.sent(1), ByteVector(131076));
  EXPECT_EQ(bindings.count(), 3U);
  ByteVector expected(3 * sizeof(FcpBinding), 0x42);
  expected.resize(4 * sizeof(FcpBinding), untouched);
  EXPECT_EQ(bindings.entries(), expected);
}

TEST_F(BindingTest, AFullListIsFilledByTheDriverItself) {
  for (const std::uint32_t count : {4096U, 0x08000000U}) {
    Bindings bindings{count, 4096};
    expect_list(count).replies(1, list(1, 4096));
    const AllocationWatch memory;
    EXPECT_EQ(GetFcpBindList(0, bindings.get()), 0U);
    EXPECT_EQ(memory.allocations(), 0);
    EXPECT_EQ(bindings.count(), 1U);
    EXPECT_EQ(bindings.entries(), ByteVector(4096 * sizeof(FcpBinding), 0x42));
  }
}

TEST_F(BindingTest, AHostileCountReadsNoMoreThanTheWorkBuffer) {
  Bindings bindings{1, 4096};
  expect_list(1).replies(1, list(0xFFFFFFFF, 4096));
  EXPECT_EQ(GetFcpBindList(0, bindings.get()), 0U);
  EXPECT_EQ(bindings.count(), 0xFFFFFFFF);
  EXPECT_EQ(bindings.entries(), ByteVector(4096 * sizeof(FcpBinding), 0x42));
}

TEST_F(BindingTest, ARefusalTellsTheNeededCountAndADeliveryErrorDoesNot) {
  Bindings bindings{2, 2};
  expect_list(2).answers(1, 50).replies(1, list(9, 2)).status(0x0BAD005D);
  EXPECT_EQ(GetFcpBindList(0, bindings.get()), 1U);
  EXPECT_EQ(bindings.count(), 50U);
  expect_list(50).answers(1, 60).status(0x0BAD005D).delivery_error(3);
  EXPECT_EQ(GetFcpBindList(0, bindings.get()), 1U);
  EXPECT_EQ(bindings.count(), 50U);
  EXPECT_EQ(bindings.entries(), ByteVector(2 * sizeof(FcpBinding), untouched));

  const AllocationWatch memory{0};
  EXPECT_EQ(GetFcpBindList(0, bindings.get()), 12U);
}

TEST_F(BindingTest, WhatIsNotOfferedSendsNothing) {
  FcpPersistentBinding persistent{77};
  EXPECT_EQ(GetFcpPersistentBinding(0, &persistent), 0U);
  EXPECT_EQ(persistent.NumberOfEntries, 0U);
  EXPECT_EQ(AddBind(0, nullptr), 2U);
  EXPECT_EQ(DelBind(0, nullptr), 2U);
  EXPECT_EQ(OVK_GetFcpTargetMappingByWWN(0, &own_port, nullptr), 2U);
}

}  // namespace
}  // namespace ovk::test
