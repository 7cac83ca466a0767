/**
 * @file
 * What the subsystems of the driver are written with: boards, requests, the table of handlers, and
 * the guards that several of them enter.
 */
#pragma once

#include "simulator/board/adapter.h"
#include "simulator/board/board_state.h"
#include "simulator/board/link.h"
#include "simulator/call/handler_table.h"
#include "simulator/call/request.h"

namespace ravnsim {

inline constexpr Guard is_sli4{
    [](Adapter& adapter, const Request&) { return adapter.topology().sli_mode >= sli4; },
    DriverStatus::not_supported};

inline constexpr Guard takes_extended_sli_config{
    [](Adapter& adapter, const Request&) { return adapter.topology().extended_sli_config; },
    DriverStatus::not_supported};

inline constexpr Guard is_ready{
    [](Adapter& adapter, const Request&) { return adapter.state<BoardState>().is_ready(); },
    DriverStatus::not_ready};

inline constexpr Guard can_change{
    [](Adapter& adapter, const Request&) { return adapter.state<BoardState>().can_change(); },
    DriverStatus::not_ready};

/** The board works, and its link is up. */
inline constexpr Guard is_on_fabric{[](Adapter& adapter, const Request&) {
                                      return adapter.state<BoardState>().mode() ==
                                                 BoardMode::normal &&
                                             adapter.state<Link>().is_up();
                                    },
                                    DriverStatus::not_ready};

/** The Command block names its own command in the selector word, as some have to. */
template <DriverStatus otherwise>
constexpr Guard names_itself{[](Adapter&, const Request& request) {
                               return request.block().selector == request.command().number;
                             },
                             otherwise};

/** The board offers a feature, such as &FeatureTopology::oas. */
template <auto feature>
constexpr Guard offers{[](Adapter& adapter, const Request&) {
                         return (adapter.topology().offers.*feature).has_value();
                       },
                       DriverStatus::not_supported};

/** A feature that the board offers is enabled. */
template <auto feature>
constexpr Guard is_enabled{
    [](Adapter& adapter, const Request&) { return (adapter.topology().offers.*feature)->enabled; },
    DriverStatus::feature_disabled};

}  // namespace ravnsim
