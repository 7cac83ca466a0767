// What FCoE boards keep in Region 23, and the FCFs that they have found.

#include "tests/library/regions/region_script.h"

#include <ovk/core.h>
#include <ovk/regions.h>

namespace ovk::test {
namespace {

constexpr std::uint32_t list_end = 0xffff;

class FcoeRecordsTest : public RegionTest {
 protected:
  void expect_region(const ByteVector& image) {
    expect_sli_mode(board0, sli4);
    expect_read(23, image);
  }

  /** The default region with this FCoE record. */
  static ByteVector region_with(const ByteVector& record) {
    return patched(default_region23(), {{fcoe_at, record}});
  }

  /** A region with a connection at a place. */
  static ByteVector connected(const ByteVector& region, std::size_t place,
                              const ByteVector& bytes) {
    return patched(region, {{connections_at + 4 + place * 20, bytes}});
  }

  FcoeParams params = record_of<FcoeParams>(0xEE);
  FcfConnectList list = record_of<FcfConnectList>(0xEE);
};

TEST_F(FcoeRecordsTest, ParametersAreReadFieldByField) {
  for (const std::uint8_t valid : ByteVector{0, 1}) {
    params = record_of<FcoeParams>(0xEE);
    const auto flags = static_cast<std::uint8_t>(0xfe + valid);
    expect_region(region_with({0xa0, 2, 9, flags, 1, 2, 3, 4, 0xbc, 0xfa, 6, 7}));
    const AllocationWatch memory;
    EXPECT_EQ(OVK_FCoEGetParams(0, &params), 0U);
    EXPECT_EQ(memory.outstanding(), 0);
    EXPECT_EQ(bytes_of(params), (ByteVector{1, 0xEE, 0xEE, 0xEE, 1, 2, 3, valid, 0xbc, 0x0a}));
  }
}

TEST_F(FcoeRecordsTest, ParametersAreWrittenAsTheAdapterKeepsThem) {
  const auto expect_set = [this](const FcoeParams& given, const ByteVector& before,
                                 const ByteVector& after) {
    expect_region(region_with(before));
    expect_write(23, region_with(after)).replies(2, 0xFFF7U);
    EXPECT_EQ(OVK_FCoESetParams(0, &given), 0xFFF7U);
  };
  const ByteVector other{0xa0, 2, 9, 0xff, 7, 7, 7, 0x44, 7, 7, 7, 7};
  expect_set({.fc_map = {1, 2, 3}, .vlan_valid = 1, .vlan_id = 0xfabc}, other,
             {0xa0, 2, 1, 1, 1, 2, 3, 0x44, 0xbc, 0x0a, 0, 0});
  expect_set({.fc_map = {1, 2, 3}, .vlan_valid = 2, .vlan_id = 0xfabc}, other,  // only 1 is valid
             {0xa0, 2, 1, 0, 1, 2, 3, 0x44, 0, 0, 0, 0});
  // A record without its length gets it.
  expect_set({}, {0xa0, 0, 1, 1, 0xa1, 0, 0, 0, 0xa2}, {0xa0, 2, 1, 0, 0, 0, 0, 0, 0});
}

TEST_F(FcoeRecordsTest, ConnectionsInUseAreDeliveredUpToTheRoom) {
  ByteVector region = connected(default_region23(), 0, {0x3e, 0xff});
  std::vector<ByteVector> in_use;
  for (const std::uint8_t place : ByteVector{1, 7, 15}) {
    ByteVector connection = counted_bytes(20, place);
    region = connected(region, place, connection);
    connection[1] = 0;
    in_use.push_back(connection);
  }
  for (const std::uint8_t room : ByteVector{0, 2, 3}) {
    list = record_of<FcfConnectList>(0xEE);
    ByteVector expected = patched(bytes_of(list), {{2, {3, 16}}});
    for (std::size_t i = 0; i < room; ++i) {
      expected = patched(expected, {{4 + i * 22, in_use[i]}});
    }
    list.count = room;
    expect_region(region);
    EXPECT_EQ(OVK_FCoEGetFCFConnectList(0, &list), room < 3 ? 7U : 0U);
    EXPECT_THAT(bytes_of(list), SameBytes(expected));
  }
}

TEST_F(FcoeRecordsTest, ASetReplacesAllConnections) {
  const ByteVector given = counted_bytes(sizeof list);
  std::memcpy(&list, given.data(), sizeof list);
  const ByteVector used{1, 1, 1};
  for (const std::uint8_t count : ByteVector{0, 2, 16}) {
    ByteVector after = default_region23();
    for (std::size_t i = 0; i < count; ++i) {
      ByteVector connection(20);
      std::copy_n(&given[4 + i * 22], 20, connection.begin());
      connection[0] = (connection[0] & 0x3e) | 1;
      connection[1] = 0;
      after = connected(after, i, connection);
    }
    list.count = count;
    expect_region(connected(connected(default_region23(), 0, used), 15, used));
    expect_write(23, after);
    EXPECT_EQ(OVK_FCoESetFCFConnectList(0, &list), 0U);
    EXPECT_EQ(list.capacity, 16);
    EXPECT_EQ(list.count, count);
  }
}

TEST_F(FcoeRecordsTest, RefusalsAreThoseOfTheGettersAndOfTheSetters) {
  const ByteVector short_records =
      patched(bare_region23(), {{8, {0xa0, 3}}, {24, {0xa1, 1}}, {32, {0xa2, 0}}, {36, {0xff}}});
  const auto expect_refusals = [&](const auto& call, std::size_t record_at, std::uint32_t not_found,
                                   bool wants_length) {
    expect_gate(call, sli3, 2);
    expect_sli_mode(board0, sli4);
    expect_read(23, default_region23()).status(0x0BAD0001);
    EXPECT_EQ(call(), 1U);
    expect_region(patched(default_region23(), {{record_at, {0xa2}}}));
    EXPECT_EQ(call(), not_found);
    ByteVector cut_off = default_region23();
    expect_region(region23_ending_with({&cut_off[record_at], &cut_off[record_at] + 8}, 0xa2));
    EXPECT_EQ(call(), not_found) << "a record beyond the image is none";
    if (wants_length) {
      expect_region(short_records);
      EXPECT_EQ(call(), 7U);
    }
  };
  list.count = 0;
  expect_refusals([this] { return OVK_FCoEGetParams(0, &params); }, fcoe_at, 1, true);
  expect_refusals([this] { return OVK_FCoESetParams(0, &params); }, fcoe_at, 3, false);
  expect_refusals([this] { return OVK_FCoEGetFCFConnectList(0, &list); }, connections_at, 1, true);
  expect_refusals([this] { return OVK_FCoESetFCFConnectList(0, &list); }, connections_at, 3, true);

  list = {.count = 17};
  expect_region(default_region23());
  EXPECT_EQ(OVK_FCoESetFCFConnectList(0, &list), 7U);
  EXPECT_EQ(list.capacity, 16);
}

class FcfListTest : public RegionTest {
 protected:
  FcfList& list() { return *static_cast<FcfList*>(static_cast<void*>(memory.data())); }

  /** A driver's record whose bytes all tell their place. */
  static ByteVector record(std::uint8_t reported = 1, std::uint8_t flag18 = 1) {
    return patched(counted_bytes(556), {{18, {flag18}}, {31, {reported}}});
  }

  /** Expects the way through a table of records, each with the index that follows. */
  Exchange& expect_walk(const std::vector<std::pair<std::uint32_t, ByteVector>>& steps) {
    expect_sli_mode(board0, sli4);
    std::uint32_t index = list_end;
    Exchange* last = nullptr;
    for (const auto& [next, payload] : steps) {
      last = &channel.expect("RAVN_MGMT_HBA_GET_FCF_LIST", board0)
                  .word(1, index)
                  .answers(4, next)
                  .answers(5, 0x10000 + next)
                  .replies(1, payload);
      index = next;
    }
    return *last;
  }

  /** Gives the call room, and checks what it makes of the list: its count, its value, and entries
      of the record with these flags, with nothing behind them. */
  void expect_list(std::uint16_t room, std::uint32_t result, std::uint16_t count,
                   std::uint16_t value, const std::vector<std::uint8_t>& flags18) {
    constexpr std::size_t fields[][3] = {{20, 0, 8},   {548, 8, 8},   {12, 16, 4},
                                         {16, 20, 2},  {36, 24, 512}, {28, 536, 2},
                                         {30, 538, 1}, {4, 540, 4},   {8, 548, 4}};
    list().count = room;
    list().value = 0x7700;
    EXPECT_EQ(OVK_FCoEGetFCFList(0, &list()), result);
    EXPECT_EQ(list().count, count);
    EXPECT_EQ(list().value, value);
    const ByteVector from = record();
    ByteVector expected = ByteVector(4 * sizeof(FcfListEntry), 0xEE);
    for (std::size_t i = 0; i < flags18.size(); ++i) {
      auto* const entry = expected.data() + i * sizeof(FcfListEntry);
      std::fill_n(entry, sizeof(FcfListEntry), std::uint8_t{0});
      for (const auto& [at, to, size] : fields) {
        std::copy_n(from.data() + at, size, entry + to);
      }
      entry[22] = flags18[i];
    }
    EXPECT_THAT((ByteVector{memory.begin() + 8, memory.end()}), SameBytes(expected));
  }

  ByteVector memory = ByteVector(8 + 4 * sizeof(FcfListEntry), 0xEE);
};

TEST_F(FcfListTest, WalksTheTableAndSkipsRecordsThatAreNotReported) {
  expect_walk({{3, record()}, {9, record(0)}, {0x12, record(0x80, 2)}, {list_end, record()}});
  expect_list(4, 0, 3, 0xffff, {1, 0, 1});  // the value is the last reply's, in 16 bits
}

TEST_F(FcfListTest, AnEmptyRecordAndAFailureEndTheTableWithoutAnError) {
  expect_walk({{5, {}}});
  expect_list(4, 0, 0, 5, {});
  expect_walk({{4, record()}}).answers(5, 0x0102).delivery_error(3);
  expect_list(4, 0, 0, 0x7802, {});  // a failure at once adds its value to the caller's
  expect_walk({{4, record()}, {9, record()}}).answers(5, 0x0102).status(0x0BAD0001);
  expect_list(4, 0, 1, 0x0102, {1});
}

TEST_F(FcfListTest, ATableWithoutAnEndIsLeftWhenTheCountCouldBeFullAndCountsWhatFindsNoRoom) {
  expect_walk({{0, record()}});
  for (int step = 1; step < 0xffff; ++step) {
    channel.expect("RAVN_MGMT_HBA_GET_FCF_LIST", board0).replies(1, record(step % 2 == 0 ? 1 : 0));
  }
  expect_list(2, 7, 0x8000, 0, {1, 1});  // every second FCF is reported
}

TEST_F(FcfListTest, OlderBoardsHaveNoTable) {
  log_at(OVK_LOG_ERROR);
  expect_gate([this] { return OVK_FCoEGetFCFList(0, &list()); }, sli3, 2);
  EXPECT_THAT(raw_log(), testing::EndsWith(" ERROR: sliMode 3 not supported\n\n"));
  EXPECT_EQ(list().count, 0xEEEE);
}

}  // namespace
}  // namespace ovk::test
