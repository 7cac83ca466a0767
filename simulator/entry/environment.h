/**
 * @file
 * The host that the environment describes.
 */
#pragma once

#include <memory>

namespace ravnsim {

class Host;

/**
 * Brings up a host: RAVNSIM_TOPOLOGY names its topology file, RAVNSIM_STATE its state folder,
 * RAVNSIM_FAULTS its fault file. Throws a ConfigurationError or a StateError.
 */
std::shared_ptr<Host> host_of_environment();

}  // namespace ravnsim
