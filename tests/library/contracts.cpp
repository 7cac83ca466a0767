// The table of the calls that pass their arguments on. All places in it are literal: they are the
// second statement of what the records' layouts say.

#include "library/boards/driver_info.h"
#include "library/mailbox/passthrough.h"
#include "tests/library/contract.h"

#include <ovk/ovk.h>

namespace ovk::test {
namespace {

template <typename Record>
Record* at(std::uint8_t* memory) {
  void* const place = memory;
  return static_cast<Record*>(place);
}

/** As FC-HBA's port attributes stand in the driver's record; the caller's begin `behind` it. */
std::vector<Copy> port_attributes(std::size_t behind) {
  return {{1, 0, behind, 466}, {zeros, 0, behind + 466, 2}, {1, 466, behind + 608, 24}};
}

/** What the driver gives of this many events, and how many it missed. */
std::vector<Copy> events(std::size_t count) {
  return {{block, 12, 0, 4}, {block, 16, 4, 4}, {1, 0, 8, 20 * count}};
}

/** The call with more room than one element where its last argument points. */
constexpr Run with_room(Run run, std::size_t size) { return {run.call, size}; }

/** The first nodes of the driver's list, each but for its last word. */
std::vector<Copy> nodes(std::size_t count) {
  std::vector<Copy> copies;
  for (std::size_t i = 0; i < count; ++i) {
    copies.push_back({2, 4 + 308 * i, 12 + 308 * i, 304});
  }
  return copies;
}

/** The server that is asked for a service type. */
Variation asks_of(std::uint32_t gs_type, std::uint32_t server) {
  return {.given = {{4, gs_type}}, .words = {{4, server}}, .answers = {{3, 0}}, .result = 1};
}

// clang-format off
std::vector<Contract> information() {
  return {
      {"OVK_GetLinkInfo", "RAVN_MGMT_LINKINFO", in_order<OVK_GetLinkInfo>,
       {.gets = {{1, 0, 0, 168}}}},
      {"GetLinkInfo", "RAVN_MGMT_LINKINFO",
       {[](auto board, auto* memory) {
           return GetLinkInfo(static_cast<int>(board), at<LinkInfo>(memory + 1)); }, 169},
       {.gets = {{1, 0, 1, 168}}, .logged_call = "OVK_GetLinkInfo"}},
      {"GetIOinfo", "RAVN_MGMT_IOINFO", in_order<GetIOinfo>, {.gets = {{1, 0, 0, 96}}}},
      {"GetNodeInfo", "RAVN_MGMT_NODEINFO", with_room(in_order<GetNodeInfo>, 14336),
       {.words = {{2, 14336}}, .answers = {{3, 83}}, .always = {{zeros, 0, 0, 14336}},
        .gets = {{1, 0, 0, 56}}, .success = 2, .otherwise = 0,
        .variations = {{.answers = {{3, 0xFFFFFFFF}}, .gets = {{1, 0, 0, 14336}}, .result = 512}}}},
      {"GetVPDInfo", "RAVN_MGMT_GET_VPD", in_order<GetVPDInfo>, {.sends = {{block, 24, 0, 4}},
        .gets = {{1, 0, 0, 616}}, .results = {{0x84, 1}}, .otherwise = 3}},
      {"OVK_GetQoSLinkSpeed", "RAVN_MGMT_GET_LOGICAL_LINK_SPEED", in_order<OVK_GetQoSLinkSpeed>,
       {.given = {{0, 0xEEEEEEEE}}, .answers = {{4, 0}}, .gets = {{ones, 0, 0, 2}},
        .gate = sli4_only(2),
        .variations = {{.answers = {{4, 0x10064}}, .leaves = {{0, 0xEEEE000A}}},
                       {.answers = {{4, 0x10000}}, .leaves = {{0, 0xEEEE0000}}}},
        .result_text = "RAVN_MGMT_GET_VPD"}},
      {"GetCfgParam", "RAVN_MGMT_GETCFG", with_room(in_order<GetCfgParam>, 10560),
       {.words = {{2, 10560}}, .answers = {{3, 395}}, .always = {{zeros, 0, 0, 10560}},
        .gets = {{1, 0, 0, 10560}}, .success = 2, .otherwise = 0}},
      {"SetCfgParam", "RAVN_MGMT_SETCFG", in_order<SetCfgParam>,
       {.sends = {{block, 4, 0, 4}, {block, 16, 4, 4}}}},
      {"OVK_ReadPciCfg", "RAVN_MGMT_READ_PCI", in_order<OVK_ReadPciCfg, 8192>,
       {.given = {{8192, 0x100}, {8196, 8}}, .sends = {{block, 4, 8192, 4}, {block, 8, 8196, 4}},
        .gets = {{1, 0, 0, 8}}, .no_memory = {12},
        .variations = {{.given = {{8192, 0}, {8196, 4096}}, .gets = {{1, 0, 0, 4096}}}}}},
      {"ReadPciCfg", "RAVN_MGMT_READ_PCI", in_order<ReadPciCfg, 16>,
       {.given = {{16, 4096}, {20, 8}}, .sends = {{block, 4, 16, 4}, {block, 8, 20, 4}},
        .gets = {{1, 0, 0, 8}}, .no_memory = {12}, .logged_call = "OVK_ReadPciCfg"}},
      {"WritePciCfg", "RAVN_MGMT_WRITE_PCI", in_order<WritePciCfg, 8192>,
       {.given = {{8192, 0x40}, {8196, 7}},
        .sends = {{block, 4, 8192, 4}, {block, 8, 8196, 4}, {1, 0, 0, 7}}, .otherwise = 22,
        .no_memory = {12},
        .variations = {{.given = {{8192, 4096}, {8196, 8192}}, .sends = {{1, 0, 0, 4096}}}}}},
      {"ReadMem", "RAVN_MGMT_READ_MEM", in_order<ReadMem, 8192>, {.given = {{8196, 5}},
        .sends = {{block, 4, 8192, 4}, {block, 8, 8196, 4}}, .gets = {{1, 0, 0, 5}},
        .otherwise = 22, .gate = sli3_only(4), .no_memory = {12}, .allocates_first = true,
        .variations = {{.given = {{8192, 0xFFFFFFFF}, {8196, 8192}}, .gets = {{1, 0, 0, 4096}}}}}},
      {"WriteMem", "RAVN_MGMT_WRITE_MEM", in_order<WriteMem, 8192>, {.given = {{8196, 5}},
        .sends = {{block, 4, 8192, 4}, {block, 8, 8196, 4}, {1, 0, 0, 5}}, .otherwise = 22,
        .gate = sli3_only(4), .no_memory = {12}, .allocates_first = true,
        .variations = {{.given = {{8196, 8192}}, .sends = {{1, 0, 0, 4096}}}}}},
      {"ReadCtlReg", "RAVN_MGMT_READ_CTLREG", in_order<ReadCtlReg>, {.sends = {{block, 4, 4, 4}},
        .gets = {{block, 16, 0, 4}}, .otherwise = 22, .gate = sli3_only(2)}},
      {"WriteCtlReg", "RAVN_MGMT_WRITE_CTLREG", in_order<WriteCtlReg>,
       {.sends = {{block, 16, 0, 4}, {block, 4, 4, 4}}, .otherwise = 22, .gate = sli3_only(2)}},
      {"OVK_GetTrunkInfo", "RAVN_MGMT_GET_TRUNK_INFO", in_order<OVK_GetTrunkInfo>,
       {.words = {{6, 4118}}, .gets = {{1, 0, 0, 12}}, .results = {{0x20, 2}},
        .variations = {{.result = 3, .delivery = 22},  // the status decides before the delivery
                       {.result = 2, .status = 0x20, .delivery = 22},
                       {.result = 1, .status = 0x21, .delivery = 22}}}},
      {"OVK_GetPCIIds", "RAVN_MGMT_GET_PCI_SBDF", in_order<OVK_GetPCIIds>, {.gets = {{1, 0, 0, 24}},
        .lines = no_failure}},
  };
}

std::vector<Contract> hbaapi() {
  constexpr std::uint32_t stale = 0xFFFFFFFF;  // in place of a port's address
  return {
      {"RefreshInformation", "RAVN_MGMT_HBA_REFRESHINFO", in_order<RefreshInformation>,
       {.keeps = {ovk_refresh_timer, block, 16, 4}}},
      {"GetAdapterAttributes", "RAVN_MGMT_HBA_ADAPTERATTRIBUTES", in_order<GetAdapterAttributes>,
       {.always = {{1, 0, 0, 2192}}, .otherwise = 0}},
      {"GetAdapterPortAttributes", "RAVN_MGMT_HBA_PORTATTRIBUTES",
       in_order<GetAdapterPortAttributes>, {.gets = port_attributes(4),
        .variations = {{.replies = {{1, {16, stale}}}, .gets = port_attributes(4)}}}},
      {"GetDiscoveredPortAttributes", "RAVN_MGMT_HBA_DISCPORTATTRIBUTES",
       in_order<GetDiscoveredPortAttributes>, {.sends = {{block, 4, 4, 4}}, .sends_tag = true,
        .gets = port_attributes(8), .results = {{0x03, 6}},
        .variations = {{.replies = {{1, {16, stale}}}, .result = 8}}}},
      {"GetPortAttributesByWWN", "RAVN_MGMT_HBA_WWPNPORTATTRIBUTES",
       in_order<GetPortAttributesByWWN>, {.sends = {{2, 8, 0, 8}}, .gets = port_attributes(8),
        .results = {{0x03, 5}},
        .variations = {{.replies = {{1, {16, stale}}}, .gets = port_attributes(8)}}}},
      {"GetPortAttributesByIndex", "RAVN_MGMT_HBA_INDEXPORTATTRIBUTES",
       in_order<GetPortAttributesByIndex>, {.sends = {{block, 4, 4, 4}}, .sends_tag = true,
        .gets = port_attributes(8), .results = {{0x5D, 6}},
        .variations = {{.replies = {{1, {16, stale}}}, .result = 8}}}},
      {"GetPortStatistics", "RAVN_MGMT_HBA_PORTSTATISTICS", in_order<GetPortStatistics>,
       {.gets = {{1, 0, 4, 120}}}},
      {"ResetStatistics", "RAVN_MGMT_HBA_PORTSTATISTICS", in_order<ResetStatistics>,
       {.keeps = {ovk_rststatistics, 1, 0, 120}, .logged_call = "GetPortStatistics"}},
      {"SendRNID", "RAVN_MGMT_HBA_RNID", in_order<SendRNID, 100>,
       {.given = {{8, OVK_PORT_WWN}, {112, 60}}, .words = {{2, 64}, {5, OVK_PORT_WWN}},
        .sends = {{1, 8, 0, 8}}, .answers = {{3, 52}},
        .gets = {{2, 0, 12, 52}, {block, 12, 112, 4}}, .no_memory = {12},
        .variations = {{.run = in_order<SendRNID, 100>, .given = {{8, OVK_NODE_WWN}, {112, 60}},
                        .words = {{2, 64}, {5, OVK_NODE_WWN}}, .sends = {{1, 16, 0, 8}},
                        .gets = {{2, 0, 12, 52}, {block, 12, 112, 4}}},
                       {.run = in_order<SendRNID, 100>, .given = {{8, 2}, {112, 60}},
                        .words = {{2, 64}, {5, 2}}, .gets = {{2, 0, 12, 52}, {block, 12, 112, 4}}},
                       {.given = {{112, 52}}, .gets = {{2, 0, 12, 52}, {block, 12, 112, 4}}},
                       {.given = {{112, 51}}, .gets = {{block, 12, 112, 4}}, .result = 7},
                       {.given = {{112, 63}}, .gets = {{2, 0, 12, 52}, {block, 12, 112, 4}}},
                       {.given = {{112, 64}}, .shares = {{2, 0, 12, 64}},
                        .gets = {{block, 12, 112, 4}}, .allocates = false}}}},
      {"SetRNIDMgmtInfo", "RAVN_MGMT_HBA_SETMGMTINFO", in_order<SetRNIDMgmtInfo>,
       {.sends = {{1, 0, 0, 40}, {1, 42, 42, 2}}}},
      {"GetRNIDMgmtInfo", "RAVN_MGMT_HBA_GETMGMTINFO", in_order<GetRNIDMgmtInfo>,
       {.gets = {{1, 0, 0, 40}, {1, 42, 42, 2}}, .result_text = "RAVN_MGMT_HBA_SETMGMTINFO"}},
      {"GetEventBuffer", "RAVN_MGMT_HBA_GETEVENT",
       {[](auto board, auto* memory) {
           auto* const counts = at<std::uint32_t>(memory);
           EventMissedCount = counts[1];
           const std::uint32_t result = GetEventBuffer(board, at<EventInfo>(memory + 8), counts);
           counts[1] = EventMissedCount;
           return result; }, 8 + 32 * 20}, {.given = {{0, 31}},
        .sends = {{block, 8, 0, 4}}, .answers = {{3, 2}}, .gets = events(2), .no_memory = {12},
        .variations = {{.answers = {{3, 0}}, .gets = events(0)},
                       {.given = {{0, 1}}, .answers = {{3, 33}}, .gets = events(32)},
                       {.answers = {{3, 0x0CCCCCCD}}, .gets = events(32)},  // their bytes would wrap
                       {.given = {{0, 32}}, .shares = {{1, 0, 8, 640}}, .gets = events(0),
                        .allocates = false}}}},
      {"GetFcpBindList", "RAVN_MGMT_LIST_BIND", with_room(in_order<GetFcpBindList>, 4 + 4096 * 32),
       {.given = {{0, 4}}, .words = {{2, 131076}}, .sends = {{block, 16, 0, 4}},
        .replies = {{1, {0, 3}}}, .gets = {{1, 0, 0, 4 + 3 * 32}}, .refused = {{block, 4, 0, 4}},
        .no_memory = {12},
        .variations = {{.given = {{0, 4095}}, .gets = {{1, 0, 0, 4 + 3 * 32}}},
                       {.replies = {{1, {0, 0xFFFFFFFF}}}, .gets = {{1, 0, 0, 4 + 4096 * 32}}},
                       {.given = {{0, 4096}}, .shares = {{1, 0, 0, 131076}}, .allocates = false},
                       {.given = {{0, 0x08000000}}, .shares = {{1, 0, 0, 131076}},
                        .allocates = false}}}},
      {"GetFcpTargetMapping", "RAVN_MGMT_HBA_FCPTARGETMAPPING",
       with_room(in_order<GetFcpTargetMapping>, 4 + 1030 * 296), {.given = {{0, 5}},
        .words = {{2, 5}}, .answers = {{3, 2}}, .always = {{block, 12, 0, 4}},
        .gets = {{1, 4, 4, 2 * 296}}, .results = {{0x5D, 7}}, .no_memory = {0},
        .sends_anyhow = true,
        .variations = {{.given = {{0, 1030}}, .words = {{2, 1024}}, .answers = {{3, 1030}},
                        .gets = {{1, 4, 4, 1024 * 296}}},
                       {.answers = {{3, 6}}, .result = 7, .status = 0x14}}}},
  };
}

std::vector<Contract> fabric() {
  constexpr std::uint32_t most = 245760;  // bytes of a CT request, and some more of them
  constexpr std::uint32_t more = most + 12;
  constexpr std::uint32_t most_data = 262144;
  constexpr std::uint32_t data = most_data + 12;
  return {
      {"GetCTInfo", "RAVN_MGMT_SEND_CT", in_order<GetCTInfo, 16>,
       {.given = {{0, 0xFFFFFC}, {20, 12}, {40, 16}},
        .sends = {{block, 16, 0, 4}, {block, 8, 20, 4}, {block, 12, 40, 4}, {1, 0, 4, 12}},
        .answers = {{3, 5}}, .gets = {{2, 0, 24, 5}}, .success = 5,
        .results = {{0x21, 0}, {0x5A, 0xFFFFFFFF}, {0x5D, 0xFFFFFFFD}, {0x14, 0xFFFFFFFE}},
        .otherwise = 0xFFFFFFFC, .no_memory = {0xFFFFFFFE},
        .variations = {{.run = in_order<GetCTInfo, most>,
                        .given = {{0, 0xFFFF00}, {4 + most, most}},
                        .sends = {{block, 16, 0, 4}, {block, 8, 4 + most, 4},
                                  {block, 12, 8 + 2 * most, 4}, {1, 0, 4, most}},
                        .answers = {{3, 0x7FFFFFFF}}, .gets = {{2, 0, 8 + most, most}},
                        .result = 0x7FFFFFFF}}}},
      {"SendCTPassThru", "RAVN_MGMT_SEND_CT",
       {[](auto board, auto* memory) {
           return SendCTPassThru(board, memory, 12, memory + 12, at<std::uint32_t>(memory + 28)); }, 32},
       {.given = {{4, 0xFC}, {28, 16}}, .words = {{2, 12}, {4, 0xFFFFFC}},
        .sends = {{block, 12, 28, 4}, {1, 0, 0, 12}}, .answers = {{3, 5}},
        .gets = {{2, 0, 12, 5}, {block, 12, 28, 4}}, .no_memory = {1},
        .variations = {asks_of(0xF9, 0xFFFFFC),
                       asks_of(0xFA, 0xFFFFFA),
                       asks_of(0xFD, 0xFFFFFD),
                       asks_of(0xFE, 0xFFFFFC)}, .logged_call = "GetCTInfo"}},
      {"SendMgmtCommand", "RAVN_MGMT_HBA_SEND_MGMT_CMD", in_order<SendMgmtCommand, 16>,
       {.given = {{24, 12}}, .words = {{3, most}},
        .sends = {{block, 8, 24, 4}, {block, 28, 48, 4}, {1, 0, 0, 8}, {2, 0, 8, 12}},
        .answers = {{3, 5}}, .gets = {{3, 0, 28, 5}, {block, 12, 44, 4}},
        .told = {0x5D, {{block, 12, 44, 4}}}, .results = {{0x21, 254}, {0x5A, 253}, {0x5D, 255}},
        .otherwise = 252, .no_memory = {252},
        .variations = {{.run = in_order<SendMgmtCommand, more>, .given = {{8 + more, more}},
                        .words = {{3, most}},
                        .sends = {{block, 8, 8 + more, 4}, {block, 28, 16 + 2 * more, 4},
                                  {1, 0, 0, 8}, {2, 0, 8, most}},
                        .answers = {{3, 0xFFFFFFFF}},
                        .gets = {{3, 0, 12 + more, most}, {block, 12, 12 + 2 * more, 4}}}}}},
      {"SendMgmtResponse", "RAVN_MGMT_HBA_SEND_MGMT_RSP", in_order<SendMgmtResponse, 16>,
       {.given = {{16, 12}}, .words = {{2, most}}, .sends = {{block, 16, 20, 4}, {1, 0, 0, 12}},
        .results = {{0x21, 250}, {0x5A, 253}, {0x5D, 255}}, .otherwise = 252, .no_memory = {252},
        .variations = {{.run = in_order<SendMgmtResponse, more>, .given = {{more, more}},
                        .words = {{2, most}}, .sends = {{block, 16, more + 4, 4}, {1, 0, 0, most}},
                        .allocates = false}}}},
      {"OVK_SendELSCmd", "RAVN_MGMT_SEND_ELS", in_order<OVK_SendELSCmd, 2048>,
       {.given = {{16 + 2048, 12}}, .words = {{3, 1024}},
        .sends = {{block, 8, 2064, 4}, {1, 0, 0, 16}, {2, 0, 16, 12}}, .answers = {{3, 5}},
        .gets = {{3, 0, 2068, 5}, {block, 12, 4116, 4}}, .told = {0x5D, {{block, 12, 4116, 4}}},
        .results = {{0x5D, 7}, {0x0A, 3}},
        .variations = {{.given = {{2064, 1030}}, .sends = {{2, 0, 16, 1024}},
                        .answers = {{3, 0x80000000}},
                        .gets = {{3, 0, 2068, 1024}, {block, 12, 4116, 4}}}}}},
      {"SendFcpCmdByWWN", "RAVN_MGMT_HBA_SEND_FCP", in_order<SendFcpCmdByWWN, 64>,
       {.given = {{116, 36}, {184, 24}},
        .sends = {{block, 8, 116, 4}, {block, 28, 188, 4}, {1, 0, 8, 40}, {1, 56, 184, 4}, {2, 0, 52, 36}},
        .answers = {{3, 5}}, .replies = {{1, {56, 20}}},
        .gets = {{2, 0, 52, 5}, {block, 12, 116, 4}, {1, 40, 120, 20}, {1, 56, 184, 4}},
        .results = {{0x5D, 7}}, .no_memory = {1},
        .variations = {{.answers = {{3, 37}}, .gets = {{block, 12, 116, 4}, {1, 56, 184, 4}},
                        .result = 7},
                       {.run = in_order<SendFcpCmdByWWN, data>, .given = {{52 + data, data}},
                        .words = {{2, most_data}},
                        .sends = {{block, 28, 60 + 2 * data, 4}, {1, 0, 8, 40},
                                  {1, 56, 56 + 2 * data, 4}, {2, 0, 52, most_data}},
                        .answers = {{3, data}}, .replies = {{1, {56, 0xFFFFFFFF}}},
                        .gets = {{2, 0, 52, most_data}, {1, 40, 56 + data, 160}, {1, 56, 56 + 2 * data, 4}}}}}},
      {"SendScsiCmdByWWN", "RAVN_MGMT_HBA_SEND_SCSI", in_order<SendScsiCmdByWWN, 64>,
       {.given = {{116, 36}}, .sends = {{block, 8, 116, 4}, {1, 0, 8, 40}, {2, 0, 52, 36}},
        .answers = {{3, 5}}, .replies = {{1, {168, 20}}},
        .gets = {{2, 0, 52, 5}, {block, 12, 116, 4}, {1, 40, 120, 20}, {1, 168, 184, 4}},
        .no_memory = {1},
        .variations = {{.answers = {{3, 37}}, .gets = {{block, 12, 116, 4}}, .result = 7},
                       {.run = in_order<SendScsiCmdByWWN, data>, .given = {{52 + data, data}},
                        .words = {{2, most_data}}, .sends = {{1, 0, 8, 40}, {2, 0, 52, most_data}},
                        .answers = {{3, data}}, .replies = {{1, {168, 0xFFFFFFFF}}},
                        .gets = {{2, 0, 52, most_data}, {1, 40, 56 + data, 128}, {1, 168, 56 + 2 * data, 4}}}}}},
  };
}

std::vector<Contract> mailbox() {
  constexpr std::uint32_t no_value = 0xFFFFFFFF;
  return {
      {"IssueExtendedSLIConfig", "RAVN_MGMT_MBOX_SLI_CFG_EXT", in_order<IssueExtendedSLIConfig>,
       {.given = {{264, 3}}, .words = {{2, 12}, {3, 12}},
        .sends = {{block, 24, 256, 4}, {1, 0, 0, 12}}, .gets = {{1, 0, 0, 12}},
        .gate = sli4_only(2), .no_memory = {12}, .allocates_first = true}},
      {"OVK_ConfigLoopback", "RAVN_MGMT_LOOPBACK_MODE",
       {[](auto board, auto* memory) {
           return OVK_ConfigLoopback(board, 1, *at<std::uint32_t>(memory)); }, 8},
       {.given = {{4, no_value}}, .words = {{5, 1}}, .sends = {{block, 28, 0, 4}, {1, 0, 4, 4}},
        .results = {{0x21, 2}}, .call_text = "RAVN_MGMT_HBA_WWPNPORTATTRIBUTES"}},
      {"OVK_ConfigLoopbackV2", "RAVN_MGMT_LOOPBACK_MODE", in_order<OVK_ConfigLoopbackV2>,
       {.given = {{4, 2}}, .words = {{5, 4}}, .sends = {{block, 28, 8, 4}, {1, 0, 0, 4}},
        .results = {{0x21, 2}}, .call_text = "RAVN_MGMT_HBA_WWPNPORTATTRIBUTES"}},
      {"OVK_RunLoopbackTest", "RAVN_MGMT_LOOPBACK_TEST",
       {[](auto board, auto* memory) {
           const LoopbackRequest request{8, memory, memory + 8};
           return OVK_RunLoopbackTest(board, &request); }, 24}, {.words = {{2, 8}},
        .sends = {{1, 0, 0, 8}}, .gets = {{2, 0, 8, 8}}, .results = {{0x0A, 6}, {0x39, 3}},
        .no_memory = {12}}},
      {"OVK_EndLoopback", "RAVN_MGMT_LIP", in_order<OVK_EndLoopback>, {.gate = {{3, 2}},
        .logged_call = "ovk_EndLoopback"}},
      {"OVK_EndLoopback", "RAVN_MGMT_DIAG_MODE_END", in_order<OVK_EndLoopback>, {.variant = "Sli4",
        .words = {{7, 15}}, .results = {{0x21, 2}}, .gate = {{4, 5}},
        .logged_call = "ovk_EndLoopback_sli4"}},
      {"OVK_SetDumpEnv", "RAVN_MGMT_INDUCE_DUMP", in_order<OVK_SetDumpEnv>,
       {.given = {{0, OVK_DUMP_INDUCE}}, .success = 4, .otherwise = 0, .gate = {{3, 4}}}},
      {"OVK_GetDriverDumpRegion", "RAVN_MGMT_GET_DUMPREGION", in_order<OVK_GetDriverDumpRegion, 16>,
       {.given = {{20, 16}}, .sends = {{block, 24, 0, 4}, {block, 8, 20, 4}}, .answers = {{3, 12}},
        .always = {{block, 12, 20, 4}}, .gets = {{1, 0, 4, 12}},
        .results = {{0x07, 2}, {0x14, 3}, {0x03, 4}}, .gate = sli3_only(2), .no_memory = {12},
        .allocates_first = true,
        .variations = {{.answers = {{3, 0xFFFFFFFF}}, .gets = {{1, 0, 4, 16}}}}}},
      {"OVK_IssueDumpMBox", "RAVN_MGMT_HBA_ISSUE_DMP_MBX",
       {[](auto board, auto* memory) {
           auto* const words = at<std::uint32_t>(memory);
           return OVK_IssueDumpMBox(board, words[0], words[1], words[2], words[3], memory + 20,
                                    &words[4]); }, 20 + 16},
       {.given = {{0, 2}, {8, 23}, {12, 24}, {16, 16}}, .words = {{2, 1024}},
        .sends = {{block, 4, 12, 4}, {1, 0, 0, 4}, {1, 4, 8, 4}, {1, 8, 4, 4}},
        .answers = {{3, 1024}}, .replies = {{3, {0, 0}}},
        .always = {{2, 24, 20, 16}},  // what came is delivered also when the command failed
        .gate = sli4_only(2), .no_memory = {12}}},
      {"OVK_IssueUpdateCfgMBox", "RAVN_MGMT_HBA_ISSUE_UPD_MBX",
       in_order<OVK_IssueUpdateCfgMBox, 16>, {.given = {{0, 2}, {4, 22}, {24, 10}},
        .words = {{2, 512}, {4, 22}}, .sends = {{1, 0, 8, 10}}, .gets = {{2, 0, 28, 4}},
        .gate = sli4_only(2), .no_memory = {12}}},
      {"OVK_ResetAdapter", "RAVN_MGMT_RESET", in_order<OVK_ResetAdapter>, {.given = {{0, 1}},
        .sends = {{block, 24, 0, 4}},
        .before = {{"RAVN_MGMT_GET_OVK_REV", {}, Addressee::driver_board_0}}}},
      {"OVK_ResetAdapter", "RAVN_MGMT_GET_OVK_REV", in_order<OVK_ResetAdapter>,
       {.variant = "UnknownMode", .given = {{0, 4}}, .addressee = Addressee::driver_board_0,
        .success = OVK_RESET_NO_SUCH_MODE}},
  };
}

std::vector<Contract> features() {
  return {
      {"OVK_QoSGetGlobalFlag", "RAVN_MGMT_GET_FCP_PRIORITY_FLAG", in_order<OVK_QoSGetGlobalFlag>,
       {.gets = {{block, 20, 0, 4}}}},
      {"OVK_QoSSetGlobalFlag", "RAVN_MGMT_SET_FCP_PRIORITY_FLAG", in_order<OVK_QoSSetGlobalFlag>,
       {.sends = {{block, 20, 0, 4}}}},
      {"OVK_QoSGetConfig", "RAVN_MGMT_GET_FCP_PRIORITY", in_order<OVK_QoSGetConfig>,
       {.given = {{0, 3}}, .sends = {{block, 8, 0, 4}}, .replies = {{1, {0, 2}}},
        .gets = {{1, 0, 0, 4 + 3 * 36}}, .no_memory = {12},
        .variations = {{.given = {{0, 1}}, .gets = {{1, 0, 0, 4 + 36}}, .result = 7},
                       {.given = {{0, 2}}, .gets = {{1, 0, 0, 4 + 2 * 36}}},
                       {.given = {{0, 1000}}, .gets = {{1, 0, 0, 35932}, {zeros, 0, 35932, 72}}}}}},
      {"OVK_QoSSetConfig", "RAVN_MGMT_SET_FCP_PRIORITY", in_order<OVK_QoSSetConfig>,
       {.given = {{0, 1}}, .words = {{2, 1}}, .sends = {{1, 0, 0, 4 + 36}}, .no_memory = {12, 1}}},
      {"OVK_GetOASLunList", "RAVN_MGMT_OAS_GET", in_order<OVK_GetOASLunList>, {.given = {{20, 1}},
        .words = {{6, 4117}}, .sends = {{1, 0, 0, 8}, {2, 0, 8, 8}}, .answers = {{3, 0}},
        .gets = {{block, 12, 20, 4}}, .results = {{0x10, 5}, {0x0F, 15}, {0x20, 32}, {0x30, 33}},
        .undelivered = Undelivered::otherwise, .no_memory = {12},
        .variations = {{.given = {{20, 0}}, .answers = {{3, 3}}, .gets = {{block, 12, 20, 4}},
                        .result = 7},
                       {.result = 7, .delivery = 7},
                       {.result = 7, .status = 0x10, .delivery = 7}},
        .result_text = "RAVN_MGMT_OAS_GET_LIST"}},
      {"OVK_GetQFPAPriorityList", "RAVN_MGMT_VMID_GET_QFPA", in_order<OVK_GetQFPAPriorityList>,
       {.shares = {{1, 0, 0, 514}}, .results = {{0x20, 9}, {0x5D, 7}},
        .undelivered = Undelivered::otherwise, .gate = sli4_only(2)}},
      {"OVK_GetVMidMapping", "RAVN_MGMT_VMID_GET_ID_MAPPING", in_order<OVK_GetVMidMapping>,
       {.shares = {{1, 0, 0, 76808}}, .results = {{0x20, 9}, {0x5D, 7}},
        .undelivered = Undelivered::otherwise, .gate = sli4_only(2)}},
      {"OVK_UpdateVMidMapping", "RAVN_MGMT_VMID_UPDATE_MAPPING", in_order<OVK_UpdateVMidMapping>,
       {.sends = {{1, 0, 0, 76808}}, .results = {{0x20, 9}, {0x5D, 7}},
        .undelivered = Undelivered::otherwise, .gate = sli4_only(2)}},
      {"OVK_GetRasConfig", "RAVN_MGMT_GET_RAS_CONFIG", in_order<OVK_GetRasConfig>,
       {.shares = {{1, 0, 0, 6}}, .results = {{0x20, 2}, {0x30, 3}},
        .undelivered = Undelivered::otherwise, .gate = sli4_only(2),
        .result_text = "RAVN_MGMT_GET_RAS_LOG", .lines = results_only}},
      {"OVK_SetRasConfig", "RAVN_MGMT_SET_RAS_CONFIG", in_order<OVK_SetRasConfig>,
       {.sends = {{1, 0, 0, 2}},
        .results = {{0x0D, 5}, {0x0E, 4}, {0x20, 2}, {0x30, 3}, {0x9B, 7}, {0x119, 6}},
        .undelivered = Undelivered::otherwise, .gate = sli4_only(2), .lines = results_only}},
      {"OVK_GetRasLog", "RAVN_MGMT_GET_RAS_LOG", in_order<OVK_GetRasLog>, {.given = {{20, 0}},
        .sends = {{1, 8, 0, 8}}, .always = {{1, 0, 12, 8}},
        .results = {{0x20, 2}, {0x30, 3}, {0x119, 9}}, .undelivered = Undelivered::otherwise,
        .gate = sli4_only(2), .lines = results_only}},
  };
}

std::vector<Contract> virtual_ports() {
  return {
      {"OVK_NPIVReadyTest", "RAVN_MGMT_NPIV_READY", in_order<OVK_NPIVReadyTest>,
       {.gets = {{block, 16, 0, 4}}}},
      {"OVK_VPGetResource", "RAVN_MGMT_VPORT_GET_RESRC", in_order<OVK_VPGetResource>,
       {.shares = {{1, 0, 0, 16}}, .result_text = "RAVN_MGMT_VPORT_GET_LIST"}},
      {"OVK_VPGetList", "RAVN_MGMT_VPORT_GET_LIST", in_order<OVK_VPGetList>, {.given = {{0, 5}},
        .sends = {{block, 8, 0, 4}}, .replies = {{1, {0, 3}}}, .gets = {{1, 0, 0, 4 + 3 * 20}},
        .told = {0xB4, {{1, 0, 0, 4}}}, .results = {{0xB4, 7}}, .no_memory = {12},
        // The driver alone keeps to the caller's room.
        .variations = {{.replies = {{1, {0, 7}}}, .gets = {{1, 0, 0, 4 + 7 * 20}}},
                       {.replies = {{1, {0, 0xFFFFFFFF}}}, .gets = {{1, 0, 0, 81924}}}}}},
      {"OVK_VPGetAttrib", "RAVN_MGMT_VPORT_GET_ATTRIB", in_order<OVK_VPGetAttrib>,
       {.sends = {{1, 8, 0, 8}}, .shares = {{2, 0, 8, 340}}, .answers = {{3, 9}}}},
      {"OVK_VPGetAttrib", "RAVN_MGMT_VPORT_GET_ATTRIB", in_order<OVK_VPGetAttrib>,
       {.variant = "WithoutReason", .sends = {{1, 8, 0, 8}}, .shares = {{2, 0, 8, 340}},
        .answers = {{3, 0}}, .otherwise = 5}},
      {"OVK_GetAllNodeInfoByWWN", "RAVN_MGMT_VPORT_GET_NODE_INFO",
       in_order<OVK_GetAllNodeInfoByWWN>, {.given = {{8, 4}},
        .sends = {{block, 8, 8, 4}, {1, 8, 0, 8}, {2, 0, 8, 4}}, .replies = {{2, {0, 2}}},
        .always = {{2, 0, 8, 4}}, .gets = nodes(2), .results = {{0x20, 2}}, .no_memory = {12},
        .variations = {{.given = {{8, 2}}, .replies = {{2, {0, 4}}}, .gets = nodes(2)},
                       {.given = {{8, 600}}, .replies = {{2, {0, 0xFFFFFFFF}}}, .gets = nodes(512)},
                       {.replies = {{2, {0, 5}}}, .result = 7, .status = 0xB4}}}},
  };
}

std::vector<Contract> authentication() {
  std::vector<Contract> calls{
      {"OVK_SetAuthConfigV2", "RAVN_MGMT_SET_AUTH_CONFIG_V2", in_order<OVK_SetAuthConfigV2>,
       {.shares = {{1, 0, 0, 780}}}},
      {"OVK_GetAuthConfigV2", "RAVN_MGMT_GET_AUTH_CONFIG_V2", in_order<OVK_GetAuthConfigV2>,
       {.sends = {{1, 0, 0, 8}, {3, 0, 788, 1}}, .shares = {{2, 0, 8, 780}}}},
      {"OVK_DeleteAuthConfigV2", "RAVN_MGMT_DEL_AUTH_CONFIG_V2", in_order<OVK_DeleteAuthConfigV2>,
       {.given = {{780, 0}}, .shares = {{1, 0, 0, 780}}}},
      {"OVK_DeleteAuthConfigV2", "RAVN_MGMT_DEL_AUTH_CONFIG_V2",
       {[](auto board, auto* memory) {
           return OVK_DeleteAuthConfigV2(board, nullptr, *memory); }, 1}, {.variant = "All",
        .sends = {{2, 0, 0, 1}}, .no_memory = {0x800A}}},
      {"OVK_PersistAuthConfig", "RAVN_MGMT_PERSIST_AUTH_CONFIG", in_order<OVK_PersistAuthConfig>},
      {"OVK_DeleteAuthConfigObject", "RAVN_MGMT_DEL_AUTH_CONFIG_OBJ",
       in_order<OVK_DeleteAuthConfigObject>},
      {"OVK_SetAuthPasswordV2", "RAVN_MGMT_SET_AUTH_PASSWD_V2", in_order<OVK_SetAuthPasswordV2>,
       {.sends = {{1, 0, 0, 280}}}},
      {"OVK_GetAuthPasswordV2", "RAVN_MGMT_GET_AUTH_PASSWD_V2", in_order<OVK_GetAuthPasswordV2>,
       {.sends = {{2, 0, 280, 1}}, .shares = {{1, 0, 0, 280}}}},
      {"OVK_InitiateAuthentication", "RAVN_MGMT_INIT_AUTH", in_order<OVK_InitiateAuthentication>,
       {.sends = {{1, 0, 0, 8}, {2, 0, 8, 8}}}},
      {"OVK_GetAuthStatus", "RAVN_MGMT_GET_AUTH_STATUS", in_order<OVK_GetAuthStatus>,
       {.shares = {{1, 0, 0, 40}}}},
  };
  for (Contract& contract : calls) {
    contract.terms.gate = sli4_only(0x8009);
    contract.terms.passes_status = true;
    contract.terms.undelivered = Undelivered::error;
  }
  return calls;
}

std::vector<Contract> driver() {
  const Besides adapter{"RAVN_MGMT_HBA_ADAPTERATTRIBUTES"};
  const Besides port{"RAVN_MGMT_HBA_PORTATTRIBUTES"};
  const Besides probe{"RAVN_MGMT_MBOX_SLI_CFG_EXT_SUP"};
  return {
      {"EventTest", "RAVN_MGMT_EVENT_TEST", in_order<EventTest>,
       {.sends = {{block, 16, 4, 4}, {block, 24, 0, 4}}, .passes_status = true,
        .undelivered = Undelivered::error}},
      {"ModInfo", "RAVN_MGMT_MOD_INFO",
       {[](auto, auto* memory) { return ModInfo(at<ModuleInfo>(memory)); }, 6276},
       {.shares = {{1, 0, 0, 6276}}, .addressee = Addressee::module, .passes_status = true,
        .undelivered = Undelivered::error}},
      {"LogMsg", "RAVN_MGMT_LOG_MSG",
       {[](auto, auto* memory) { return LogMsg(at<LogMessage>(memory)); }, 64},
       {.sends = {{1, 0, 0, 64}}, .addressee = Addressee::module, .passes_status = true,
        .undelivered = Undelivered::error}},
      {"CallVer", "RAVN_MGMT_CALL_VER",
       {[](auto, auto* memory) {
           VersionSignature library{};
           return CallVer(at<VersionSignature>(memory), &library); }, 72},
       {.shares = {{1, 0, 0, 72}}, .addressee = Addressee::module, .passes_status = true,
        .undelivered = Undelivered::error}},
      {"get_hba_type", "RAVN_MGMT_GET_RAVNOVK_INFO", in_order<get_hba_type>,
       {.always = {{zeros, 0, 0, 4}}, .gets = {{1, 112, 0, 4}}, .passes_status = true,
        .undelivered = Undelivered::otherwise}},
      {"SetBrdEnv", "RAVN_MGMT_SETDIAG", in_order<SetBrdEnv>, {.given = {{0, 0}},
        .words = {{6, 16}}, .answers = {{4, 1}}, .keeps = {ovk_state, block, 16, 4}, .success = 1,
        .otherwise = 0,
        .variations = {{.given = {{0, 1}}, .words = {{6, 17}}, .answers = {{4, 41}}, .result = 41},
                       {.given = {{0, 3}}, .words = {{6, 19}}, .answers = {{4, 43}}, .result = 43},
                       {.given = {{0, 5}}, .words = {{6, 20}}, .answers = {{4, 45}}, .result = 45}}}},
      {"get_sli_mode", "RAVN_MGMT_GET_RAVNOVK_INFO", in_order<get_sli_mode>, {.words = {{2, 120}},
        .gets = {{1, 96, 0, 4}}, .otherwise = 2, .after = {adapter, port, probe},
        .logged_call = "OVK_GetDrvInfo"}},
      {"support_persist_link_disable", "RAVN_MGMT_GET_RAVNOVK_INFO",
       in_order<support_persist_link_disable>, {.words = {{2, 120}},
        .replies = {{1, {104, ~0x400U}}}, .gets = {{zeros, 0, 0, 1}},
        .variations = {{.replies = {{1, {104, 0x400}}}, .leaves = {{0, 0x34333201}}}},
        .after = {adapter, port, probe}, .logged_call = "OVK_GetDrvInfo"}},
      {"get_sli_mode", probe.command, in_order<get_sli_mode>, {.variant = "Probe",
        .always = {{zeros, 0, 0, 4}}, .otherwise = 0,
        .before = {{"RAVN_MGMT_GET_RAVNOVK_INFO", {{2, 120}}}, adapter, port},
        .logged_call = "OVK_GetDrvInfo"}},
  };
}

std::vector<Contract> more_than_passing_on() {
  std::vector<Contract> calls{
      {"_IssueMbox", "RAVN_MGMT_MBOX",
       {[](auto board, auto* memory) {
           return _IssueMbox(board, at<Mailbox>(memory), 0, 0, 4); }, 256},
       {.result_text = "RAVN_MGMT_INDUCE_DUMP"}},
      {"IssueMboxEx", "RAVN_MGMT_MBOX",
       {[](auto board, auto* memory) {
           return IssueMboxEx(board, at<Mailbox>(memory), nullptr, 0, 0, 0); }, 256},
       {.words = {{2, 128}, {3, 256}}}},
      {"OVK_FCoEGetFCFList", "RAVN_MGMT_HBA_GET_FCF_LIST", in_order<OVK_FCoEGetFCFList>,
       {.given = {{4, 0}}, .words = {{1, 0xFFFF}}, .answers = {{4, 0xFFFF}}, .gate = {{4}}}},
      {"OVK_SetOASLunV2", "RAVN_MGMT_OAS_VER", in_order<OVK_SetOASLunV2>, {.words = {{6, 4120}},
        .result_text = "RAVN_MGMT_OAS_VERSION"}},
      {"OVK_SetOASLun", "RAVN_MGMT_OAS_SET", in_order<OVK_SetOASLun>, {.given = {{28, OVK_OAS_SET}},
        .words = {{5, 1}, {6, 4119}}, .before = {{"RAVN_MGMT_OAS_VER", {{6, 4120}}}},
        .after = {{"RAVN_MGMT_VPORT_GET_NODE_INFO", {{2, 64}}}},
        .result_text = "RAVN_MGMT_OAS_SET_RULE"}},
  };
  for (Contract& contract : calls) {
    contract.terms.passes_on = false;
  }
  return calls;
}

// clang-format on

}  // namespace

const std::vector<Contract>& contracts() {
  static const std::vector<Contract> all = [] {
    std::vector<Contract> rows;
    for (const auto& part : {information(), hbaapi(), fabric(), mailbox(), features(),
                             virtual_ports(), authentication(), driver(), more_than_passing_on()}) {
      rows.insert(rows.end(), part.begin(), part.end());
    }
    return rows;
  }();
  return all;
}

}  // namespace ovk::test
