#include "library/boards/driver_info.h"

#include "library/core/command.h"
#include "library/core/payload.h"
#include "library/core/version.h"
#include "library/hbaapi/attributes.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <unistd.h>

using ovk::Command;
using ovk::Outcome;

namespace {

/** The result of OVK_GetDrvInfo for every failure. */
constexpr std::uint32_t no_driver_info = 2;

constexpr std::uint8_t drv_info_kind = 21;
constexpr std::uint8_t interface_update = 1;

/** The driver's answer to RAVN_MGMT_GET_RAVNOVK_INFO. */
struct DriverInfoRecord {
  std::uint32_t words0[4];
  std::uint32_t reserved16[12];
  std::uint32_t word64;
  std::uint32_t word68;
  std::uint32_t reserved72[6];
  std::uint32_t sli_mode;
  std::uint32_t reserved100;
  std::uint32_t features;
  std::uint32_t word108;
  std::uint32_t adapter_type;
  std::uint32_t reserved116;
};

static_assert(sizeof(DriverInfoRecord) == 120);
static_assert(offsetof(DriverInfoRecord, word64) == 64);
static_assert(offsetof(DriverInfoRecord, word68) == 68);
static_assert(offsetof(DriverInfoRecord, sli_mode) == 96);
static_assert(offsetof(DriverInfoRecord, features) == 104);
static_assert(offsetof(DriverInfoRecord, word108) == 108);
static_assert(offsetof(DriverInfoRecord, adapter_type) == 112);

/** What the driver answers to the four commands of a driver information. */
struct DriverAnswers {
  DriverInfoRecord driver;
  AdapterAttributes adapter;
  ovk::PortRecord port;
  bool takes_extended_sli_config;
};

/** Sends the four commands, also for a caller who needs a word of the first answer only: a board
    that fails one of the first three has no SLI mode for anyone. False when one of those failed. */
bool ask_driver(std::uint32_t board, DriverAnswers& answers) {
  ovk::clear(answers);
  const ovk::LogPlace place = ovk::here("OVK_GetDrvInfo");
  Command query{board, {.request_size = sizeof answers.driver}, place};
  if (!query.invoke<"RAVN_MGMT_GET_RAVNOVK_INFO">(&answers.driver).succeeded()) {
    return false;
  }
  ovk::read_adapter_attributes(board, answers.adapter);
  if (!ovk::read_own_port(board, answers.port).succeeded()) {
    return false;
  }
  Command probe{board, {}, place};
  answers.takes_extended_sli_config =
      probe.invoke<"RAVN_MGMT_MBOX_SLI_CFG_EXT_SUP">().succeeded() &&
      answers.driver.sli_mode >= OVK_SLI4;
  return true;
}

void fill(DrvInfo& info, const DriverAnswers& answers) {
  const DriverInfoRecord& driver = answers.driver;
  info.record_kind = drv_info_kind;
  info.interface_major = ovk::interface_major;
  info.interface_minor = ovk::interface_minor;
  info.interface_update = interface_update;
  std::memcpy(info.driver_version, answers.adapter.DriverVersion, sizeof info.driver_version);
  std::memcpy(info.driver_name, answers.adapter.DriverName, sizeof info.driver_name);
  std::copy(std::begin(driver.words0), std::end(driver.words0), info.words0);
  info.word64 = driver.word64;
  info.word68 = driver.word68;
  std::ranges::fill(info.reserved56, 0U);
  info.port_fc_id = answers.port.fc_id;
  info.port_wwn = answers.port.port_wwn;
  info.node_wwn = answers.port.node_wwn;
  gethostname(info.host_name, sizeof info.host_name);
  info.reserved132 = 0;
  info.sli_mode = driver.sli_mode;
  info.features = driver.features;
  if (answers.takes_extended_sli_config) {
    info.features |= OVK_FEATURE_EXTENDED_SLI_CONFIG;
  }
  info.word108 = driver.word108;
}

}  // namespace

std::uint32_t OVK_GetDrvInfo(std::uint32_t board, DrvInfo* info) {
  DriverAnswers answers;
  if (!ask_driver(board, answers)) {
    return no_driver_info;
  }
  fill(*info, answers);
  return OVK_OK;
}

std::uint32_t get_sli_mode(std::uint32_t board, std::uint32_t* sliMode) {
  DriverAnswers answers;
  if (!ask_driver(board, answers)) {
    return no_driver_info;
  }
  *sliMode = answers.driver.sli_mode;
  return OVK_OK;
}

std::uint32_t get_hba_type(std::uint32_t board, std::uint32_t* type) {
  *type = 0;
  DriverInfoRecord driver{};
  Command command{board};  // intended: unlike OVK_GetDrvInfo it does not give the record's size
  const Outcome outcome = command.invoke<"RAVN_MGMT_GET_RAVNOVK_INFO">(&driver);
  if (!outcome.delivered()) {
    return OVK_FAILED;
  }
  if (outcome.succeeded()) {
    *type = driver.adapter_type;
  }
  return static_cast<std::uint32_t>(outcome.status);
}

std::uint32_t support_persist_link_disable(std::uint32_t board, std::uint8_t* supported) {
  DriverAnswers answers;
  if (!ask_driver(board, answers)) {
    return OVK_FAILED;
  }
  *supported = (answers.driver.features & OVK_FEATURE_PERSISTENT_LINK_DOWN) != 0 ? 1 : 0;
  return OVK_OK;
}

namespace ovk {

std::optional<std::uint32_t> sli4_gate(std::uint32_t board, std::uint32_t otherwise) {
  std::uint32_t mode = 0;
  if (get_sli_mode(board, &mode) != OVK_OK) {
    return OVK_FAILED;
  }
  return mode >= OVK_SLI4 ? std::nullopt : std::optional{otherwise};
}

std::optional<std::uint32_t> sli3_gate(std::uint32_t board, std::uint32_t otherwise) {
  std::uint32_t mode = 0;
  if (get_sli_mode(board, &mode) != OVK_OK) {
    return OVK_FAILED;
  }
  return mode < OVK_SLI4 ? std::nullopt : std::optional{otherwise};
}

}  // namespace ovk
