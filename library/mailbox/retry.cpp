#include "library/boards/driver_info.h"
#include "library/mailbox/passthrough.h"

#include <algorithm>
#include <cstring>
#include <unistd.h>

namespace {

constexpr std::size_t word_size = sizeof(std::uint32_t);
constexpr std::uint32_t ms_per_second = 1000;

/** Sleeps whole seconds, the delay rounded up. */
void sleep_seconds(std::uint32_t delay_ms) {
  sleep(delay_ms / ms_per_second + (delay_ms % ms_per_second != 0 ? 1 : 0));
}

/** Sleeps the delay itself up to a second, whole seconds above it. */
void sleep_precisely(std::uint32_t delay_ms) {
  constexpr std::uint32_t us_per_ms = 1000;
  if (delay_ms > ms_per_second) {
    sleep_seconds(delay_ms);
  } else {
    usleep(delay_ms * us_per_ms);
  }
}

/** Whether another attempt could help. */
bool was_busy(std::uint32_t result, const Mailbox& mailbox) {
  return result != OVK_OK && mailbox.status == OVK_MAILBOX_BUSY;
}

/** The result of a retry call whose last attempt gave `result`. */
std::uint32_t conclude(std::uint32_t result, const Mailbox& mailbox) {
  return result == OVK_OK || mailbox.status == 0 ? result : std::uint32_t{OVK_MAILBOX_SEE_STATUS};
}

/** Attempts until the firmware is not busy; each busy attempt is followed by its wait. */
template <typename Attempt, typename Wait>
std::uint32_t attempt_while_busy(std::uint32_t attempts, const Mailbox& mailbox, Attempt attempt,
                                 Wait wait) {
  std::uint32_t result = OVK_OK;
  for (; attempts != 0; --attempts) {
    result = attempt();
    if (!was_busy(result, mailbox)) {
      break;
    }
    wait();
  }
  return result;
}

bool word_set(const std::uint8_t* word) {
  return std::any_of(word, word + word_size, [](std::uint8_t byte) { return byte != 0; });
}

void clear_word(std::uint8_t* word) { std::memset(word, 0, word_size); }

/** The arguments of the extended command for an SLI_CONFIG mailbox. */
struct ExtendedWay {
  std::uint32_t sub_code;
  std::uint32_t kind;
};

constexpr std::uint32_t reading = 1;
constexpr std::uint32_t writing = 2;
constexpr ExtendedWay ordinary_way{};

ExtendedWay non_embedded_way(std::uint8_t* mailbox) {
  clear_word(mailbox + 24);
  clear_word(mailbox + 28);
  static_assert(OVK_MAILBOX_ROOM > 257);
  return {.sub_code = mailbox[257] == 9 ? reading : writing, .kind = 1};
}

ExtendedWay embedded_way(std::uint8_t* mailbox) {
  clear_word(mailbox + 160);
  clear_word(mailbox + 164);
  return {.sub_code = mailbox[24] == 0xAC ? reading : writing, .kind = 2};
}

/**
 * Chooses the way of a mailbox. One that goes the extended way loses the addresses it held. Callers
 * rely on that for an SLI_CONFIG mailbox of any length, for its whole room is there.
 */
ExtendedWay choose_way(std::uint8_t* mailbox) {
  constexpr std::uint8_t sli_config = 0x9B;
  if (mailbox[offsetof(Mailbox, command)] != sli_config) {
    return ordinary_way;
  }
  const bool embedded = (mailbox[4] & 1) != 0;
  if (!embedded) {
    return non_embedded_way(mailbox);
  }
  const bool has_external_data = mailbox[25] == 1 && word_set(mailbox + 152);
  return has_external_data ? embedded_way(mailbox) : ordinary_way;
}

}  // namespace

std::uint32_t OVK_IssueMboxWithRetry(std::uint32_t board, Mailbox* mb, std::uint32_t inWords,
                                     std::uint32_t outBytes, std::uint32_t retries,
                                     std::uint32_t delayMs) {
  if (const auto refused = ovk::sli3_gate(board, OVK_MAILBOX_WRONG_KIND)) return *refused;
  if (retries == 0) {
    return OVK_OK;
  }
  Mailbox working{};
  const auto attempt = [&] {
    working = {};
    std::memcpy(&working, mb, std::min<std::size_t>(inWords, OVK_MAILBOX_WORDS) * word_size);
    working.status = 0;
    // Intended: the limits of SLI mode 4 hold for the mailboxes of older adapters, too.
    return _IssueMbox(board, &working, inWords, outBytes, OVK_SLI4);
  };
  const std::uint32_t result =
      attempt_while_busy(retries, working, attempt, [delayMs] { sleep_seconds(delayMs); });
  std::memcpy(mb, &working, std::min<std::size_t>(outBytes, sizeof working));
  return result == OVK_MAILBOX_NOT_READY ? result : conclude(result, working);
}

std::uint32_t OVK_IssueMboxWithRetryEx(std::uint32_t board, Mailbox* mb, std::uint32_t* ext,
                                       std::uint32_t flag, std::uint32_t inExtWords,
                                       std::uint32_t outExtWords, std::uint32_t retries,
                                       std::uint32_t delayMs) {
  if (inExtWords > OVK_MAILBOX_EXTENDED_WORDS || outExtWords > OVK_MAILBOX_EXTENDED_WORDS) {
    return OVK_MAILBOX_TOO_MANY_WORDS;
  }
  if (retries == 0) {
    return OVK_OK;
  }
  Mailbox working{};
  std::uint32_t working_ext[OVK_MAILBOX_EXTENDED_WORDS];
  const auto attempt = [&] {
    std::memcpy(&working, mb, sizeof working);
    std::memset(working_ext, 0, sizeof working_ext);
    if (inExtWords != 0) {
      std::memcpy(working_ext, ext, inExtWords * word_size);
    }
    return IssueMboxEx(board, &working, working_ext, static_cast<std::uint8_t>(flag), inExtWords,
                       outExtWords);
  };
  const std::uint32_t result =
      attempt_while_busy(retries, working, attempt, [delayMs] { sleep_precisely(delayMs); });
  std::memcpy(mb, &working, sizeof working);
  if (outExtWords != 0) {
    std::memcpy(ext, working_ext, outExtWords * word_size);
  }
  return conclude(result, working);
}

std::uint32_t OVK_IssueMboxWithRetryV2(std::uint32_t board, Mailbox* mb, std::uint32_t words,
                                       std::uint32_t retries, std::uint32_t delayMs) {
  std::uint32_t mode = 0;
  if (get_sli_mode(board, &mode) != OVK_OK) {
    return OVK_FAILED;
  }
  if (mode < OVK_SLI4) {
    return OVK_MAILBOX_WRONG_KIND;
  }
  const ExtendedWay way = choose_way(static_cast<std::uint8_t*>(static_cast<void*>(mb)));
  const bool extended = way.kind != ordinary_way.kind;
  if (!extended && words != OVK_MAILBOX_WORDS) {
    return OVK_MAILBOX_WRONG_KIND;
  }
  ovk::MailboxExtension extension;
  while (true) {
    mb->status = 0;
    const std::uint32_t result =
        extended ? IssueExtendedSLIConfig(board, mb, way.sub_code, way.kind, words)
                 : ovk::issue_mailbox(board, mb, words, words * word_size, mode, extension);
    if (!was_busy(result, *mb) || retries <= 1) {
      return conclude(result, *mb);
    }
    --retries;
    sleep_seconds(delayMs);
  }
}
