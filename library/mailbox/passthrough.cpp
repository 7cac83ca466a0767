#include "library/mailbox/passthrough.h"

#include "library/boards/driver_info.h"
#include "library/core/assertion.h"
#include "library/core/command.h"
#include "library/core/heap_buffer.h"

#include <algorithm>
#include <bit>
#include <cstring>

using ovk::Bytes;
using ovk::Command;
using ovk::DriverStatus;
using ovk::HeapBuffer;
using ovk::Outcome;

namespace {

constexpr std::size_t word_size = sizeof(std::uint32_t);

/** The words of an SLI-3 mailbox. */
constexpr std::uint32_t sli3_words = 32;

/** How long a mailbox may be. The longer ones are those of SLI mode 4 exactly. */
struct Limits {
  std::uint32_t in_words;
  std::uint32_t out_bytes;
};

constexpr Limits sli3_limits{.in_words = sli3_words, .out_bytes = 128};
constexpr Limits sli4_limits{.in_words = 512, .out_bytes = 2048};

using Extension = HeapBuffer<Bytes<OVK_MAILBOX_EXTENSION_SIZE>>;

/** Extended data on its way to the driver and back. */
struct [[gnu::packed]] ExtendedData {
  std::uint32_t in_bytes;
  std::uint32_t out_bytes;
  std::uint8_t flag;
  std::uint8_t data[OVK_MAILBOX_EXTENDED_WORDS * word_size];
};

static_assert(sizeof(ExtendedData) == 2057);
static_assert(offsetof(ExtendedData, out_bytes) == 4);
static_assert(offsetof(ExtendedData, flag) == 8);
static_assert(offsetof(ExtendedData, data) == 9);

/** The bytes of `words` that fit into a buffer. */
std::size_t bytes_within(std::uint32_t words, std::size_t buffer) {
  return std::min<std::size_t>(words, buffer / word_size) * word_size;
}

/** Memory of the caller that a mailbox names. */
struct CallerMemory {
  std::uint32_t size;
  void* address;
};

/** Memory whose size and address stand in two words of the mailbox. */
CallerMemory memory_at(const Mailbox& mb, std::size_t size_word, std::size_t address_word) {
  constexpr std::uint32_t size_mask = 0xFFFFFF;
  const auto word = [&mb](std::size_t number) { return mb.words4[number - 1]; };
  return {word(size_word) & size_mask, std::bit_cast<void*>(word(address_word))};
}

/** What a mailbox moves besides itself. */
struct ExtensionUse {
  CallerMemory read;
  CallerMemory write;
};

ExtensionUse extension_use(const Mailbox& mb) {
  switch (mb.command) {
    case 0x38:
    case 0x8D:
    case 0x8F:
      return {.read = memory_at(mb, 3, 4), .write = {}};
    case 0x84:
      return {.read = memory_at(mb, 5, 6), .write = memory_at(mb, 2, 3)};
    default:
      return {};
  }
}

void check(const ExtensionUse& use) {
  ovk::assert_that(use.write.size <= OVK_MAILBOX_EXTENSION_SIZE, "write_size <= 4096");
  ovk::assert_that(use.read.size <= OVK_MAILBOX_EXTENSION_SIZE, "read_size <= 4096");
}

/** The mailbox status and the result for a command that did not reach the firmware. */
std::uint32_t report_driver_error(Mailbox& mb, DriverStatus status) {
  switch (status) {
    case DriverStatus::not_ready:
      mb.status = OVK_MAILBOX_NOT_ISSUED;
      return OVK_MAILBOX_NOT_READY;
    case DriverStatus::busy:
      mb.status = OVK_MAILBOX_BUSY;
      return OVK_FAILED;
    case DriverStatus::mailbox_failed:
      mb.status = OVK_MAILBOX_FAILED;
      return OVK_FAILED;
    default:
      mb.status = OVK_MAILBOX_NOT_ISSUED;
      return OVK_FAILED;
  }
}

/** Tells the caller how the command ended, in the result and in the mailbox. */
std::uint32_t conclude(const Outcome& outcome, const Mailbox& returned, Mailbox& mb) {
  if (!outcome.succeeded()) {
    return report_driver_error(mb, outcome.status);
  }
  return returned.status == 0 ? OVK_OK : OVK_FAILED;
}

}  // namespace

std::uint32_t _IssueMbox(std::uint32_t board, Mailbox* mb, std::uint32_t inWords,
                         std::uint32_t outBytes, std::uint32_t sliMode) {
  const Limits& limits = sliMode == OVK_SLI4 ? sli4_limits : sli3_limits;
  if (inWords > limits.in_words || outBytes > limits.out_bytes) {
    mb->status = OVK_MAILBOX_NOT_ISSUED;
    return OVK_FAILED;
  }
  Extension extension;
  if (!extension) {
    return OVK_NO_MEMORY;
  }
  const ExtensionUse use = extension_use(*mb);
  check(use);
  if (use.write.address != nullptr) {
    extension.copy_in(use.write.address, use.write.size);
  }

  mb->status = 0;
  Mailbox mailbox{};
  const std::size_t mailbox_bytes = bytes_within(inWords, sizeof mailbox);
  std::memcpy(&mailbox, mb, mailbox_bytes);
  ExtendedData no_data{};
  Command command{board, {.request_size = inWords * word_size, .reply_size = outBytes}};
  // Intended: the result lines of this call name another command.
  const Outcome outcome = command.invoke<"RAVN_MGMT_MBOX", "RAVN_MGMT_INDUCE_DUMP">(
      extension.get(), &mailbox, &no_data);
  std::memcpy(mb, &mailbox, mailbox_bytes);

  const std::uint32_t result = conclude(outcome, mailbox, *mb);
  if (result == OVK_OK && use.read.address != nullptr) {
    extension.copy_out(use.read.address, use.read.size);
  }
  return result;
}

std::uint32_t IssueMbox(std::uint32_t board, Mailbox* mb, std::uint32_t inWords,
                        std::uint32_t outBytes) {
  constexpr std::uint32_t not_on_sli4 = 3;
  std::uint32_t mode = 0;
  if (get_sli_mode(board, &mode) != OVK_OK) {
    return OVK_FAILED;
  }
  return mode >= OVK_SLI4 ? not_on_sli4 : _IssueMbox(board, mb, inWords, outBytes, mode);
}

std::uint32_t IssueMboxEx(std::uint32_t board, Mailbox* mb, std::uint32_t* ext, std::uint8_t flag,
                          std::uint32_t inExtWords, std::uint32_t outExtWords) {
  constexpr std::size_t mailbox_bytes = sli3_words * word_size;
  mb->status = 0;
  const Extension extension;
  if (!extension) {
    return OVK_NO_MEMORY;
  }
  Mailbox mailbox{};
  std::memcpy(&mailbox, mb, mailbox_bytes);
  ExtendedData extended{
      .in_bytes = inExtWords * word_size, .out_bytes = outExtWords * word_size, .flag = flag};
  if (inExtWords != 0) {
    std::memcpy(extended.data, ext, bytes_within(inExtWords, sizeof extended.data));
  }

  Command command{board, {.request_size = mailbox_bytes, .reply_size = sizeof mailbox}};
  const Outcome outcome = command.invoke<"RAVN_MGMT_MBOX">(extension.get(), &mailbox, &extended);
  std::memcpy(mb, &mailbox, mailbox_bytes);

  const std::uint32_t result = conclude(outcome, mailbox, *mb);
  if (result == OVK_OK && outExtWords != 0) {
    std::memcpy(ext, extended.data, bytes_within(outExtWords, sizeof extended.data));
  }
  return result;
}
