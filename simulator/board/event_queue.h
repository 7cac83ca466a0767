/**
 * @file
 * The events of a board that nobody asked for yet.
 */
#pragma once

#include "simulator/board/saved.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace ravnsim {

/** FC-HBA event codes. */
enum class EventCode : std::uint32_t {
  lip = 1,
  link_up = 2,
  link_down = 3,
  lip_reset = 4,
  rscn = 5,
};

/** An event as the driver gives it. */
struct EventRecord {
  EventCode code;
  std::array<std::uint32_t, 4> data;
};

static_assert(sizeof(EventRecord) == 20);

/**
 * Holds as many events as the topology says; what happens while it is full is only counted. The
 * first event of a board is that its link came up. With a state folder, events wait for the next
 * process.
 */
class EventQueue {
 public:
  explicit EventQueue(Adapter& adapter);

  /** Something happened at the board's port: an event with its FC id, and what else it carries. */
  void push(EventCode code, std::uint32_t detail = 0);

  /** Takes the oldest events out. */
  std::vector<EventRecord> take(std::size_t most);

  /** How many events were lost since this was last asked. */
  std::uint32_t take_missed();

 private:
  void load(const std::vector<std::uint8_t>& blob);
  void save();

  Adapter& adapter_;
  std::vector<EventRecord> events_;
  std::uint32_t missed_ = 0;
};

}  // namespace ravnsim
