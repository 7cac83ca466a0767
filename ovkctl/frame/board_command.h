/**
 * @file
 * Commands whose only argument is a board.
 */
#ifndef OVKCTL_BOARD_COMMAND_H
#define OVKCTL_BOARD_COMMAND_H

#include "ovkctl/frame/command.h"

#include <cstdint>
#include <functional>
#include <string>

namespace ovkctl {

/** What such a command does; the library is initialised meanwhile, and the board exists. */
using BoardAction = std::function<void(const Context& context, std::uint32_t board)>;

/** Adds a command to a noun, or a noun to the root. */
void add_board_command(const Command& parent, const std::string& name, const std::string& summary,
                       const std::string& example, const BoardAction& action);

/** Adds one that prints a report of the board. */
void add_board_report(const Command& parent, const std::string& name, const std::string& summary,
                      const std::string& example,
                      const std::function<Report(std::uint32_t board)>& report);

}  // namespace ovkctl

#endif
