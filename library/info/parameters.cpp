#include "library/core/command.h"

#include <ovk/info.h>

#include <cstring>

using ovk::Command;

std::uint32_t GetCfgParam(std::uint32_t board, CfgParam* table) {
  constexpr std::uint32_t table_size = OVK_MAX_CFG_PARAMS * sizeof(CfgParam);
  std::memset(table, 0, table_size);

  Command command{board, {.request_size = table_size}};
  if (!command.invoke<"RAVN_MGMT_GETCFG">(ovk::as_bytes<table_size>(table)).succeeded()) {
    // Intended: a failure reads like an empty table, whatever the driver left in it.
    std::memset(table, 0, table_size);
    return 0;
  }
  return command.block.reply_size / sizeof(CfgParam);
}

std::uint32_t SetCfgParam(std::uint32_t board, std::uint32_t index, std::uint32_t value) {
  Command command{board, {.index = index, .value = value}};
  return command.invoke<"RAVN_MGMT_SETCFG">().result();
}
