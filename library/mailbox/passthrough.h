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
