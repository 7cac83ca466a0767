#include "simulator/board/adapter.h"
#include "simulator/board/board_state.h"
#include "simulator/board/mailbox_table.h"
#include "simulator/call/handler_table.h"
#include "simulator/call/request.h"
#include "simulator/commands/guards.h"

#include <algorithm>
#include <optional>

namespace ravnsim {

namespace {

constexpr std::uint32_t longest_mailbox = 2048;
constexpr std::uint32_t word_size = 4;

bool is_whole_mailbox(std::uint32_t size) {
  return size != 0 && size <= longest_mailbox && size % word_size == 0;
}

bool has_room(const MailboxData& data) {
  return std::max(data.in_bytes, data.out_bytes) <= sizeof data.bytes;
}

std::uint16_t complete(Adapter& adapter, MailboxCall& call) {
  static const MailboxTable table = all_mailboxes();
  const MailboxFunction function = table.find(call.mailbox.command);
  return function != nullptr ? function(adapter, call) : std::uint16_t{mailbox_unknown_command};
}

/** The status with which a fault file has the firmware complete mailboxes. */
std::optional<std::uint16_t> scripted_status(const Request& request) {
  const auto value = request.effect("mailbox_status");
  return value ? std::optional{static_cast<std::uint16_t>(*value)} : std::nullopt;
}

constexpr Guard is_not_busy{
    [](Adapter&, const Request& request) { return !request.effect("busy"); }, DriverStatus::busy};

DriverStatus pass_mailbox(Adapter& adapter, Request& request) {
  MailboxCall call{.mailbox = request.output<FirmwareMailbox>(2),
                   .extension = request.output_bytes(1),
                   .data = request.output<MailboxData>(3)};
  if (!is_whole_mailbox(request.block().request_size) || !has_room(call.data)) {
    return DriverStatus::mailbox_failed;
  }
  const auto scripted = scripted_status(request);
  call.mailbox.status = scripted ? *scripted : complete(adapter, call);
  return DriverStatus::success;
}

/** An SLI_CONFIG mailbox that the driver takes together with its external data. */
struct ExtendedMailbox {
  FirmwareMailbox mailbox;
  std::uint8_t data[4096 - sizeof(FirmwareMailbox)];
};

static_assert(sizeof(ExtendedMailbox) == 4096);

enum class Transfer : std::uint32_t { read = 1, write = 2 };

constexpr const char* saved_object = "sli-config-data";

std::uint16_t transfer(Adapter& adapter, Transfer direction, std::span<std::uint8_t> data) {
  if (direction == Transfer::write) {
    adapter.save(saved_object, data);
    return mailbox_completed;
  }
  const auto object = adapter.load(saved_object).value_or(std::vector<std::uint8_t>{});
  const std::size_t size = std::min(object.size(), data.size());
  std::ranges::fill(data, std::uint8_t{0});
  std::copy_n(object.begin(), size, data.begin());
  return mailbox_completed;
}

DriverStatus pass_extended_mailbox(Adapter& adapter, Request& request) {
  const auto direction = static_cast<Transfer>(request.block().selector);
  const std::uint32_t size = request.block().request_size;
  if ((direction != Transfer::read && direction != Transfer::write) ||
      size > sizeof(ExtendedMailbox) || size < word_size) {
    return DriverStatus::mailbox_failed;
  }
  auto& extended = request.output<ExtendedMailbox>(1);
  const std::size_t data_size = size - std::min<std::size_t>(size, sizeof extended.mailbox);
  const auto scripted = scripted_status(request);
  extended.mailbox.status =
      scripted ? *scripted : transfer(adapter, direction, {extended.data, data_size});
  return DriverStatus::success;
}

}  // namespace

void add_mailbox_handlers(HandlerTable& table) {
  table.when(is_ready)
      .when(is_not_busy)
      .on<"RAVN_MGMT_MBOX">(pass_mailbox, {"busy", "mailbox_status"});
  table.when(takes_extended_sli_config)
      .when(is_ready)
      .when(is_not_busy)
      .on<"RAVN_MGMT_MBOX_SLI_CFG_EXT">(pass_extended_mailbox, {"busy", "mailbox_status"});
}

}  // namespace ravnsim
