#include "tests/library/regions/region_script.h"

#include <ovk/regions.h>

namespace ovk::test {
namespace {

constexpr std::uint32_t link_down_feature = 0x400;
constexpr std::uint8_t kept_down = 0;
constexpr std::uint8_t comes_up = 1;

class PersistentLinkDownTest : public RegionTest {
 protected:
  /** What both calls ask before they touch the region. */
  void expect_opening(std::uint32_t sli_mode = sli4) {
    expect_sli_mode(board0, sli_mode, link_down_feature);
    expect_sli_mode(board0, sli_mode);
  }

  /** The default region with this data in its record. */
  static ByteVector region_with(const ByteVector& slots) {
    return patched(default_region23(), {{link_at + 4, slots}});
  }

  void expect_get(const ByteVector& image, std::uint32_t result, std::uint16_t value) {
    expect_opening();
    expect_read(23, image);
    std::uint16_t link_down = 77;
    EXPECT_EQ(OVK_GetPersistLinkDown(0, &link_down), result);
    EXPECT_EQ(link_down, value);
  }
};

TEST_F(PersistentLinkDownTest, TheFirstValidSlotTells) {
  expect_get(default_region23(), 0, 0);
  expect_get(region_with({1, 0, kept_down, 0, 1, 0, comes_up, 0}), 0, 1);
  expect_get(region_with({1, 0, 0x80, 0, 0xff, 0, 0, 0}), 0, 0);
  expect_get(region_with({0xff, 0, comes_up, 0, 1, 0, kept_down, 0}), 0, 1);
  expect_get(region_with({0, 0, kept_down, 0, 1, 0, comes_up, 0}), 0, 0);
  expect_get(region_with({2, 0, 1, 0, 0xff, 0, 1, 0}), 2, 77);
}

TEST_F(PersistentLinkDownTest, ASetChangesItsSlotAndTheHeaderOnlyOnEveryGeneration) {
  struct Case {
    std::uint16_t link_down;
    ByteVector before, after;
  };
  const Case cases[] = {
      {5, {1, 7, comes_up, 7, 1, 7, 1, 7}, {1, 7, kept_down, 7, 1, 7, 1, 7}},
      {0, {1, 7, kept_down, 7, 1, 7, 9, 7}, {1, 7, comes_up, 7, 1, 7, 9, 7}},
      {0, {1, 7, 0x80, 7}, {1, 7, comes_up, 7}},
      {1, {0xff, 7, 9, 7, 1, 7, 9, 7}, {0xff, 7, 9, 7, 1, 7, kept_down, 7}},
      {0x100, {1}, {1, 0, kept_down}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.link_down);
    const ByteVector before = patched(region_with(c.before), {{link_at + 2, {0x55, 0x66}}});
    expect_opening();
    expect_read(23, before);
    expect_write(23, region_with(c.after));
    EXPECT_EQ(OVK_SetPersistLinkDown(0, c.link_down), 0U);

    expect_opening(sli3);
    expect_legacy_read(23, before);
    expect_legacy_write(23, region_with(c.after));
    EXPECT_EQ(OVK_SetPersistLinkDown(0, c.link_down), 0U);
  }
}

TEST_F(PersistentLinkDownTest, ASetOnAnEmptyRegionWritesTheWholeDefaultOne) {
  expect_opening();
  expect_read(23, bare_region23(), 0xFFFD);
  expect_write(23, patched(default_region23(), {{link_at + 6, {kept_down}}}), 0x99);
  EXPECT_EQ(OVK_SetPersistLinkDown(0, 1), 0x99U) << "the firmware's status is the result";
}

TEST_F(PersistentLinkDownTest, RefusalsKeepTheOrderOfTheQuestions) {
  std::uint16_t link_down = 77;
  const auto expect_result = [&](std::uint32_t of_get, std::uint32_t of_set, const auto& script) {
    script();
    EXPECT_EQ(OVK_GetPersistLinkDown(0, &link_down), of_get);
    script();
    EXPECT_EQ(OVK_SetPersistLinkDown(0, 1), of_set);
  };
  expect_result(1, 1, [this] { expect_no_sli_mode(board0); });
  expect_result(2, 2, [this] { expect_sli_mode(board0, sli4, ~link_down_feature); });
  expect_result(1, 1, [this] {
    expect_sli_mode(board0, sli4, link_down_feature);
    expect_no_sli_mode(board0);
  });
  expect_result(1, 1, [this] {
    expect_opening();
    expect_read(23, default_region23()).delivery_error(2);
  });
  expect_result(1, 3, [this] {
    expect_opening();
    expect_read(23, patched(default_region23(), {{link_at, {0xff}}}));
  });
  expect_result(2, 2, [this] {
    expect_opening();
    expect_read(23, region_with({0, 0, 1, 0, 0, 0, 1, 0}));
  });
  EXPECT_EQ(link_down, 77);
}

TEST_F(PersistentLinkDownTest, ARecordAtTheEndOfTheImageHasOnlyTheSlotsInIt) {
  expect_get(region23_ending_with({0xa2, 2, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0}, 0xa1), 0, 1);
  expect_get(region23_ending_with({0xa2, 2, 0, 0, 1, 0, 0, 0}, 0xa1), 0, 1);
  expect_get(region23_ending_with({0xa2, 2, 0, 0, 0, 0, 0, 0}, 0xa1), 2, 77);
  expect_get(region23_ending_with({0xa2, 2, 0, 0}, 0xa1), 2, 77);

  expect_opening();
  expect_read(23, region23_ending_with({0xa2, 2, 0, 0}, 0xa1));
  EXPECT_EQ(OVK_SetPersistLinkDown(0, 1), 2U);
}

}  // namespace
}  // namespace ovk::test
