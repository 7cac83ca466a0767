#include "tests/library/regions/region_script.h"

#include <ovk/regions.h>

namespace ovk::test {
namespace {

constexpr std::uint32_t link_down_feature = 0x400;
constexpr std::uint8_t kept_down = 0;
constexpr std::uint8_t comes_up = 1;

class PersistentLinkDownTest : public RegionTest {
 protected:
  /** What both calls ask, and their reading of the region. */
  Exchange& expect_opened(const ByteVector& image, std::uint32_t sli_mode = sli4) {
    expect_sli_mode(board0, sli_mode, link_down_feature);
    expect_sli_mode(board0, sli_mode);
    return expect_read(23, image, 0, sli_mode);
  }

  /** A region with this data in its record, and bytes that all tell their place behind the list. */
  static ByteVector region_with(const ByteVector& slots) {
    return patched(default_region23(), {{link_at + 4, slots}, {400, counted_bytes(624)}});
  }

  static void expect_get(std::uint32_t result, std::uint16_t value) {
    std::uint16_t link_down = 77;
    EXPECT_EQ(OVK_GetPersistLinkDown(0, &link_down), result);
    EXPECT_EQ(link_down, value);
  }

  /** Expects both calls to refuse after the same questions. */
  static void expect_refusals(const auto& script, std::uint32_t of_get, std::uint32_t of_set) {
    script();
    expect_get(of_get, 77);
    script();
    EXPECT_EQ(OVK_SetPersistLinkDown(0, 1), of_set);
  }
};

TEST_F(PersistentLinkDownTest, TheFirstValidSlotTellsAndASetChangesItAndTheHeaderOnly) {
  const auto expect_slot = [this](const ByteVector& slots, std::uint16_t value,
                                  std::uint16_t link_down, const ByteVector& after) {
    const ByteVector before = patched(region_with(slots), {{link_at + 2, {0x55, 0x66}}});
    expect_opened(before);
    expect_get(0, value);
    for (const std::uint32_t sli_mode : {sli3, sli4}) {
      expect_opened(before, sli_mode);
      expect_write(23, region_with(after), sli_mode);
      EXPECT_EQ(OVK_SetPersistLinkDown(0, link_down), 0U);
    }
  };
  expect_slot({1, 7, comes_up, 7, 1, 7, 1, 7}, 0, 5, {1, 7, kept_down, 7, 1, 7, 1, 7});
  expect_slot({1, 7, kept_down, 7, 1, 7, 9, 7}, 1, 0, {1, 7, comes_up, 7, 1, 7, 9, 7});
  expect_slot({1, 7, 0x80, 7}, 0, 0, {1, 7, comes_up, 7});
  expect_slot({0xff, 7, 9, 7, 1, 7, kept_down, 7}, 1, 0, {0xff, 7, 9, 7, 1, 7, comes_up, 7});
  expect_slot({0, 7, kept_down, 7, 1, 7, 9, 7}, 0, 0x100, {0, 7, kept_down, 7, 1, 7, kept_down, 7});

  expect_opened(region23_ending_with({0xa2, 2, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0}, 0xa1));
  expect_get(0, 1);
  expect_opened(region23_ending_with({0xa2, 2, 0, 0, 1, 0, 0, 0}, 0xa1));
  expect_get(0, 1);

  expect_opened(bare_region23()).replies(3, 0xFFFDU);
  expect_write(23, patched(default_region23(), {{link_at + 6, {kept_down}}})).replies(2, 0x99U);
  EXPECT_EQ(OVK_SetPersistLinkDown(0, 1), 0x99U) << "the firmware's status";
}

TEST_F(PersistentLinkDownTest, RefusalsKeepTheOrderOfTheQuestions) {
  expect_refusals([this] { expect_no_sli_mode(board0); }, 1, 1);
  expect_refusals([this] { expect_sli_mode(board0, sli4, ~link_down_feature); }, 2, 2);
  const auto refused_mode = [this] {
    expect_sli_mode(board0, sli4, link_down_feature);
    expect_no_sli_mode(board0);
  };
  expect_refusals(refused_mode, 1, 1);
  expect_refusals([this] { expect_opened(default_region23()).delivery_error(2); }, 1, 1);
  const auto expect_refused_image = [this](const ByteVector& image, std::uint32_t of_set) {
    expect_refusals([&] { expect_opened(image); }, of_set == 3 ? 1 : 2, of_set);
  };
  expect_refused_image(patched(default_region23(), {{link_at, {0xff}}}), 3);
  expect_refused_image(region_with({0, 0, 1, 0, 2, 0, 1, 0}), 2);
  expect_refused_image(region23_ending_with({0xa2, 2, 0, 0, 0, 0, 0, 0}, 0xa1), 2);
  expect_refused_image(region23_ending_with({0xa2, 2, 0, 0}, 0xa1), 2);
}

}  // namespace
}  // namespace ovk::test
