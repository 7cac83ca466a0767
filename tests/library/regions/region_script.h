/**
 * @file
 * Region images and the traffic that reads and writes them, as the tests of this folder expect it.
 */
#pragma once

#include "tests/library/mailbox/mailbox_script.h"

#include <array>
#include <initializer_list>

namespace ovk::test {

inline constexpr std::uint32_t sli3 = 3;
inline constexpr std::uint32_t sli4 = 4;
/** An adapter type with region commands, and one without. */
inline constexpr std::uint32_t with_commands = 0x714;
inline constexpr std::uint32_t without_commands = 0x700;

inline constexpr std::size_t region23_size = 1024;
inline constexpr std::size_t region22_size = 512;
/** Where the default Region 23 has its records, and where it ends. */
inline constexpr std::size_t fcoe_at = 8;
inline constexpr std::size_t connections_at = 20;
inline constexpr std::size_t link_at = 344;
inline constexpr std::size_t default_end = 359;

/** Bytes to be put at a place of an image. */
struct Patch {
  std::size_t at;
  ByteVector bytes;
};

inline ByteVector patched(ByteVector image, std::initializer_list<Patch> patches) {
  for (const Patch& patch : patches) {
    std::ranges::copy(patch.bytes, image.begin() + static_cast<std::ptrdiff_t>(patch.at));
  }
  return image;
}

/** The image that the library builds where the adapter has none. */
inline ByteVector default_region23() {
  return patched(ByteVector(region23_size), {{0, {'R', 'G', '2', '3', 1}},
                                             {fcoe_at, {0xa0, 2, 1, 1, 0x0e, 0xfc}},
                                             {connections_at, {0xa1, 0x50}},
                                             {link_at, {0xa2, 2, 0x30, 0, 1, 0, 1, 0, 0xff}},
                                             {356, {0xff}}});
}

inline ByteVector default_region22() {
  return patched(ByteVector(region22_size), {{0, {'R', 'G', '2', '2', 1}}});
}

/** An image without records, and with other bytes than the default one everywhere else. */
inline ByteVector bare_region23() {
  return patched(ByteVector(region23_size, 0x77), {{0, {'R', 'G', '2', '3', 1, 0, 0, 0}}});
}

/** An image with records of these types, all of one length, as far as it goes. */
inline ByteVector region23_of(const ByteVector& types, std::uint8_t words = 2) {
  ByteVector image = bare_region23();
  std::size_t at = fcoe_at;
  for (std::size_t i = 0; i < types.size() && at + 1 < image.size(); ++i, at += 4 + words * 4U) {
    image = patched(std::move(image), {{at, {types[i], words}}});
  }
  return image;
}

/** An image that holds three records of a type, and of its fourth record only these bytes. */
inline ByteVector region23_ending_with(const ByteVector& record, std::uint8_t others) {
  const std::size_t end = region23_size - record.size();
  const auto third = static_cast<std::uint8_t>((end - 20) / 4);
  return patched(bare_region23(),
                 {{8, {others, 0}}, {12, {others, 0}}, {16, {others, third}}, {end, record}});
}

class RegionTest : public MailboxTest {
 protected:
  /** A read of a region by the region command or, below SLI-4, by mailboxes, of which a status
      ends the first; the last answer can be changed. */
  Exchange& expect_read(std::uint8_t region, const ByteVector& image, std::uint16_t status = 0,
                        std::uint32_t sli_mode = sli4) {
    if (sli_mode == sli3) {
      return expect_legacy_read(region, image, status);
    }
    const auto size = static_cast<std::uint32_t>(image.size());
    expect_sli_mode(board0, sli4);
    return channel.expect("RAVN_MGMT_HBA_ISSUE_DMP_MBX", board0)
        .word(2, size)
        .sends(1, std::array{2U, std::uint32_t{region}, 0U})
        .answers(3, size)
        .replies(2, image)
        .replies(3, status);
  }

  /** A write of a region in the same two ways. */
  Exchange& expect_write(std::uint8_t region, const ByteVector& image,
                         std::uint32_t sli_mode = sli4) {
    if (sli_mode == sli3) {
      return expect_region_update(region, image);
    }
    expect_sli_mode(board0, sli4);
    return channel.expect("RAVN_MGMT_HBA_ISSUE_UPD_MBX", board0)
        .word(2, static_cast<std::uint32_t>(image.size()))
        .word(4, region)
        .sends(1, image);
  }

 private:
  Exchange& expect_legacy_read(std::uint8_t region, const ByteVector& image, std::uint16_t status) {
    constexpr std::uint32_t step = 128;
    Exchange* last = nullptr;
    for (std::uint32_t at = 0; at == 0 || (status == 0 && at < image.size()); at += step) {
      const ByteVector data{&image[at], &image[at] + step};
      last = &expect_region_step(region, at, step, data, status);
    }
    return *last;
  }
};

}  // namespace ovk::test
