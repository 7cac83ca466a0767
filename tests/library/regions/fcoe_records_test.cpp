#include "tests/library/regions/region_script.h"

#include <ovk/regions.h>

#include <functional>

namespace ovk::test {
namespace {

constexpr std::uint8_t untouched = 0xEE;

class FcoeRecordsTest : public RegionTest {
 protected:
  FcoeRecordsTest() {
    std::memset(&params, untouched, sizeof params);
    std::memset(&list, untouched, sizeof list);
  }

  void expect_region(const ByteVector& image) {
    expect_sli_mode(board0, sli4);
    expect_read(23, image);
  }

  /** The default region with this FCoE record. */
  static ByteVector region_with(const ByteVector& record) {
    return patched(default_region23(), {{fcoe_at, record}});
  }

  /** The default region with connections by their place. */
  static ByteVector region_of(std::initializer_list<std::pair<std::size_t, ByteVector>> places) {
    ByteVector image = default_region23();
    for (const auto& [place, bytes] : places) {
      image = patched(image, {{connections_at + 4 + place * 20, bytes}});
    }
    return image;
  }

  /** 20 bytes of a connection that all tell their place. */
  static ByteVector connection(std::uint8_t flags, std::uint8_t flags_high, std::uint8_t first) {
    return patched(counted_bytes(20, first), {{0, {flags, flags_high}}});
  }

  /** The caller's list after its first bytes became these. */
  static ByteVector list_with(std::uint8_t count, std::initializer_list<ByteVector> entries) {
    ByteVector bytes(sizeof(FcfConnectList), untouched);
    bytes[2] = count;
    bytes[3] = 16;
    std::size_t at = 4;
    for (const ByteVector& entry : entries) {
      bytes = patched(bytes, {{at, entry}});
      at += sizeof(FcfConnectEntry);
    }
    return bytes;
  }

  FcoeParams params;
  FcfConnectList list;
};

TEST_F(FcoeRecordsTest, ParametersAreReadFieldByField) {
  struct Case {
    ByteVector record, expected;
  };
  const Case cases[] = {
      {{0xa0, 2, 1, 1, 0x0e, 0xfc, 0}, {1, 0xEE, 0xEE, 0xEE, 0x0e, 0xfc, 0, 1, 0, 0}},
      {{0xa0, 2, 9, 0xfe, 1, 2, 3, 4, 0xbc, 0xfa, 6, 7},
       {1, 0xEE, 0xEE, 0xEE, 1, 2, 3, 0, 0xbc, 0x0a}},
  };
  for (const Case& c : cases) {
    std::memset(&params, untouched, sizeof params);
    expect_region(region_with(c.record));
    EXPECT_EQ(OVK_FCoEGetParams(0, &params), 0U);
    EXPECT_EQ(bytes_of(params), c.expected);
  }
}

TEST_F(FcoeRecordsTest, ParametersAreWrittenAsTheAdapterKeepsThem) {
  const ByteVector other{0xa0, 2, 9, 0xff, 7, 7, 7, 0x44, 7, 7, 7, 7};
  struct Case {
    FcoeParams params;
    ByteVector before, after;
    std::uint32_t result;
  };
  const Case cases[] = {
      {{.fc_map = {1, 2, 3}, .vlan_valid = 1, .vlan_id = 0xfabc},
       other,
       {0xa0, 2, 1, 1, 1, 2, 3, 0x44, 0xbc, 0x0a, 0, 0},
       0},
      {{.fc_map = {1, 2, 3}, .vlan_valid = 2, .vlan_id = 0xfabc},  // only 1 is valid
       other,
       {0xa0, 2, 1, 0, 1, 2, 3, 0x44, 0, 0, 0, 0},
       0xFFF7},
      // A record without its length gets it.
      {{}, {0xa0, 0, 1, 1, 0xa1, 0, 0, 0, 0xa2}, {0xa0, 2, 1, 0, 0, 0, 0, 0, 0}, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.after));
    expect_region(region_with(c.before));
    expect_write(23, region_with(c.after), c.result);
    EXPECT_EQ(OVK_FCoESetParams(0, &c.params), c.result);
  }
}

TEST_F(FcoeRecordsTest, ConnectionsInUseAreDeliveredUpToTheRoom) {
  const ByteVector image = region_of({{0, connection(0x3e, 0xff, 10)},
                                      {1, connection(0x01, 0xff, 40)},
                                      {7, connection(0xff, 0x00, 70)},
                                      {15, connection(0x03, 0x01, 100)}});
  const ByteVector first = connection(0x01, 0, 40);
  const ByteVector second = connection(0xff, 0, 70);
  const ByteVector third = connection(0x03, 0, 100);
  const auto expect_get = [&](std::uint8_t room, std::uint32_t result, const ByteVector& expected) {
    std::memset(&list, untouched, sizeof list);
    list.count = room;
    expect_region(image);
    EXPECT_EQ(OVK_FCoEGetFCFConnectList(0, &list), result);
    EXPECT_THAT(bytes_of(list), SameBytes(expected));
  };
  expect_get(16, 0, list_with(3, {first, second, third}));
  expect_get(3, 0, list_with(3, {first, second, third}));
  expect_get(2, 7, list_with(3, {first, second}));
  expect_get(0, 7, list_with(3, {}));
}

TEST_F(FcoeRecordsTest, ASetReplacesAllConnections) {
  const ByteVector before = region_of({{0, connection(1, 1, 1)}, {15, connection(1, 1, 1)}});
  const auto expect_set = [&](std::uint8_t count, const ByteVector& after) {
    list.count = count;
    expect_region(before);
    expect_write(23, after);
    EXPECT_EQ(OVK_FCoESetFCFConnectList(0, &list), 0U);
    EXPECT_EQ(list.capacity, 16);
    EXPECT_EQ(list.count, count);
  };
  expect_set(0, default_region23());

  list.entries[0] = {.flags = 0xffff, .vlan_id = 0x1234, .names = {{{1}}, {{2}}}};
  list.entries[1] = {.flags = 0, .vlan_id = 0xffff};
  expect_set(2, region_of({{0, {0x3f, 0, 0x34, 0x12, 1, 0, 0, 0, 0, 0, 0, 0, 2}},
                           {1, {0x01, 0, 0xff, 0xff}}}));

  ByteVector full = default_region23();
  for (std::size_t i = 0; i < 16; ++i) {
    list.entries[i] = {.flags = 2, .vlan_id = static_cast<std::uint16_t>(i)};
    full = patched(full, {{connections_at + 4 + i * 20, {3, 0, static_cast<std::uint8_t>(i)}}});
  }
  expect_set(16, full);
}

TEST_F(FcoeRecordsTest, RefusalsAreThoseOfTheGettersAndOfTheSetters) {
  const ByteVector short_records =
      patched(bare_region23(), {{8, {0xa0, 3}}, {24, {0xa1, 1}}, {32, {0xa2, 0}}, {36, {0xff}}});
  const ByteVector params_cut_off{0xa0, 2, 0, 0, 1, 1, 1, 1};
  const ByteVector list_cut_off{0xa1, 80, 0, 0, 1, 1, 1, 1};
  struct Call {
    const char* name;
    std::function<std::uint32_t()> run;
    std::size_t record_at;
    const ByteVector& cut_off;
    std::uint32_t not_found;
    bool wants_length;
  };
  list.count = 0;
  const Call calls[] = {
      {"get params", [this] { return OVK_FCoEGetParams(0, &params); }, fcoe_at, params_cut_off, 1,
       true},
      {"get list", [this] { return OVK_FCoEGetFCFConnectList(0, &list); }, connections_at,
       list_cut_off, 1, true},
      {"set params", [this] { return OVK_FCoESetParams(0, &params); }, fcoe_at, params_cut_off, 3,
       false},
      {"set list", [this] { return OVK_FCoESetFCFConnectList(0, &list); }, connections_at,
       list_cut_off, 3, true},
  };
  for (const Call& call : calls) {
    SCOPED_TRACE(call.name);
    expect_gate(call.run, sli3, 2);
    expect_sli_mode(board0, sli4);
    expect_read(23, default_region23()).status(0x0BAD0001);
    EXPECT_EQ(call.run(), 1U);
    expect_region(patched(default_region23(), {{call.record_at, {0xa2}}}));
    EXPECT_EQ(call.run(), call.not_found);
    if (call.wants_length) {
      expect_region(short_records);
      EXPECT_EQ(call.run(), 7U);
    }
    expect_region(region23_ending_with(call.cut_off, 0xa2));
    EXPECT_EQ(call.run(), call.not_found) << "a record beyond the image is none";
  }

  list.count = 17;
  list.capacity = 0;
  expect_region(default_region23());
  EXPECT_EQ(OVK_FCoESetFCFConnectList(0, &list), 7U);
  EXPECT_EQ(list.capacity, 16);
}

}  // namespace
}  // namespace ovk::test
