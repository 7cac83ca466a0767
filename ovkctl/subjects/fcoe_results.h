/**
 * @file
 * What the result codes of the FCoE calls mean.
 */
#ifndef OVKCTL_FCOE_RESULTS_H
#define OVKCTL_FCOE_RESULTS_H

#include "ovkctl/frame/errors.h"

#include <ovk/regions.h>

namespace ovkctl {

inline constexpr ResultText kFcoeResults[] = {
    {OVK_NOT_SUPPORTED, "the board is no SLI-4 board",
     "FCoE needs an SLI-4 board: see \"ovkctl list\"."},
    {OVK_RECORD_NOT_FOUND, "region 23 holds no such record",
     "Give region 23 its default contents with \"ovkctl region init BOARD 23\"."},
    {OVK_MORE_DATA, "the record in region 23 has another length",
     "Look at it with \"ovkctl region read BOARD 23\"."},
};

}  // namespace ovkctl

#endif
