/**
 * @file
 * The kernel's copies of the parameters of one call.
 */
#pragma once

#include "simulator/call/signature.h"

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace ravnsim {

/** One parameter: the caller's memory, and the copy that the driver works on. */
class Parameter {
 public:
  /** Copies in what is declared as input; throws a Refusal when the caller gives no memory. */
  Parameter(const DeclaredParameter& declared, void* caller);

  [[nodiscard]] Direction direction() const { return direction_; }

  /** The copy; of a data descriptor, the descriptor itself. Aligned for every record. */
  [[nodiscard]] std::span<std::uint8_t> bytes() const { return {copy_.get(), size_}; }

  /** Copies back what is declared as output. */
  void copy_back() const;

 private:
  Direction direction_;
  std::size_t size_;
  void* caller_;
  std::unique_ptr<std::uint8_t[]> copy_;
};

/** Copies all parameters of a call in; throws a Refusal when they are not what was declared. */
std::vector<Parameter> copy_in(std::span<const DeclaredParameter> declared,
                               std::span<void* const> caller);

}  // namespace ravnsim
