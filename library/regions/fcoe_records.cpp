#include "library/boards/driver_info.h"
#include "library/core/in_out_count.h"
#include "library/regions/region23.h"

#include <ovk/core.h>
#include <ovk/regions.h>

#include <algorithm>

using ovk::data_words;
using ovk::FcfConnectionData;
using ovk::FcfConnectionsData;
using ovk::FcoeParametersData;
using ovk::FoundRecord;
using ovk::RecordType;
using ovk::Region23;

namespace {

static_assert(sizeof(FcfConnectionsData) == OVK_FCF_CONNECT_ENTRIES * sizeof(FcfConnectionData));

/** The record, or the list that is to go into it, has the wrong length. */
constexpr std::uint32_t wrong_length = 7;

/** ovk::with_record on an FCoE board. */
template <typename Use>
std::uint32_t with_record(std::uint32_t board, RecordType type, std::uint32_t not_found, Use use) {
  if (const auto refused = ovk::sli4_gate(board)) return *refused;
  return ovk::with_record(board, OVK_SLI4, type, not_found, use);
}

bool in_use(const FcfConnectionData& connection) {
  return (connection.flags & OVK_FCF_CONNECT_IN_USE) != 0;
}

/** Writes the members that a caller's entry has for reading; the others stay. */
void reshape(const FcfConnectionData& connection, FcfConnectEntry& entry) {
  entry.flags = connection.flags & 0xFF;
  entry.vlan_id = connection.vlan_id;
  std::ranges::copy(connection.names, entry.names);
}

FcfConnectionData reshape(const FcfConnectEntry& entry) {
  const unsigned options = entry.flags & OVK_FCF_CONNECT_OPTIONS;
  return {.flags = static_cast<std::uint16_t>(OVK_FCF_CONNECT_IN_USE | options),
          .vlan_id = entry.vlan_id,
          .names = {entry.names[0], entry.names[1]}};
}

/** Delivers the connections in use to a caller's list. */
std::uint32_t deliver(const FcfConnectionsData& connections, FcfConnectList& list) {
  list.capacity = OVK_FCF_CONNECT_ENTRIES;
  std::uint8_t count = 0;
  for (const FcfConnectionData& connection : connections.entries) {
    if (!in_use(connection)) {
      continue;
    }
    if (count < list.count) {
      reshape(connection, list.entries[count]);
    }
    ++count;
  }
  return ovk::report_count(list.count, count);
}

}  // namespace

std::uint32_t OVK_FCoEGetParams(std::uint32_t board, FcoeParams* params) {
  const auto read = [params](const Region23& /*region*/,
                             const FoundRecord& record) -> std::uint32_t {
    if (record.header->words != data_words<FcoeParametersData>) {
      return wrong_length;
    }
    const auto* data = record.data<FcoeParametersData>();
    if (data == nullptr) {
      return OVK_FAILED;
    }
    params->version = OVK_FCOE_PARAMS_VERSION;
    std::ranges::copy(data->fc_map, params->fc_map);
    params->vlan_valid = record.header->fields[1] & ovk::fcoe_vlan_valid;
    params->vlan_id = static_cast<std::uint16_t>(data->vlan_id & OVK_VLAN_ID_MASK);
    return OVK_OK;
  };
  return with_record(board, RecordType::fcoe_parameters, OVK_FAILED, read);
}

std::uint32_t OVK_FCoESetParams(std::uint32_t board, const FcoeParams* params) {
  const auto change = [params](const Region23& region, const FoundRecord& record) -> std::uint32_t {
    auto* data = record.data<FcoeParametersData>();
    if (data == nullptr) {
      return OVK_RECORD_NOT_FOUND;
    }
    const bool with_vlan = params->vlan_valid == 1;
    *record.header = {
        RecordType::fcoe_parameters,
        data_words<FcoeParametersData>,
        {ovk::fcoe_record_version, with_vlan ? ovk::fcoe_vlan_valid : std::uint8_t{0}}};
    data->vlan_id = with_vlan ? params->vlan_id & OVK_VLAN_ID_MASK : 0U;
    std::ranges::copy(params->fc_map, data->fc_map);
    return region.write();
  };
  return with_record(board, RecordType::fcoe_parameters, OVK_RECORD_NOT_FOUND, change);
}

std::uint32_t OVK_FCoEGetFCFConnectList(std::uint32_t board, FcfConnectList* list) {
  const auto read = [list](const Region23& /*region*/, const FoundRecord& record) -> std::uint32_t {
    if (record.header->words != data_words<FcfConnectionsData>) {
      return wrong_length;
    }
    const auto* connections = record.data<FcfConnectionsData>();
    return connections != nullptr ? deliver(*connections, *list) : std::uint32_t{OVK_FAILED};
  };
  return with_record(board, RecordType::fcf_connections, OVK_FAILED, read);
}

std::uint32_t OVK_FCoESetFCFConnectList(std::uint32_t board, FcfConnectList* list) {
  const auto change = [list](const Region23& region, const FoundRecord& record) -> std::uint32_t {
    list->capacity = OVK_FCF_CONNECT_ENTRIES;
    if (list->count > OVK_FCF_CONNECT_ENTRIES ||
        record.header->words != data_words<FcfConnectionsData>) {
      return wrong_length;
    }
    auto* connections = record.data<FcfConnectionsData>();
    if (connections == nullptr) {
      return OVK_RECORD_NOT_FOUND;
    }
    *connections = {};
    for (std::size_t i = 0; i < list->count; ++i) {
      connections->entries[i] = reshape(list->entries[i]);
    }
    return region.write();
  };
  return with_record(board, RecordType::fcf_connections, OVK_RECORD_NOT_FOUND, change);
}
