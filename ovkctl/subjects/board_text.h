/**
 * @file
 * What several commands say alike of a board and of a port.
 */
#pragma once

#include "driver_abi/records/auth.h"
#include "ovkctl/frame/board.h"
#include "ovkctl/subjects/fc_words.h"

#include <ovk/hbaapi.h>

#include <cstdint>
#include <optional>
#include <string>

namespace ovkctl {

/** The state in which the library has a board, such as "normal". */
std::string board_state_text(std::uint32_t board);

/** Reads the attributes of a board's own port; throws OperationFailed. */
PortAttributes read_own_port(const Board& board);

/** Adds the fields of a port to a section. */
void add_port_fields(Section& section, const PortAttributes& port);

/** A remote port beside the board's own, or beside the local port that the command line names. */
ovk::PortPair ports_of(const Board& board, const Wwn& remote, const std::optional<Wwn>& local = {});

}  // namespace ovkctl
