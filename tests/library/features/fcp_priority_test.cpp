#include "tests/support/library_test.h"

#include <ovk/features.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <functional>
#include <iterator>
#include <memory>
#include <random>
#include <vector>

namespace ovk::test {
namespace {

constexpr std::size_t payload_size = 35932;

/** A rule whose fields are wildcards where the mask has a bit; its priority tells them as well. */
FcpPriorityEntry rule(std::uint32_t number, unsigned wildcards) {
  FcpPriorityEntry entry{.priority = number * 16 + wildcards};
  for (std::size_t i = 0; i < std::size(entry.match); ++i) {
    std::memset(&entry.match[i], 0xFF, sizeof entry.match[i]);
    if ((wildcards >> i & 1) == 0) {
      entry.match[i].bytes[7] = 0xFE;  // one bit is all that makes it specific
    }
  }
  return entry;
}

int fields_before_the_first_wildcard(const FcpPriorityEntry& entry) {
  return std::countr_zero(entry.priority % 16 | 16);
}

class FcpPriorityTest : public LibraryTest {
 protected:
  void give(const std::vector<FcpPriorityEntry>& rules) {
    list->count = static_cast<std::uint32_t>(rules.size());
    std::ranges::copy(rules, list->entries);
  }

  std::unique_ptr<FcpPriorityList> list = std::make_unique<FcpPriorityList>();
};

TEST_F(FcpPriorityTest, SpecificRulesAreSentAndKeptFirstAndThoseOfOneKindReversed) {
  std::mt19937 random{20200914};
  for (const std::uint32_t count : {0U, 1U, 2U, 17U, 1000U}) {
    std::vector<FcpPriorityEntry> rules;
    for (std::uint32_t i = 0; i < count; ++i) {
      rules.push_back(rule(i, static_cast<unsigned>(random() % 16)));
    }
    give(rules);
    std::ranges::reverse(rules);
    std::ranges::stable_sort(rules, std::greater{}, fields_before_the_first_wildcard);
    ByteVector expected(4 + 36 * count);
    expected = with_at(with_at(expected, 0, count), 4, rules);
    ByteVector payload = expected;
    payload.resize(payload_size);
    channel.expect("RAVN_MGMT_SET_FCP_PRIORITY", board0).word(2, count).sends(1, payload);
    EXPECT_EQ(OVK_QoSSetConfig(0, list.get()), OVK_OK);
    ByteVector kept = bytes_of(*list);
    kept.resize(expected.size());
    EXPECT_THAT(kept, SameBytes(expected)) << "the caller's list is as it was sent";
  }
}

TEST_F(FcpPriorityTest, WithoutMemoryTheListIsNotHalfOrdered) {
  give({rule(1, 0b0001), rule(2, 0)});
  const ByteVector before = bytes_of(*list);
  for (const int failing : {0, 1}) {
    const AllocationWatch memory{failing};
    EXPECT_EQ(OVK_QoSSetConfig(0, list.get()), failing == 0 ? OVK_NO_MEMORY : OVK_FAILED);
  }
  EXPECT_THAT(bytes_of(*list), SameBytes(before));
}

}  // namespace
}  // namespace ovk::test
