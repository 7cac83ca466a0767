#include "simulator/board/firmware.h"
#include "simulator/board/regions.h"
#include "simulator/commands/subsystem.h"

#include <algorithm>
#include <vector>

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

/** The status with which a fault file has the firmware answer, or what it answers by itself. */
template <typename Access>
std::uint32_t mailbox_status(const Request& request, Access access) {
  const auto scripted = request.effect("mailbox_status");
  return scripted ? *scripted : static_cast<std::uint32_t>(access());
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
  call.mailbox.status =
      static_cast<std::uint16_t>(mailbox_status(request, [&] { return complete(adapter, call); }));
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
  extended.mailbox.status = static_cast<std::uint16_t>(mailbox_status(request, [&] {
    return transfer(adapter, direction, {extended.data, data_size});
  }));
  return DriverStatus::success;
}

DriverStatus dump_region(Adapter& adapter, Request& request) {
  CommandBlock& block = request.block();
  const auto room = request.output_bytes(2);
  if (block.request_size > room.size()) {
    return DriverStatus::does_not_fit;
  }
  std::vector<std::uint8_t> contents;
  auto& status = request.output<std::uint32_t>(3);
  status = mailbox_status(request, [&] {
    return adapter.state<Regions>().read(request.input<ovk::RegionReadRequest>(1).region, contents);
  });
  if (status != 0) {
    return DriverStatus::success;
  }
  std::size_t count = std::min<std::size_t>(contents.size(), block.request_size);
  if (const auto shorter = request.effect("short")) {
    count = std::min<std::size_t>(count, *shorter);
  }
  std::copy_n(contents.begin(), count, room.begin());
  block.reply_size = static_cast<std::uint32_t>(count);
  return DriverStatus::success;
}

DriverStatus update_region(Adapter& adapter, Request& request) {
  const CommandBlock& block = request.block();
  const auto data = request.input_bytes(1);
  if (block.request_size > data.size()) {
    return DriverStatus::does_not_fit;
  }
  request.output<std::uint32_t>(2) = mailbox_status(request, [&] {
    return adapter.state<Regions>().write(block.value, data.first(block.request_size));
  });
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
  table.when(is_sli4)
      .when(is_ready)
      .on<"RAVN_MGMT_HBA_ISSUE_DMP_MBX">(dump_region, {"mailbox_status", "short"})
      .on<"RAVN_MGMT_HBA_ISSUE_UPD_MBX">(update_region, {"mailbox_status"});
}

}  // namespace ravnsim
