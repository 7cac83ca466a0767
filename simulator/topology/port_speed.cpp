#include "simulator/topology/port_speed.h"

#include <algorithm>
#include <iterator>

namespace ravnsim {

namespace {

struct PortSpeed {
  std::uint32_t gbit;
  std::uint32_t bit;
};

constexpr PortSpeed speeds[] = {{0, 0x0},  {1, 0x1},   {2, 0x2},   {10, 0x4},   {4, 0x8},
                                {8, 0x10}, {16, 0x20}, {32, 0x40}, {64, 0x1000}};

}  // namespace

std::optional<std::uint32_t> speed_bit(std::uint32_t gbit) {
  const auto* speed = std::ranges::find(speeds, gbit, &PortSpeed::gbit);
  return speed != std::end(speeds) ? std::optional{speed->bit} : std::nullopt;
}

std::uint32_t gbit_of(std::uint32_t speed_bit) {
  const auto* speed = std::ranges::find(speeds, speed_bit, &PortSpeed::bit);
  return speed != std::end(speeds) ? speed->gbit : 0;
}

}  // namespace ravnsim
