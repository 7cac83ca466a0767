/**
 * @file
 * The whole interface of libovk. Each subsystem's header can also be included alone.
 */
#ifndef OVK_OVK_H
#define OVK_OVK_H

#include <ovk/auth.h>
#include <ovk/core.h>
#include <ovk/fabric.h>
#include <ovk/features.h>
#include <ovk/hbaapi.h>
#include <ovk/info.h>
#include <ovk/mailbox.h>
#include <ovk/npiv.h>
#include <ovk/regions.h>
#include <ovk/types.h>

#endif
