// One call of the library, with whatever the driver answers. A finding is a read or a write outside
// a buffer, undefined behaviour, a leak, or a call that does not come back.

#include "fuzz/hostile_driver.h"

#include <ovk/ovk.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdio>
#include <initializer_list>
#include <type_traits>

namespace ovk::fuzz {
namespace {

/** Data that goes both ways, and the sense data, as the SCSI calls take them. */
struct ScsiBuffers {
  explicit ScsiBuffers(Caller& caller)
      : length{caller.number(0, OVK_SCSI_MAX_TRANSFER)},
        data{caller.memory(length)},
        sense{caller.memory(OVK_SENSE_MAX_LENGTH)} {}

  std::uint32_t length;
  std::uint32_t sense_length = OVK_SENSE_MAX_LENGTH;
  void* data;
  void* sense;
};

/** The words of a mailbox that every call reads, and those of an SLI-3 mailbox. */
constexpr std::uint32_t least_words = 7;
constexpr std::uint32_t sli3_words = 32;

/** The words in which OVK_IssueMboxWithRetryV2 finds all that it looks at. */
constexpr std::uint32_t most_room = OVK_MAILBOX_ROOM / sizeof(std::uint32_t);

/** A mailbox of so many words. What it names of the caller's memory is there. */
Mailbox* mailbox(Caller& caller, std::uint32_t words) {
  auto* const mb = caller.record<Mailbox>(std::max(words, least_words) * sizeof(std::uint32_t));
  const std::uint32_t room = caller.number(0, OVK_MAILBOX_EXTENSION_SIZE);
  const auto address = std::bit_cast<std::uint32_t>(caller.memory(room));
  switch (mb->command) {
    case 0x38:
    case 0x8D:
    case 0x8F:
      mb->words4[2] = room;
      mb->words4[3] = address;
      break;
    case 0x84:
      mb->words4[1] = mb->words4[4] = room;
      mb->words4[2] = mb->words4[5] = address;
      break;
    default:
      break;
  }
  return mb;
}

/** An argument of any value: a number, a name, or a record of exactly its size. */
template <typename Argument>
Argument any_argument(Caller& caller) {
  if constexpr (std::is_pointer_v<Argument>) {
    return caller.record<std::remove_const_t<std::remove_pointer_t<Argument>>>();
  } else if constexpr (std::is_integral_v<Argument>) {
    return caller.any<Argument>();
  } else {
    return *caller.record<Argument>();
  }
}

template <typename Board, typename... Arguments, typename Result>
void call_any(Result (*function)(Board, Arguments...), Caller& caller, std::uint32_t board) {
  function(static_cast<Board>(board), any_argument<Arguments>(caller)...);
}

/** A call of a function of the interface that takes any numbers and one record at each pointer. */
template <auto function>
void call(Caller& caller, std::uint32_t board) {
  call_any(function, caller, board);
}

/** A list with memory for so many entries, and that in its count. */
template <typename List, typename Count, typename Entry, std::size_t size>
List* list_of(Caller& caller, Count List::*count, Entry (List::*entries)[size],
              std::uint32_t room) {
  static const List prototype{};
  const auto address = [](const auto& part) { return std::bit_cast<std::uintptr_t>(&part); };
  const std::size_t offset = address(prototype.*entries) - address(prototype);
  auto* const list = caller.record<List>(offset + room * sizeof(Entry));
  list->*count = static_cast<Count>(room);
  return list;
}

constexpr std::initializer_list<Call> calls = {
    // Boards and the driver
    [](Caller& caller, std::uint32_t) {
      const std::uint32_t capacity = caller.number(0, OVK_MAX_BOARDS);
      OVK_InitDiagEnv(caller.record<DiagBoardEntry>(capacity * sizeof(DiagBoardEntry)), capacity);
    },
    [](Caller& caller, std::uint32_t) {
      InitDiagEnv(caller.memory(OVK_MAX_BOARDS * sizeof(LegacyBoardEntry)));
    },
    [](Caller& caller, std::uint32_t board) { SetBrdEnv(board, caller.number(0, 8)); },
    [](Caller& caller, std::uint32_t) { SetDiagEnv(caller.number(0, 8)); },
    call<OVK_GetDrvInfo>,
    [](Caller& caller, std::uint32_t) { ModInfo(caller.record<ModuleInfo>()); },
    [](Caller& caller, std::uint32_t) { LogMsg(caller.record<LogMessage>()); },
    [](Caller& caller, std::uint32_t) {
      CallVer(caller.record<VersionSignature>(), caller.record<VersionSignature>());
    },
    call<EventTest>,

    // Mailboxes
    [](Caller& caller, std::uint32_t board) {
      IssueMbox(board, mailbox(caller, sli3_words), caller.number(0, 33), caller.number(0, 129));
    },
    [](Caller& caller, std::uint32_t board) {
      const std::uint32_t words = caller.number(0, OVK_MAILBOX_EXTENDED_WORDS);
      auto* const ext = caller.record<std::uint32_t>(words * sizeof(std::uint32_t));
      IssueMboxEx(board, mailbox(caller, sli3_words), ext, caller.any<std::uint8_t>(), words,
                  caller.number(0, words));
    },
    [](Caller& caller, std::uint32_t board) {
      const std::uint32_t words = caller.number(0, 513);
      const std::uint32_t bytes = caller.number(0, 2049);
      const std::uint32_t moved = std::max(words, (bytes + 3) / 4);
      Mailbox* const mb = mailbox(caller, std::min<std::uint32_t>(moved, OVK_MAILBOX_WORDS));
      OVK_IssueMboxWithRetry(board, mb, words, bytes, caller.number(0, 3), 1);
    },
    [](Caller& caller, std::uint32_t board) {
      const std::uint32_t words = caller.number(0, OVK_MAILBOX_EXTENDED_WORDS);
      auto* const ext = caller.record<std::uint32_t>(words * sizeof(std::uint32_t));
      OVK_IssueMboxWithRetryEx(board, mailbox(caller, OVK_MAILBOX_WORDS), ext, caller.any(), words,
                               caller.number(0, words), caller.number(0, 3), 1);
    },
    [](Caller& caller, std::uint32_t board) {
      const std::uint32_t words = caller.number(0, 1025);
      const std::uint32_t room = std::max(words, caller.number(OVK_MAILBOX_WORDS, most_room));
      Mailbox* const mb = mailbox(caller, room);
      if (room < most_room) {
        mb->words4[0] |= 1;  // an SLI_CONFIG that is not embedded needs more
      }
      OVK_IssueMboxWithRetryV2(board, mb, words, caller.number(0, 3), 1);
    },
    [](Caller& caller, std::uint32_t board) {
      const std::uint32_t words = caller.number(0, 1024);
      IssueExtendedSLIConfig(board, mailbox(caller, words), caller.number(0, 3),
                             caller.number(0, 3), words);
    },
    [](Caller& caller, std::uint32_t board) {
      std::uint32_t size = caller.number(0, 6000);
      auto* const dest = static_cast<std::uint8_t*>(caller.memory(size));
      OVK_IssueDumpMBox(board, caller.number(1, 4), 0, caller.number(0, 163), caller.any(), dest,
                        &size);
    },
    [](Caller& caller, std::uint32_t board) {
      const std::uint32_t length = caller.number(0, 6000);
      std::uint32_t status = 0;
      OVK_IssueUpdateCfgMBox(board, OVK_REGION_REQUEST_TYPE, caller.number(0, 163),
                             caller.memory(length), length, &status);
    },
    [](Caller& caller, std::uint32_t board) {
      const std::uint32_t size = caller.number(0, OVK_LOOPBACK_MAX_SIZE);
      const LoopbackRequest request{
          .bufSize = size, .transmit = caller.memory(size), .receive = caller.memory(size)};
      OVK_RunLoopbackTest(board, &request);
    },
    [](Caller& caller, std::uint32_t board) {
      OVK_ConfigLoopbackV2(board, caller.any(), caller.number(0, 3), caller.any());
    },
    call<OVK_EndLoopback>,
    [](Caller& caller, std::uint32_t board) { OVK_ResetAdapter(board, caller.number(0, 4)); },
    [](Caller& caller, std::uint32_t board) { OVK_SetDumpEnv(board, caller.number(0, 6)); },
    [](Caller& caller, std::uint32_t board) {
      std::uint32_t length = caller.any();
      OVK_GetDriverDumpRegion(board, caller.any(), caller.memory(OVK_DUMP_DESCRIPTOR_SIZE),
                              &length);
    },

    // Fabric
    [](Caller& caller, std::uint32_t board) {
      const std::uint32_t length = caller.number(0, OVK_CT_MAX_LENGTH + 1);
      GetCTInfo(board, 0xFFFFFC, caller.memory(length), length, caller.memory(OVK_CT_MAX_LENGTH),
                caller.any());
    },
    [](Caller& caller, std::uint32_t board) {
      const std::uint32_t length = caller.number(0, OVK_CT_MAX_LENGTH);
      std::uint32_t response_length = 0;
      SendMgmtCommand(board, caller.record<Wwn>(), caller.memory(length), length,
                      caller.memory(OVK_CT_MAX_LENGTH), &response_length, caller.any());
    },
    [](Caller& caller, std::uint32_t board) {
      const std::uint32_t length = caller.number(0, OVK_CT_MAX_LENGTH);
      SendMgmtResponse(board, caller.memory(length), length, caller.any());
    },
    [](Caller& caller, std::uint32_t board) {
      const std::uint32_t length = caller.number(0, OVK_ELS_MAX_LENGTH);
      std::uint32_t reply_length = 0;
      OVK_SendELSCmd(board, caller.record<ElsDestination>(), caller.memory(length), length,
                     caller.memory(OVK_ELS_MAX_LENGTH), &reply_length);
    },
    [](Caller& caller, std::uint32_t board) {
      std::uint32_t length = caller.number(0, OVK_SCSI_MAX_TRANSFER);
      std::uint32_t response_length = caller.any();
      SendFcpCmdByWWN(board, nullptr, caller.record<Wwn>(), caller.record<FcpCmnd>(),
                      sizeof(FcpCmnd), caller.memory(length), &length,
                      caller.memory(OVK_FCP_RESPONSE_MAX_LENGTH), &response_length, caller.any());
    },
    [](Caller& caller, std::uint32_t board) {
      ScsiBuffers scsi{caller};
      SendScsiCmdByWWN(board, nullptr, caller.record<Wwn>(), caller.record<FcpCmnd>(),
                       sizeof(FcpCmnd), scsi.data, &scsi.length, scsi.sense, &scsi.sense_length);
    },
    [](Caller& caller, std::uint32_t board) {
      ScsiBuffers scsi{caller};
      SendScsiRead(board, caller.record<Wwn>(), 0, 0, caller.any(), scsi.data, &scsi.length,
                   scsi.sense, &scsi.sense_length);
    },
    [](Caller& caller, std::uint32_t board) {
      ScsiBuffers scsi{caller};
      SendScsiWrite(board, caller.record<Wwn>(), 0, 0, caller.any(), scsi.data, &scsi.length,
                    scsi.sense, &scsi.sense_length);
    },
    [](Caller& caller, std::uint32_t board) {
      ScsiBuffers scsi{caller};
      SendScsiInquiry(board, caller.record<Wwn>(), 0, 0, caller.any<std::uint8_t>(),
                      caller.any<std::uint8_t>(), scsi.data, &scsi.length, scsi.sense,
                      &scsi.sense_length);
    },
    [](Caller& caller, std::uint32_t board) {
      ScsiBuffers scsi{caller};
      SendReadCapacity(board, caller.record<Wwn>(), 0, 0, scsi.data, &scsi.length, scsi.sense,
                       &scsi.sense_length);
    },
    [](Caller& caller, std::uint32_t board) {
      ScsiBuffers scsi{caller};
      SendReportLUNs(board, caller.record<Wwn>(), scsi.data, &scsi.length, scsi.sense,
                     &scsi.sense_length);
    },
    [](Caller& caller, std::uint32_t board) {
      const std::uint32_t length = caller.number(16, OVK_CT_MAX_LENGTH);
      std::uint32_t response_length = OVK_CT_MAX_LENGTH;
      SendCTPassThru(board, caller.record<std::uint8_t>(length), length,
                     caller.memory(OVK_CT_MAX_LENGTH), &response_length);
    },

    // Attributes, statistics, RNID, events, mappings
    call<RefreshInformation>,
    call<GetAdapterAttributes>,
    [](Caller& caller, std::uint32_t board) {
      GetAdapterPortAttributes(board, 0, caller.record<PortAttributes>());
    },
    [](Caller& caller, std::uint32_t board) {
      GetDiscoveredPortAttributes(board, 0, caller.any(), caller.record<PortAttributes>());
    },
    call<GetPortAttributesByWWN>,
    [](Caller& caller, std::uint32_t board) {
      GetPortAttributesByIndex(board, 0, caller.any(), caller.record<PortAttributes>());
    },
    [](Caller& caller, std::uint32_t board) {
      ResetStatistics(board);
      GetPortStatistics(board, caller.number(0, 1) - 1, caller.record<PortStatistics>());
    },
    [](Caller& caller, std::uint32_t board) {
      std::uint32_t length = caller.number(0, 2 * OVK_RNID_REPLY_SIZE);
      SendRNID(board, caller.record<Wwn>(), caller.number(0, 2), caller.memory(length), &length);
    },
    call<SetRNIDMgmtInfo>,
    call<GetRNIDMgmtInfo>,
    [](Caller& caller, std::uint32_t board) {
      std::uint32_t count = caller.number(0, OVK_MAX_EVENTS + 1);
      const std::size_t room = std::max<std::uint32_t>(count, OVK_MAX_EVENTS);
      GetEventBuffer(board, caller.record<EventInfo>(room * sizeof(EventInfo)), &count);
    },
    [](Caller& caller, std::uint32_t board) {
      const std::uint32_t room = caller.number(0, OVK_MAX_TARGET_MAPPINGS + 2);
      auto* const map =
          list_of(caller, &FcpTargetMapping::NumberOfEntries, &FcpTargetMapping::entry, room);
      GetFcpTargetMapping(board, map);
    },
    [](Caller& caller, std::uint32_t board) {
      const std::uint32_t room = caller.number(0, OVK_MAX_TARGET_MAPPINGS + 2);
      auto* const map =
          list_of(caller, &FcpTargetMappingV2::NumberOfEntries, &FcpTargetMappingV2::entry, room);
      Wwn the_boards_own;
      std::ranges::fill(the_boards_own.bytes, board_identity.text);
      OVK_GetFcpTargetMappingV2(board, &the_boards_own, map);
    },
    [](Caller& caller, std::uint32_t board) {
      const std::uint32_t count = caller.number(0, OVK_MAX_BINDINGS + 1);
      const auto room = std::max<std::uint32_t>(count, OVK_MAX_BINDINGS);
      auto* const list = list_of(caller, &FcpBindList::count, &FcpBindList::entry, room);
      list->count = count;
      GetFcpBindList(board, list);
    },

    // Information and raw access
    call<OVK_GetLinkInfo>,
    call<GetIOinfo>,
    [](Caller& caller, std::uint32_t board) {
      GetNodeInfo(static_cast<int>(board),
                  caller.record<NodeInfoEntry>(OVK_MAX_NODE_INFO_ENTRIES * sizeof(NodeInfoEntry)));
    },
    call<GetVPDInfo>,
    call<OVK_GetQoSLinkSpeed>,
    [](Caller& caller, std::uint32_t board) {
      GetCfgParam(board, caller.record<CfgParam>(OVK_MAX_CFG_PARAMS * sizeof(CfgParam)));
    },
    call<SetCfgParam>,
    [](Caller& caller, std::uint32_t board) {
      const std::uint32_t count = caller.number(0, OVK_MAX_RAW_TRANSFER + 4);
      OVK_ReadPciCfg(board, caller.memory(count), caller.any(), count);
    },
    [](Caller& caller, std::uint32_t board) {
      const std::uint32_t count = caller.number(0, OVK_MAX_RAW_TRANSFER + 4);
      ReadPciCfg(board, caller.memory(count), caller.number(0, 4096), count);
    },
    [](Caller& caller, std::uint32_t board) {
      const std::uint32_t count = caller.number(0, OVK_MAX_RAW_TRANSFER + 4);
      WritePciCfg(board, caller.memory(count), caller.any(), count);
    },
    [](Caller& caller, std::uint32_t board) {
      const std::uint32_t count = caller.number(0, OVK_MAX_RAW_TRANSFER + 4);
      ReadMem(board, caller.memory(count), caller.any(), count);
    },
    [](Caller& caller, std::uint32_t board) {
      const std::uint32_t count = caller.number(0, OVK_MAX_RAW_TRANSFER + 4);
      WriteMem(board, caller.memory(count), caller.any(), count);
    },
    call<ReadCtlReg>,
    call<WriteCtlReg>,
    call<OVK_GetTrunkInfo>,
    call<OVK_GetPCIIds>,

    // Regions
    [](Caller& caller, std::uint32_t board) {
      OVK_SetRegion14(board, caller.memory(OVK_REGION14_SIZE));
    },
    [](Caller& caller, std::uint32_t board) {
      std::uint32_t count = 0;
      OVK_GetRegion22(board,
                      caller.record<Region22Entry>(OVK_REGION22_DELIVERED * sizeof(Region22Entry)),
                      &count);
    },
    [](Caller& caller, std::uint32_t board) {
      const std::uint32_t count = caller.number(0, OVK_REGION22_ENTRIES + 1);
      OVK_SetRegion22(board, caller.record<Region22Entry>(count * sizeof(Region22Entry)), count);
    },
    call<OVK_InitR22>,
    call<OVK_InitR23>,
    call<OVK_GetPersistLinkDown>,
    call<OVK_SetPersistLinkDown>,
    call<OVK_FCoEGetParams>,
    call<OVK_FCoESetParams>,
    [](Caller& caller, std::uint32_t board) {
      const std::uint32_t room = caller.number(0, OVK_FCF_CONNECT_ENTRIES);
      auto* const list = list_of(caller, &FcfConnectList::count, &FcfConnectList::entries, room);
      OVK_FCoEGetFCFConnectList(board, list);
    },
    [](Caller& caller, std::uint32_t board) {
      const std::uint32_t count = caller.number(0, OVK_FCF_CONNECT_ENTRIES + 1);
      auto* const list = list_of(caller, &FcfConnectList::count, &FcfConnectList::entries, count);
      OVK_FCoESetFCFConnectList(board, list);
    },
    [](Caller& caller, std::uint32_t board) {
      const std::uint32_t room = caller.number(0, 40);
      auto* const list = list_of(caller, &FcfList::count, &FcfList::entries, room);
      OVK_FCoEGetFCFList(board, list);
    },

    // Traffic policy and the firmware log
    call<OVK_QoSGetGlobalFlag>,
    call<OVK_QoSSetGlobalFlag>,
    [](Caller& caller, std::uint32_t board) {
      const std::uint32_t room = caller.number(0, OVK_FCP_PRIORITY_MAX_ENTRIES);
      auto* const list = list_of(caller, &FcpPriorityList::count, &FcpPriorityList::entries, room);
      OVK_QoSGetConfig(board, list);
    },
    [](Caller& caller, std::uint32_t board) {
      const std::uint32_t count = caller.number(0, OVK_FCP_PRIORITY_MAX_ENTRIES + 1);
      auto* const list = list_of(caller, &FcpPriorityList::count, &FcpPriorityList::entries, count);
      OVK_QoSSetConfig(board, list);
    },
    [](Caller& caller, std::uint32_t board) {
      const std::uint32_t room = caller.number(0, OVK_OAS_MAX_LUNS);
      auto* const list = list_of(caller, &OasLunList::count, &OasLunList::luns, room);
      OVK_GetOASLunList(board, caller.record<Wwn>(), caller.record<Wwn>(), 0, list);
    },
    [](Caller& caller, std::uint32_t board) {
      OVK_SetOASLun(board, caller.record<Wwn>(), caller.record<Wwn>(), caller.any(), caller.any(),
                    0, caller.any<std::uint8_t>());
    },
    [](Caller& caller, std::uint32_t board) {
      OVK_SetOASLunV2(board, caller.record<Wwn>(), caller.record<Wwn>(), 0,
                      caller.record<OasRule>());
    },
    call<OVK_GetQFPAPriorityList>,
    call<OVK_GetVMidMapping>,
    call<OVK_UpdateVMidMapping>,
    call<OVK_GetRasConfig>,
    call<OVK_FwLogConfig>,
    [](Caller& caller, std::uint32_t board) {
      auto* const request = caller.record<FwLogRequest>();
      request->size = caller.number(0, 5000);
      request->buffer = caller.memory(request->size);
      OVK_GetFwLog(board, request);
    },

    // Virtual ports and authentication
    call<OVK_NPIVReadyTest>,
    call<OVK_VPGetResource>,
    call<OVK_VPGetList>,
    call<OVK_VPGetAttrib>,
    [](Caller& caller, std::uint32_t board) {
      const std::uint32_t room = caller.number(0, OVK_MAX_NODES + 2);
      auto* const nodes =
          list_of(caller, &NodeInformationList::count, &NodeInformationList::nodes, room);
      OVK_GetAllNodeInfoByWWN(board, caller.record<Wwn>(), nodes);
    },
    call<OVK_PersistAuthConfig>,
    call<OVK_DeleteAuthConfigObject>,
    call<OVK_InitiateAuthentication>,
    call<OVK_SetAuthConfigV2>,
    call<OVK_SetAuthPasswordV2>,
    [](Caller& caller, std::uint32_t board) {
      OVK_GetAuthConfigV2(board, *caller.record<Wwn>(), caller.record<AuthConfig>(), 1);
    },
    call<OVK_DeleteAuthConfigV2>,
    [](Caller& caller, std::uint32_t board) {
      OVK_GetAuthPasswordV2(board, caller.record<AuthPassword>(), 1);
    },
    [](Caller& caller, std::uint32_t board) {
      OVK_GetAuthStatus(board, caller.record<AuthStatus>());
    },
};

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
  const Call chosen =
      *(calls.begin() + data.ConsumeIntegralInRange<std::size_t>(0, calls.size() - 1));
  board_identity = {.sli_mode = data.PickValueInArray(sli_modes),
                    .adapter_type = data.PickValueInArray(adapter_types),
                    .text = data.ConsumeIntegral<std::uint8_t>()};
  const std::uint32_t board = data.ConsumeIntegralInRange<std::uint32_t>(0, OVK_MAX_BOARDS);
  driver_answers = &data;
  Caller caller{data};
  chosen(caller, board);
  driver_answers = nullptr;
  return 0;
}
