// The table of the calls. Their arguments, and what these point to, stand in the memory in order.

#include "bench/calls.h"

#include "bench/by_hand.h"
#include "driver_abi/fc.h"
#include "driver_abi/regions.h"
#include "library/boards/driver_info.h"
#include "library/mailbox/passthrough.h"
#include "tests/library/contract.h"

#include <ovk/ovk.h>

namespace ovk::bench {

namespace {

constexpr std::uint32_t without_heap = 100;
constexpr std::uint32_t with_heap = 600;
constexpr std::uint32_t gated = 700;

constexpr std::uint32_t mailbox_words = 64;
constexpr std::uint32_t name_server = 0xFFFFFC;
constexpr std::uint32_t largest_ct = OVK_CT_MAX_LENGTH;
constexpr std::uint32_t largest_scsi = OVK_SCSI_MAX_TRANSFER;

/** A call of the library, with its arguments in order; a pointer to no type has `untyped` bytes. */
template <auto function, std::size_t untyped = 0>
std::uint32_t library(std::uint8_t* memory) {
  return ovk::test::in_order<function, untyped>.call(board, memory);
}

template <typename Record>
Record* at(std::uint8_t* memory) {
  void* const place = memory;
  return static_cast<Record*>(place);
}

constexpr std::uint32_t block_word(std::uint32_t number) { return 4 * number; }

/** A word of the block from the caller's memory, or into it. */
constexpr Copy word(std::uint32_t number, std::uint32_t memory) {
  return {0, block_word(number), memory, bytes(4)};
}

template <Row row>
constexpr Function by_hand = ByHand<row>::call;

constexpr std::array<Copy, 4> port_attributes(std::uint32_t memory) {
  return {{{1, 0, memory, bytes(466)},
           {1, 0, memory + 466, cleared(2)},
           {1, 466, memory + 608, bytes(24)}}};
}

/** What the driver counted since the statistics began anew. */
std::uint32_t statistics_by_hand(std::uint8_t* memory) {
  PortStatistics now{};
  CommandBlock block{.driver_board = static_cast<std::uint32_t>(ovk_brdno[board])};
  const int error = vmk_MgmtUserCallbackInvokeInt(
      ravn_mgmt_handle, 0, CommandName { "RAVN_MGMT_HBA_PORTSTATISTICS" } -> id, 2, &block, &now);
  if (error != 0 || block.status != DriverStatus::success) {
    return OVK_FAILED;
  }
  const auto* const counted = reinterpret_cast<const std::uint64_t*>(&now);
  const auto* const before = reinterpret_cast<const std::uint64_t*>(&ovk_rststatistics[board]);
  auto* const delivered = at<std::uint64_t>(memory + 4);
  for (std::size_t i = 0; i < sizeof now / sizeof *counted; ++i) {
    delivered[i] = counted[i] - before[i];
  }
  return OVK_OK;
}

// clang-format off

std::vector<Call> information() {
  return {
      {.name = "OVK_GetLinkInfo", .library = library<OVK_GetLinkInfo>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_LINKINFO", .gets = {{{1, 0, 0, bytes(168)}}}}>},
       .allowed = without_heap},
      {.name = "GetIOinfo", .library = library<GetIOinfo>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_IOINFO", .gets = {{{1, 0, 0, bytes(96)}}}}>},
       .allowed = without_heap},
      {.name = "GetNodeInfo 512", .library = [](auto* memory) { return GetNodeInfo(board, at<NodeInfoEntry>(memory)); },
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_NODEINFO", .places = {callers_zeroed(0)}, .words = {{{2, 14336}}}}>},
       .answer = {.reply_size = 14336}, .allowed = without_heap, .result = 512},
      {.name = "GetVPDInfo", .library = library<GetVPDInfo>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_GET_VPD", .sends = {{word(6, 0)}}, .gets = {{{1, 0, 0, bytes(616)}}}}>},
       .allowed = without_heap},
      {.name = "OVK_GetQoSLinkSpeed", .library = library<OVK_GetQoSLinkSpeed>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_GET_LOGICAL_LINK_SPEED", .gets = {{word(4, 0)}}, .gate = Gate::sli4}>},
       .allowed = gated, .compares_memory = false},
      {.name = "GetCfgParam", .library = [](auto* memory) { return GetCfgParam(board, at<CfgParam>(memory)); },
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_GETCFG", .places = {callers_zeroed(0)},
                               .words = {{{2, 10560}}}}>},
       .answer = {.reply_size = 10560}, .allowed = without_heap, .result = 80},
      {.name = "SetCfgParam", .library = library<SetCfgParam>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_SETCFG", .sends = {{word(1, 0), word(4, 4)}}}>},
       .allowed = without_heap},
      {.name = "OVK_ReadPciCfg 256", .library = library<OVK_ReadPciCfg, 4096>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_READ_PCI", .sends = {{word(1, 4096), word(2, 4100)}},
                    .gets = {{{1, 0, 0, told_at(4100)}}}}>},
       .given = {{4096, 0}, {4100, 256}}, .allowed = with_heap},
      {.name = "WritePciCfg 256", .library = library<WritePciCfg, 4096>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_WRITE_PCI",
                    .sends = {{word(1, 4096), word(2, 4100), {1, 0, 0, told_at(4100)}}}}>},
       .given = {{4096, 0}, {4100, 256}}, .allowed = with_heap},
      {.name = "ReadMem 4096", .library = library<ReadMem, 4096>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_READ_MEM", .sends = {{word(1, 4096), word(2, 4100)}},
                    .gets = {{{1, 0, 0, told_at(4100)}}}, .gate = Gate::below_sli4}>},
       .given = {{4096, 0}, {4100, 4096}}, .answer = {.sli_mode = 3}, .allowed = gated},
      {.name = "WriteMem 4096", .library = library<WriteMem, 4096>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_WRITE_MEM", .places = {callers(0)},
                    .sends = {{word(1, 4096), word(2, 4100)}}, .gate = Gate::below_sli4}>},
       .given = {{4096, 0}, {4100, 4096}}, .answer = {.sli_mode = 3}, .allowed = gated},
      {.name = "ReadCtlReg", .library = library<ReadCtlReg>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_READ_CTLREG", .sends = {{word(1, 4)}}, .gets = {{word(4, 0)}},
                    .gate = Gate::below_sli4}>},
       .answer = {.sli_mode = 3}, .allowed = gated},
      {.name = "WriteCtlReg", .library = library<WriteCtlReg>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_WRITE_CTLREG", .sends = {{word(4, 0), word(1, 4)}},
                    .gate = Gate::below_sli4}>},
       .answer = {.sli_mode = 3}, .allowed = gated},
      {.name = "OVK_GetTrunkInfo", .library = library<OVK_GetTrunkInfo>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_GET_TRUNK_INFO", .words = {{{6, 4118}}},
                    .gets = {{{1, 0, 0, bytes(12)}}}}>},
       .allowed = without_heap},
      {.name = "OVK_GetPCIIds", .library = library<OVK_GetPCIIds>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_GET_PCI_SBDF", .gets = {{{1, 0, 0, bytes(24)}}}}>},
       .allowed = without_heap},
  };
}

std::vector<Call> hbaapi() {
  return {
      {.name = "RefreshInformation", .library = library<RefreshInformation>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_HBA_REFRESHINFO"}>}, .allowed = without_heap},
      {.name = "GetAdapterAttributes", .library = library<GetAdapterAttributes>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_HBA_ADAPTERATTRIBUTES", .places = {callers_zeroed(0)}}>},
       .allowed = without_heap},
      {.name = "GetAdapterPortAttributes", .library = library<GetAdapterPortAttributes>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_HBA_PORTATTRIBUTES", .gets = port_attributes(4)}>},
       .allowed = without_heap},
      {.name = "GetDiscoveredPortAttributes", .library = library<GetDiscoveredPortAttributes>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_HBA_DISCPORTATTRIBUTES", .sends = {{word(1, 4)}},
                    .gets = port_attributes(8)}>},
       .allowed = without_heap},
      {.name = "GetPortAttributesByWWN", .library = library<GetPortAttributesByWWN>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_HBA_WWPNPORTATTRIBUTES", .sends = {{{2, 8, 0, bytes(8)}}},
                    .gets = port_attributes(8)}>},
       .allowed = without_heap},
      {.name = "GetPortAttributesByIndex", .library = library<GetPortAttributesByIndex>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_HBA_INDEXPORTATTRIBUTES", .sends = {{word(1, 4)}},
                    .gets = port_attributes(8)}>},
       .allowed = without_heap},
      {.name = "GetPortStatistics", .library = library<GetPortStatistics>,
       .by_hand = {statistics_by_hand}, .allowed = without_heap},
      {.name = "SetRNIDMgmtInfo", .library = library<SetRNIDMgmtInfo>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_HBA_SETMGMTINFO",
                    .sends = {{{1, 0, 0, bytes(40)}, {1, 42, 42, bytes(2)}}}}>},
       .allowed = without_heap},
      {.name = "GetRNIDMgmtInfo", .library = library<GetRNIDMgmtInfo>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_HBA_GETMGMTINFO",
                    .gets = {{{1, 0, 0, bytes(40)}, {1, 42, 42, bytes(2)}}}}>},
       .allowed = without_heap},
      {.name = "SendRNID 60", .library = library<SendRNID, 64>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_HBA_RNID", .words = {{{2, 64}, {5, OVK_PORT_WWN}}},
                    .sends = {{{1, 8, 0, bytes(8)}}},
                    .gets = {{{2, 0, 12, replied()}, word(3, 76)}}}>},
       .given = {{8, OVK_PORT_WWN}, {76, 60}}, .answer = {.reply_size = 52}, .allowed = with_heap},
      {.name = "SendRNID 64", .library = library<SendRNID, 64>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_HBA_RNID", .places = {Place{}, callers(12)},
                    .words = {{{2, 64}, {5, OVK_PORT_WWN}}}, .sends = {{{1, 8, 0, bytes(8)}}},
                    .gets = {{word(3, 76)}}}>},
       .given = {{8, OVK_PORT_WWN}, {76, 64}}, .answer = {.reply_size = 52},
       .allowed = without_heap},
      {.name = "GetEventBuffer 8", .library = [](auto* memory) {
         return GetEventBuffer(board, at<EventInfo>(memory + 4), at<std::uint32_t>(memory)); },
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_HBA_GETEVENT", .sends = {{word(2, 0)}},
                    .gets = {{{1, 0, 4, replied(20)}, word(3, 0)}}}>},
       .given = {{0, 8}}, .answer = {.reply_size = 8}, .allowed = with_heap},
      {.name = "GetFcpBindList 64", .library = [](auto* memory) {
         return GetFcpBindList(board, at<FcpBindList>(memory)); },
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_LIST_BIND", .places = {on_heap}, .words = {{{2, 131076}}},
                    .sends = {{word(4, 0)}}, .gets = {{{1, 0, 0, bytes(4 + 64 * 32)}}}}>},
       .given = {{0, 64}}, .answer = {.count = 64}, .allowed = with_heap},
      {.name = "GetFcpTargetMapping 1024", .library = [](auto* memory) {
         return GetFcpTargetMapping(board, at<FcpTargetMapping>(memory)); },
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_HBA_FCPTARGETMAPPING", .places = {on_heap}, .sends = {{word(2, 0)}},
                    .gets = {{{1, 4, 4, replied(296)}, word(3, 0)}}}>},
       .given = {{0, 1024}}, .answer = {.reply_size = 1024}, .allowed = with_heap},
  };
}

template <std::uint32_t size>
constexpr auto ct_by_hand = by_hand<Row{
    .command = "RAVN_MGMT_SEND_CT",
    .places = {size == largest_ct ? callers(4) : on_heap, on_heap},
    .sends = {{word(4, 0), word(2, 4 + size), word(3, 8 + 2 * size),
               {1, 0, 4, told_at(4 + size)}}},
    .gets = {{{2, 0, 8 + size, replied()}}}}>;

std::vector<Call> fabric() {
  return {
      {.name = "GetCTInfo 64", .library = library<GetCTInfo, 64>, .by_hand = {ct_by_hand<64>},
       .given = {{0, name_server}, {68, 64}, {136, 64}}, .answer = {.reply_size = 64},
       .allowed = with_heap, .result = 64},
      {.name = "GetCTInfo 245760", .library = library<GetCTInfo, largest_ct>, .by_hand = {ct_by_hand<largest_ct>},
       .given = {{0, name_server}, {4 + largest_ct, largest_ct}, {8 + 2 * largest_ct, largest_ct}},
       .answer = {.reply_size = largest_ct}, .allowed_percent = 110, .result = largest_ct},
      {.name = "SendMgmtCommand 64", .library = library<SendMgmtCommand, 64>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_HBA_SEND_MGMT_CMD", .places = {callers(0), on_heap, on_heap},
                    .words = {{{3, largest_ct}}},
                    .sends = {{word(2, 72), word(7, 144), {2, 0, 8, told_at(72)}}},
                    .gets = {{{3, 0, 76, replied()}, word(3, 140)}}}>},
       .given = {{72, 64}}, .answer = {.reply_size = 64}, .allowed = with_heap},
      {.name = "SendMgmtCommand 245760", .library = library<SendMgmtCommand, largest_ct>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_HBA_SEND_MGMT_CMD",
                    .places = {callers(0), callers(8), on_heap}, .words = {{{3, largest_ct}}},
                    .sends = {{word(2, 8 + largest_ct), word(7, 16 + 2 * largest_ct)}},
                    .gets = {{{3, 0, 12 + largest_ct, replied()}, word(3, 12 + 2 * largest_ct)}}}>},
       .given = {{8 + largest_ct, largest_ct}}, .answer = {.reply_size = largest_ct},
       .allowed_percent = 110},
      {.name = "SendCTPassThru 64", .library = [](auto* memory) {
         return SendCTPassThru(board, memory, 64, memory + 64, at<std::uint32_t>(memory + 128)); },
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_SEND_CT", .places = {on_heap, on_heap},
                    .words = {{{2, 64}, {4, name_server}}},
                    .sends = {{word(3, 128), {1, 0, 0, bytes(64)}}},
                    .gets = {{{2, 0, 64, replied()}, word(3, 128)}}}>},
       .given = {{4, directory_service}, {128, 64}}, .answer = {.reply_size = 64},
       .allowed = with_heap},
      {.name = "SendMgmtResponse 64", .library = library<SendMgmtResponse, largest_ct>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_HBA_SEND_MGMT_RSP", .places = {on_heap}, .words = {{{2, largest_ct}}},
                    .sends = {{word(4, largest_ct + 4), {1, 0, 0, told_at(largest_ct)}}}}>},
       .given = {{largest_ct, 64}}, .allowed = with_heap},
      {.name = "SendMgmtResponse 245760", .library = library<SendMgmtResponse, largest_ct>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_HBA_SEND_MGMT_RSP", .places = {callers(0)},
                    .words = {{{2, largest_ct}}}, .sends = {{word(4, largest_ct + 4)}}}>},
       .given = {{largest_ct, largest_ct}}, .allowed = without_heap},
      {.name = "OVK_SendELSCmd 1024", .library = library<OVK_SendELSCmd, 1024>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_SEND_ELS", .places = {callers(0), callers(16)},
                    .words = {{{3, 1024}}}, .sends = {{word(2, 1040)}},
                    .gets = {{{3, 0, 1044, replied()}, word(3, 2068)}}}>},
       .given = {{1040, 1024}}, .answer = {.reply_size = 1024}, .allowed = without_heap},
      {.name = "OVK_SendELSCmd 64", .library = library<OVK_SendELSCmd, 1024>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_SEND_ELS", .places = {callers(0)}, .words = {{{3, 1024}}},
                    .sends = {{word(2, 1040), {2, 0, 16, told_at(1040)}}},
                    .gets = {{{3, 0, 1044, replied()}, word(3, 2068)}}}>},
       .given = {{1040, 64}}, .answer = {.reply_size = 64}, .allowed = without_heap},
      {.name = "SendScsiCmdByWWN 512", .library = library<SendScsiCmdByWWN, 512>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_HBA_SEND_SCSI", .places = {Place{}, on_heap},
                    .sends = {{word(2, 564), {1, 0, 8, bytes(40)},
                               {2, 0, 52, told_at(564)}}},
                    .gets = {{{2, 0, 52, replied()}, word(3, 564), {1, 168, 1080, bytes(4)}}}}>},
       .given = {{564, 512}}, .answer = {.reply_size = 512}, .allowed = with_heap},
      {.name = "SendScsiCmdByWWN 262144", .library = library<SendScsiCmdByWWN, largest_scsi>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_HBA_SEND_SCSI", .places = {Place{}, on_heap},
                    .sends = {{word(2, 52 + largest_scsi), {1, 0, 8, bytes(40)}, {2, 0, 52, told_at(52 + largest_scsi)}}},
                    .gets = {{{2, 0, 52, replied()}, word(3, 52 + largest_scsi),
                              {1, 168, 56 + 2 * largest_scsi, bytes(4)}}}}>},
       .given = {{52 + largest_scsi, largest_scsi}}, .answer = {.reply_size = largest_scsi},
       .allowed_percent = 110},
      {.name = "SendFcpCmdByWWN 262144", .library = library<SendFcpCmdByWWN, largest_scsi>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_HBA_SEND_FCP", .places = {Place{}, on_heap},
                    .sends = {{word(2, 52 + largest_scsi), {1, 0, 8, bytes(40)}, {1, 56, 56 + 2 * largest_scsi, bytes(4)},
                               word(7, 60 + 2 * largest_scsi),
                               {2, 0, 52, told_at(52 + largest_scsi)}}},
                    .gets = {{{2, 0, 52, replied()}, word(3, 52 + largest_scsi)}}}>},
       .given = {{52 + largest_scsi, largest_scsi}, {56 + 2 * largest_scsi, 0}},
       .answer = {.reply_size = largest_scsi}, .allowed_percent = 110},
  };
}

/** The first word of a mailbox that moves nothing else; its status is 0. */
constexpr std::uint32_t mailbox_head = 0x0500;

/** A mailbox in its three buffers. */
constexpr Row mailbox_by_hand(std::uint32_t words) {
  return {.command = "RAVN_MGMT_MBOX",
          .words = {{{2, 4 * words}, {3, 4 * words}}},
          .sends = {{{2, 0, 0, bytes(4 * words)}}},
          .gets = {{{2, 0, 0, bytes(4 * words)}}}};
}

std::uint32_t gate_by_hand(std::uint8_t* /*memory*/) {
  by_hand_mode();
  return OVK_OK;
}

constexpr std::uint32_t region_bytes(std::uint32_t region) { return region == 22 ? 512 : 1024; }

/** A region that is written from the caller's memory. */
template <std::uint32_t region>
constexpr Function write_region = by_hand<Row{
    .command = "RAVN_MGMT_HBA_ISSUE_UPD_MBX",
    .words = {{{2, region_bytes(region)}, {4, region}}},
    .sends = {{{1, 0, 0, bytes(region_bytes(region))}}}}>;

/** A region that is written with an image of the program's own. */
template <std::uint32_t region, const auto& image>
std::uint32_t write_image(std::uint8_t* /*memory*/) {
  void* const start = const_cast<std::remove_cvref_t<decltype(image)>*>(&image);  // only read
  return by_hand<Row{.command = "RAVN_MGMT_HBA_ISSUE_UPD_MBX",
                     .words = {{{2, region_bytes(region)}, {4, region}}},
                     .sends = {{{1, 0, 0, bytes(sizeof image)}}}}>(
      static_cast<std::uint8_t*>(start));
}

constexpr Function adapter_type_by_hand = by_hand<Row{.command = "RAVN_MGMT_GET_RAVNOVK_INFO"}>;

std::vector<Call> mailbox() {
  return {
      {.name = "_IssueMbox", .library = [](auto* memory) {
         return _IssueMbox(board, at<Mailbox>(memory), 64, 256, OVK_SLI4); },
       .by_hand = {by_hand<mailbox_by_hand(64)>}, .given = {{0, mailbox_head}},
       .allowed = with_heap},
      {.name = "IssueMbox", .library = [](auto* memory) {
         return IssueMbox(board, at<Mailbox>(memory), 32, 128); },
       .by_hand = {gate_by_hand, by_hand<mailbox_by_hand(32)>}, .given = {{0, mailbox_head}},
       .answer = {.sli_mode = 3}, .allowed = gated + with_heap},
      {.name = "OVK_IssueMboxWithRetryV2", .library = [](auto* memory) {
         return OVK_IssueMboxWithRetryV2(board, at<Mailbox>(memory), 64, 1, 0); },
       .by_hand = {gate_by_hand, by_hand<mailbox_by_hand(64)>}, .given = {{0, mailbox_head}},
       .allowed = gated + with_heap},
      {.name = "IssueExtendedSLIConfig", .library = library<IssueExtendedSLIConfig>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_MBOX_SLI_CFG_EXT",
                               .words = {{{2, 256}, {3, 256}}},
                               .sends = {{word(6, 256), {1, 0, 0, bytes(256)}}},
                               .gets = {{{1, 0, 0, bytes(256)}}}, .gate = Gate::sli4}>},
       .given = {{264, 64}}, .allowed = gated},
      {.name = "OVK_ConfigLoopbackV2", .library = library<OVK_ConfigLoopbackV2>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_LOOPBACK_MODE", .places = {callers(0)},
                               .words = {{{5, 1}}}, .sends = {{word(7, 8)}}}>},
       .given = {{4, 1}}, .allowed = without_heap},
      {.name = "OVK_RunLoopbackTest 2048", .library = [](auto* memory) {
         const LoopbackRequest request{2048, memory, memory + 2048};
         return OVK_RunLoopbackTest(board, &request); },
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_LOOPBACK_TEST", .places = {on_heap, on_heap},
                               .words = {{{2, 2048}}}, .sends = {{{1, 0, 0, bytes(2048)}}},
                               .gets = {{{2, 0, 2048, bytes(2048)}}}}>},
       .allowed = with_heap},
      {.name = "OVK_EndLoopback", .library = library<OVK_EndLoopback>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_DIAG_MODE_END", .words = {{{7, 15}}},
                               .gate = Gate::sli4}>},
       .allowed = gated},
      {.name = "OVK_GetDriverDumpRegion", .library = library<OVK_GetDriverDumpRegion, 16>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_GET_DUMPREGION",
                               .sends = {{word(6, 0), word(2, 20)}},
                               .gets = {{{1, 0, 4, replied()}, word(3, 20)}},
                               .gate = Gate::below_sli4}>},
       .given = {{20, 16}}, .answer = {.reply_size = 16, .sli_mode = 3}, .allowed = gated},
      {.name = "OVK_IssueDumpMBox 1024", .library = [](auto* memory) {
         return OVK_IssueDumpMBox(board, 2, 0, 23, 0, memory + 16, at<std::uint32_t>(memory)); },
       .by_hand = {gate_by_hand,
                   by_hand<Row{.command = "RAVN_MGMT_HBA_ISSUE_DMP_MBX", .places = {callers(4)},
                               .words = {{{2, 1024}}}, .gets = {{{2, 0, 16, bytes(1024)}}}}>},
       .given = {{0, 1024}, {4, 2}, {8, 23}, {12, 0}}, .answer = {.reply_size = 1024}, .allowed = gated},
      {.name = "OVK_IssueUpdateCfgMBox 1024", .library = [](auto* memory) {
         std::uint32_t status = 0;
         return static_cast<std::uint32_t>(
             OVK_IssueUpdateCfgMBox(board, 2, 23, memory, 1024, &status)); },
       .by_hand = {gate_by_hand, write_region<23>}, .allowed = gated},
      {.name = "OVK_SetDumpEnv", .library = library<OVK_SetDumpEnv>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_INDUCE_DUMP", .gate = Gate::sli4}>},
       .given = {{0, OVK_DUMP_INDUCE}}, .allowed = gated, .result = OVK_DUMP_INDUCED},
      {.name = "OVK_ResetAdapter", .library = library<OVK_ResetAdapter>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_GET_OVK_REV"}>,
                   by_hand<Row{.command = "RAVN_MGMT_RESET", .sends = {{word(6, 0)}}}>},
       .given = {{0, 1}}, .allowed = 2 * without_heap},
  };
}

std::vector<Call> regions() {
  return {
      {.name = "OVK_InitR22", .library = library<OVK_InitR22>,
       .by_hand = {adapter_type_by_hand, adapter_type_by_hand, gate_by_hand,
                   write_image<22, default_region22>},
       .answer = {.adapter_type = 0x704}, .allowed = 2 * without_heap + with_heap + gated,
       .compares_memory = false},
      {.name = "OVK_InitR23", .library = library<OVK_InitR23>,
       .by_hand = {gate_by_hand, gate_by_hand, write_image<23, default_region23>},
       .allowed = 2 * gated + with_heap, .compares_memory = false},
      {.name = "OVK_SetRegion14", .library = library<OVK_SetRegion14, 1000>,
       .by_hand = {adapter_type_by_hand, gate_by_hand,
                   by_hand<Row{.command = "RAVN_MGMT_HBA_ISSUE_UPD_MBX",
                               .words = {{{2, 1000}, {4, 14}}},
                               .sends = {{{1, 0, 0, bytes(1000)}}}}>},
       .answer = {.adapter_type = 0x704}, .allowed = without_heap + gated},
  };
}

std::vector<Call> features() {
  return {
      {.name = "OVK_QoSGetGlobalFlag", .library = library<OVK_QoSGetGlobalFlag>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_GET_FCP_PRIORITY_FLAG",
                               .gets = {{word(5, 0)}}}>},
       .allowed = without_heap},
      {.name = "OVK_QoSSetGlobalFlag", .library = library<OVK_QoSSetGlobalFlag>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_SET_FCP_PRIORITY_FLAG",
                               .sends = {{word(5, 0)}}}>},
       .allowed = without_heap},
      {.name = "OVK_QoSGetConfig 8", .library = library<OVK_QoSGetConfig>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_GET_FCP_PRIORITY", .places = {on_heap},
                               .sends = {{word(2, 0)}},
                               .gets = {{{1, 0, 0, bytes(4 + 8 * 36)}}}}>},
       .given = {{0, 8}}, .answer = {.count = 8}, .allowed = with_heap},
      {.name = "OVK_QoSSetConfig 1", .library = library<OVK_QoSSetConfig>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_SET_FCP_PRIORITY", .places = {on_heap},
                               .sends = {{word(2, 0), {1, 0, 0, bytes(4 + 36)}}}}>},
       .given = {{0, 1}}, .allowed = with_heap},
      {.name = "OVK_GetOASLunList 0", .library = library<OVK_GetOASLunList>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_OAS_GET",
                               .places = {callers(0), callers(8)}, .words = {{{6, 4117}}},
                               .gets = {{word(3, 20)}}}>},
       .given = {{20, 0}}, .allowed = with_heap},
      {.name = "OVK_GetQFPAPriorityList", .library = library<OVK_GetQFPAPriorityList>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_VMID_GET_QFPA", .places = {callers(0)},
                               .gate = Gate::sli4}>},
       .allowed = gated},
      {.name = "OVK_GetVMidMapping", .library = library<OVK_GetVMidMapping>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_VMID_GET_ID_MAPPING", .places = {callers(0)},
                               .gate = Gate::sli4}>},
       .allowed = gated},
      {.name = "OVK_UpdateVMidMapping", .library = library<OVK_UpdateVMidMapping>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_VMID_UPDATE_MAPPING", .places = {callers(0)},
                               .gate = Gate::sli4}>},
       .allowed = gated},
      {.name = "OVK_GetRasConfig", .library = library<OVK_GetRasConfig>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_GET_RAS_CONFIG", .places = {callers(0)},
                               .gate = Gate::sli4}>},
       .allowed = gated},
      {.name = "OVK_SetRasConfig", .library = library<OVK_SetRasConfig>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_SET_RAS_CONFIG", .places = {callers(0)},
                               .gate = Gate::sli4}>},
       .allowed = gated},
  };
}

std::vector<Call> virtual_ports() {
  return {
      {.name = "OVK_NPIVReadyTest", .library = library<OVK_NPIVReadyTest>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_NPIV_READY", .gets = {{word(4, 0)}}}>},
       .allowed = without_heap},
      {.name = "OVK_VPGetResource", .library = library<OVK_VPGetResource>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_VPORT_GET_RESRC", .places = {callers(0)}}>},
       .allowed = without_heap},
      {.name = "OVK_VPGetList 16", .library = library<OVK_VPGetList>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_VPORT_GET_LIST", .places = {on_heap},
                               .sends = {{word(2, 0)}},
                               .gets = {{{1, 0, 0, bytes(4 + 16 * 20)}}}}>},
       .given = {{0, 16}}, .answer = {.count = 16}, .allowed = with_heap},
      {.name = "OVK_VPGetAttrib", .library = library<OVK_VPGetAttrib>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_VPORT_GET_ATTRIB",
                               .places = {Place{}, callers(8)},
                               .sends = {{{1, 8, 0, bytes(8)}}}}>},
       .allowed = without_heap},
      {.name = "OVK_GetAllNodeInfoByWWN 0", .library = library<OVK_GetAllNodeInfoByWWN>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_VPORT_GET_NODE_INFO",
                               .places = {Place{}, on_heap},
                               .sends = {{word(2, 8), {1, 8, 0, bytes(8)}, {2, 0, 8, bytes(4)}}},
                               .gets = {{{2, 0, 8, bytes(4)}}}}>},
       .given = {{8, 0}}, .allowed = with_heap},
  };
}

std::vector<Call> authentication() {
  return {
      {.name = "OVK_SetAuthConfigV2", .library = library<OVK_SetAuthConfigV2>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_SET_AUTH_CONFIG_V2", .places = {callers(0)},
                               .gate = Gate::sli4}>},
       .allowed = gated},
      {.name = "OVK_GetAuthConfigV2", .library = library<OVK_GetAuthConfigV2>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_GET_AUTH_CONFIG_V2",
                               .places = {callers(0), callers(8), callers(788)},
                               .gate = Gate::sli4}>},
       .allowed = gated},
      {.name = "OVK_GetAuthPasswordV2", .library = library<OVK_GetAuthPasswordV2>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_GET_AUTH_PASSWD_V2",
                               .places = {callers(0), callers(280)}, .gate = Gate::sli4}>},
       .allowed = gated},
      {.name = "OVK_InitiateAuthentication", .library = library<OVK_InitiateAuthentication>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_INIT_AUTH",
                               .places = {callers(0), callers(8)}, .gate = Gate::sli4}>},
       .allowed = gated},
      {.name = "OVK_GetAuthStatus", .library = library<OVK_GetAuthStatus>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_GET_AUTH_STATUS", .places = {callers(0)},
                               .gate = Gate::sli4}>},
       .allowed = gated},
  };
}

/** CallVer also fills in the library's own signature. */
std::uint32_t version_by_hand(std::uint8_t* memory) {
  auto* const signature = at<VersionSignature>(memory + sizeof(VersionSignature));
  signature->revision = ravn_mgmt_signature.version;
  std::memcpy(signature->name, ravn_mgmt_signature.name, interface_name.size() + 1);
  std::memcpy(signature->vendor, ravn_mgmt_signature.vendor, interface_vendor.size() + 1);
  signature->callback_count = ravn_mgmt_signature.callback_count;
  return by_hand<Row{.command = "RAVN_MGMT_CALL_VER", .places = {callers(0)}}>(memory);
}

std::vector<Call> driver() {
  return {
      {.name = "EventTest", .library = library<EventTest>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_EVENT_TEST",
                               .sends = {{word(6, 0), word(4, 4)}}}>},
       .allowed = without_heap},
      {.name = "ModInfo", .library = [](auto* memory) { return ModInfo(at<ModuleInfo>(memory)); },
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_MOD_INFO", .places = {callers(0)}}>},
       .allowed = without_heap},
      {.name = "LogMsg", .library = [](auto* memory) { return LogMsg(at<LogMessage>(memory)); },
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_LOG_MSG", .places = {callers(0)}}>},
       .allowed = without_heap},
      {.name = "CallVer", .library = [](auto* memory) {
         return CallVer(at<VersionSignature>(memory), at<VersionSignature>(memory + 72)); },
       .by_hand = {version_by_hand}, .allowed = without_heap},
      {.name = "SetBrdEnv", .library = library<SetBrdEnv>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_SETDIAG", .words = {{{6, 16}}}}>},
       .given = {{0, 0}}, .allowed = without_heap},
      {.name = "get_hba_type", .library = library<get_hba_type>,
       .by_hand = {by_hand<Row{.command = "RAVN_MGMT_GET_RAVNOVK_INFO",
                               .gets = {{{1, 112, 0, bytes(4)}}}}>},
       .allowed = without_heap},
      {.name = "get_sli_mode", .library = library<get_sli_mode>, .by_hand = {gate_by_hand},
       .allowed = gated, .compares_memory = false},
      {.name = "OVK_GetDrvInfo", .library = library<OVK_GetDrvInfo>, .by_hand = {gate_by_hand},
       .allowed = gated, .compares_memory = false},
  };
}

// clang-format on

}  // namespace

std::uint32_t by_hand_mode() {
  constexpr std::uint32_t mode_offset = 96;
  std::uint32_t mode = 0;
  std::uint8_t memory[2192 + sizeof mode];
  const bool told = by_hand<Row{.command = "RAVN_MGMT_GET_RAVNOVK_INFO",
                                .words = {{{2, 120}}},
                                .gets = {{{1, mode_offset, 2192, bytes(4)}}}}>(memory) == OVK_OK &&
                    by_hand<Row{.command = "RAVN_MGMT_HBA_ADAPTERATTRIBUTES"}>(memory) == OVK_OK &&
                    by_hand<Row{.command = "RAVN_MGMT_HBA_PORTATTRIBUTES"}>(memory) == OVK_OK &&
                    by_hand<Row{.command = "RAVN_MGMT_MBOX_SLI_CFG_EXT_SUP"}>(memory) == OVK_OK;
  std::memcpy(&mode, memory + 2192, sizeof mode);
  return told ? mode : 0;
}

const std::vector<Call>& calls() {
  static const std::vector<Call> all = [] {
    std::vector<Call> rows;
    for (const auto& part : {information(), hbaapi(), fabric(), mailbox(), regions(), features(),
                             virtual_ports(), authentication(), driver()}) {
      rows.insert(rows.end(), part.begin(), part.end());
    }
    return rows;
  }();
  return all;
}

void prepare(const Call& call, std::uint8_t* memory) {
  for (const auto& [place, value] : call.given) {
    std::memcpy(memory + place, &value, sizeof value);
  }
}

}  // namespace ovk::bench
