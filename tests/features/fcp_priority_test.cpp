#include "features/fcp_priority.h"

#include "tests/support/library_test.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <memory>
#include <random>
#include <vector>

namespace ovk::test {
namespace {

constexpr std::size_t declared_entries = 998;
constexpr std::uint8_t untouched = 0xEE;

/** A rule whose fields are wildcards where the mask has a bit, told apart by its priority. */
FcpPriorityEntry rule(unsigned wildcards, std::uint32_t priority) {
  FcpPriorityEntry entry{.priority = priority};
  for (std::size_t i = 0; i < std::size(entry.match); ++i) {
    if ((wildcards >> i & 1) != 0) {
      std::memset(&entry.match[i], 0xFF, sizeof entry.match[i]);
    } else {
      std::memset(&entry.match[i], 0xFF, 7);
      entry.match[i].bytes[7] = 0xFE;  // one bit is all that makes it specific
    }
  }
  return entry;
}

/** The place of a kind in the order: rules without a wildcard first, the first field's last. */
unsigned rank(const FcpPriorityEntry& entry) {
  const ByteVector wildcard(8, 0xFF);
  for (unsigned i = 0; i < 4; ++i) {
    if (bytes_of(entry.match[i]) == wildcard) {
      return 4 - i;
    }
  }
  return 0;
}

class FcpPriorityTest : public LibraryTest {
 protected:
  FcpPriorityTest() { std::memset(list.get(), untouched, sizeof *list); }

  void give(const std::vector<FcpPriorityEntry>& rules) {
    list->count = static_cast<std::uint32_t>(rules.size());
    std::ranges::copy(rules, list->entries);
  }

  std::vector<std::uint32_t> priorities() {
    std::vector<std::uint32_t> result;
    std::transform(list->entries, list->entries + list->count, std::back_inserter(result),
                   [](const FcpPriorityEntry& entry) { return entry.priority; });
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

TEST_F(FcpPriorityTest, SpecificRulesComeFirstAndRulesOfOneKindAreReversed) {
  give({rule(0b0001, 1), rule(0, 2), rule(0b0100, 3), rule(0, 4)});
  EXPECT_EQ(order_fcp_priority_list(list.get()), OVK_OK);
  EXPECT_THAT(priorities(), testing::ElementsAre(4, 2, 3, 1));

  give({rule(0b1111, 1), rule(0b1110, 2), rule(0b1100, 3), rule(0b1000, 4), rule(0b0001, 5)});
  EXPECT_EQ(order_fcp_priority_list(list.get()), OVK_OK);
  EXPECT_THAT(priorities(), testing::ElementsAre(4, 3, 2, 5, 1)) << "the first wildcard decides";
}

TEST_F(FcpPriorityTest, OrderingKeepsEveryRuleWholeWhateverTheList) {
  std::mt19937 random{20200914};
  for (const std::size_t count : {1U, 2U, 3U, 17U, 250U, 999U, 1000U}) {
    std::vector<FcpPriorityEntry> rules;
    for (std::uint32_t i = 0; i < count; ++i) {
      rules.push_back(rule(random() % 16, i));
    }
    give(rules);
    ASSERT_EQ(order_fcp_priority_list(list.get()), OVK_OK);

    std::ranges::reverse(rules);
    std::ranges::stable_sort(rules, {}, rank);
    ASSERT_EQ(list->count, count);
    for (std::size_t i = 0; i < count; ++i) {
      ASSERT_EQ(bytes_of(list->entries[i]), bytes_of(rules[i])) << i << " of " << count;
    }
  }
}

TEST_F(FcpPriorityTest, SetSendsTheOrderedRulesAndLeavesThemSo) {
  give({rule(0b0001, 1), rule(0, 2), rule(0, 3)});
  const Exchange& set = channel.expect("RAVN_MGMT_SET_FCP_PRIORITY", board0).word(2, 3);
  EXPECT_EQ(OVK_QoSSetConfig(0, list.get()), OVK_OK);
  EXPECT_THAT(priorities(), testing::ElementsAre(3, 2, 1));
  ByteVector expected = image(3);
  expected.resize(35932);
  EXPECT_EQ(set.sent(1), expected);

  give({});
  channel.expect("RAVN_MGMT_SET_FCP_PRIORITY", board0).sends(1, ByteVector(4));
  EXPECT_EQ(OVK_QoSSetConfig(0, list.get()), OVK_OK);
}

TEST_F(FcpPriorityTest, ATableOf1000RulesIsTakenAndOneMoreRefused) {
  give(std::vector<FcpPriorityEntry>(1000, rule(0, 7)));
  channel.expect("RAVN_MGMT_SET_FCP_PRIORITY", board0).word(2, 1000);
  EXPECT_EQ(OVK_QoSSetConfig(0, list.get()), OVK_OK);

  std::memset(list.get(), untouched, sizeof *list);
  list->count = 1000;
  channel.expect("RAVN_MGMT_GET_FCP_PRIORITY", board0)
      .word(2, 1000)
      .replies(1, ByteVector(35932, 0x11));
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
  const auto driver = std::make_unique<FcpPriorityList>();
  driver->count = 2;
  driver->entries[0] = rule(0, 70);
  driver->entries[1] = rule(0b1000, 71);
  ByteVector reply = bytes_of(*driver);
  reply.resize(35932);
  for (const auto& [room, result] :
       {std::pair{0U, OVK_MORE_DATA}, {1U, OVK_MORE_DATA}, {2U, OVK_OK}, {3U, OVK_OK}}) {
    std::memset(list.get(), untouched, sizeof *list);
    list->count = room;
    channel.expect("RAVN_MGMT_GET_FCP_PRIORITY", board0).word(2, room).replies(1, reply);
    EXPECT_EQ(OVK_QoSGetConfig(0, list.get()), result) << "room for " << room;
    EXPECT_TRUE(
        std::ranges::equal(image(room), ByteVector(reply.begin(), reply.begin() + 4 + 36 * room)));
    EXPECT_EQ(bytes_of(list->entries[room]), ByteVector(36, untouched));
  }
}

TEST_F(FcpPriorityTest, FailuresLeaveTheCallersListAndFlagAlone) {
  give({rule(0b0001, 1), rule(0, 2)});
  const ByteVector before = bytes_of(*list);
  channel.expect("RAVN_MGMT_GET_FCP_PRIORITY", board0)
      .word(2, 2)
      .replies(1, ByteVector(200, 9))
      .status(0x0BAD0020);
  EXPECT_EQ(OVK_QoSGetConfig(0, list.get()), OVK_FAILED);
  channel.expect("RAVN_MGMT_GET_FCP_PRIORITY", board0).word(2, 2).delivery_error(3);
  EXPECT_EQ(OVK_QoSGetConfig(0, list.get()), OVK_FAILED);
  EXPECT_EQ(bytes_of(*list), before);

  for (const int failing : {0, 1}) {
    const AllocationWatch memory{failing};
    EXPECT_EQ(OVK_QoSSetConfig(0, list.get()), failing == 0 ? OVK_NO_MEMORY : OVK_FAILED);
    EXPECT_EQ(memory.outstanding(), 0);
  }
  EXPECT_EQ(bytes_of(*list), before) << "not half ordered";
  {
    const AllocationWatch memory{0};
    EXPECT_EQ(OVK_QoSGetConfig(0, list.get()), OVK_NO_MEMORY);
  }

  std::uint32_t flag = 77;
  channel.expect("RAVN_MGMT_GET_FCP_PRIORITY_FLAG", board0).answers(5, 1).status(0x0BAD0001);
  EXPECT_EQ(OVK_QoSGetGlobalFlag(0, &flag), OVK_FAILED);
  EXPECT_EQ(flag, 77U);
}

TEST_F(FcpPriorityTest, SetFailuresFreeEverything) {
  give({rule(0, 2)});
  channel.expect("RAVN_MGMT_SET_FCP_PRIORITY", board0).word(2, 1).status(0x0BAD0001);
  channel.expect("RAVN_MGMT_SET_FCP_PRIORITY", board0).word(2, 1).delivery_error(1);
  const AllocationWatch memory;
  EXPECT_EQ(OVK_QoSSetConfig(0, list.get()), OVK_FAILED);
  EXPECT_EQ(OVK_QoSSetConfig(0, list.get()), OVK_FAILED);
  EXPECT_EQ(memory.outstanding(), 0);
}

TEST_F(FcpPriorityTest, TheGlobalFlagPassesUnchanged) {
  std::uint32_t flag = 0;
  channel.expect("RAVN_MGMT_GET_FCP_PRIORITY_FLAG", board1).answers(5, 0xFFFFFFFE);
  EXPECT_EQ(OVK_QoSGetGlobalFlag(1, &flag), OVK_OK);
  EXPECT_EQ(flag, 0xFFFFFFFE);

  channel.expect("RAVN_MGMT_SET_FCP_PRIORITY_FLAG", board1).word(5, 0x80000001);
  EXPECT_EQ(OVK_QoSSetGlobalFlag(1, 0x80000001), OVK_OK);
  channel.expect("RAVN_MGMT_SET_FCP_PRIORITY_FLAG", board1).word(5, 1).delivery_error(4);
  EXPECT_EQ(OVK_QoSSetGlobalFlag(1, 1), OVK_FAILED);
}

}  // namespace
}  // namespace ovk::test
