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
  EXPECT_EQ(bytes_of(ovk_refresh_timer), tags) << "a board beyond the tables has no tag";
}

TEST_F(AttributesTest, AdapterAttributesAreHandedOutWhateverTheOutcome) {
  ByteVector record(2192, 'x');  // texts that fill their fields
  channel.expect("RAVN_MGMT_HBA_ADAPTERATTRIBUTES", board0).replies(1, record);
  AdapterAttributes attributes{};
  EXPECT_EQ(GetAdapterAttributes(0, &attributes), 0U);
  EXPECT_EQ(bytes_of(attributes), record);

  channel.expect("RAVN_MGMT_HBA_ADAPTERATTRIBUTES", board0).status(0x0BAD0021);
  EXPECT_EQ(GetAdapterAttributes(0, &attributes), 0U);
  EXPECT_EQ(bytes_of(attributes), ByteVector(2192)) << "no stack bytes reach the caller";
}

/** The four queries for a port, told apart by what they send and how they fail. */
struct PortQuery {
  const char* command;
  std::function<std::uint32_t(std::uint32_t board, PortAttributes*)> run;
  bool from_snapshot;
  std::uint32_t not_found_status;
  std::uint32_t not_found_result;
};

constexpr Wwn wanted{{0x10, 0x20, 0x30, 0x40, 0x50, 0x60, 0x70, 0x80}};
constexpr std::uint32_t ignored_port_index = 77;
constexpr std::uint32_t index = 3;
constexpr std::uint32_t tag = 0x5678;

const PortQuery own_port{"RAVN_MGMT_HBA_PORTATTRIBUTES",
                         [](std::uint32_t board, PortAttributes* attrs) {
                           return GetAdapterPortAttributes(board, ignored_port_index, attrs);
                         },
                         false, 0x0BAD0003, 1};
const PortQuery discovered_port{"RAVN_MGMT_HBA_DISCPORTATTRIBUTES",
                                [](std::uint32_t board, PortAttributes* attrs) {
                                  return GetDiscoveredPortAttributes(board, ignored_port_index,
                                                                     index, attrs);
                                },
                                true, 0x0BAD0003, 6};
const PortQuery port_by_wwn{"RAVN_MGMT_HBA_WWPNPORTATTRIBUTES",
                            [](std::uint32_t board, PortAttributes* attrs) {
                              return GetPortAttributesByWWN(board, &wanted, attrs);
                            },
                            false, 0x0BAD0003, 5};
const PortQuery port_by_index{"RAVN_MGMT_HBA_INDEXPORTATTRIBUTES",
                              [](std::uint32_t board, PortAttributes* attrs) {
                                return GetPortAttributesByIndex(board, ignored_port_index, index,
                                                                attrs);
                              },
                              true, 0x0BAD005D, 6};

class PortQueryTest : public LibraryTest, public testing::WithParamInterface<PortQuery> {
 protected:
  PortQueryTest() { ovk_refresh_timer[0] = tag; }

  Exchange& expect_query(std::uint32_t number = board0, std::uint32_t sent_tag = tag) {
    Exchange& exchange = channel.expect(GetParam().command, number);
    if (GetParam().from_snapshot) {
      exchange.word(1, index).word(4, sent_tag);
    }
    return exchange;
  }

  static ByteVector driver_record(std::uint32_t fc_id) {
    ByteVector record(490);
    for (std::size_t i = 0; i < record.size(); ++i) {
      record[i] = static_cast<std::uint8_t>(i * 7 + 1);
    }
    std::memcpy(&record[16], &fc_id, sizeof fc_id);
    return record;
  }

  static PortAttributes untouched_attributes() {
    PortAttributes attributes;
    std::memset(&attributes, untouched, sizeof attributes);
    return attributes;
  }
};

TEST_P(PortQueryTest, ReshapesTheDriversRecordAndLeavesTheRestOfTheDeviceName) {
  const ByteVector record = driver_record(0x010203);
  expect_query().replies(1, record);
  PortAttributes attributes = untouched_attributes();
  EXPECT_EQ(GetParam().run(0, &attributes), 0U);

  ByteVector expected(632, untouched);
  std::copy_n(record.begin(), 352 + 114, expected.begin());
  expected[466] = 0;  // the two bytes after the driver's name are written, but not the driver's
  expected[467] = 0;
  std::copy_n(record.begin() + 466, 24, expected.begin() + 608);
  EXPECT_EQ(bytes_of(attributes), expected);
}

TEST_P(PortQueryTest, FailuresMapToResultsAndLeaveTheCallersRecord) {
  struct Case {
    std::uint32_t status;
    int delivery;
    std::uint32_t result;
  };
  const std::uint32_t not_found = GetParam().not_found_status;
  const std::uint32_t other = not_found == 0x0BAD0003 ? 0x0BAD005D : 0x0BAD0003;
  for (const Case& failure : {Case{not_found, 0, GetParam().not_found_result}, Case{other, 0, 1},
                              Case{0, 5, 1}, Case{not_found, 5, GetParam().not_found_result}}) {
    expect_query()
        .replies(1, driver_record(7))
        .status(failure.status)
        .delivery_error(failure.delivery);
    PortAttributes attributes = untouched_attributes();
    EXPECT_EQ(GetParam().run(0, &attributes), failure.result) << failure.status;
    EXPECT_EQ(bytes_of(attributes), ByteVector(sizeof attributes, untouched));
  }
}

TEST_P(PortQueryTest, AStaleAddressIsRefusedOnlyWhereASnapshotIsAsked) {
  expect_query().replies(1, driver_record(0xFFFFFFFF));
  PortAttributes attributes = untouched_attributes();
  EXPECT_EQ(GetParam().run(0, &attributes), GetParam().from_snapshot ? 8U : 0U);
  EXPECT_EQ(attributes.PortFcId, GetParam().from_snapshot ? 0xEEEEEEEE : 0xFFFFFFFF);
}

TEST_P(PortQueryTest, ABoardBeyondTheTablesSendsNoTag) {
  expect_query(unmapped_number, 0).status(1);
  PortAttributes attributes;
  EXPECT_EQ(GetParam().run(32, &attributes), 1U);
}

INSTANTIATE_TEST_SUITE_P(All, PortQueryTest,
                         testing::Values(own_port, discovered_port, port_by_wwn, port_by_index),
                         [](const auto& query) { return std::string{query.param.command}; });

TEST_F(AttributesTest, TheWantedNameStandsInARequestThatIsZeroElsewhere) {
  ByteVector request(28);
  std::memcpy(&request[8], &wanted, sizeof wanted);
  channel.expect("RAVN_MGMT_HBA_WWPNPORTATTRIBUTES", board0).sends(2, request);
  PortAttributes attributes;
  EXPECT_EQ(GetPortAttributesByWWN(0, &wanted, &attributes), 0U);
}

}  // namespace
}  // namespace ovk::test
