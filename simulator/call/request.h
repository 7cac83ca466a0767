/**
 * @file
 * One command as its handler sees it.
 */
#pragma once

#include "simulator/call/command_id.h"
#include "simulator/call/parameters.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <type_traits>
#include <vector>

namespace ravnsim {

class Fault;

/**
 * The Command block and the parameters after it, which count from 1. A handler that asks for a
 * parameter which the other side declared otherwise, or for more of it than was declared, ends
 * there, and the channel refuses the call.
 */
class Request {
 public:
  Request(CommandId command, std::vector<Parameter> parameters);

  [[nodiscard]] CommandId command() const { return command_; }

  /** The Command block. */
  [[nodiscard]] CommandBlock& block() const;

  /** What the caller gives in a parameter, as a record. */
  template <typename Record>
  [[nodiscard]] const Record& input(std::size_t parameter) const {
    return record<const Record>(input_bytes(parameter), parameter);
  }

  /** What the caller gets in a parameter, as a record; zeroed, or what the caller gave in a
      parameter that is copied both ways. */
  template <typename Record>
  [[nodiscard]] Record& output(std::size_t parameter) const {
    return record<Record>(output_bytes(parameter), parameter);
  }

  /** All bytes that the caller gives in a parameter. */
  [[nodiscard]] std::span<const std::uint8_t> input_bytes(std::size_t parameter) const;

  /** All bytes that the caller gets in a parameter. */
  [[nodiscard]] std::span<std::uint8_t> output_bytes(std::size_t parameter) const;

  /** How many bytes there are where a data descriptor points. */
  [[nodiscard]] std::size_t room_behind(std::size_t descriptor) const;

  /** Writes where a data descriptor points, as much as has room there; returns how much that is. */
  std::size_t write_behind(std::size_t descriptor, std::span<const std::uint8_t> bytes) const;

  /** When the fault file has this effect on this call: the value that goes with it, 0 by default.
      The command's handler table entry lists the effects that it asks for. */
  [[nodiscard]] std::optional<std::uint32_t> effect(std::string_view word) const;

  /** Puts an effect of the fault file on this call. */
  void set_effect(Fault& fault) { effect_ = &fault; }

  /** Copies the results to the caller. */
  void copy_back() const;

 private:
  [[nodiscard]] const Parameter& parameter(std::size_t number) const;
  [[nodiscard]] vmk_MgmtDataDescriptor descriptor(std::size_t number) const;
  void require(bool matches, std::size_t number) const;

  template <typename Record, typename Byte>
  Record& record(std::span<Byte> bytes, std::size_t number) const {
    static_assert(std::is_trivially_copyable_v<Record>);
    require(sizeof(Record) <= bytes.size(), number);
    return *reinterpret_cast<Record*>(bytes.data());
  }

  CommandId command_;
  std::vector<Parameter> parameters_;
  Fault* effect_ = nullptr;
};

}  // namespace ravnsim
