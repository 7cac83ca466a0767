/**
 * @file
 * Virtual ports (N_Port ID virtualisation, FC-LS) and the nodes that a port has logged in with.
 */
#ifndef OVK_NPIV_H
#define OVK_NPIV_H

#include <ovk/types.h>

OVK_BEGIN_DECLS

/* ---- Virtual ports --------------------------------------------------------------------------- */

/** The virtual-port resources of a board, in the driver's own layout. */
typedef struct VportResources {
  uint32_t words[4];
} VportResources;

OVK_ASSERT_SIZE(VportResources, 16);

/** The attributes of a virtual port, in the driver's own layout. */
typedef struct VportAttributes {
  uint8_t bytes[340];
} VportAttributes;

OVK_ASSERT_SIZE(VportAttributes, 340);

/** A virtual port as the driver lists it. */
typedef struct VportEntry {
  uint8_t identity[16]; /**< who the port is, in the driver's own layout */
  uint32_t word16;
} VportEntry;

OVK_ASSERT_SIZE(VportEntry, 20);
OVK_ASSERT_OFFSET(VportEntry, word16, 16);

/** The most virtual ports that the driver lists. */
#define OVK_MAX_VPORTS 4096

/** Virtual ports. A caller with less room may give memory for as many entries as it counts. */
typedef struct VportList {
  uint32_t count;
  VportEntry vports[OVK_MAX_VPORTS];
} VportList;

OVK_ASSERT_SIZE(VportList, 81924);
OVK_ASSERT_OFFSET(VportList, vports, 4);

/**
 * Asks whether a board can host virtual ports now.
 *
 * @param board  library board index
 * @param ready  receives the driver's answer; untouched on failure
 * @return OVK_OK; OVK_FAILED
 */
OVK_API uint32_t OVK_NPIVReadyTest(uint32_t board, uint32_t* ready);

/**
 * Reads what virtual-port resources a board has left.
 *
 * @param board  library board index
 * @param res    the driver writes the record here
 * @return OVK_OK; OVK_FAILED
 */
OVK_API uint32_t OVK_VPGetResource(uint32_t board, VportResources* res);

/**
 * Lists the virtual ports of a board.
 *
 * @param board  library board index
 * @param list   count: on entry the entries that the list has room for; on return the driver's
 *               count, with OVK_OK the entries delivered, OVK_MAX_VPORTS at most, and with
 *               OVK_MORE_DATA the entries needed; unchanged otherwise. The driver alone keeps to
 *               the room.
 * @return OVK_OK; OVK_FAILED; OVK_MORE_DATA, no entry was copied; OVK_NO_MEMORY
 */
OVK_API uint32_t OVK_VPGetList(uint32_t board, VportList* list);

/**
 * Reads the attributes of a virtual port.
 *
 * @param board      library board index
 * @param vport_wwn  port WWN of the virtual port
 * @param attrs      the driver writes the record here
 * @return OVK_OK; OVK_ILLEGAL_WWN when the command failed and the driver gave no reason of its own,
 *         which is also so when it was not delivered; OVK_FAILED
 */
OVK_API uint32_t OVK_VPGetAttrib(uint32_t board, const Wwn* vport_wwn, VportAttributes* attrs);

/**
 * Not offered.
 *
 * @param board      ignored
 * @param vport_wwn  ignored; may be null
 * @param vnode_wwn  ignored; may be null
 * @return OVK_NOT_SUPPORTED, always
 */
OVK_API uint32_t OVK_VPCreate(uint32_t board, const Wwn* vport_wwn, const Wwn* vnode_wwn);

/** Not offered, as OVK_VPCreate. */
OVK_API uint32_t OVK_VPDelete(uint32_t board, const Wwn* vport_wwn, const Wwn* vnode_wwn);

/** Not offered, as OVK_VPCreate. */
OVK_API uint32_t OVK_VPDeleteV2(uint32_t board, const Wwn* vport_wwn, const Wwn* vnode_wwn);

/* ---- Nodes of a port ------------------------------------------------------------------------- */

/**
 * A remote node. The members without a meaning for the library are named after their place in the
 * driver's record.
 */
typedef struct NodeInformation {
  uint32_t word0;
  char name[256];
  uint32_t words260[6];
  Wwn port_wwn;
  uint32_t words292[3];
  uint32_t word304; /**< left as the caller had it */
} NodeInformation;

OVK_ASSERT_SIZE(NodeInformation, 308);
OVK_ASSERT_OFFSET(NodeInformation, name, 4);
OVK_ASSERT_OFFSET(NodeInformation, words260, 260);
OVK_ASSERT_OFFSET(NodeInformation, port_wwn, 284);
OVK_ASSERT_OFFSET(NodeInformation, words292, 292);
OVK_ASSERT_OFFSET(NodeInformation, word304, 304);

/** The most nodes that the driver lists. */
#define OVK_MAX_NODES 512

/** Remote nodes. A caller with less room may give memory for as many records as it counts. */
typedef struct NodeInformationList {
  uint32_t count;
  NodeInformation nodes[OVK_MAX_NODES];
} NodeInformationList;

OVK_ASSERT_SIZE(NodeInformationList, 157700);
OVK_ASSERT_OFFSET(NodeInformationList, nodes, 4);

/**
 * Lists the remote nodes that a port of a board has logged in with.
 *
 * @param board     library board index
 * @param port_wwn  port WWN of the board's own port or of one of its virtual ports
 * @param nodes     count: on entry the records that the list has room for; on return, whatever the
 *                  result but OVK_NO_MEMORY, what the driver counts, or the entry's value where the
 *                  driver did not count. No more records are written than there is room for.
 * @return OVK_OK; OVK_FAILED; OVK_NOT_SUPPORTED; OVK_MORE_DATA, no record was copied and count is
 *         the number needed; OVK_NO_MEMORY
 */
OVK_API uint32_t OVK_GetAllNodeInfoByWWN(uint32_t board, const Wwn* port_wwn,
                                         NodeInformationList* nodes);

OVK_END_DECLS

#endif
