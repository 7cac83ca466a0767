#include "ovkctl/subjects/pci_vpd.h"

#include <gmock/gmock.h>

namespace ovkctl {
namespace {

using testing::ElementsAre;
using testing::FieldsAre;

/** "ab", a part number "P1" and a checksum, an asset tag "T", and the end. */
const std::vector<std::uint8_t> image = {
    0x82, 2, 0, 'a', 'b',                                  // identifier
    0x90, 9, 0, 'P', 'N', 2, 'P', '1', 'R', 'V', 1, 0x56,  // read-only fields
    0x91, 4, 0, 'Y', 'A', 1, 'T',                          // writable fields
    0x78,
};

TEST(PciVpdTest, ReadsIdentifierFieldsAndChecksum) {
  const Vpd vpd = parse_vpd(image);
  EXPECT_EQ(vpd.identifier, "ab");
  EXPECT_THAT(vpd.fields, ElementsAre(FieldsAre("PN", "P1", false), FieldsAre("YA", "T", true)));
  EXPECT_TRUE(vpd.checksum_right);
}

TEST(PciVpdTest, OnlyTheWholeImageIsCompleteAndACutOneIsReadNoFurther) {
  for (std::size_t size = 0; size <= image.size(); ++size) {
    const std::vector<std::uint8_t> cut(image.begin(), image.begin() + static_cast<int>(size));
    EXPECT_EQ(parse_vpd(cut).complete, size == image.size()) << size;
  }
}

TEST(PciVpdTest, AChangedByteMakesTheChecksumWrongAndALyingLengthEndsTheWalk) {
  std::vector<std::uint8_t> changed = image;
  changed[3] = 'x';
  EXPECT_FALSE(parse_vpd(changed).checksum_right);
  std::vector<std::uint8_t> lying = image;
  lying[10] = 0xff;  // the part number would leave its resource
  EXPECT_FALSE(parse_vpd(lying).complete);
  EXPECT_THAT(parse_vpd(lying).fields, ElementsAre());
}

}  // namespace
}  // namespace ovkctl
