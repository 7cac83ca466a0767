#include "tests/support/library_test.h"

#include <ovk/hbaapi.h>

#include <cstring>

namespace ovk::test {
namespace {

constexpr std::uint8_t untouched = 0xEE;

class AttributesTest : public LibraryTest {};

TEST_F(AttributesTest, ARefreshKeepsTheTagOfItsBoardAndAFailedOneTheOldTag) {
  channel.expect("RAVN_MGMT_HBA_REFRESHINFO", board1).answers(4, 0xABCD1234);
  EXPECT_EQ(RefreshInformation(1), 0U);
  channel.expect("RAVN_MGMT_HBA_REFRESHINFO", board1).answers(4, 5).status(1);
  EXPECT_EQ(RefreshInformation(1), 1U);
  EXPECT_EQ(ovk_refresh_timer[1], 0xABCD1234U);
  EXPECT_EQ(ovk_refresh_timer[0], 0U);

  const ByteVector tags = bytes_of(ovk_refresh_timer);
  channel.expect("RAVN_MGMT_HBA_REFRESHINFO", unmapped_number).answers(4, 5);
  EXPECT_EQ(RefreshInformation(32), 0U);
  EXPECT_THAT(bytes_of(ovk_refresh_timer), SameBytes(tags))
      << "a board beyond the tables has no tag";
}

constexpr Wwn wanted{{0x10, 0, 2, 0x40, 0x50, 0x60, 0x70, 0x80}};
constexpr std::uint32_t ignored = 77;
constexpr std::uint32_t index = 3;
constexpr std::uint32_t tag = 0x5678;

/** The four queries for a port, told apart by what they send. */
struct PortQuery {
  const char* command;
  std::uint32_t (*run)(std::uint32_t board, PortAttributes*);
  bool from_snapshot;
  bool by_name;
};

const PortQuery port_queries[] = {
    {"RAVN_MGMT_HBA_PORTATTRIBUTES",
     [](auto board, auto* attrs) { return GetAdapterPortAttributes(board, ignored, attrs); }, false,
     false},
    {"RAVN_MGMT_HBA_DISCPORTATTRIBUTES",
     [](auto board, auto* attrs) {
       return GetDiscoveredPortAttributes(board, ignored, index, attrs);
     },
     true, false},
    {"RAVN_MGMT_HBA_WWPNPORTATTRIBUTES",
     [](auto board, auto* attrs) { return GetPortAttributesByWWN(board, &wanted, attrs); }, false,
     true},
    {"RAVN_MGMT_HBA_INDEXPORTATTRIBUTES",
     [](auto board, auto* attrs) { return GetPortAttributesByIndex(board, ignored, index, attrs); },
     true, false},
};

class PortQueryTest : public LibraryTest, public testing::WithParamInterface<PortQuery> {
 protected:
  PortQueryTest() { ovk_refresh_timer[0] = tag; }

  Exchange& expect_query(std::uint32_t number = board0, std::uint32_t sent_tag = tag) {
    Exchange& exchange = channel.expect(GetParam().command, number);
    if (GetParam().from_snapshot) {
      exchange.word(1, index).word(4, sent_tag);
    }
    if (GetParam().by_name) {
      exchange.sends(2, with_at(ByteVector(28), 8, wanted));
    }
    return exchange;
  }

  static ByteVector driver_record(std::uint32_t fc_id) {
    return with_at(counted_bytes(490), 16, fc_id);
  }
};

TEST_P(PortQueryTest, AStaleAddressIsRefusedOnlyWhereASnapshotIsAsked) {
  expect_query().replies(1, driver_record(0xFFFFFFFF));
  auto attributes = record_of<PortAttributes>(untouched);
  EXPECT_EQ(GetParam().run(0, &attributes), GetParam().from_snapshot ? 8U : 0U);
  EXPECT_EQ(attributes.PortFcId, GetParam().from_snapshot ? 0xEEEEEEEE : 0xFFFFFFFF);
}

TEST_P(PortQueryTest, ABoardBeyondTheTablesSendsNoTag) {
  expect_query(unmapped_number, 0).status(1);
  PortAttributes attributes;
  EXPECT_EQ(GetParam().run(32, &attributes), 1U);
}

INSTANTIATE_TEST_SUITE_P(All, PortQueryTest, testing::ValuesIn(port_queries),
                         [](const auto& query) { return std::string{query.param.command}; });

}  // namespace
}  // namespace ovk::test
