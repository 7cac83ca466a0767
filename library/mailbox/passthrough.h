/**
 * @file
 * The one way of a mailbox to the driver, below the calls that choose it.
 */
#pragma once

#include <ovk/mailbox.h>

#include <cstdint>

extern "C" {

/**
 * Passes a mailbox to the firmware.
 *
 * @param board     library board index
 * @param mb        the mailbox, at least 32 words of it; returned as the firmware completed it
 * @param inWords   words to pass and to return: 512 at most when sliMode is 4, of which the mailbox
 *                  takes OVK_MAILBOX_WORDS, else 32
 * @param outBytes  bytes that the firmware may return: 2048 at most when sliMode is 4, else 128
 * @param sliMode   which limits hold; not necessarily the board's own mode
 * @return OVK_OK; OVK_FAILED, with mb->status set; OVK_MAILBOX_NOT_READY; OVK_NO_MEMORY
 */
OVK_API uint32_t _IssueMbox(uint32_t board, Mailbox* mb, uint32_t inWords, uint32_t outBytes,
                            uint32_t sliMode);
}

namespace ovk {

/** Memory of the caller that a mailbox names. */
struct CallerMemory {
  std::uint32_t size = 0;
  void* address = nullptr;
};

/**
 * The data that a mailbox moves besides itself. It is taken before the first attempt and serves all
 * of them, because the driver may rewrite the words of a mailbox that it returns as busy.
 */
class MailboxExtension {
 public:
  /** Takes what the mailbox names, unless an earlier attempt did. A length that is too long aborts.
   */
  void take_once(const Mailbox& mb);

  /** The data to write, `write_size` bytes. */
  [[nodiscard]] const std::uint8_t* write_data() const { return write_data_; }
  [[nodiscard]] std::uint32_t write_size() const { return write_size_; }

  /** The place for the data that is read; without an address when nothing is. */
  [[nodiscard]] const CallerMemory& read() const { return read_; }

 private:
  bool taken_ = false;
  std::uint32_t write_size_ = 0;
  CallerMemory read_;
  std::uint8_t write_data_[OVK_MAILBOX_EXTENSION_SIZE];  // its first write_size_ bytes are set
};

/** Passes a mailbox as _IssueMbox does, with the data that the first of several attempts took. */
std::uint32_t issue_mailbox(std::uint32_t board, Mailbox* mb, std::uint32_t in_words,
                            std::uint32_t out_bytes, std::uint32_t sli_mode,
                            MailboxExtension& extension);

}  // namespace ovk
