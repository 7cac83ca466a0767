// A management channel whose driver answers at once, so that what is measured is everything but the
// driver: all commands succeed.

#include "bench/calls.h"
#include "driver_abi/command_block.h"
#include "driver_abi/commands.h"
#include "driver_abi/vmkmgmt.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>

namespace {

using ovk::bench::Answer;
using ovk::bench::Sent;

constexpr std::uint32_t driver_information = ovk::CommandName {
  "RAVN_MGMT_GET_RAVNOVK_INFO"
  } -> id;
constexpr std::uint32_t sli_mode_offset = 96;
constexpr std::uint32_t adapter_type_offset = 112;

Answer answer;
std::vector<Sent>* record = nullptr;

void write_word(void* payload, std::uint32_t at, std::uint32_t value) {
  std::memcpy(static_cast<std::uint8_t*>(payload) + at, &value, sizeof value);
}

void append(std::vector<std::uint8_t>& bytes, const void* start, std::size_t size) {
  const auto* const first = static_cast<const std::uint8_t*>(start);
  bytes.insert(bytes.end(), first, first + size);
}

[[gnu::noinline, gnu::cold]] void keep(std::uint64_t id, const ovk::CommandBlock& block,
                                       std::va_list payloads) {
  const auto& command = *std::ranges::find(ovk::commands, id, &ovk::DriverCommand::id);
  Sent sent{std::string{command.name}, {}};
  append(sent.bytes, &block, sizeof block);
  for (std::size_t i = 0; i < command.payload_count; ++i) {
    append(sent.bytes, va_arg(payloads, void*), command.payloads[i].size);
  }
  record->push_back(std::move(sent));
}

}  // namespace

namespace ovk::bench {

void answer_with(const Answer& given) { answer = given; }

void record_into(std::vector<Sent>* sent) { record = sent; }

}  // namespace ovk::bench

int vmk_MgmtUserInit(const vmk_MgmtSignature* /*signature*/, std::uint32_t /*reserved0*/,
                     std::uint32_t /*reserved1*/, vmk_MgmtChannel** channel) {
  *channel = nullptr;
  return 0;
}

int vmk_MgmtUserCallbackInvokeInt(vmk_MgmtChannel* /*channel*/, std::uint64_t /*instance*/,
                                  std::uint64_t callback, std::uint32_t parameter_count, ...) {
  std::va_list parameters;
  va_start(parameters, parameter_count);
  auto* const block = va_arg(parameters, ovk::CommandBlock*);
  if (record != nullptr) {
    keep(callback, *block, parameters);
    va_end(parameters);
    va_start(parameters, parameter_count);
    va_arg(parameters, void*);
  }
  void* const payload1 = parameter_count > 1 ? va_arg(parameters, void*) : nullptr;
  if (callback == driver_information) {
    write_word(payload1, sli_mode_offset, answer.sli_mode);
    write_word(payload1, adapter_type_offset, answer.adapter_type);
  } else if (answer.count != 0) {
    write_word(payload1, 0, answer.count);
  }
  va_end(parameters);
  if (answer.reply_size != 0) {
    block->reply_size = answer.reply_size;
  }
  return 0;
}

void vmk_MgmtUserDestroy(vmk_MgmtChannel* /*channel*/) {}
