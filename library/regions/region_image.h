/**
 * @file
 * The images of Regions 22 and 23 as the adapter keeps them, byte for byte.
 */
#pragma once

#include <ovk/regions.h>

#include <cstddef>
#include <cstdint>

namespace ovk {

/** The region numbers. */
enum RegionNumber : std::uint32_t { region14 = 14, region22 = 22, region23 = 23 };

/** An image as the bytes that are read into it. */
template <typename Image>
std::uint8_t* image_bytes(Image& image) {
  return static_cast<std::uint8_t*>(static_cast<void*>(&image));
}

/** The version of a Region 22 and of a Region 23 image. */
inline constexpr std::uint8_t region_version = 1;

/* ---- Region 22 ------------------------------------------------------------------------------- */

inline constexpr std::uint32_t region22_signature = 0x32324752;  // "RG22"

struct Region22Image {
  std::uint32_t signature;
  std::uint8_t version;
  std::uint8_t reserved5[3];
  Region22Entry entries[OVK_REGION22_ENTRIES];
  std::uint8_t tail[8];
};

static_assert(sizeof(Region22Image) == 512);
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

static_assert(sizeof(Region23Image) == 1024);
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
  FcfConnectionData entries[OVK_FCF_CONNECT_ENTRIES];
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

/** The list that the library builds where the adapter has none. */
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
