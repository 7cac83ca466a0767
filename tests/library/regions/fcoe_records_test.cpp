#include "tests/library/regions/region_script.h"

#include <ovk/regions.h>

namespace ovk::test {
namespace {

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
    EXPECT_EQ(OVK_FCoEGetParams(0, &params), 0U);
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
      std::copy_n(given.begin() + 4 + i * 22, 20, connection.begin());
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

  list.count = 17;
  list.capacity = 0;
  expect_region(default_region23());
  EXPECT_EQ(OVK_FCoESetFCFConnectList(0, &list), 7U);
  EXPECT_EQ(list.capacity, 16);
}

}  // namespace
}  // namespace ovk::test
