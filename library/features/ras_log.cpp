#include "driver_abi/records/ras_log.h"

#include "library/boards/driver_info.h"
#include "library/core/command.h"

#include <ovk/features.h>

#include <cstdint>

using ovk::Command;
using ovk::DriverStatus;
using ovk::Outcome;

namespace {

vmk_MgmtDataDescriptor describe(void* memory, std::uint32_t length) {
  return {.length = length, .address = reinterpret_cast<std::uintptr_t>(memory)};
}

void deliver(const RasConfig& config, FwLogConfig& cfg) {
  cfg.level = config.level;
  cfg.buffer_size = config.buffer_units * OVK_RAS_BUFFER_UNIT;
}

std::uint32_t start_log(std::uint32_t board, const FwLogConfig& cfg) {
  const RasSetting start{.start = 1, .level = cfg.level};
  return OVK_SetRasConfig(board, &start);
}

std::uint32_t stop_log(std::uint32_t board, FwLogConfig& cfg, ovk::LogPlace place) {
  const RasSetting stop{};
  const std::uint32_t result = OVK_SetRasConfig(board, &stop);
  if (result != OVK_OK && result != OVK_RAS_NOT_ACTIVE) {
    return result;
  }
  RasConfig config{};
  static_cast<void>(OVK_GetRasConfig(board, &config));
  deliver(config, cfg);  // intended: the state stays as the caller had it
  if (ovk::log_enabled(OVK_LOG_ERROR)) {
    ovk::write_log_line(place, "Action - STOP : State : x%x L : x%x B : x%x\n", cfg.state,
                        cfg.level, cfg.buffer_size);
  }
  return result;
}

std::uint32_t query_log(std::uint32_t board, FwLogConfig& cfg, ovk::LogPlace place) {
  RasConfig config{};
  if (const std::uint32_t result = OVK_GetRasConfig(board, &config); result != OVK_OK) {
    return result;
  }
  cfg.state = config.state;
  deliver(config, cfg);
  if (ovk::log_enabled(OVK_LOG_ERROR)) {
    // Intended: a query logs the wording of a start.
    ovk::write_log_line(place, "Action - START : State : x%x L : x%x B : x%x\n", cfg.state,
                        cfg.level, cfg.buffer_size);
  }
  return OVK_OK;
}

}  // namespace

std::uint32_t OVK_GetRasConfig(std::uint32_t board, RasConfig* config) {
  if (const auto refused = ovk::sli4_gate(board)) return *refused;
  Command command{board};
  return command.invoke<"RAVN_MGMT_GET_RAS_CONFIG">(config).result_if_delivered(
      {{DriverStatus::not_supported, OVK_NOT_SUPPORTED},
       {DriverStatus::feature_disabled, OVK_RAS_DISABLED}});
}

std::uint32_t OVK_SetRasConfig(std::uint32_t board, const RasSetting* config) {
  if (const auto refused = ovk::sli4_gate(board)) return *refused;
  Command command{board};
  return command.invoke<"RAVN_MGMT_SET_RAS_CONFIG">(config).result_if_delivered(
      {{DriverStatus::ras_already_active, OVK_RAS_ALREADY_ACTIVE},
       {DriverStatus::ras_bad_level, OVK_RAS_BAD_LEVEL},
       {DriverStatus::not_supported, OVK_NOT_SUPPORTED},
       {DriverStatus::feature_disabled, OVK_RAS_DISABLED},
       {DriverStatus::ras_not_active, OVK_RAS_NOT_ACTIVE},
       {DriverStatus::ras_no_memory, OVK_RAS_NO_LOG_MEMORY}});
}

std::uint32_t OVK_FwLogConfig(std::uint32_t board, FwLogConfig* cfg) {
  switch (cfg->action) {
    case OVK_FW_LOG_START:
      return start_log(board, *cfg);
    case OVK_FW_LOG_STOP:
      return stop_log(board, *cfg, ovk::here());
    case OVK_FW_LOG_QUERY:
      return query_log(board, *cfg, ovk::here());
    default:
      return OVK_FW_LOG_BAD_ACTION;
  }
}

std::uint32_t OVK_GetRasLog(std::uint32_t board, RasLogRequest* request, std::uint8_t mode) {
  if (const auto refused = ovk::sli4_gate(board)) return *refused;
  if (ovk::log_enabled(OVK_LOG_ERROR)) {  // intended: though it is no error
    ovk::write_log_line(ovk::here(), "readOffset : x%x readSize : x%x\n", request->offset,
                        request->size);
  }
  const bool reads = mode != 0;
  ovk::RasLogExchange exchange{.offset = request->offset, .size = request->size};
  std::uint8_t scratch = 0;
  const vmk_MgmtDataDescriptor data =
      reads ? describe(request->buffer, request->size) : describe(&scratch, sizeof scratch);

  Command command{board};
  const Outcome outcome = command.invoke<"RAVN_MGMT_GET_RAS_LOG">(&exchange, &data);
  if (!reads) {  // intended: whatever the outcome
    request->extent[0] = exchange.extent.available;
    request->extent[1] = exchange.extent.oldest;
  }
  return outcome.result_if_delivered({{DriverStatus::not_supported, OVK_NOT_SUPPORTED},
                                      {DriverStatus::feature_disabled, OVK_RAS_LOG_DISABLED},
                                      {DriverStatus::ras_no_memory, OVK_RAS_LOG_NO_MEMORY}});
}

std::uint32_t OVK_GetFwLog(std::uint32_t board, FwLogRequest* req) {
  if (req->offset != 0 || req->size != 0) {
    RasLogRequest read{.offset = req->offset, .size = req->size, .buffer = req->buffer};
    return OVK_GetRasLog(board, &read, 1);
  }
  RasLogRequest query{};
  const std::uint32_t result = OVK_GetRasLog(board, &query, 0);
  if (result == OVK_OK) {
    req->extent[0] = query.extent[0];
    req->extent[1] = query.extent[1];
  }
  return result;
}
