/**
 * @file
 * What the other side declared when it opened the channel.
 */
#pragma once

#include "driver_abi/vmkmgmt.h"
#include "simulator/call/command_id.h"

#include <cstdint>
#include <map>
#include <span>
#include <vector>

namespace ravnsim {

using ovk::Direction;

/** One declared parameter. */
using DeclaredParameter = ovk::Parameter;

/** The callbacks of a signature record, checked and copied. */
class Signature {
 public:
  /** Throws a Refusal when the record is another interface's or its table is not valid. */
  explicit Signature(const vmk_MgmtSignature& record);

  /** The parameters of a callback; throws a Refusal when it was not declared. */
  [[nodiscard]] std::span<const DeclaredParameter> parameters_of(CommandId callback) const;

 private:
  void declare(const vmk_MgmtCallbackInfo& callback);

  std::map<CommandId, std::vector<DeclaredParameter>> callbacks_;
};

}  // namespace ravnsim
