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

constexpr Run events_and_missed{[](std::uint32_t board, std::uint8_t* memory) {
                                  auto* const counts = at<std::uint32_t>(memory);
                                  EventMissedCount = counts[1];
                                  const std::uint32_t result =
                                      GetEventBuffer(board, at<EventInfo>(memory + 8), counts);
                                  counts[1] = EventMissedCount;
                                  return result;
                                },
                                8 + 32 * 20};

template <std::uint32_t kind>
constexpr Run rnid_by{[](std::uint32_t board, std::uint8_t* memory) {
                        std::uint32_t length = 60;
                        return SendRNID(board, at<Wwn>(memory), kind, memory + 8, &length);
                      },
                      8 + 60};

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

constexpr std::uint32_t ct_length = 245760;
constexpr std::uint32_t transfer = 262144;

// clang-format off
std::vector<Contract> information() {
  return {
      {.call = "OVK_GetLinkInfo", .command = "RAVN_MGMT_LINKINFO", .run = in_order<OVK_GetLinkInfo>,
       .gets = {{1, 0, 0, 168}}},
      {.call = "GetLinkInfo", .command = "RAVN_MGMT_LINKINFO",
       .run = {[](auto board, auto* memory) {
           return GetLinkInfo(static_cast<int>(board), at<LinkInfo>(memory + 1)); }, 169},
       .gets = {{1, 0, 1, 168}}, .logged_call = "OVK_GetLinkInfo"},
      {.call = "GetIOinfo", .command = "RAVN_MGMT_IOINFO", .run = in_order<GetIOinfo>,
       .gets = {{1, 0, 0, 96}}},
      {.call = "GetNodeInfo", .command = "RAVN_MGMT_NODEINFO",
       .run = {[](auto board, auto* memory) {
           return GetNodeInfo(static_cast<int>(board), at<NodeInfoEntry>(memory)); }, 14336},
       .words = {{2, 14336}}, .answers = {{3, 83}}, .always = {{zeros, 0, 0, 14336}},
       .gets = {{1, 0, 0, 56}}, .success = 2, .otherwise = 0,
       .variations = {{.answers = {{3, 27}}},
                      {.answers = {{3, 28}}, .gets = {{1, 0, 0, 28}}, .result = 1},
                      {.answers = {{3, 14336}}, .gets = {{1, 0, 0, 14336}}, .result = 512},
                      {.answers = {{3, 0xFFFFFFFF}}, .gets = {{1, 0, 0, 14336}}, .result = 512}}},
      {.call = "GetVPDInfo", .command = "RAVN_MGMT_GET_VPD", .run = in_order<GetVPDInfo>,
       .sends = {{block, 24, 0, 4}}, .gets = {{1, 0, 0, 616}}, .results = {{0x0BAD0084, 1}},
       .otherwise = 3},
      {.call = "OVK_GetQoSLinkSpeed", .command = "RAVN_MGMT_GET_LOGICAL_LINK_SPEED",
       .run = in_order<OVK_GetQoSLinkSpeed>, .given = {{0, 0xEEEEEEEE}}, .answers = {{4, 0}},
       .gets = {{ones, 0, 0, 2}}, .gate = sli4_only(2),
       .variations = {{.answers = {{4, 100}}, .leaves = {{0, 0xEEEE000A}}},
                      {.answers = {{4, 9}}, .leaves = {{0, 0xEEEE0000}}},
                      {.answers = {{4, 0x10064}}, .leaves = {{0, 0xEEEE000A}}},
                      {.answers = {{4, 0x10000}}, .leaves = {{0, 0xEEEE0000}}},
                      {.answers = {{4, 0xFFFF}}, .leaves = {{0, 0xEEEE1999}}}},
       .result_text = "RAVN_MGMT_GET_VPD"},
      {.call = "GetCfgParam", .command = "RAVN_MGMT_GETCFG",
       .run = {[](auto board, auto* memory) {
           return GetCfgParam(board, at<CfgParam>(memory)); }, 10560},
       .words = {{2, 10560}}, .answers = {{3, 395}}, .always = {{zeros, 0, 0, 10560}},
       .gets = {{1, 0, 0, 10560}}, .success = 2, .otherwise = 0,
       .variations = {{.answers = {{3, 131}}, .gets = {{1, 0, 0, 10560}}, .result = 0},
                      {.answers = {{3, 132}}, .gets = {{1, 0, 0, 10560}}, .result = 1},
                      {.answers = {{3, 10560}}, .gets = {{1, 0, 0, 10560}}, .result = 80}}},
      {.call = "SetCfgParam", .command = "RAVN_MGMT_SETCFG", .run = in_order<SetCfgParam>,
       .sends = {{block, 4, 0, 4}, {block, 16, 4, 4}}},
      {.call = "OVK_ReadPciCfg", .command = "RAVN_MGMT_READ_PCI",
       .run = in_order<OVK_ReadPciCfg, 8192>, .given = {{8192, 0x100}, {8196, 8}},
       .sends = {{block, 4, 8192, 4}, {block, 8, 8196, 4}}, .gets = {{1, 0, 0, 8}}, .no_memory = {12},
       .variations = {{.given = {{8192, 0}, {8196, 4096}}, .gets = {{1, 0, 0, 4096}}},
                      {.given = {{8196, 0}}}}},
      {.call = "ReadPciCfg", .command = "RAVN_MGMT_READ_PCI", .run = in_order<ReadPciCfg, 16>,
       .given = {{16, 4096}, {20, 8}}, .sends = {{block, 4, 16, 4}, {block, 8, 20, 4}},
       .gets = {{1, 0, 0, 8}}, .no_memory = {12}, .logged_call = "OVK_ReadPciCfg"},
      {.call = "WritePciCfg", .command = "RAVN_MGMT_WRITE_PCI", .run = in_order<WritePciCfg, 8192>,
       .given = {{8192, 0x40}, {8196, 7}},
       .sends = {{block, 4, 8192, 4}, {block, 8, 8196, 4}, {1, 0, 0, 7}}, .otherwise = 22,
       .no_memory = {12},
       .variations = {{.given = {{8192, 4096}, {8196, 8192}}, .sends = {{1, 0, 0, 4096}}}}},
      {.call = "ReadMem", .command = "RAVN_MGMT_READ_MEM", .run = in_order<ReadMem, 8192>,
       .given = {{8196, 5}}, .sends = {{block, 4, 8192, 4}, {block, 8, 8196, 4}},
       .gets = {{1, 0, 0, 5}}, .otherwise = 22, .gate = sli3_only(4), .no_memory = {12},
       .allocates_first = true,
       .variations = {{.given = {{8192, 0xFFFFFFFF}, {8196, 8192}}, .gets = {{1, 0, 0, 4096}}}}},
      {.call = "WriteMem", .command = "RAVN_MGMT_WRITE_MEM", .run = in_order<WriteMem, 8192>,
       .given = {{8196, 5}}, .sends = {{block, 4, 8192, 4}, {block, 8, 8196, 4}, {1, 0, 0, 5}},
       .otherwise = 22, .gate = sli3_only(4), .no_memory = {12}, .allocates_first = true,
       .variations = {{.given = {{8196, 8192}}, .sends = {{1, 0, 0, 4096}}}}},
      {.call = "ReadCtlReg", .command = "RAVN_MGMT_READ_CTLREG", .run = in_order<ReadCtlReg>,
       .sends = {{block, 4, 4, 4}}, .gets = {{block, 16, 0, 4}}, .otherwise = 22,
       .gate = sli3_only(2)},
      {.call = "WriteCtlReg", .command = "RAVN_MGMT_WRITE_CTLREG", .run = in_order<WriteCtlReg>,
       .sends = {{block, 16, 0, 4}, {block, 4, 4, 4}}, .otherwise = 22, .gate = sli3_only(2)},
      {.call = "OVK_GetTrunkInfo", .command = "RAVN_MGMT_GET_TRUNK_INFO",
       .run = in_order<OVK_GetTrunkInfo>, .words = {{6, 4118}}, .gets = {{1, 0, 0, 12}},
       .results = {{0x0BAD0020, 2}},
       .variations = {{.result = 3, .delivery = 22},  // the status decides before the delivery
                      {.result = 2, .status = 0x0BAD0020, .delivery = 22},
                      {.result = 1, .status = 0x0BAD0021, .delivery = 22}}},
      {.call = "OVK_GetPCIIds", .command = "RAVN_MGMT_GET_PCI_SBDF", .run = in_order<OVK_GetPCIIds>,
       .gets = {{1, 0, 0, 24}}, .lines = no_failure},
  };
}

std::vector<Contract> hbaapi() {
  constexpr std::uint32_t stale = 0xFFFFFFFF;  // in place of a port's address
  return {
      {.call = "RefreshInformation", .command = "RAVN_MGMT_HBA_REFRESHINFO",
       .run = in_order<RefreshInformation>, .keeps = {ovk_refresh_timer, block, 16, 4}},
      {.call = "GetAdapterAttributes", .command = "RAVN_MGMT_HBA_ADAPTERATTRIBUTES",
       .run = in_order<GetAdapterAttributes>, .always = {{1, 0, 0, 2192}}, .otherwise = 0},
      {.call = "GetAdapterPortAttributes", .command = "RAVN_MGMT_HBA_PORTATTRIBUTES",
       .run = in_order<GetAdapterPortAttributes>, .gets = port_attributes(4),
       .variations = {{.replies = {{1, {16, stale}}}, .gets = port_attributes(4)}}},
      {.call = "GetDiscoveredPortAttributes", .command = "RAVN_MGMT_HBA_DISCPORTATTRIBUTES",
       .run = in_order<GetDiscoveredPortAttributes>, .sends = {{block, 4, 4, 4}}, .sends_tag = true,
       .gets = port_attributes(8), .results = {{0x0BAD0003, 6}},
       .variations = {{.replies = {{1, {16, stale}}}, .result = 8}}},
      {.call = "GetPortAttributesByWWN", .command = "RAVN_MGMT_HBA_WWPNPORTATTRIBUTES",
       .run = in_order<GetPortAttributesByWWN>, .sends = {{2, 8, 0, 8}}, .gets = port_attributes(8),
       .results = {{0x0BAD0003, 5}},
       .variations = {{.replies = {{1, {16, stale}}}, .gets = port_attributes(8)}}},
      {.call = "GetPortAttributesByIndex", .command = "RAVN_MGMT_HBA_INDEXPORTATTRIBUTES",
       .run = in_order<GetPortAttributesByIndex>, .sends = {{block, 4, 4, 4}}, .sends_tag = true,
       .gets = port_attributes(8), .results = {{0x0BAD005D, 6}},
       .variations = {{.replies = {{1, {16, stale}}}, .result = 8}}},
      {.call = "GetPortStatistics", .command = "RAVN_MGMT_HBA_PORTSTATISTICS",
       .run = in_order<GetPortStatistics>, .gets = {{1, 0, 4, 120}}},
      {.call = "ResetStatistics", .command = "RAVN_MGMT_HBA_PORTSTATISTICS",
       .run = in_order<ResetStatistics>, .keeps = {ovk_rststatistics, 1, 0, 120}, .logged_call = "GetPortStatistics"},
      {.call = "SendRNID", .command = "RAVN_MGMT_HBA_RNID", .run = in_order<SendRNID, 100>,
       .given = {{8, OVK_PORT_WWN}, {112, 60}}, .words = {{2, 64}, {5, OVK_PORT_WWN}},
       .sends = {{1, 8, 0, 8}}, .answers = {{3, 52}}, .gets = {{2, 0, 12, 52}, {block, 12, 112, 4}},
       .no_memory = {12},
       .variations = {{.run = rnid_by<OVK_NODE_WWN>, .words = {{2, 64}, {5, OVK_NODE_WWN}},
                       .sends = {{1, 16, 0, 8}}, .gets = {{2, 0, 8, 52}}},
                      {.run = rnid_by<2>, .words = {{2, 64}, {5, 2}}, .gets = {{2, 0, 8, 52}}},
                      {.given = {{112, 52}}, .gets = {{2, 0, 12, 52}, {block, 12, 112, 4}}},
                      {.given = {{112, 51}}, .gets = {{block, 12, 112, 4}}, .result = 7},
                      {.given = {{112, 63}}, .gets = {{2, 0, 12, 52}, {block, 12, 112, 4}}},
                      {.given = {{112, 63}}, .answers = {{3, 0xFFFFFFFF}},
                       .gets = {{block, 12, 112, 4}}, .result = 7},
                      {.given = {{112, 64}}, .shares = {{2, 0, 12, 64}},
                       .gets = {{block, 12, 112, 4}}, .allocates = false},
                      {.given = {{112, 64}}, .answers = {{3, 65}}, .shares = {{2, 0, 12, 64}},
                       .gets = {{block, 12, 112, 4}}, .result = 7, .allocates = false}}},
      {.call = "SetRNIDMgmtInfo", .command = "RAVN_MGMT_HBA_SETMGMTINFO",
       .run = in_order<SetRNIDMgmtInfo>, .sends = {{1, 0, 0, 40}, {1, 42, 42, 2}}},
      {.call = "GetRNIDMgmtInfo", .command = "RAVN_MGMT_HBA_GETMGMTINFO",
       .run = in_order<GetRNIDMgmtInfo>, .gets = {{1, 0, 0, 40}, {1, 42, 42, 2}},
       .result_text = "RAVN_MGMT_HBA_SETMGMTINFO"},
      {.call = "GetEventBuffer", .command = "RAVN_MGMT_HBA_GETEVENT", .run = events_and_missed,
       .given = {{0, 31}}, .sends = {{block, 8, 0, 4}}, .answers = {{3, 2}}, .gets = events(2),
       .no_memory = {12},
       .variations = {{.answers = {{3, 0}}, .gets = events(0)},
                      {.given = {{0, 1}}, .answers = {{3, 33}}, .gets = events(32)},
                      {.answers = {{3, 0x0CCCCCCD}}, .gets = events(32)},  // their bytes would wrap
                      {.given = {{0, 32}}, .shares = {{1, 0, 8, 640}}, .gets = events(0),
                       .allocates = false}}},
      {.call = "GetFcpBindList", .command = "RAVN_MGMT_LIST_BIND",
       .run = {[](auto board, auto* memory) {
           return GetFcpBindList(board, at<FcpBindList>(memory)); }, 4 + 4096 * 32},
       .given = {{0, 4}}, .words = {{2, 131076}}, .sends = {{block, 16, 0, 4}},
       .replies = {{1, {0, 3}}}, .gets = {{1, 0, 0, 4 + 3 * 32}}, .refused = {{block, 4, 0, 4}},
       .no_memory = {12},
       .variations = {{.given = {{0, 4095}}, .gets = {{1, 0, 0, 4 + 3 * 32}}},
                      {.replies = {{1, {0, 0xFFFFFFFF}}}, .gets = {{1, 0, 0, 4 + 4096 * 32}}},
                      {.given = {{0, 4096}}, .shares = {{1, 0, 0, 131076}}, .allocates = false},
                      {.given = {{0, 0x08000000}}, .shares = {{1, 0, 0, 131076}},
                       .allocates = false}}},
      {.call = "GetFcpTargetMapping", .command = "RAVN_MGMT_HBA_FCPTARGETMAPPING",
       .run = {[](auto board, auto* memory) {
           return GetFcpTargetMapping(board, at<FcpTargetMapping>(memory)); }, 4 + 1030 * 296},
       .given = {{0, 5}}, .words = {{2, 5}}, .answers = {{3, 2}}, .always = {{block, 12, 0, 4}},
       .gets = {{1, 4, 4, 2 * 296}}, .results = {{0x0BAD005D, 7}}, .no_memory = {0},
       .sends_anyhow = true,
       .variations = {{.given = {{0, 1030}}, .words = {{2, 1024}}, .answers = {{3, 1030}},
                       .gets = {{1, 4, 4, 1024 * 296}}},
                      {.answers = {{3, 5}}, .gets = {{1, 4, 4, 5 * 296}}},
                      {.answers = {{3, 6}}, .result = 7},
                      {.answers = {{3, 6}}, .result = 7, .status = 0x0BAD0014},
                      {.answers = {{3, 6}}, .result = 7, .delivery = 9}}},
  };
}

std::vector<Contract> fabric() {
  return {
      {.call = "GetCTInfo", .command = "RAVN_MGMT_SEND_CT", .run = in_order<GetCTInfo, 16>,
       .given = {{0, 0xFFFFFC}, {20, 12}, {40, 16}},
       .sends = {{block, 16, 0, 4}, {block, 8, 20, 4}, {block, 12, 40, 4}, {1, 0, 4, 12}},
       .answers = {{3, 5}}, .gets = {{2, 0, 24, 5}}, .success = 5,
       .results = {{0x0BAD0021, 0}, {0x0BAD005A, 0xFFFFFFFF}, {0x0BAD005D, 0xFFFFFFFD}, {0x0BAD0014, 0xFFFFFFFE}},
       .otherwise = 0xFFFFFFFC, .no_memory = {0xFFFFFFFE, 0xFFFFFFFE},
       .variations = {{.run = {[](auto board, auto* memory) -> std::uint32_t {
           return GetCTInfo(board, 0xFFFF00, memory, ct_length, memory, 16); }, ct_length},
                       .words = {{2, ct_length}, {3, 16}, {4, 0xFFFF00}},
                       .sends = {{1, 0, 0, ct_length}}, .answers = {{3, 0x7FFFFFFF}},
                       .gets = {{2, 0, 0, ct_length}}, .result = 0x7FFFFFFF}}},
      {.call = "SendCTPassThru", .command = "RAVN_MGMT_SEND_CT",
       .run = {[](auto board, auto* memory) {
           return SendCTPassThru(board, memory, 12, memory + 12, at<std::uint32_t>(memory + 28)); }, 32},
       .given = {{4, 0xFC}, {28, 16}}, .words = {{2, 12}, {4, 0xFFFFFC}},
       .sends = {{block, 12, 28, 4}, {1, 0, 0, 12}}, .answers = {{3, 5}},
       .gets = {{2, 0, 12, 5}, {block, 12, 28, 4}}, .no_memory = {1, 1},
       .variations = {asks_of(0xF9, 0xFFFFFC), asks_of(0xFA, 0xFFFFFA), asks_of(0xFB, 0xFFFFFB),
                      asks_of(0xFD, 0xFFFFFD), asks_of(0xFE, 0xFFFFFC), asks_of(0x20, 0xFFFFFC)},
       .logged_call = "GetCTInfo"},
      {.call = "SendMgmtCommand", .command = "RAVN_MGMT_HBA_SEND_MGMT_CMD",
       .run = in_order<SendMgmtCommand, 16>, .given = {{24, 12}}, .words = {{3, ct_length}},
       .sends = {{block, 8, 24, 4}, {block, 28, 48, 4}, {1, 0, 0, 8}, {2, 0, 8, 12}},
       .answers = {{3, 5}}, .gets = {{3, 0, 28, 5}, {block, 12, 44, 4}},
       .told = {0x0BAD005D, {{block, 12, 44, 4}}},
       .results = {{0x0BAD0021, 254}, {0x0BAD005A, 253}, {0x0BAD005D, 255}}, .otherwise = 252,
       .no_memory = {252, 252},
       .variations = {{.run = {[](auto board, auto* memory) {
           return SendMgmtCommand(board, at<Wwn>(memory), memory + 12, ct_length + 9, memory + 12,
                                  at<std::uint32_t>(memory + 8), 7); }, 12 + ct_length + 9},
                       .words = {{2, ct_length + 9}, {3, ct_length}, {7, 7}},
                       .sends = {{1, 0, 0, 8}, {2, 0, 12, ct_length}}, .answers = {{3, 0xFFFFFFFF}},
                       .gets = {{3, 0, 12, ct_length}, {block, 12, 8, 4}}}}},
      {.call = "SendMgmtResponse", .command = "RAVN_MGMT_HBA_SEND_MGMT_RSP",
       .run = in_order<SendMgmtResponse, 16>, .given = {{16, 12}}, .words = {{2, ct_length}},
       .sends = {{block, 16, 20, 4}, {1, 0, 0, 12}},
       .results = {{0x0BAD0021, 250}, {0x0BAD005A, 253}, {0x0BAD005D, 255}}, .otherwise = 252,
       .no_memory = {252},
       .variations = {{.run = {[](auto board, auto* memory) {
           return SendMgmtResponse(board, memory, ct_length + 9, 7); }, ct_length + 9},
                       .words = {{2, ct_length}, {4, 7}}, .sends = {{1, 0, 0, ct_length}}}}},
      {.call = "OVK_SendELSCmd", .command = "RAVN_MGMT_SEND_ELS",
       .run = in_order<OVK_SendELSCmd, 2048>, .given = {{16 + 2048, 12}}, .words = {{3, 1024}},
       .sends = {{block, 8, 2064, 4}, {1, 0, 0, 16}, {2, 0, 16, 12}}, .answers = {{3, 5}},
       .gets = {{3, 0, 2068, 5}, {block, 12, 4116, 4}}, .told = {0x0BAD005D, {{block, 12, 4116, 4}}},
       .results = {{0x0BAD005D, 7}, {0x0BAD000A, 3}}, .no_memory = {1, 1},
       .variations = {{.answers = {{3, 0}}, .gets = {{block, 12, 4116, 4}}},
                      {.given = {{2064, 1030}}, .sends = {{2, 0, 16, 1024}},
                       .answers = {{3, 0x80000000}},
                       .gets = {{3, 0, 2068, 1024}, {block, 12, 4116, 4}}}}},
      {.call = "SendFcpCmdByWWN", .command = "RAVN_MGMT_HBA_SEND_FCP",
       .run = in_order<SendFcpCmdByWWN, 64>, .given = {{116, 36}, {184, 24}},
       .sends = {{block, 8, 116, 4}, {block, 28, 188, 4}, {1, 0, 8, 40}, {1, 56, 184, 4}, {2, 0, 52, 36}},
       .answers = {{3, 5}}, .replies = {{1, {56, 20}}},
       .gets = {{2, 0, 52, 5}, {block, 12, 116, 4}, {1, 40, 120, 20}, {1, 56, 184, 4}},
       .results = {{0x0BAD005D, 7}}, .no_memory = {1},
       .variations = {{.answers = {{3, 37}}, .gets = {{block, 12, 116, 4}, {1, 56, 184, 4}}, .result = 7},
                      {.run = {[](auto board, auto* memory) {
           auto* const lengths = at<std::uint32_t>(memory + 40);
           return SendFcpCmdByWWN(board, nullptr, at<Wwn>(memory), at<FcpCmnd>(memory + 8), 32,
                                  memory + 208, lengths, memory + 48, lengths + 1, 7);
           }, 208 + transfer + 100},
                       .given = {{40, transfer + 100}}, .words = {{2, transfer}, {7, 7}},
                       .sends = {{1, 0, 0, 40}, {1, 56, 44, 4}, {2, 0, 208, transfer}},
                       .answers = {{3, transfer + 100}}, .replies = {{1, {56, 0xFFFFFFFF}}},
                       .gets = {{2, 0, 208, transfer}, {1, 40, 48, 160}, {1, 56, 44, 4}}}}},
      {.call = "SendScsiCmdByWWN", .command = "RAVN_MGMT_HBA_SEND_SCSI",
       .run = in_order<SendScsiCmdByWWN, 64>, .given = {{116, 36}},
       .sends = {{block, 8, 116, 4}, {1, 0, 8, 40}, {2, 0, 52, 36}}, .answers = {{3, 5}},
       .replies = {{1, {168, 20}}},
       .gets = {{2, 0, 52, 5}, {block, 12, 116, 4}, {1, 40, 120, 20}, {1, 168, 184, 4}},
       .no_memory = {1},
       .variations = {{.answers = {{3, 37}}, .gets = {{block, 12, 116, 4}}, .result = 7},
                      {.run = {[](auto board, auto* memory) {
           auto* const lengths = at<std::uint32_t>(memory + 40);
           return SendScsiCmdByWWN(board, nullptr, at<Wwn>(memory), at<FcpCmnd>(memory + 8), 32,
                                   memory + 176, lengths, memory + 48, lengths + 1);
           }, 176 + transfer + 100},
                       .given = {{40, transfer + 100}}, .words = {{2, transfer}},
                       .sends = {{1, 0, 0, 40}, {2, 0, 176, transfer}},
                       .answers = {{3, transfer + 100}}, .replies = {{1, {168, 0xFFFFFFFF}}},
                       .gets = {{2, 0, 176, transfer}, {1, 40, 48, 128}, {1, 168, 44, 4}}}}},
  };
}

std::vector<Contract> mailbox() {
  constexpr std::uint32_t no_value = 0xFFFFFFFF;
  return {
      {.call = "IssueExtendedSLIConfig", .command = "RAVN_MGMT_MBOX_SLI_CFG_EXT",
       .run = in_order<IssueExtendedSLIConfig>, .given = {{264, 3}}, .words = {{2, 12}, {3, 12}},
       .sends = {{block, 24, 256, 4}, {1, 0, 0, 12}}, .gets = {{1, 0, 0, 12}}, .gate = sli4_only(2),
       .no_memory = {12}, .allocates_first = true},
      {.call = "OVK_ConfigLoopback", .command = "RAVN_MGMT_LOOPBACK_MODE",
       .run = {[](auto board, auto* memory) {
           return OVK_ConfigLoopback(board, 1, *at<std::uint32_t>(memory)); }, 8},
       .given = {{4, no_value}}, .words = {{5, 1}}, .sends = {{block, 28, 0, 4}, {1, 0, 4, 4}},
       .results = {{0x0BAD0021, 2}}, .call_text = "RAVN_MGMT_HBA_WWPNPORTATTRIBUTES"},
      {.call = "OVK_ConfigLoopbackV2", .command = "RAVN_MGMT_LOOPBACK_MODE",
       .run = in_order<OVK_ConfigLoopbackV2>, .given = {{4, 2}}, .words = {{5, 4}},
       .sends = {{block, 28, 8, 4}, {1, 0, 0, 4}}, .results = {{0x0BAD0021, 2}},
       .call_text = "RAVN_MGMT_HBA_WWPNPORTATTRIBUTES"},
      {.call = "OVK_RunLoopbackTest", .command = "RAVN_MGMT_LOOPBACK_TEST",
       .run = {[](auto board, auto* memory) {
           const LoopbackRequest request{8, memory, memory + 8};
           return OVK_RunLoopbackTest(board, &request); }, 24},
       .words = {{2, 8}}, .sends = {{1, 0, 0, 8}}, .gets = {{2, 0, 8, 8}},
       .results = {{0x0BAD000A, 6}, {0x0BAD0039, 3}}, .no_memory = {12, 12}},
      {.call = "OVK_EndLoopback", .command = "RAVN_MGMT_LIP", .run = in_order<OVK_EndLoopback>,
       .gate = {{3, 2}}, .logged_call = "ovk_EndLoopback"},
      {.call = "OVK_EndLoopback", .command = "RAVN_MGMT_DIAG_MODE_END",
       .run = in_order<OVK_EndLoopback>, .variant = "Sli4", .words = {{7, 15}},
       .results = {{0x0BAD0021, 2}}, .gate = {{4, 5}}, .logged_call = "ovk_EndLoopback_sli4"},
      {.call = "OVK_SetDumpEnv", .command = "RAVN_MGMT_INDUCE_DUMP",
       .run = in_order<OVK_SetDumpEnv>, .given = {{0, OVK_DUMP_INDUCE}}, .success = 4,
       .otherwise = 0, .gate = {{3, 4}}},
      {.call = "OVK_GetDriverDumpRegion", .command = "RAVN_MGMT_GET_DUMPREGION",
       .run = in_order<OVK_GetDriverDumpRegion, 16>, .given = {{20, 16}},
       .sends = {{block, 24, 0, 4}, {block, 8, 20, 4}}, .answers = {{3, 12}},
       .always = {{block, 12, 20, 4}}, .gets = {{1, 0, 4, 12}},
       .results = {{0x0BAD0007, 2}, {0x0BAD0014, 3}, {0x0BAD0003, 4}}, .gate = sli3_only(2),
       .no_memory = {12}, .allocates_first = true},
      {.call = "OVK_GetDriverDumpRegion", .command = "RAVN_MGMT_GET_DUMPREGION",
       .run = in_order<OVK_GetDriverDumpRegion, 16>, .variant = "TooLong", .given = {{20, 16}},
       .sends = {{block, 24, 0, 4}, {block, 8, 20, 4}}, .answers = {{3, 0xFFFFFFFF}},
       .always = {{block, 12, 20, 4}}, .gets = {{1, 0, 4, 16}},
       .results = {{0x0BAD0007, 2}, {0x0BAD0014, 3}, {0x0BAD0003, 4}}, .gate = sli3_only(2),
       .no_memory = {12}, .allocates_first = true},
      {.call = "OVK_IssueDumpMBox",
       .command = "RAVN_MGMT_HBA_ISSUE_DMP_MBX",
       .run = {[](auto board, auto* memory) {
                 auto* const words = at<std::uint32_t>(memory);
                 return OVK_IssueDumpMBox(board, words[0], words[1], words[2], words[3],
                                          memory + 20, &words[4]);
               },
               20 + 16},
       .given = {{0, 2}, {8, 23}, {12, 24}, {16, 16}},
       .words = {{2, 1024}},
       .sends = {{block, 4, 12, 4}, {1, 0, 0, 4}, {1, 4, 8, 4}, {1, 8, 4, 4}},
       .answers = {{3, 1024}},
       .replies = {{3, {0, 0}}},
       .always = {{2, 24, 20, 16}},  // what came is delivered also when the command failed
       .gate = sli4_only(2),
       .no_memory = {12}},
      {.call = "OVK_IssueUpdateCfgMBox", .command = "RAVN_MGMT_HBA_ISSUE_UPD_MBX",
       .run = in_order<OVK_IssueUpdateCfgMBox, 16>, .given = {{0, 2}, {4, 22}, {24, 10}},
       .words = {{2, 512}, {4, 22}}, .sends = {{1, 0, 8, 10}}, .gets = {{2, 0, 28, 4}},
       .gate = sli4_only(2), .no_memory = {12}},
      {.call = "OVK_ResetAdapter", .command = "RAVN_MGMT_RESET", .run = in_order<OVK_ResetAdapter>,
       .given = {{0, 1}}, .sends = {{block, 24, 0, 4}},
       .before = {{"RAVN_MGMT_GET_OVK_REV", {}, Addressee::driver_board_0}}},
      {.call = "OVK_ResetAdapter", .command = "RAVN_MGMT_GET_OVK_REV",
       .run = in_order<OVK_ResetAdapter>, .variant = "UnknownMode", .given = {{0, 4}},
       .addressee = Addressee::driver_board_0, .success = OVK_RESET_NO_SUCH_MODE},
  };
}

std::vector<Contract> features() {
  return {
      {.call = "OVK_QoSGetGlobalFlag", .command = "RAVN_MGMT_GET_FCP_PRIORITY_FLAG",
       .run = in_order<OVK_QoSGetGlobalFlag>, .gets = {{block, 20, 0, 4}}},
      {.call = "OVK_QoSSetGlobalFlag", .command = "RAVN_MGMT_SET_FCP_PRIORITY_FLAG",
       .run = in_order<OVK_QoSSetGlobalFlag>, .sends = {{block, 20, 0, 4}}},
      {.call = "OVK_QoSGetConfig", .command = "RAVN_MGMT_GET_FCP_PRIORITY",
       .run = in_order<OVK_QoSGetConfig>, .given = {{0, 3}}, .sends = {{block, 8, 0, 4}},
       .replies = {{1, {0, 2}}}, .gets = {{1, 0, 0, 4 + 3 * 36}}, .no_memory = {12},
       .variations = {{.given = {{0, 0}}, .gets = {{1, 0, 0, 4}}, .result = 7},
                      {.given = {{0, 1}}, .gets = {{1, 0, 0, 4 + 36}}, .result = 7},
                      {.given = {{0, 2}}, .gets = {{1, 0, 0, 4 + 2 * 36}}},
                      {.given = {{0, 1000}}, .gets = {{1, 0, 0, 35932}, {zeros, 0, 35932, 72}}}}},
      {.call = "OVK_QoSSetConfig", .command = "RAVN_MGMT_SET_FCP_PRIORITY",
       .run = in_order<OVK_QoSSetConfig>, .given = {{0, 1}}, .words = {{2, 1}},
       .sends = {{1, 0, 0, 4 + 36}}, .no_memory = {12, 1}},
      {.call = "OVK_GetOASLunList", .command = "RAVN_MGMT_OAS_GET",
       .run = in_order<OVK_GetOASLunList>, .given = {{20, 1}}, .words = {{6, 4117}},
       .sends = {{1, 0, 0, 8}, {2, 0, 8, 8}}, .answers = {{3, 0}}, .gets = {{block, 12, 20, 4}},
       .results = {{0x0BAD0010, 5}, {0x0BAD000F, 15}, {0x0BAD0020, 32}, {0x0BAD0030, 33}},
       .undelivered = Undelivered::otherwise, .no_memory = {12},
       .variations = {{.given = {{20, 0}}, .answers = {{3, 3}}, .gets = {{block, 12, 20, 4}}, .result = 7},
                      {.result = 7, .delivery = 7},
                      {.result = 7, .status = 0x0BAD0010, .delivery = 7}},
       .result_text = "RAVN_MGMT_OAS_GET_LIST"},
      {.call = "OVK_GetQFPAPriorityList", .command = "RAVN_MGMT_VMID_GET_QFPA",
       .run = in_order<OVK_GetQFPAPriorityList>, .shares = {{1, 0, 0, 514}},
       .results = {{0x0BAD0020, 9}, {0x0BAD005D, 7}}, .undelivered = Undelivered::otherwise,
       .gate = sli4_only(2)},
      {.call = "OVK_GetVMidMapping", .command = "RAVN_MGMT_VMID_GET_ID_MAPPING",
       .run = in_order<OVK_GetVMidMapping>, .shares = {{1, 0, 0, 76808}},
       .results = {{0x0BAD0020, 9}, {0x0BAD005D, 7}}, .undelivered = Undelivered::otherwise,
       .gate = sli4_only(2)},
      {.call = "OVK_UpdateVMidMapping", .command = "RAVN_MGMT_VMID_UPDATE_MAPPING",
       .run = in_order<OVK_UpdateVMidMapping>, .sends = {{1, 0, 0, 76808}},
       .results = {{0x0BAD0020, 9}, {0x0BAD005D, 7}}, .undelivered = Undelivered::otherwise,
       .gate = sli4_only(2)},
      {.call = "OVK_GetRasConfig", .command = "RAVN_MGMT_GET_RAS_CONFIG",
       .run = in_order<OVK_GetRasConfig>, .shares = {{1, 0, 0, 6}},
       .results = {{0x0BAD0020, 2}, {0x0BAD0030, 3}}, .undelivered = Undelivered::otherwise,
       .gate = sli4_only(2), .result_text = "RAVN_MGMT_GET_RAS_LOG", .lines = results_only},
      {.call = "OVK_SetRasConfig", .command = "RAVN_MGMT_SET_RAS_CONFIG",
       .run = in_order<OVK_SetRasConfig>, .sends = {{1, 0, 0, 2}},
       .results = {{0x0BAD000D, 5}, {0x0BAD000E, 4}, {0x0BAD0020, 2}, {0x0BAD0030, 3}, {0x0BAD009B, 7}, {0x0BAD0119, 6}},
       .undelivered = Undelivered::otherwise, .gate = sli4_only(2), .lines = results_only},
      {.call = "OVK_GetRasLog", .command = "RAVN_MGMT_GET_RAS_LOG", .run = in_order<OVK_GetRasLog>,
       .given = {{20, 0}}, .sends = {{1, 8, 0, 8}}, .always = {{1, 0, 12, 8}},
       .results = {{0x0BAD0020, 2}, {0x0BAD0030, 3}, {0x0BAD0119, 9}},
       .undelivered = Undelivered::otherwise, .gate = sli4_only(2), .lines = results_only,
       .also_logged = "readOffset : x34333231 readSize : x38373635"},
  };
}

std::vector<Contract> virtual_ports() {
  return {
      {.call = "OVK_NPIVReadyTest", .command = "RAVN_MGMT_NPIV_READY",
       .run = in_order<OVK_NPIVReadyTest>, .gets = {{block, 16, 0, 4}}},
      {.call = "OVK_VPGetResource", .command = "RAVN_MGMT_VPORT_GET_RESRC",
       .run = in_order<OVK_VPGetResource>, .shares = {{1, 0, 0, 16}},
       .result_text = "RAVN_MGMT_VPORT_GET_LIST"},
      {.call = "OVK_VPGetList", .command = "RAVN_MGMT_VPORT_GET_LIST",
       .run = in_order<OVK_VPGetList>, .given = {{0, 5}}, .sends = {{block, 8, 0, 4}},
       .replies = {{1, {0, 3}}}, .gets = {{1, 0, 0, 4 + 3 * 20}},
       .told = {0x0BAD00B4, {{1, 0, 0, 4}}}, .results = {{0x0BAD00B4, 7}}, .no_memory = {12},
       // The driver alone keeps to the caller's room.
       .variations = {{.replies = {{1, {0, 7}}}, .gets = {{1, 0, 0, 4 + 7 * 20}}},
                      {.replies = {{1, {0, 0xFFFFFFFF}}}, .gets = {{1, 0, 0, 81924}}}}},
      {.call = "OVK_VPGetAttrib", .command = "RAVN_MGMT_VPORT_GET_ATTRIB",
       .run = in_order<OVK_VPGetAttrib>, .sends = {{1, 8, 0, 8}}, .shares = {{2, 0, 8, 340}},
       .answers = {{3, 9}}},
      {.call = "OVK_VPGetAttrib", .command = "RAVN_MGMT_VPORT_GET_ATTRIB",
       .run = in_order<OVK_VPGetAttrib>, .variant = "WithoutReason", .sends = {{1, 8, 0, 8}},
       .shares = {{2, 0, 8, 340}}, .answers = {{3, 0}}, .otherwise = 5},
      {.call = "OVK_GetAllNodeInfoByWWN", .command = "RAVN_MGMT_VPORT_GET_NODE_INFO",
       .run = in_order<OVK_GetAllNodeInfoByWWN>, .given = {{8, 4}},
       .sends = {{block, 8, 8, 4}, {1, 8, 0, 8}, {2, 0, 8, 4}}, .replies = {{2, {0, 2}}},
       .always = {{2, 0, 8, 4}}, .gets = nodes(2), .results = {{0x0BAD0020, 2}}, .no_memory = {12},
       .variations = {{.given = {{8, 2}}, .replies = {{2, {0, 4}}}, .gets = nodes(2)},
                      {.given = {{8, 600}}, .replies = {{2, {0, 0xFFFFFFFF}}}, .gets = nodes(512)},
                      {.replies = {{2, {0, 5}}}, .result = 7, .status = 0x0BAD00B4},
                      {.replies = {{2, {0, 5}}}, .result = 2, .status = 0x0BAD0020}}},
  };
}

std::vector<Contract> authentication() {
  std::vector<Contract> calls{
      {.call = "OVK_SetAuthConfigV2", .command = "RAVN_MGMT_SET_AUTH_CONFIG_V2",
       .run = in_order<OVK_SetAuthConfigV2>, .shares = {{1, 0, 0, 780}}},
      {.call = "OVK_GetAuthConfigV2", .command = "RAVN_MGMT_GET_AUTH_CONFIG_V2",
       .run = in_order<OVK_GetAuthConfigV2>, .sends = {{1, 0, 0, 8}, {3, 0, 788, 1}},
       .shares = {{2, 0, 8, 780}}},
      {.call = "OVK_DeleteAuthConfigV2", .command = "RAVN_MGMT_DEL_AUTH_CONFIG_V2",
       .run = in_order<OVK_DeleteAuthConfigV2>, .given = {{780, 0}}, .shares = {{1, 0, 0, 780}}},
      {.call = "OVK_DeleteAuthConfigV2", .command = "RAVN_MGMT_DEL_AUTH_CONFIG_V2",
       .run = {[](auto board, auto* memory) {
           return OVK_DeleteAuthConfigV2(board, nullptr, *memory); }, 1},
       .variant = "All", .sends = {{2, 0, 0, 1}}, .no_memory = {0x800A}},
      {.call = "OVK_PersistAuthConfig", .command = "RAVN_MGMT_PERSIST_AUTH_CONFIG",
       .run = in_order<OVK_PersistAuthConfig>},
      {.call = "OVK_DeleteAuthConfigObject", .command = "RAVN_MGMT_DEL_AUTH_CONFIG_OBJ",
       .run = in_order<OVK_DeleteAuthConfigObject>},
      {.call = "OVK_SetAuthPasswordV2", .command = "RAVN_MGMT_SET_AUTH_PASSWD_V2",
       .run = in_order<OVK_SetAuthPasswordV2>, .sends = {{1, 0, 0, 280}}},
      {.call = "OVK_GetAuthPasswordV2", .command = "RAVN_MGMT_GET_AUTH_PASSWD_V2",
       .run = in_order<OVK_GetAuthPasswordV2>, .sends = {{2, 0, 280, 1}},
       .shares = {{1, 0, 0, 280}}},
      {.call = "OVK_InitiateAuthentication", .command = "RAVN_MGMT_INIT_AUTH",
       .run = in_order<OVK_InitiateAuthentication>, .sends = {{1, 0, 0, 8}, {2, 0, 8, 8}}},
      {.call = "OVK_GetAuthStatus", .command = "RAVN_MGMT_GET_AUTH_STATUS",
       .run = in_order<OVK_GetAuthStatus>, .shares = {{1, 0, 0, 40}}},
  };
  for (Contract& contract : calls) {
    contract.gate = sli4_only(0x8009);
    contract.passes_status = true;
    contract.undelivered = Undelivered::error;
  }
  return calls;
}

std::vector<Contract> driver() {
  std::vector<Contract> calls{
      {.call = "EventTest", .command = "RAVN_MGMT_EVENT_TEST", .run = in_order<EventTest>,
       .sends = {{block, 16, 4, 4}, {block, 24, 0, 4}}, .undelivered = Undelivered::error},
      {.call = "ModInfo", .command = "RAVN_MGMT_MOD_INFO",
       .run = {[](auto, auto* memory) { return ModInfo(at<ModuleInfo>(memory)); }, 6276},
       .shares = {{1, 0, 0, 6276}}, .addressee = Addressee::module, .undelivered = Undelivered::error},
      {.call = "LogMsg", .command = "RAVN_MGMT_LOG_MSG",
       .run = {[](auto, auto* memory) { return LogMsg(at<LogMessage>(memory)); }, 64},
       .sends = {{1, 0, 0, 64}}, .addressee = Addressee::module, .undelivered = Undelivered::error},
      {.call = "CallVer", .command = "RAVN_MGMT_CALL_VER",
       .run = {[](auto, auto* memory) {
           VersionSignature library{};
           return CallVer(at<VersionSignature>(memory), &library); }, 72},
       .shares = {{1, 0, 0, 72}}, .addressee = Addressee::module, .undelivered = Undelivered::error},
      {.call = "get_hba_type", .command = "RAVN_MGMT_GET_RAVNOVK_INFO",
       .run = in_order<get_hba_type>, .always = {{zeros, 0, 0, 4}}, .gets = {{1, 112, 0, 4}},
       .undelivered = Undelivered::otherwise},
  };
  for (Contract& contract : calls) {
    contract.passes_status = true;
  }
  calls.push_back(
      {.call = "SetBrdEnv", .command = "RAVN_MGMT_SETDIAG", .run = in_order<SetBrdEnv>,
       .given = {{0, 0}}, .words = {{6, 16}}, .answers = {{4, 1}}, .keeps = {ovk_state, block, 16, 4},
       .success = 1, .otherwise = 0,
       .variations = {{.given = {{0, 1}}, .words = {{6, 17}}, .answers = {{4, 41}}, .result = 41},
                      {.given = {{0, 3}}, .words = {{6, 19}}, .answers = {{4, 43}}, .result = 43},
                      {.given = {{0, 5}}, .words = {{6, 20}}, .answers = {{4, 45}}, .result = 45}}});
  calls.push_back(
      {.call = "get_sli_mode", .command = "RAVN_MGMT_MBOX_SLI_CFG_EXT_SUP",
       .run = in_order<get_sli_mode>, .always = {{zeros, 0, 0, 4}}, .otherwise = 0,
       .before = {{"RAVN_MGMT_GET_RAVNOVK_INFO", {{2, 120}}}, {"RAVN_MGMT_HBA_ADAPTERATTRIBUTES"},
                  {"RAVN_MGMT_HBA_PORTATTRIBUTES"}},
       .logged_call = "OVK_GetDrvInfo"});
  return calls;
}

std::vector<Contract> more_than_passing_on() {
  std::vector<Contract> calls{
      {.call = "_IssueMbox", .command = "RAVN_MGMT_MBOX",
       .run = {[](auto board, auto* memory) {
           return _IssueMbox(board, at<Mailbox>(memory), 0, 0, 4); }, 256},
       .result_text = "RAVN_MGMT_INDUCE_DUMP"},
      {.call = "IssueMboxEx", .command = "RAVN_MGMT_MBOX",
       .run = {[](auto board, auto* memory) {
           return IssueMboxEx(board, at<Mailbox>(memory), nullptr, 0, 0, 0); }, 256},
       .words = {{2, 128}, {3, 256}}},
      {.call = "OVK_FCoEGetFCFList", .command = "RAVN_MGMT_HBA_GET_FCF_LIST",
       .run = in_order<OVK_FCoEGetFCFList>, .given = {{4, 0}}, .words = {{1, 0xFFFF}},
       .answers = {{4, 0xFFFF}}, .gate = {{4, 5}}},
      {.call = "OVK_SetOASLunV2", .command = "RAVN_MGMT_OAS_VER", .run = in_order<OVK_SetOASLunV2>,
       .words = {{6, 4120}}, .result_text = "RAVN_MGMT_OAS_VERSION"},
      {.call = "OVK_SetOASLun", .command = "RAVN_MGMT_OAS_SET", .run = in_order<OVK_SetOASLun>,
       .given = {{28, OVK_OAS_SET}}, .words = {{5, 1}, {6, 4119}},
       .before = {{"RAVN_MGMT_OAS_VER", {{6, 4120}}}},
       .after = {{"RAVN_MGMT_VPORT_GET_NODE_INFO", {{2, 64}}}},
       .result_text = "RAVN_MGMT_OAS_SET_RULE"},
  };
  for (Contract& contract : calls) {
    contract.passes_on = false;
  }
  return calls;
}

// clang-format on

std::vector<Contract> joined(std::initializer_list<std::vector<Contract>> parts) {
  std::vector<Contract> rows;
  for (const auto& part : parts) {
    rows.insert(rows.end(), part.begin(), part.end());
  }
  return rows;
}

}  // namespace

const std::vector<Contract>& contracts() {
  static const std::vector<Contract> all =
      joined({information(), hbaapi(), fabric(), mailbox(), features(), virtual_ports(),
              authentication(), driver()});
  return all;
}

const std::vector<Contract>& logged_commands() {
  static const std::vector<Contract> all = joined({contracts(), more_than_passing_on()});
  return all;
}

}  // namespace ovk::test
