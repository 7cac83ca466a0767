/**
 * @file
 * What the other side declared when it opened the channel.
 */
#pragma once

#include "driver_abi/vmkmgmt.h"
#include "simulator/call/driver_commands.h"

#include <cstdint>
#include <map>
#include <span>
#include <vector>

namespace ravnsim {

/** Which way a parameter is copied. */
enum class Direction : std::uint32_t {
  input = VMK_MGMT_PARAMETER_IN,
  output = VMK_MGMT_PARAMETER_OUT,
  in_out = VMK_MGMT_PARAMETER_IN_OUT,
  descriptor = VMK_MGMT_PARAMETER_DESCRIPTOR,
};

/** One declared parameter. */
struct DeclaredParameter {
  std::uint32_t size;
  Direction direction;
};

/** The callbacks of a signature record, checked and copied. */
class Signature {
 public:
  /** Throws a Refusal when the record is another interface's or its table is not valid. */
  explicit Signature(const vmk_MgmtSignature& record);

  /** The parameters of a callback; throws a Refusal when it was not declared. */
  [[nodiscard]] std::span<const DeclaredParameter> parameters_of(DriverCommand callback) const;

 private:
  void declare(const vmk_MgmtCallbackInfo& callback);

  std::map<DriverCommand, std::vector<DeclaredParameter>> callbacks_;
};

}  // namespace ravnsim
