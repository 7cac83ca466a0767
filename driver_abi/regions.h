/**
 * @file
 * The regions of an adapter's non-volatile configuration: which there are, how the firmware answers
 * for them, how an SLI-3 adapter's mailboxes name them, and what Regions 22 and 23 hold, byte for
 * byte.
 */
#pragma once

#include <ovk/types.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace ovk {

/* ---- The regions ----------------------------------------------------------------------------- */

/** A region that adapters have. */
struct RegionKind {
  std::uint32_t number;
  std::uint32_t length;  ///< bytes
};

/** All of them, by their numbers. */
inline constexpr RegionKind region_kinds[] = {
    {0, 60},   {4, 120},   {5, 200},   {6, 200},  {7, 200},    {8, 60},
    {9, 256},  {10, 256},  {14, 1000}, {17, 100}, {19, 2028},  {21, 200},
    {22, 512}, {23, 1024}, {30, 12},   {32, 8},   {160, 4096}, {162, 4096},
};

/** The regions whose contents have a name. */
enum RegionNumber : std::uint32_t { region14 = 14, region22 = 22, region23 = 23 };

/** The length of the longest region in bytes. */
inline constexpr std::uint32_t max_region_length =
    std::ranges::max(region_kinds, {}, &RegionKind::length).length;

/** The length of a region in bytes; 0 for one that adapters do not have. */
constexpr std::uint32_t region_length(std::uint32_t number) {
  const auto* const kind = std::ranges::find(region_kinds, number, &RegionKind::number);
  return kind != std::ranges::end(region_kinds) ? kind->length : 0;
}

/** The mailbox statuses with which the firmware answers for a region. */
enum class RegionStatus : std::uint16_t {
  completed = 0,
  unknown = 0xFFF6,  ///< there is no such region
  locked = 0xFFF7,   ///< it cannot be written
  empty = 0xFFFD,    ///< it was never written
  bad_length = 0xFFFE,
};

/** Which region RAVN_MGMT_HBA_ISSUE_DMP_MBX reads. */
struct RegionReadRequest {
  std::uint32_t type;
  std::uint32_t region;
  std::uint32_t argument;
};

static_assert(sizeof(RegionReadRequest) == 12);
static_assert(offsetof(RegionReadRequest, region) == 4);
static_assert(offsetof(RegionReadRequest, argument) == 8);

/* ---- The mailboxes of an SLI-3 adapter ------------------------------------------------------- */

enum class RegionMailboxCommand : std::uint8_t { dump = 0x17, update = 0x1B };

/** What both mailboxes have in their access byte, and their data in its flag. */
inline constexpr std::uint8_t region_access = 0x32;
inline constexpr std::uint8_t region_data_flag = 5;

/** The bytes that one dump mailbox asks for. */
inline constexpr std::uint32_t region_step_bytes = 128;

/** A mailbox that reads or writes a region. */
struct RegionMailbox {
  std::uint8_t byte0;
  RegionMailboxCommand command;
  std::uint16_t status;
  std::uint8_t access;
  std::uint8_t reserved5[3];
  std::uint16_t region;
  std::uint16_t position;  ///< of a dump: offset into the region; of an update: its length
  std::uint32_t reserved12;
  std::uint32_t length;  ///< in bytes; a dump returns here how many it delivered
  std::uint32_t reserved20[59];
};

static_assert(sizeof(RegionMailbox) == 256);
static_assert(offsetof(RegionMailbox, command) == 1);
static_assert(offsetof(RegionMailbox, status) == 2);
static_assert(offsetof(RegionMailbox, access) == 4);
static_assert(offsetof(RegionMailbox, region) == 8);
static_assert(offsetof(RegionMailbox, position) == 10);
static_assert(offsetof(RegionMailbox, length) == 16);

/** The mailbox that reads one step of a region. */
constexpr RegionMailbox region_dump(std::uint32_t region, std::uint32_t position) {
  return {.command = RegionMailboxCommand::dump,
          .access = region_access,
          .region = static_cast<std::uint16_t>(region),
          .position = static_cast<std::uint16_t>(position),
          .length = region_step_bytes};
}

/** The mailbox that writes a region of so many bytes. */
constexpr RegionMailbox region_update(std::uint32_t region, std::uint32_t length) {
  return {.command = RegionMailboxCommand::update,
          .access = region_access,
          .region = static_cast<std::uint16_t>(region),
          .position = static_cast<std::uint16_t>(length),
          .length = length};
}

/* ---- Region 22 ------------------------------------------------------------------------------- */

/** The version of a Region 22 and of a Region 23 image. */
inline constexpr std::uint8_t region_version = 1;

inline constexpr std::uint32_t region22_signature = 0x32324752;  // "RG22"

/** An entry. Its contents are the adapter's. */
struct Region22Slot {
  std::uint8_t bytes[16];
};

struct Region22Image {
  std::uint32_t signature;
  std::uint8_t version;
  std::uint8_t reserved5[3];
  Region22Slot entries[31];
  std::uint8_t tail[8];
};

static_assert(sizeof(Region22Image) == region_length(region22));
static_assert(offsetof(Region22Image, version) == 4);
static_assert(offsetof(Region22Image, entries) == 8);
static_assert(offsetof(Region22Image, tail) == 504);

inline constexpr Region22Image default_region22{.signature = region22_signature,
                                                .version = region_version};

/* ---- Region 23 ------------------------------------------------------------------------------- */

inline constexpr std::uint32_t region23_signature = 0x33324752;  // "RG23"

struct Region23Header {
  std::uint32_t signature;
  std::uint32_t version;
};

static_assert(sizeof(Region23Header) == 8);
static_assert(offsetof(Region23Header, version) == 4);

/** A list of records, each a RecordHeader and its data, the next one right behind it. */
struct Region23Image {
  Region23Header header;
  std::uint8_t records[1016];
};

static_assert(sizeof(Region23Image) == region_length(region23));
static_assert(offsetof(Region23Image, records) == 8);

enum class RecordType : std::uint8_t {
  fcoe_parameters = 0xa0,
  fcf_connections = 0xa1,
  persistent_link_down = 0xa2,
  end_of_list = 0xff,
};

struct RecordHeader {
  RecordType type;
  std::uint8_t words;      ///< length of the data behind the header
  std::uint8_t fields[2];  ///< their meaning depends on the type
};

static_assert(sizeof(RecordHeader) == 4);
static_assert(offsetof(RecordHeader, words) == 1);
static_assert(offsetof(RecordHeader, fields) == 2);

/** The length that a record's header states for this data. */
template <typename Data>
inline constexpr std::uint8_t data_words = sizeof(Data) / sizeof(std::uint32_t);

/** Data of a record of type fcoe_parameters. */
struct FcoeParametersData {
  std::uint8_t fc_map[3];
  std::uint8_t reserved3;
  std::uint32_t vlan_id;
};

static_assert(data_words<FcoeParametersData> == 2);
static_assert(offsetof(FcoeParametersData, vlan_id) == 4);

/** The header fields of fcoe_parameters: a version, and whether the VLAN id is used. */
inline constexpr std::uint8_t fcoe_record_version = 1;
inline constexpr std::uint8_t fcoe_vlan_valid = 1;

/** A preferred FCF. */
struct FcfConnectionData {
  std::uint16_t flags;
  std::uint16_t vlan_id;
  Wwn names[2];
};

static_assert(sizeof(FcfConnectionData) == 20);
static_assert(offsetof(FcfConnectionData, vlan_id) == 2);
static_assert(offsetof(FcfConnectionData, names) == 4);

/** Data of a record of type fcf_connections. */
struct FcfConnectionsData {
  FcfConnectionData entries[16];
};

static_assert(data_words<FcfConnectionsData> == 80);

/** One of the two places in which the setting can stand. */
struct LinkSlot {
  std::uint8_t valid;
  std::uint8_t reserved1;
  std::uint8_t link_enabled;
  std::uint8_t reserved3;
};

static_assert(sizeof(LinkSlot) == 4);
static_assert(offsetof(LinkSlot, link_enabled) == 2);

/** Data of a record of type persistent_link_down. */
struct PersistentLinkDownData {
  LinkSlot slots[2];
};

static_assert(data_words<PersistentLinkDownData> == 2);

/** The header fields of persistent_link_down. */
inline constexpr std::uint8_t link_down_fields[2] = {0x30, 0};

/** The default list. An image goes on behind it with what it held there. */
struct [[gnu::packed]] DefaultRegion23 {
  Region23Header header;
  RecordHeader fcoe_header;
  FcoeParametersData fcoe;
  RecordHeader connections_header;
  FcfConnectionsData connections;
  RecordHeader link_header;
  PersistentLinkDownData link;
  RecordType end;
  std::uint8_t padding[2];
};

static_assert(sizeof(DefaultRegion23) == 359);
static_assert(offsetof(DefaultRegion23, fcoe_header) == 8);
static_assert(offsetof(DefaultRegion23, fcoe) == 12);
static_assert(offsetof(DefaultRegion23, connections_header) == 20);
static_assert(offsetof(DefaultRegion23, connections) == 24);
static_assert(offsetof(DefaultRegion23, link_header) == 344);
static_assert(offsetof(DefaultRegion23, link) == 348);
static_assert(offsetof(DefaultRegion23, end) == 356);

inline constexpr DefaultRegion23 default_region23{
    .header = {region23_signature, region_version},
    .fcoe_header = {RecordType::fcoe_parameters,
                    data_words<FcoeParametersData>,
                    {fcoe_record_version, fcoe_vlan_valid}},
    .fcoe = {.fc_map = {0x0e, 0xfc, 0x00}},
    .connections_header = {RecordType::fcf_connections, data_words<FcfConnectionsData>},
    .link_header = {RecordType::persistent_link_down,
                    data_words<PersistentLinkDownData>,
                    {link_down_fields[0], link_down_fields[1]}},
    .link = {{{.valid = 1, .link_enabled = 1}, {.valid = 0xff}}},
    .end = RecordType::end_of_list,
};

}  // namespace ovk
