#include "fuzz/hostile_driver.h"

#include "driver_abi/command_block.h"
#include "driver_abi/commands.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdarg>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <sanitizer/asan_interface.h>
#include <span>

namespace ovk::fuzz {

FuzzedDataProvider* driver_answers = nullptr;
BoardIdentity board_identity{};

namespace {

using enum DriverStatus;

/** All failures with a name, and one without. */
constexpr std::array failures{
    not_found,         mailbox_failed,       no_memory,        no_dump_region,
    no_response,       ras_already_active,   ras_bad_level,    oas_no_lun,
    oas_no_such_port,  transport_failed,     not_supported,    not_permitted,
    oas_bad_rule,      oas_rule_table_full,  feature_disabled, busy,
    not_ready,         does_not_fit,         no_vpd,           ras_not_active,
    list_does_not_fit, oas_rule_already_set, ras_no_memory,    DriverStatus{0x0BADFFFF}};

/** What the channel itself can fail with. */
constexpr std::array delivery_errors{1, 7, 19};

/** Stops when part of what the driver copies is not the library's to give. */
void expect_whole(void* payload, std::size_t size) {
  if (payload != nullptr && __asan_region_is_poisoned(payload, size) != nullptr) {
    std::abort();
  }
}

/** Words that counts and lengths are likely to be wrong with. */
std::uint32_t any_word() {
  constexpr std::array<std::uint32_t, 3> limits{0xFF, 0x50000, 0xFFFFFFFF};
  return driver_answers->ConsumeIntegralInRange(0U, driver_answers->PickValueInArray(limits));
}

void answer(CommandBlock& block) {
  for (std::uint32_t* const word :
       {&block.index, &block.reply_size, &block.value, &block.code, &block.selector}) {
    if (driver_answers->ConsumeBool()) {
      *word = any_word();
    }
  }
  block.status =
      driver_answers->ConsumeBool() ? success : driver_answers->PickValueInArray(failures);
}

template <CommandName name>
constexpr std::uint32_t id_of = name->id;

/** What nearly every call asks first. */
constexpr std::array identity_commands{
    id_of<"RAVN_MGMT_GET_RAVNOVK_INFO">, id_of<"RAVN_MGMT_HBA_ADAPTERATTRIBUTES">,
    id_of<"RAVN_MGMT_HBA_PORTATTRIBUTES">, id_of<"RAVN_MGMT_MBOX_SLI_CFG_EXT_SUP">};

/** Whether a board answers as its identity says, so that the input is spent on what comes after. */
bool tells_identity(const DriverCommand& command) {
  return board_identity.sli_mode != 0 &&
         std::ranges::find(identity_commands, command.id) != identity_commands.end();
}

void tell_identity(const DriverCommand& command, void* payload, std::size_t size) {
  std::memset(payload, board_identity.text, size);
  if (command.id == identity_commands[0]) {
    auto* const words = static_cast<std::uint32_t*>(payload);
    words[24] = board_identity.sli_mode;
    words[26] = 0xFFFFFFFF;  // its features
    words[28] = board_identity.adapter_type;
  }
}

void fill(void* payload, std::size_t size) {
  constexpr std::size_t most_from_input = 512;
  if (driver_answers->ConsumeBool()) {
    std::memset(payload, driver_answers->ConsumeIntegral<std::uint8_t>(), size);
  }
  driver_answers->ConsumeData(payload, std::min(size, most_from_input));
}

/** Gives what the channel reports. */
int answer(const DriverCommand& command, CommandBlock& block, std::va_list& payloads) {
  const bool is_known = tells_identity(command);
  if (is_known) {
    block.status = success;
  } else {
    answer(block);
  }
  for (const auto& [size, direction] : std::span{command.payloads}.first(command.payload_count)) {
    void* const payload = va_arg(payloads, void*);
    if (direction == Direction::descriptor) {
      const auto* const descriptor = static_cast<vmk_MgmtDataDescriptor*>(payload);
      expect_whole(std::bit_cast<void*>(static_cast<std::uintptr_t>(descriptor->address)),
                   descriptor->length);
      continue;
    }
    expect_whole(payload, size);
    if (payload != nullptr && direction != Direction::input) {
      is_known ? tell_identity(command, payload, size) : fill(payload, size);
    }
  }
  const bool fails = !is_known && driver_answers->ConsumeIntegralInRange(0, 7) == 7;
  return fails ? driver_answers->PickValueInArray(delivery_errors) : 0;
}

}  // namespace
}  // namespace ovk::fuzz

extern "C" {

int vmk_MgmtUserInit(const vmk_MgmtSignature* /*signature*/, std::uint32_t /*reserved0*/,
                     std::uint32_t /*reserved1*/, vmk_MgmtChannel** channel) {
  *channel = nullptr;
  return ovk::fuzz::driver_answers->ConsumeBool() ? 1 : 0;
}

int vmk_MgmtUserCallbackInvokeInt(vmk_MgmtChannel* /*channel*/, std::uint64_t /*instance*/,
                                  std::uint64_t id, std::uint32_t parameter_count, ...) {
  using namespace ovk;
  const auto* const command = std::ranges::find(commands, id, &DriverCommand::id);
  if (command == commands.end() || parameter_count != command->payload_count + 1) {
    std::abort();
  }
  if (fuzz::driver_answers->remaining_bytes() == 0) {
    return fuzz::delivery_errors[0];
  }
  std::va_list parameters;
  va_start(parameters, parameter_count);
  auto& block = *va_arg(parameters, CommandBlock*);
  const int result = fuzz::answer(*command, block, parameters);
  va_end(parameters);
  return result;
}

void vmk_MgmtUserDestroy(vmk_MgmtChannel* /*channel*/) {}

// Nobody waits. libFuzzer takes these too, for its watch of the memory, which is best switched off.
unsigned sleep(unsigned /*seconds*/) { return 0; }
int usleep(unsigned /*microseconds*/) { return 0; }
}
