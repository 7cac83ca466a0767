#include "library/mailbox/passthrough.h"

#include "library/boards/driver_info.h"
#include "library/core/assertion.h"
#include "library/core/command.h"
#include "library/core/payload.h"

#include <algorithm>
#include <bit>
#include <cstring>

using ovk::Bytes;
using ovk::CallerMemory;
using ovk::Command;
using ovk::DriverStatus;
using ovk::HeapBuffer;
using ovk::Outcome;

namespace {

constexpr std::size_t word_size = sizeof(std::uint32_t);

/** The words of an SLI-3 mailbox. */
constexpr std::uint32_t sli3_words = 32;

/** The longest mailbox that is passed. SLI mode 4 has the longer limits, a later mode has not. */
struct Limits {
  std::uint32_t in_words;
  std::uint32_t out_bytes;
};

constexpr Limits sli3_limits{.in_words = sli3_words, .out_bytes = 128};
constexpr Limits sli4_limits{.in_words = 512, .out_bytes = 2048};

using ExtensionBuffer = HeapBuffer<Bytes<OVK_MAILBOX_EXTENSION_SIZE>>;

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

/** Memory whose size and address stand in two words of the mailbox. */
CallerMemory memory_at(const Mailbox& mb, std::size_t size_word, std::size_t address_word) {
  constexpr std::uint32_t size_mask = 0xFFFFFF;
  const auto word = [&mb](std::size_t number) { return mb.words4[number - 1]; };
  return {word(size_word) & size_mask, std::bit_cast<void*>(word(address_word))};
}

/** The caller's memory that a mailbox moves besides itself. */
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

namespace ovk {

void MailboxExtension::take_once(const Mailbox& mb) {
  if (taken_) {
    return;
  }
  taken_ = true;
  const ExtensionUse use = extension_use(mb);
  assert_that(use.write.size <= OVK_MAILBOX_EXTENSION_SIZE, "write_size <= 4096");
  assert_that(use.read.size <= OVK_MAILBOX_EXTENSION_SIZE, "read_size <= 4096");
  if (use.write.address != nullptr) {
    write_size_ = use.write.size;
    std::memcpy(write_data_, use.write.address, write_size_);
  }
  read_ = use.read;
}

std::uint32_t issue_mailbox(std::uint32_t board, Mailbox* mb, std::uint32_t in_words,
                            std::uint32_t out_bytes, std::uint32_t sli_mode,
                            MailboxExtension& extension) {
  const Limits& limits = sli_mode == OVK_SLI4 ? sli4_limits : sli3_limits;
  if (in_words > limits.in_words || out_bytes > limits.out_bytes) {
    mb->status = OVK_MAILBOX_NOT_ISSUED;
    return OVK_FAILED;
  }
  ExtensionBuffer buffer{ovk::unfilled};
  if (!buffer) {
    return OVK_NO_MEMORY;
  }
  extension.take_once(*mb);
  buffer.fill(extension.write_data(), extension.write_size());

  mb->status = 0;
  Mailbox mailbox;
  const std::size_t mailbox_bytes = bytes_within(in_words, sizeof mailbox);
  fill(mailbox, mb, mailbox_bytes);
  ExtendedData no_data{};
  Command command{
      board, {.request_size = in_words * word_size, .reply_size = out_bytes}, here("_IssueMbox")};
  // Intended: the result lines of this call name another command.
  const Outcome outcome =
      command.invoke<"RAVN_MGMT_MBOX", "RAVN_MGMT_INDUCE_DUMP">(buffer.get(), &mailbox, &no_data);
  std::memcpy(mb, &mailbox, mailbox_bytes);

  const std::uint32_t result = conclude(outcome, mailbox, *mb);
  if (result == OVK_OK && extension.read().address != nullptr) {
    buffer.copy_out(extension.read().address, extension.read().size);
  }
  return result;
}

}  // namespace ovk

std::uint32_t _IssueMbox(std::uint32_t board, Mailbox* mb, std::uint32_t inWords,
                         std::uint32_t outBytes, std::uint32_t sliMode) {
  ovk::MailboxExtension extension;
  return ovk::issue_mailbox(board, mb, inWords, outBytes, sliMode, extension);
}

std::uint32_t IssueMbox(std::uint32_t board, Mailbox* mb, std::uint32_t inWords,
                        std::uint32_t outBytes) {
  std::uint32_t mode = 0;
  if (get_sli_mode(board, &mode) != OVK_OK) {
    return OVK_FAILED;
  }
  return mode >= OVK_SLI4 ? std::uint32_t{OVK_MAILBOX_NOT_READY}
                          : _IssueMbox(board, mb, inWords, outBytes, mode);
}

std::uint32_t IssueMboxEx(std::uint32_t board, Mailbox* mb, std::uint32_t* ext, std::uint8_t flag,
                          std::uint32_t inExtWords, std::uint32_t outExtWords) {
  constexpr std::size_t mailbox_bytes = sli3_words * word_size;
  mb->status = 0;
  const ExtensionBuffer extension;
  if (!extension) {
    return OVK_NO_MEMORY;
  }
  Mailbox mailbox;
  ovk::fill(mailbox, mb, mailbox_bytes);
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
