/**
 * @file
 * Faults that the user scripted: which calls fail, and how.
 */
#pragma once

#include "simulator/call/command_id.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace ravnsim {

class HandlerTable;
class JsonDocument;
class JsonObject;
class JsonValue;
struct Topology;

/** The callback does not run, and the channel returns this error. */
struct DeliveryFault {
  int error;
};

/** The command's handler does something wrong that has a name. */
struct EffectFault {
  std::string word;
  std::uint32_t value;
};

/** What happens to a call: a status without any work done, or one of the above. */
using FaultKind = std::variant<DriverStatus, DeliveryFault, EffectFault>;

/** One entry of a fault file. */
class Fault {
 public:
  /** Reads an entry and checks that it can come to pass on this host. */
  Fault(const JsonValue& place, const Topology& topology, const HandlerTable& handlers);

  /** Whether this call is one to fail; counts the calls that match. */
  bool takes(CommandId command, std::uint32_t board);

  [[nodiscard]] const FaultKind& kind() const { return kind_; }

  /** The effect; null for another kind. */
  [[nodiscard]] const EffectFault* effect() const { return std::get_if<EffectFault>(&kind_); }

  /** Notes that the fault came to pass. */
  void count_hit() { ++hits_; }
  [[nodiscard]] bool was_hit() const { return hits_ > 0; }

  /** Where the entry stands and which command it names. */
  [[nodiscard]] const std::string& description() const { return description_; }

 private:
  static constexpr std::uint32_t always = std::numeric_limits<std::uint32_t>::max();

  void read_board(const JsonValue& place, const Topology& topology, const HandlerTable& handlers);
  void read_kind(JsonObject& members, const HandlerTable& handlers);

  CommandId command_{0};
  std::optional<std::uint32_t> board_;
  std::uint32_t left_ = 1;
  std::uint32_t skip_ = 0;
  FaultKind kind_;
  std::string description_;
  std::uint32_t hits_ = 0;
};

/** All faults of a host, in the order of their file. */
class FaultScript {
 public:
  /** No faults. */
  FaultScript() = default;

  /** Reads a fault file; throws a ConfigurationError that says what is wrong in it and where. */
  FaultScript(const JsonDocument& document, const Topology& topology, const HandlerTable& handlers);

  /** The fault that this call meets, or null. */
  Fault* meet(CommandId command, std::uint32_t board);

  /** Tells the user which faults never came to pass. */
  void report_missed() const;

 private:
  std::vector<Fault> faults_;
};

}  // namespace ravnsim
