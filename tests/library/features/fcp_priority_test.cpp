#include "library/features/fcp_priority.h"

#include "tests/support/library_test.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>
#include <functional>
#include <iterator>
#include <memory>
#include <random>
#include <span>
#include <vector>

namespace ovk::test {
namespace {

constexpr std::size_t payload_size = 35932;
constexpr std::size_t declared_entries = 998;
constexpr std::uint8_t untouched = 0xEE;

/** A rule whose fields are wildcards where the mask has a bit, told apart by its priority. */
FcpPriorityEntry rule(unsigned wildcards, std::uint32_t priority) {
  FcpPriorityEntry entry{.priority = priority};
  for (std::size_t i = 0; i < std::size(entry.match); ++i) {
    std::memset(&entry.match[i], 0xFF, sizeof entry.match[i]);
    if ((wildcards >> i & 1) == 0) {
      entry.match[i].bytes[7] = 0xFE;  // one bit is all that makes it specific
    }
  }
  return entry;
}

class FcpPriorityTest : public LibraryTest {
 protected:
  void give(const std::vector<FcpPriorityEntry>& rules) {
    list->count = static_cast<std::uint32_t>(rules.size());
    std::ranges::copy(rules, list->entries);
  }

  std::vector<std::uint32_t> priorities() {
    std::vector<std::uint32_t> result(list->count);
    std::ranges::transform(std::span{list->entries, list->count}, result.begin(),
                           &FcpPriorityEntry::priority);
    return result;
  }

  /** The first bytes of the list as it is now. */
  ByteVector image(std::size_t entries) {
    ByteVector bytes = bytes_of(*list);
    bytes.resize(4 + 36 * entries);
    return bytes;
  }

  std::unique_ptr<FcpPriorityList> list = std::make_unique<FcpPriorityList>();
};

TEST_F(FcpPriorityTest, OrderingKeepsEveryRuleWholeWhateverTheList) {
  const auto fields_before_the_first_wildcard = [](const FcpPriorityEntry& entry) {
    return std::countr_zero(entry.priority % 16 | 16);  // the priorities below tell the wildcards
  };
  std::mt19937 random{20200914};
  for (const std::size_t count : {1U, 2U, 3U, 17U, 250U, 999U, 1000U}) {
    std::vector<FcpPriorityEntry> rules;
    for (std::uint32_t i = 0; i < count; ++i) {
      const auto wildcards = static_cast<unsigned>(random() % 16);
      rules.push_back(rule(wildcards, i * 16 + wildcards));
    }
    give(rules);
    ASSERT_EQ(order_fcp_priority_list(list.get()), OVK_OK);

    std::ranges::reverse(rules);
    std::ranges::stable_sort(rules, std::greater{}, fields_before_the_first_wildcard);
    ASSERT_EQ(list->count, count);
    for (std::size_t i = 0; i < count; ++i) {
      ASSERT_THAT(bytes_of(list->entries[i]), SameBytes(bytes_of(rules[i]))) << i << "/" << count;
    }
  }
}

TEST_F(FcpPriorityTest, SpecificRulesComeFirstAndRulesOfOneKindAreReversed) {
  give({rule(0b1111, 1), rule(0, 2), rule(0b1110, 3), rule(0b1100, 4), rule(0, 5), rule(0b1000, 6),
        rule(0b0001, 7)});
  const Exchange& set = channel.expect("RAVN_MGMT_SET_FCP_PRIORITY", board0).word(2, 7);
  EXPECT_EQ(OVK_QoSSetConfig(0, list.get()), OVK_OK);
  EXPECT_THAT(priorities(), testing::ElementsAre(5, 2, 6, 4, 3, 7, 1)) << "by the first wildcard";
  ByteVector expected = image(7);
  expected.resize(payload_size);
  EXPECT_THAT(set.sent(1), SameBytes(expected)) << "the caller's list is as it was sent";

  give({});
  channel.expect("RAVN_MGMT_SET_FCP_PRIORITY", board0).sends(1, ByteVector{});
  EXPECT_EQ(OVK_QoSSetConfig(0, list.get()), OVK_OK);
}

TEST_F(FcpPriorityTest, ATableOf1000RulesIsTakenAndOneMoreRefused) {
  give(std::vector<FcpPriorityEntry>(1000, rule(0, 7)));
  channel.expect("RAVN_MGMT_SET_FCP_PRIORITY", board0).word(2, 1000);
  EXPECT_EQ(OVK_QoSSetConfig(0, list.get()), OVK_OK);

  channel.expect("RAVN_MGMT_GET_FCP_PRIORITY", board0)
      .word(2, 1000)
      .replies(1, ByteVector(payload_size, 0x11));
  EXPECT_EQ(OVK_QoSGetConfig(0, list.get()), OVK_MORE_DATA);
  EXPECT_EQ(list->count, 0x11111111U);
  EXPECT_EQ(list->entries[declared_entries - 1].priority, 0x11111111U);
  EXPECT_EQ(list->entries[999].priority, 0U) << "the driver gave no more";

  for (const std::uint32_t count : {1001U, 0x80000000U, 0xFFFFFFFFU}) {
    list->count = count;
    EXPECT_EQ(OVK_QoSSetConfig(0, list.get()), OVK_FAILED);
    EXPECT_EQ(OVK_QoSGetConfig(0, list.get()), OVK_FAILED);
    EXPECT_EQ(list->count, count);
  }
}

TEST_F(FcpPriorityTest, GetFillsTheCallersRoomAndTellsHowManyThereAre) {
  give({rule(0, 70), rule(0b1000, 71)});
  const ByteVector reply = image(2);
  for (const auto& [room, result] :
       {std::pair{0U, OVK_MORE_DATA}, {1U, OVK_MORE_DATA}, {2U, OVK_OK}, {3U, OVK_OK}}) {
    std::memset(list.get(), untouched, sizeof *list);
    list->count = room;
    channel.expect("RAVN_MGMT_GET_FCP_PRIORITY", board0).word(2, room).replies(1, reply);
    EXPECT_EQ(OVK_QoSGetConfig(0, list.get()), result) << "room for " << room;
    ByteVector expected = reply;
    expected.resize(4 + 36 * room);
    expected.resize(4 + 36 * (room + 1), untouched);
    EXPECT_THAT(image(room + 1), SameBytes(expected)) << "room for " << room;
  }
}

TEST_F(FcpPriorityTest, FailuresLeaveTheCallersListAloneAndFreeEverything) {
  give({rule(0b0001, 1), rule(0, 2)});
  const ByteVector before = bytes_of(*list);
  channel.expect("RAVN_MGMT_GET_FCP_PRIORITY", board0)
      .word(2, 2)
      .replies(1, ByteVector(200, 9))
      .status(0x0BAD0020);
  channel.expect("RAVN_MGMT_GET_FCP_PRIORITY", board0).word(2, 2).delivery_error(3);
  EXPECT_EQ(OVK_QoSGetConfig(0, list.get()), OVK_FAILED);
  EXPECT_EQ(OVK_QoSGetConfig(0, list.get()), OVK_FAILED);
  for (const int failing : {0, 1}) {
    const AllocationWatch memory{failing};
    EXPECT_EQ(OVK_QoSSetConfig(0, list.get()), failing == 0 ? OVK_NO_MEMORY : OVK_FAILED);
    EXPECT_EQ(memory.outstanding(), 0);
  }
  {
    const AllocationWatch memory{0};
    EXPECT_EQ(OVK_QoSGetConfig(0, list.get()), OVK_NO_MEMORY);
  }
  EXPECT_THAT(bytes_of(*list), SameBytes(before)) << "not half ordered";

  channel.expect("RAVN_MGMT_SET_FCP_PRIORITY", board0).word(2, 2).status(0x0BAD0001);
  channel.expect("RAVN_MGMT_SET_FCP_PRIORITY", board0).word(2, 2).delivery_error(1);
  const AllocationWatch memory;
  EXPECT_EQ(OVK_QoSSetConfig(0, list.get()), OVK_FAILED);
  EXPECT_EQ(OVK_QoSSetConfig(0, list.get()), OVK_FAILED);
  EXPECT_EQ(memory.outstanding(), 0);
}

}  // namespace
}  // namespace ovk::test
