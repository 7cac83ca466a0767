// One call of the library, with whatever the driver answers. A finding is a read or a write outside
// a buffer, undefined behaviour, a leak, or a call that does not come back.

#include "fuzz/caller.h"
#include "fuzz/hostile_driver.h"
#include "library/regions/record_list.h"

#include <ovk/ovk.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace ovk::fuzz {
namespace {

/** One way to call the library. */
using Call = void (*)(Caller&);

/** Calls a function with arguments that are made by these recipes. */
template <auto function, Recipe... recipes>
void call(Caller& caller) {
  caller.call(function, {recipes...});
}

constexpr Recipe null = room(0);
constexpr Recipe sli3_mailbox{Recipe::mailbox, 32, 32};
constexpr Recipe whole_mailbox{Recipe::mailbox, OVK_MAILBOX_WORDS, OVK_MAILBOX_WORDS};
constexpr Recipe sli_config{Recipe::mailbox, 0, 1024};
constexpr Recipe retries = number(0, 3);
constexpr Recipe extended_data = room(0, OVK_MAILBOX_EXTENDED_WORDS);
constexpr Recipe region = number(0, 163);
constexpr Recipe region_bytes = room(0, 6000);
constexpr Recipe request = room(0, OVK_CT_MAX_LENGTH);
constexpr Recipe response = room(OVK_CT_MAX_LENGTH);
constexpr Recipe raw_bytes = room(0, OVK_MAX_RAW_TRANSFER + 4);
constexpr Recipe scsi_data = room(0, OVK_SCSI_MAX_TRANSFER);
constexpr Recipe sense = room(OVK_SENSE_MAX_LENGTH);
constexpr Recipe fcp_response = room(OVK_FCP_RESPONSE_MAX_LENGTH);
constexpr Recipe connect_list = list<FcfConnectEntry, std::uint8_t>(
    0, OVK_FCF_CONNECT_ENTRIES + 1, offsetof(FcfConnectList, count),
    offsetof(FcfConnectList, entries));
constexpr Recipe priority_list = list<FcpPriorityEntry>(0, OVK_FCP_PRIORITY_MAX_ENTRIES + 1);

constexpr Call calls[] = {
    // Boards, the driver, and the library itself
    call<OVK_InitDiagEnv, room(0, OVK_MAX_BOARDS), count>,
    call<InitDiagEnv, room(OVK_MAX_BOARDS * sizeof(LegacyBoardEntry))>, call<OVK_FreeDiagEnv>,
    call<FreeDiagEnv>, call<OVK_GetLibVer, room(OVK_LIB_VERSION_SIZE)>, call<GetOvkRev>,
    call<SetBrdEnv, number(0, 8)>, call<SetDiagEnv>, call<OVK_GetDrvInfo>, call<ModInfo>,
    call<LogMsg>, call<CallVer>, call<EventTest>,

    // Mailboxes
    call<IssueMbox, sli3_mailbox, number(0, 33), number(0, 129)>,
    call<IssueMboxEx, sli3_mailbox, extended_data, any, count, up_to_count>,
    [](Caller& caller) {
      const std::uint32_t words = caller.from_to(0, 513);
      const std::uint32_t bytes = caller.from_to(0, 2049);
      const std::uint32_t moved = std::max(words, (bytes + 3) / 4);
      Mailbox* const mb = caller.make_mailbox(std::min<std::uint32_t>(moved, OVK_MAILBOX_WORDS));
      OVK_IssueMboxWithRetry(caller.board, mb, words, bytes, caller.from_to(0, 3), 1);
    },
    call<OVK_IssueMboxWithRetryEx, whole_mailbox, extended_data, any, count, up_to_count, retries>,
    [](Caller& caller) {
      constexpr std::uint32_t most_room = OVK_MAILBOX_ROOM / sizeof(std::uint32_t);
      const std::uint32_t words = caller.from_to(0, 1025);
      const std::uint32_t room = std::max(words, caller.from_to(OVK_MAILBOX_WORDS, most_room));
      Mailbox* const mb = caller.make_mailbox(room);
      if (room < most_room) {
        mb->words4[0] |= 1;  // an SLI_CONFIG that is not embedded needs more
      }
      OVK_IssueMboxWithRetryV2(caller.board, mb, words, caller.from_to(0, 3), 1);
    },
    call<IssueExtendedSLIConfig, sli_config, number(0, 3), number(0, 3), count>,
    [](Caller& caller) { OVK_SendHarrowCommand(caller.board, caller.from_to(0, 1)); },
    call<OVK_IssueDumpMBox, number(1, 4), any, region, any, region_bytes, count>,
    call<OVK_IssueUpdateCfgMBox, number(1, 2), region, region_bytes, count>,
    [](Caller& caller) {
      const std::uint32_t size = caller.from_to(0, OVK_LOOPBACK_MAX_SIZE);
      const LoopbackRequest request{
          .bufSize = size, .transmit = caller.memory(size), .receive = caller.memory(size)};
      OVK_RunLoopbackTest(caller.board, &request);
    },
    call<OVK_ConfigLoopback, number(0, 3)>, call<OVK_ConfigLoopbackV2, any, number(0, 3)>,
    call<OVK_EndLoopback>, call<OVK_ResetAdapter, number(0, 4)>, call<OVK_SetDumpEnv, number(0, 6)>,
    call<OVK_GetDriverDumpRegion, any, room(OVK_DUMP_DESCRIPTOR_SIZE)>,

    // Fabric
    call<GetCTInfo, any, room(0, OVK_CT_MAX_LENGTH + 1), count, response>,
    call<SendMgmtCommand, any, request, count, response>, call<SendMgmtResponse, request, count>,
    call<OVK_SendELSCmd, any, room(0, OVK_ELS_MAX_LENGTH), count, room(OVK_ELS_MAX_LENGTH)>,
    call<SendCTPassThru, room(16, OVK_CT_MAX_LENGTH), count, response, count>,
    call<SendFcpCmdByWWN, null, any, any, any, scsi_data, count, fcp_response>,
    call<SendFcpCmdEx, any, any, any, scsi_data, count, fcp_response>,
    call<OVK_SendFcpCmd, any, any, any, scsi_data, count, fcp_response>,
    call<SendFcpCmd, any, any, any, scsi_data, count, fcp_response>,
    call<SendScsiCmdByWWN, null, any, any, any, scsi_data, count, sense, count>,
    call<SendScsiCmd, any, any, any, scsi_data, count, sense, count>,
    call<SendScsiRead, any, any, any, any, scsi_data, count, sense, count>,
    call<SendScsiWrite, any, any, any, any, scsi_data, count, sense, count>,
    call<SendScsiInquiry, any, any, any, any, any, scsi_data, count, sense, count>,
    call<OVK_SendScsiInquiryByWWN, null, any, any, any, any, any, scsi_data, count, sense, count>,
    call<SendReadCapacity, any, any, any, scsi_data, count, sense, count>,
    call<OVK_SendReadCapacityByWWN, null, any, any, scsi_data, count, sense, count>,
    call<SendReportLUNs, any, scsi_data, count, sense, count>,
    call<OVK_SendReportLUNsByWWN, null, any, scsi_data, count, sense, count>,

    // Attributes, statistics, RNID, events, mappings
    call<RefreshInformation>, call<GetAdapterAttributes>, call<GetAdapterPortAttributes>,
    call<GetDiscoveredPortAttributes>, call<GetPortAttributesByWWN>, call<GetPortAttributesByIndex>,
    call<ResetStatistics>, call<GetPortStatistics>,
    call<SendRNID, any, number(0, 2), room(0, 2 * OVK_RNID_REPLY_SIZE), count>,
    call<SetRNIDMgmtInfo>, call<GetRNIDMgmtInfo>,
    call<GetEventBuffer, room(OVK_MAX_EVENTS, OVK_MAX_EVENTS + 1), up_to_count>,
    call<GetFcpTargetMapping, list<FcpScsiEntry>(0, OVK_MAX_TARGET_MAPPINGS + 2)>,
    [](Caller& caller) {
      Wwn the_boards_own;
      std::ranges::fill(the_boards_own.bytes, board_identity.text);
      OVK_GetFcpTargetMappingV2(
          caller.board, &the_boards_own,
          caller.make<FcpTargetMappingV2*>(list<FcpScsiEntryV2>(0, OVK_MAX_TARGET_MAPPINGS + 2)));
    },
    call<OVK_GetFcpTargetMappingByWWN>, call<GetFcpPersistentBinding>,
    [](Caller& caller) {
      auto* const list =
          caller.make<FcpBindList*>(fuzz::list<FcpBinding>(OVK_MAX_BINDINGS, OVK_MAX_BINDINGS + 1));
      list->count = caller.from_to(0, list->count);
      GetFcpBindList(caller.board, list);
    },
    call<AddBind>, call<DelBind>,

    // Information and raw access
    call<OVK_GetLinkInfo>, call<GetLinkInfo>, call<GetIOinfo>,
    call<GetNodeInfo, room(OVK_MAX_NODE_INFO_ENTRIES)>, call<GetVPDInfo>, call<OVK_GetQoSLinkSpeed>,
    call<GetCfgParam, room(OVK_MAX_CFG_PARAMS)>, call<SetCfgParam>,
    call<OVK_ReadPciCfg, raw_bytes, any, count>,
    call<ReadPciCfg, raw_bytes, number(0, 4096), count>, call<WritePciCfg, raw_bytes, any, count>,
    call<ReadMem, raw_bytes, any, count>, call<WriteMem, raw_bytes, any, count>, call<ReadCtlReg>,
    call<WriteCtlReg>, call<OVK_GetTrunkInfo>, call<OVK_GetPCIIds>,

    // Regions
    call<OVK_SetRegion14, room(OVK_REGION14_SIZE)>,
    call<OVK_GetRegion22, room(OVK_REGION22_DELIVERED)>,
    call<OVK_SetRegion22, room(0, OVK_REGION22_ENTRIES + 1), count>, call<OVK_InitR22>,
    call<OVK_InitR23>, call<OVK_GetPersistLinkDown>, call<OVK_SetPersistLinkDown>,
    call<OVK_FCoEGetParams>, call<OVK_FCoESetParams>, call<OVK_FCoEGetFCFConnectList, connect_list>,
    call<OVK_FCoESetFCFConnectList, connect_list>,
    call<OVK_FCoEGetFCFList, list<FcfListEntry, std::uint16_t>(0, 40, offsetof(FcfList, count),
                                                               offsetof(FcfList, entries))>,
    call<searchRegion23, room(sizeof(Region23Header), sizeof(Region23Image)), count>,

    // Traffic policy and the firmware log
    call<OVK_QoSGetGlobalFlag>, call<OVK_QoSSetGlobalFlag>, call<OVK_QoSGetConfig, priority_list>,
    call<OVK_QoSSetConfig, priority_list>,
    call<OVK_GetOASLunList, any, any, any, list<OasLun>(0, OVK_OAS_MAX_LUNS)>, call<OVK_SetOASLun>,
    call<OVK_SetOASLunV2>, call<OVK_GetQFPAPriorityList>, call<OVK_GetVMidMapping>,
    call<OVK_UpdateVMidMapping>, call<OVK_GetRasConfig>, call<OVK_SetRasConfig>,
    call<OVK_FwLogConfig>,
    [](Caller& caller) {
      auto* const request = caller.make<RasLogRequest*>();
      request->size = caller.from_to(0, 5000);
      request->buffer = caller.memory(request->size);
      OVK_GetRasLog(caller.board, request, caller.make<std::uint8_t>());
    },
    [](Caller& caller) {
      auto* const request = caller.make<FwLogRequest*>();
      request->size = caller.from_to(0, 5000);
      request->buffer = caller.memory(request->size);
      OVK_GetFwLog(caller.board, request);
    },

    // Virtual ports and authentication
    call<OVK_NPIVReadyTest>, call<OVK_VPGetResource>, call<OVK_VPGetList>, call<OVK_VPGetAttrib>,
    call<OVK_VPCreate>, call<OVK_VPDelete>, call<OVK_VPDeleteV2>,
    call<OVK_GetAllNodeInfoByWWN, any, list<NodeInformation>(0, OVK_MAX_NODES + 2)>,
    call<OVK_PersistAuthConfig>, call<OVK_DeleteAuthConfigObject>, call<OVK_InitiateAuthentication>,
    call<OVK_SetAuthConfigV2>, call<OVK_GetAuthConfigV2>, call<OVK_DeleteAuthConfigV2>,
    call<OVK_SetAuthPasswordV2>, call<OVK_GetAuthPasswordV2>, call<OVK_GetAuthStatus>,
    call<OVK_GetAuthConfig, any, any, null>, call<OVK_SetAuthConfig, any, any, null>,
    call<OVK_DeleteAuthConfig>, call<OVK_GetAuthConfigList, any, null>,
    call<OVK_GetAuthPassword, any, any, null>, call<OVK_SetAuthPassword, any, any, null>,
    call<OVK_EnableAuthentication>, call<OVK_DisableAuthentication>};

/** The library as a process finds it after an initialisation, so that an input alone decides what
    happens. All log lines go to nowhere, but those of another initialisation, which reads the level
    anew. */
void start_anew() {
  if (fLogger == nullptr) {
    fLogger = std::fopen("/dev/null", "w");
  }
  LogLevel = 0xFFFFFFFF;
  refcnt = 0;
  ovravn_brdCnt = OVK_MAX_BOARDS;
  std::ranges::fill(ovk_brdno, 1);
  std::ranges::fill(ovk_state, 0);
  std::ranges::fill(ovk_refresh_timer, 0U);
  std::ranges::fill(ovk_rststatistics, PortStatistics{});
}

}  // namespace
}  // namespace ovk::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  using namespace ovk::fuzz;
  constexpr std::array<std::uint32_t, 4> sli_modes{0, 2, OVK_SLI4, OVK_SLI4 + 1};
  constexpr std::array<std::uint32_t, 3> adapter_types{0, 0x704, 0x714};
  start_anew();
  FuzzedDataProvider data{bytes, size};
  const Call chosen = data.PickValueInArray(calls);
  board_identity = {.sli_mode = data.PickValueInArray(sli_modes),
                    .adapter_type = data.PickValueInArray(adapter_types),
                    .text = data.ConsumeIntegral<std::uint8_t>()};
  driver_answers = &data;
  Caller caller{data, data.ConsumeIntegralInRange<std::uint32_t>(0, OVK_MAX_BOARDS)};
  chosen(caller);
  return 0;
}
