/**
 * @file
 * FC-SP DH-CHAP port authentication of SLI-4 boards.
 *
 * The library is a gate: it hands the caller's own records to the driver without reading, copying
 * or keeping them. What is set takes effect in the driver and outlives it after
 * OVK_PersistAuthConfig.
 *
 * All calls of the second generation return OVK_OK; OVK_FAILED when the SLI mode cannot be read;
 * an OvkAuthResult; else the platform's error or the driver's status, as it is.
 */
#ifndef OVK_AUTH_H
#define OVK_AUTH_H

#include <ovk/types.h>

OVK_BEGIN_DECLS

/** Results that the library itself gives beside OVK_OK and OVK_FAILED. */
enum OvkAuthResult {
  OVK_AUTH_NOT_SUPPORTED = 0x8009, /**< the board's SLI mode is below OVK_SLI4 */
  OVK_AUTH_NO_MEMORY = 0x800A      /**< OVK_DeleteAuthConfigV2: no memory; nothing was deleted */
};

/** Statuses of the driver that the calls hand out as they are. Any other is a failure, too. */
enum OvkAuthStatus {
  OVK_AUTH_STATUS_NOT_FOUND = 0x0BAD0003,     /**< no such entry or port */
  OVK_AUTH_STATUS_NO_ROOM = 0x0BAD0006,       /**< the driver has no memory for another entry */
  OVK_AUTH_STATUS_NOT_OFFERED = 0x0BAD0020,   /**< not by this driver or adapter */
  OVK_AUTH_STATUS_NOT_PERMITTED = 0x0BAD0021, /**< not with these values */
  OVK_AUTH_STATUS_DISABLED = 0x0BAD0030       /**< switched off */
};

/** The authentication configuration of a pair of ports. The layout is the driver's. */
typedef struct AuthConfig {
  uint8_t bytes[780];
} AuthConfig;

OVK_ASSERT_SIZE(AuthConfig, 780);

/** The DH-CHAP passwords of a pair of ports. The layout is the driver's. */
typedef struct AuthPassword {
  uint8_t bytes[280];
} AuthPassword;

OVK_ASSERT_SIZE(AuthPassword, 280);

/** The authentication status of a pair of ports. The layout is the driver's. */
typedef struct AuthStatus {
  uint8_t bytes[40];
} AuthStatus;

OVK_ASSERT_SIZE(AuthStatus, 40);

/* ---- Configuration --------------------------------------------------------------------------- */

/**
 * Sets the configuration of a pair of ports.
 *
 * @param board   library board index
 * @param config  goes to the driver as it is and receives its answer
 * @return see above
 */
OVK_API uint32_t OVK_SetAuthConfigV2(uint32_t board, AuthConfig* config);

/**
 * Reads a configuration.
 *
 * @param board   library board index
 * @param wwn     a port name, by value
 * @param config  goes to the driver as it is and receives its answer
 * @param flag    goes to the driver as it is
 * @return see above
 */
OVK_API uint32_t OVK_GetAuthConfigV2(uint32_t board, Wwn wwn, AuthConfig* config, uint8_t flag);

/**
 * Deletes one configuration, or all of them.
 *
 * @param board       library board index
 * @param config      names the pair of ports; not used when all are deleted, and may then be null
 * @param delete_all  not 0: all
 * @return see above
 */
OVK_API uint32_t OVK_DeleteAuthConfigV2(uint32_t board, AuthConfig* config, uint8_t delete_all);

/**
 * Makes the driver keep its configuration over a restart.
 *
 * @param board  library board index
 * @return see above
 */
OVK_API uint32_t OVK_PersistAuthConfig(uint32_t board);

/**
 * Makes the driver delete its whole configuration object.
 *
 * @param board  library board index
 * @return see above
 */
OVK_API uint32_t OVK_DeleteAuthConfigObject(uint32_t board);

/* ---- Passwords, initiation, status ----------------------------------------------------------- */

/**
 * Sets the passwords of a pair of ports.
 *
 * @param board            library board index
 * @param password_record  goes to the driver as it is; the caller wipes it afterwards
 * @return see above
 */
OVK_API uint32_t OVK_SetAuthPasswordV2(uint32_t board, const AuthPassword* password_record);

/**
 * Reads the password record of a pair of ports.
 *
 * @param board            library board index
 * @param password_record  goes to the driver as it is and receives its answer; the caller wipes it
 *                         afterwards
 * @param flag             goes to the driver as it is
 * @return see above
 */
OVK_API uint32_t OVK_GetAuthPasswordV2(uint32_t board, AuthPassword* password_record, uint8_t flag);

/**
 * Starts authentication between two ports. Which one is the local port is up to the driver, which
 * gets them in this order.
 *
 * @param board  library board index
 * @param wwn1   a port name, by value
 * @param wwn2   a port name, by value
 * @return see above
 */
OVK_API uint32_t OVK_InitiateAuthentication(uint32_t board, Wwn wwn1, Wwn wwn2);

/**
 * Reads the authentication status of a pair of ports.
 *
 * @param board          library board index
 * @param status_record  goes to the driver as it is and receives its answer
 * @return see above
 */
OVK_API uint32_t OVK_GetAuthStatus(uint32_t board, AuthStatus* status_record);

/* ---- First generation: exported for compatibility, and nothing else ----------------------------
 */

/**
 * Does nothing, like all calls of the first generation.
 *
 * @return OVK_NOT_SUPPORTED, whatever the arguments
 */
OVK_API uint32_t OVK_GetAuthConfig(uint32_t board, Wwn local, Wwn remote, void* config);
/**
 * Does nothing, like all calls of the first generation.
 *
 * @return OVK_NOT_SUPPORTED, whatever the arguments
 */
OVK_API uint32_t OVK_SetAuthConfig(uint32_t board, Wwn local, Wwn remote, const void* config);
/**
 * Does nothing, like all calls of the first generation.
 *
 * @return OVK_NOT_SUPPORTED, whatever the arguments
 */
OVK_API uint32_t OVK_DeleteAuthConfig(uint32_t board, Wwn local, Wwn remote);
/**
 * Does nothing, like all calls of the first generation.
 *
 * @return OVK_NOT_SUPPORTED, whatever the arguments
 */
OVK_API uint32_t OVK_GetAuthConfigList(uint32_t board, Wwn local, void* list);
/**
 * Does nothing, like all calls of the first generation.
 *
 * @return OVK_NOT_SUPPORTED, whatever the arguments
 */
OVK_API uint32_t OVK_GetAuthPassword(uint32_t board, Wwn local, Wwn remote, void* password);
/**
 * Does nothing, like all calls of the first generation.
 *
 * @return OVK_NOT_SUPPORTED, whatever the arguments
 */
OVK_API uint32_t OVK_SetAuthPassword(uint32_t board, Wwn local, Wwn remote, const void* password);
/**
 * Does nothing, like all calls of the first generation.
 *
 * @return OVK_NOT_SUPPORTED, whatever the arguments
 */
OVK_API uint32_t OVK_EnableAuthentication(uint32_t board);
/**
 * Does nothing, like all calls of the first generation.
 *
 * @return OVK_NOT_SUPPORTED, whatever the arguments
 */
OVK_API uint32_t OVK_DisableAuthentication(uint32_t board);

OVK_END_DECLS

#endif
