#include "tests/support/library_test.h"

#include <ovk/npiv.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace ovk::test {
namespace {

constexpr Wwn vport{{0x10, 0, 2, 0x28, 0x44, 0x55, 0x66, 0x77}};
constexpr std::uint8_t untouched = 0xEE;
constexpr std::uint32_t list_does_not_fit = 0x0BAD00B4;

class VirtualPortsTest : public LibraryTest {};

TEST_F(VirtualPortsTest, ReadinessIsTheDriversWordAndStaysOnFailure) {
  std::uint32_t ready = 77;
  channel.expect("RAVN_MGMT_NPIV_READY", board0).answers(4, 1).status(0x0BAD0001);
  EXPECT_EQ(OVK_NPIVReadyTest(0, &ready), OVK_FAILED);
  channel.expect("RAVN_MGMT_NPIV_READY", board0).answers(4, 1).delivery_error(1);
  EXPECT_EQ(OVK_NPIVReadyTest(0, &ready), OVK_FAILED);
  EXPECT_EQ(ready, 77U);
  channel.expect("RAVN_MGMT_NPIV_READY", board0).answers(4, 3);
  EXPECT_EQ(OVK_NPIVReadyTest(0, &ready), OVK_OK);
  EXPECT_EQ(ready, 3U);
}

TEST_F(VirtualPortsTest, ResourcesAreWrittenByTheDriverAndLoggedAsAList) {
  log_at(0xE);
  const VportResources given{{1, 2, 3, 4}};
  channel.expect("RAVN_MGMT_VPORT_GET_RESRC", board0).replies(1, given);
  channel.expect("RAVN_MGMT_VPORT_GET_RESRC", board0).status(0x0BAD0001);
  VportResources resources{};
  EXPECT_EQ(OVK_VPGetResource(0, &resources), OVK_OK);
  EXPECT_EQ(bytes_of(resources), bytes_of(given));
  EXPECT_EQ(OVK_VPGetResource(0, &resources), OVK_FAILED);
  EXPECT_EQ(log_lines(),
            (std::vector<LogLine>{
                {"OVK_VPGetResource", "call: RAVN_MGMT_VPORT_GET_RESRC id"},
                {"OVK_VPGetResource", "cmd ok:      RAVN_MGMT_VPORT_GET_LIST brd[0] id"},
                {"OVK_VPGetResource", "call: RAVN_MGMT_VPORT_GET_RESRC id"},
                {"OVK_VPGetResource",
                 "cmd err:     RAVN_MGMT_VPORT_GET_LIST brd[0] stat[x0:xbad0001] id"}}));
}

TEST_F(VirtualPortsTest, AttributesAreAskedByPortNameAndAFailureWithoutAReasonIsAnUnknownName) {
  const ByteVector record(340, 0x21);
  const auto expect_attributes = [&]() -> Exchange& {
    return channel.expect("RAVN_MGMT_VPORT_GET_ATTRIB", board0)
        .sends(1, with_at(ByteVector(28), 8, vport));
  };
  VportAttributes attributes{};
  expect_attributes().replies(2, record).answers(3, 9);
  EXPECT_EQ(OVK_VPGetAttrib(0, &vport, &attributes), OVK_OK);
  EXPECT_THAT(bytes_of(attributes), SameBytes(record));

  expect_attributes().status(0x0BAD0003);
  EXPECT_EQ(OVK_VPGetAttrib(0, &vport, &attributes), OVK_ILLEGAL_WWN);
  expect_attributes().delivery_error(1);
  EXPECT_EQ(OVK_VPGetAttrib(0, &vport, &attributes), OVK_ILLEGAL_WWN);
  expect_attributes().status(0x0BAD0003).answers(3, 9);
  EXPECT_EQ(OVK_VPGetAttrib(0, &vport, &attributes), OVK_FAILED);
}

TEST_F(VirtualPortsTest, TheListIsCopiedOnSuccessByTheDriversCountWithinTheDriversList) {
  struct {
    std::uint32_t capacity;
    std::uint32_t count;
    std::uint32_t status;
    int delivery;
    std::uint32_t result;
    std::uint32_t told;
    std::size_t written;
  } const cases[] = {
      {5, 3, 0, 0, OVK_OK, 3, 3},
      {5, 7, 0, 0, OVK_OK, 7, 7},  // the driver alone keeps to the capacity
      {4096, 0xFFFFFFFF, 0, 0, OVK_OK, 0xFFFFFFFF, 4096},
      {0, 3, list_does_not_fit, 0, OVK_MORE_DATA, 3, 0},
      {1, 4, list_does_not_fit, 1, OVK_MORE_DATA, 4, 0},
      {5, 3, 0x0BAD0020, 0, OVK_FAILED, 5, 0},
      {5, 3, 0, 1, OVK_FAILED, 5, 0},
  };
  const auto list = std::make_unique<VportList>();
  for (const auto& [capacity, count, status, delivery, result, told, written] : cases) {
    SCOPED_TRACE(testing::Message()
                 << capacity << " " << count << std::hex << " " << status << " " << delivery);
    *list = record_of<VportList>(untouched);
    list->count = capacity;
    channel.expect("RAVN_MGMT_VPORT_GET_LIST", board0)
        .word(2, capacity)
        .replies(1, with_at(ByteVector(sizeof(VportList), 0x44), 0, count))
        .ends_with(status, delivery);
    const AllocationWatch memory;
    EXPECT_EQ(OVK_VPGetList(0, list.get()), result);
    EXPECT_EQ(memory.outstanding(), 0);
    ByteVector expected(4 + written * sizeof(VportEntry), 0x44);
    expected.resize(sizeof(VportList), untouched);
    EXPECT_THAT(bytes_of(*list), SameBytes(with_at(expected, 0, told)));
  }
}

TEST_F(VirtualPortsTest, WithoutMemoryTheListStaysAndNothingIsLogged) {
  log_at(0xE);
  const auto list = std::make_unique<VportList>(record_of<VportList>(untouched));
  {
    const AllocationWatch memory{0};
    EXPECT_EQ(OVK_VPGetList(0, list.get()), OVK_NO_MEMORY);
  }
  EXPECT_THAT(log_lines(), testing::IsEmpty());
  EXPECT_THAT(bytes_of(*list), SameBytes(ByteVector(sizeof(VportList), untouched)));
}

}  // namespace
}  // namespace ovk::test
