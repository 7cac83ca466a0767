#include "library/mailbox/region_mailbox.h"
#include "library/regions/region23.h"
#include "library/regions/region_update.h"
#include "tests/library/regions/region_script.h"

#include <ovk/regions.h>

#include <cstdlib>
#include <memory>
#include <tuple>

namespace ovk::test {
namespace {

class Region23Test : public RegionTest {
 protected:
  /** Reads the region, which gives this image, or fails without an image. */
  static void expect_image(std::uint32_t sli_mode, const ByteVector& expected) {
    std::uint32_t length = 77;
    auto* image = reinterpret_cast<Region23Image*>(&length);
    const AllocationWatch memory;
    EXPECT_EQ(GetRegion23(0, &image, &length, sli_mode), expected.empty() ? 1U : 0U);
    EXPECT_EQ(memory.outstanding(), expected.empty() ? 0 : 1);
    const std::unique_ptr<Region23Image, decltype(&std::free)> owner{image, &std::free};
    EXPECT_EQ(length, expected.size());
    EXPECT_THAT(image != nullptr ? bytes_of(*image) : ByteVector{}, SameBytes(expected));
  }

  /** The default region with what stood in an image behind the default's end. */
  static ByteVector default_over(ByteVector image) {
    std::copy_n(default_region23().begin(), default_end, image.begin());
    return image;
  }
};

TEST_F(Region23Test, AnImageOfFourKnownRecordsIsReadAsItIsAnyOtherAsTheDefaultOne) {
  using Sample = std::tuple<const char*, bool, ByteVector>;
  const ByteVector whole = region23_of({0xa0, 0xa1, 0xa2, 0xff}, 0);
  for (const auto& [what, valid, image] :
       {Sample{"records without data", true, whole},
        Sample{"signature", false, patched(whole, {{3, {'2'}}})},
        Sample{"version", false, patched(whole, {{4, {2}}})},
        Sample{"an end first", true, region23_of({0xff, 0xff, 0xa0, 0xa2})},
        Sample{"an unknown fourth record", false, region23_of({0xa0, 0xa1, 0xa2, 0xa3})},
        Sample{"a fourth that ends beyond", true, patched(default_region23(), {{357, {0xff}}})},
        Sample{"a fourth that ends the image", true, region23_of({0xa0, 0xa1, 0xa2, 0xa0}, 83)},
        Sample{"a fourth behind the image", false, region23_of({0xa0, 0xa1, 0xa2}, 84)}}) {
    SCOPED_TRACE(what);
    expect_read(23, image);
    expect_image(sli4, valid ? image : default_over(image));
  }
  expect_read(23, whole).answers(3, 1023);
  expect_image(sli4, patched(default_over(whole), {{1023, {0}}}));
}

TEST_F(Region23Test, EmptyRegionsReadAsTheDefaultOneAndOtherFailuresFail) {
  for (const std::uint32_t sli_mode : {sli3, sli4}) {
    for (const auto status : std::to_array<std::uint16_t>({0xFFFD, 0xFFF7, 0xFFF6})) {
      expect_read(23, bare_region23(), status, sli_mode);
      expect_image(sli_mode, default_region23());
    }
    expect_read(23, bare_region23(), 0, sli_mode).status(0x0BAD0001);
    expect_image(sli_mode, {});
  }
}

TEST_F(Region23Test, AWriteTakesTheWholeRegionAndOnlyTheFirmwareTellsOfItsFailure) {
  expect_sli_mode(board0, sli3);
  expect_write(23, default_region23(), sli3);
  EXPECT_EQ(OVK_InitR23(0), 0U);
  expect_sli_mode(board0, sli4);
  expect_write(23, default_region23()).replies(2, 0xFFF6U);
  EXPECT_EQ(OVK_InitR23(0), 0xFFF6U);
  expect_no_sli_mode(board0);
  EXPECT_EQ(OVK_InitR23(0), 1U);

  const ByteVector bytes(2000, 0x31);
  expect_write(23, ByteVector(region23_size, 0x31)).replies(2, 0xFFF6U).delivery_error(1);
  EXPECT_EQ(fcoeSetRegion23(0, bytes.data(), 2000), 0U);
  expect_write(23, ByteVector(5, 0x31)).word(2, region23_size);
  EXPECT_EQ(fcoeSetRegion23(0, bytes.data(), 5), 0U);
  expect_adapter_type(board0, with_commands);
  expect_write(22, ByteVector(region22_size, 0x31));
  EXPECT_EQ(fcoeSetRegion22(0, bytes.data(), 2000), 0U);
}

/** Region 22 of adapters that read and write it by region commands, and of those that do not. */
class Region22Test : public RegionTest, public testing::WithParamInterface<std::uint32_t> {
 protected:
  const bool by_command = GetParam() != without_commands;
  const std::uint32_t way = by_command ? sli4 : sli3;
  const ByteVector sample = patched(counted_bytes(region22_size), {{0, {'R', 'G', '2', '2'}}});
  std::vector<Region22Entry> entries = std::vector<Region22Entry>(64);
  std::uint32_t count = 77;

  void expect_type() { expect_adapter_type(board0, GetParam()); }
  void expect_no_type() { channel.expect("RAVN_MGMT_GET_RAVNOVK_INFO", board0).status(0x0BAD0042); }

  Exchange& expect_read22(const ByteVector& image, std::uint16_t status = 0) {
    expect_type();
    return expect_read(22, image, status, way);
  }

  /** A write; the region command asks for the type once more. */
  Exchange& expect_write22(const ByteVector& image) {
    if (by_command) {
      expect_type();
    }
    return expect_write(22, image, way);
  }

  std::uint32_t set(std::uint32_t given = 1) { return OVK_SetRegion22(0, entries.data(), given); }
};

TEST_P(Region22Test, DeliversThirtyTwoEntriesOfWhichTheLastEndsInZeros) {
  ByteVector expected{sample.begin() + 8, sample.end()};
  expected.resize(region22_size);
  expected.resize(entries.size() * sizeof(Region22Entry), 0xEE);
  std::memset(entries.data(), 0xEE, expected.size());
  expect_read22(sample);
  EXPECT_EQ(OVK_GetRegion22(0, entries.data(), &count), 0U);
  EXPECT_EQ(count, 32U);
  EXPECT_THAT(bytes_of(entries), SameBytes(expected));
}

TEST_P(Region22Test, WithoutTheTypeOrTheRegionNothingIsDeliveredOrWritten) {
  const auto expect_failure = [&](const auto& script, std::uint32_t of_get, std::uint32_t of_set) {
    script();
    EXPECT_EQ(OVK_GetRegion22(0, entries.data(), &count), of_get);
    EXPECT_EQ(count, 77U);
    EXPECT_EQ(bytes_of(entries), ByteVector(entries.size() * sizeof(Region22Entry)));
    script();
    EXPECT_EQ(set(), of_set);
  };
  expect_failure([&] { expect_no_type(); }, 0x0BAD0042, 0x0BAD0042);
  expect_failure([&] { expect_read22(sample, 0xFFF7); }, 5, 1);
  expect_failure([&] { expect_read22(sample, 0xFFF6); }, 6, 1);
  expect_failure([&] { expect_read22(sample).status(0x0BAD0001); }, by_command ? 1 : 252, 1);
  expect_no_type();
  EXPECT_EQ(OVK_InitR22(0), 0x0BAD0042U);
  expect_no_type();
  EXPECT_EQ(OVK_SetRegion14(0, entries.data()), 0x0BAD0042U);
}

TEST_P(Region22Test, ARegionThatIsEmptyOrDamagedIsNotDeliveredAndASetRepairsItFirst) {
  entries[0].bytes[0] = 0xAB;
  const auto expect_repair = [&](const auto& script, std::uint32_t result) {
    script();
    EXPECT_EQ(OVK_GetRegion22(0, entries.data(), &count), result);
    script();
    expect_write22(default_region22());
    expect_write22(patched(default_region22(), {{8, {0xAB}}}));
    EXPECT_EQ(set(), 0U);
  };
  expect_repair([&] { expect_read22(sample, 0xFFFD); }, 4);
  expect_repair([&] { expect_read22(sample, 0xFFFE); }, 0xFFFE);
  expect_repair([&] { expect_read22(patched(sample, {{0, {'r'}}})); }, 0xFFFE);
  if (by_command) {
    expect_repair([&] { expect_read22(sample).answers(3, 511); }, 0xFFFE);
    expect_read22(sample, 0xFFFD);
    expect_write22(default_region22()).replies(2, 0xFFF6U);
    EXPECT_EQ(set(), 0xFFF6U) << "a failed repair ends the set";
  } else {
    expect_repair([&] { expect_read22(sample, 0xFFFC); }, 0xFFFC);
  }
}

TEST_P(Region22Test, ASetReplacesTheFirstEntriesThatFitAndKeepsTheRest) {
  std::memset(entries.data(), 0x5C, entries.size() * sizeof(Region22Entry));
  entries[0].bytes[1] = 0xAB;
  for (const std::uint32_t given : {0U, 2U, 31U, 32U, 64U, 0x10000001U}) {
    ByteVector replaced = bytes_of(entries);
    replaced.resize(std::min(given, 31U) * sizeof(Region22Entry));
    expect_read22(sample);
    expect_write22(patched(sample, {{8, replaced}}));
    EXPECT_EQ(set(given), 0U);
  }
}

TEST_P(Region22Test, AnInitialisationWritesNoEntriesAndRegion14IsWrittenByRegionCommandsOnly) {
  expect_type();
  expect_write22(default_region22());
  EXPECT_EQ(OVK_InitR22(0), 0U);
  const ByteVector image(1000, 0x42);
  expect_type();
  if (by_command) {
    expect_write(14, image).replies(2, 0xFFF6U);
  }
  EXPECT_EQ(OVK_SetRegion14(0, image.data()), by_command ? 0xFFF6 : 2);
}

INSTANTIATE_TEST_SUITE_P(AdapterTypes, Region22Test,
                         testing::Values(with_commands, 0x704U, without_commands));

TEST_F(Region23Test, WithoutMemoryNothingOfARegionIsSentAndWithItAllIsFreed) {
  Region23Image* image = nullptr;
  std::uint32_t length = 0;
  const auto expect_no_memory = [](const auto& call) {
    const AllocationWatch no_memory{0};
    EXPECT_EQ(call(), 12U);
  };
  expect_no_memory([&] { return GetRegion23(0, &image, &length, sli4); });
  expect_no_memory([] { return LEG_IssueDumpMBox(0, nullptr, 23); });
  expect_sli_mode(board0, sli4);
  expect_no_memory([] { return OVK_InitR23(0); });
  for (int i = 0; i < 4; ++i) {
    expect_adapter_type(board0, without_commands);
  }
  expect_no_memory([] { return OVK_GetRegion22(0, nullptr, nullptr); });
  expect_no_memory([] { return OVK_SetRegion22(0, nullptr, 0); });
  expect_no_memory([] { return OVK_InitR22(0); });

  expect_read(22, default_region22(), 0, sli3);
  expect_write(22, default_region22(), sli3);
  const AllocationWatch memory;
  EXPECT_EQ(OVK_SetRegion22(0, nullptr, 0), 0U);
  EXPECT_EQ(memory.allocations(), 6) << "the image, and the extension of each mailbox";
  EXPECT_EQ(memory.outstanding(), 0);
}

}  // namespace
}  // namespace ovk::test
