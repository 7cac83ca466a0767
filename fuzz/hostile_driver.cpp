#include "fuzz/hostile_driver.h"

#include "driver_abi/command_block.h"
#include "driver_abi/commands.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdlib>
#include <sanitizer/asan_interface.h>

namespace ovk::fuzz {

FuzzedDataProvider* driver_answers = nullptr;
BoardIdentity board_identity{};

namespace {

/** All failures with a name, and one without. */
constexpr std::array failures{
    DriverStatus::not_found,
    DriverStatus::mailbox_failed,
    DriverStatus::no_memory,
    DriverStatus::no_dump_region,
    DriverStatus::no_response,
    DriverStatus::ras_already_active,
    DriverStatus::ras_bad_level,
    DriverStatus::oas_no_lun,
    DriverStatus::oas_no_such_port,
    DriverStatus::transport_failed,
    DriverStatus::not_supported,
    DriverStatus::not_permitted,
    DriverStatus::oas_bad_rule,
    DriverStatus::oas_rule_table_full,
    DriverStatus::feature_disabled,
    DriverStatus::busy,
    DriverStatus::not_ready,
    DriverStatus::does_not_fit,
    DriverStatus::no_vpd,
    DriverStatus::ras_not_active,
    DriverStatus::list_does_not_fit,
    DriverStatus::oas_rule_already_set,
    DriverStatus::ras_no_memory,
    static_cast<DriverStatus>(0x0BADFFFF),
};

/** What the channel itself can fail with. */
constexpr std::array delivery_errors{1, 7, 19};

/** Stops when part of what the driver copies is not the library's to give. */
void expect_whole(void* payload, std::size_t size) {
  if (payload != nullptr && __asan_region_is_poisoned(payload, size) != nullptr) {
    std::abort();
  }
}

void fill(void* payload, std::size_t size) {
  constexpr std::size_t most_from_input = 512;
  if (driver_answers->ConsumeBool()) {
    std::memset(payload, driver_answers->ConsumeIntegral<std::uint8_t>(), size);
  }
  driver_answers->ConsumeData(payload, std::min(size, most_from_input));
}

/** Words that counts and lengths are likely to be wrong with. */
std::uint32_t any_word() {
  switch (driver_answers->ConsumeIntegralInRange(0, 3)) {
    case 0:
      return driver_answers->ConsumeIntegral<std::uint8_t>();
    case 1:
      return driver_answers->ConsumeIntegralInRange<std::uint32_t>(0, 0x50000);
    default:
      return driver_answers->ConsumeIntegral<std::uint32_t>();
  }
}

void answer(CommandBlock& block) {
  for (std::uint32_t* const word :
       {&block.index, &block.reply_size, &block.value, &block.code, &block.selector}) {
    if (driver_answers->ConsumeBool()) {
      *word = any_word();
    }
  }
  block.status = driver_answers->ConsumeBool() ? DriverStatus::success
                                               : driver_answers->PickValueInArray(failures);
}

template <CommandName name>
constexpr std::uint32_t id_of = name->id;

/** Answers what nearly every call asks first, so that the input is spent on what comes after. */
bool answer_as_a_board(const DriverCommand& command, CommandBlock& block, void* payload) {
  constexpr std::size_t sli_mode_offset = 96;
  constexpr std::size_t features_offset = 104;
  constexpr std::size_t adapter_type_offset = 112;
  constexpr std::uint32_t all_features = 0xFFFFFFFF;
  const auto put = [payload](std::size_t offset, std::uint32_t word) {
    std::memcpy(static_cast<std::uint8_t*>(payload) + offset, &word, sizeof word);
  };
  const bool is_driver_info = command.id == id_of<"RAVN_MGMT_GET_RAVNOVK_INFO">;
  const bool is_attributes = command.id == id_of<"RAVN_MGMT_HBA_ADAPTERATTRIBUTES"> ||
                             command.id == id_of<"RAVN_MGMT_HBA_PORTATTRIBUTES">;
  const bool is_probe = command.id == id_of<"RAVN_MGMT_MBOX_SLI_CFG_EXT_SUP">;
  if (board_identity.sli_mode == 0 || !(is_driver_info || is_attributes || is_probe)) {
    return false;
  }
  if (!is_probe) {
    expect_whole(payload, command.payloads[0].size);
    std::memset(payload, board_identity.text, command.payloads[0].size);
  }
  if (is_driver_info) {
    put(sli_mode_offset, board_identity.sli_mode);
    put(features_offset, all_features);
    put(adapter_type_offset, board_identity.adapter_type);
  }
  block.status = DriverStatus::success;
  return true;
}

void answer(const Parameter& parameter, void* payload) {
  if (parameter.direction == Direction::descriptor) {
    auto* const descriptor = static_cast<vmk_MgmtDataDescriptor*>(payload);
    void* memory = nullptr;
    std::memcpy(&memory, &descriptor->address, sizeof memory);
    expect_whole(memory, descriptor->length);
    return;
  }
  expect_whole(payload, parameter.size);
  if (payload != nullptr && parameter.direction != Direction::input) {
    fill(payload, parameter.size);
  }
}

}  // namespace
}  // namespace ovk::fuzz

extern "C" {

int vmk_MgmtUserInit(const vmk_MgmtSignature* /*signature*/, std::uint32_t /*reserved0*/,
                     std::uint32_t /*reserved1*/, vmk_MgmtChannel** channel) {
  *channel = nullptr;
  return ovk::fuzz::driver_answers != nullptr && ovk::fuzz::driver_answers->ConsumeBool() ? 1 : 0;
}

int vmk_MgmtUserCallbackInvokeInt(vmk_MgmtChannel* /*channel*/, std::uint64_t /*instance*/,
                                  std::uint64_t id, std::uint32_t parameter_count, ...) {
  using namespace ovk;
  const auto* const command = std::ranges::find(commands, id, &DriverCommand::id);
  if (command == commands.end() || parameter_count != command->payload_count + 1) {
    std::abort();
  }
  std::va_list parameters;
  va_start(parameters, parameter_count);
  auto* const block = va_arg(parameters, CommandBlock*);
  std::array<void*, max_payloads> payloads{};
  for (std::size_t i = 0; i < command->payload_count; ++i) {
    payloads[i] = va_arg(parameters, void*);
  }
  va_end(parameters);
  if (fuzz::driver_answers == nullptr || fuzz::driver_answers->remaining_bytes() == 0) {
    return fuzz::delivery_errors[0];
  }
  if (fuzz::answer_as_a_board(*command, *block, payloads[0])) {
    return 0;
  }
  fuzz::answer(*block);
  for (std::size_t i = 0; i < command->payload_count; ++i) {
    fuzz::answer(command->payloads[i], payloads[i]);
  }
  constexpr int one_of = 8;
  return fuzz::driver_answers->ConsumeIntegralInRange(1, one_of) == one_of
             ? fuzz::driver_answers->PickValueInArray(fuzz::delivery_errors)
             : 0;
}

void vmk_MgmtUserDestroy(vmk_MgmtChannel* /*channel*/) {}

// Nobody waits. libFuzzer takes these too, for its watch of the memory, which is best switched off.
unsigned sleep(unsigned /*seconds*/) { return 0; }
int usleep(unsigned /*microseconds*/) { return 0; }
}
