#include "tests/support/library_test.h"

#include <ovk/npiv.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

namespace ovk::test {
namespace {

constexpr Wwn vport{{0x20, 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77}};
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
  ByteVector request(28);
  std::memcpy(request.data() + 8, vport.bytes, sizeof vport);
  const ByteVector record(340, 0x21);
  const auto expect_attributes = [&]() -> Exchange& {
    return channel.expect("RAVN_MGMT_VPORT_GET_ATTRIB", board0).sends(1, request);
  };
  VportAttributes attributes{};
  expect_attributes().replies(2, record).answers(3, 9);
  EXPECT_EQ(OVK_VPGetAttrib(0, &vport, &attributes), OVK_OK);
  EXPECT_EQ(bytes_of(attributes), record);

  expect_attributes().status(0x0BAD0003);
  EXPECT_EQ(OVK_VPGetAttrib(0, &vport, &attributes), OVK_ILLEGAL_WWN);
  expect_attributes().delivery_error(1);
  EXPECT_EQ(OVK_VPGetAttrib(0, &vport, &attributes), OVK_ILLEGAL_WWN);
  expect_attributes().status(0x0BAD0003).answers(3, 9);
  EXPECT_EQ(OVK_VPGetAttrib(0, &vport, &attributes), OVK_FAILED);
}

TEST_F(VirtualPortsTest, CreatingAndDeletingIsNotOffered) {
  EXPECT_EQ(OVK_VPCreate(0, nullptr, nullptr), OVK_NOT_SUPPORTED);
  EXPECT_EQ(OVK_VPDelete(unmapped_board, nullptr, nullptr), OVK_NOT_SUPPORTED);
  EXPECT_EQ(OVK_VPDeleteV2(0, &vport, &vport), OVK_NOT_SUPPORTED);
}

class VirtualPortListTest : public LibraryTest {
 protected:
  VirtualPortListTest() : list{std::make_unique<VportList>()} {
    std::memset(list.get(), untouched, sizeof *list);
  }

  /** Asks with this capacity; the driver answers a count and a list full of 0x44. */
  Exchange& expect_list(std::uint32_t capacity, std::uint32_t count) {
    list->count = capacity;
    ByteVector reply(sizeof(VportList), 0x44);
    std::memcpy(reply.data(), &count, sizeof count);
    return channel.expect("RAVN_MGMT_VPORT_GET_LIST", board0).word(2, capacity).replies(1, reply);
  }

  std::uint32_t get() {
    const AllocationWatch memory;
    const std::uint32_t result = OVK_VPGetList(0, list.get());
    EXPECT_EQ(memory.outstanding(), 0);
    return result;
  }

  void expect_written(std::uint32_t count, std::size_t entries) {
    ByteVector expected(4 + entries * sizeof(VportEntry), 0x44);
    expected.resize(sizeof(VportList), untouched);
    std::memcpy(expected.data(), &count, sizeof count);
    EXPECT_EQ(bytes_of(*list), expected);
  }

  std::unique_ptr<VportList> list;
};

TEST_F(VirtualPortListTest, EntriesAreCopiedByTheDriversCountWithinTheDriversList) {
  expect_list(5, 3);
  EXPECT_EQ(get(), OVK_OK);
  expect_written(3, 3);

  expect_list(5, 7);  // the driver alone keeps to the capacity
  EXPECT_EQ(get(), OVK_OK);
  expect_written(7, 7);

  expect_list(4096, 0xFFFFFFFF);
  EXPECT_EQ(get(), OVK_OK);
  expect_written(0xFFFFFFFF, 4096);
}

TEST_F(VirtualPortListTest, AListThatDoesNotFitReportsItsCountEvenWhenNotDelivered) {
  expect_list(0, 3).status(list_does_not_fit);
  EXPECT_EQ(get(), OVK_MORE_DATA);
  expect_written(3, 0);
  expect_list(1, 4).status(list_does_not_fit).delivery_error(1);
  EXPECT_EQ(get(), OVK_MORE_DATA);
  expect_written(4, 0);
}

TEST_F(VirtualPortListTest, AFailureOrNoMemoryLeavesTheList) {
  expect_list(5, 3).status(0x0BAD0020);
  EXPECT_EQ(get(), OVK_FAILED);
  expect_list(5, 3).delivery_error(1);
  EXPECT_EQ(get(), OVK_FAILED);
  log_at(0xE);
  {
    const AllocationWatch memory{0};
    EXPECT_EQ(OVK_VPGetList(0, list.get()), OVK_NO_MEMORY);
  }
  EXPECT_THAT(log_lines(), testing::IsEmpty());
  expect_written(5, 0);
}

}  // namespace
}  // namespace ovk::test
