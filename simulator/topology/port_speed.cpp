#include "simulator/topology/port_speed.h"

#include "driver_abi/fc.h"

#include <algorithm>
#include <iterator>

namespace ravnsim {

std::optional<std::uint32_t> speed_bit(std::uint32_t gbit) {
  if (gbit == 0) {
    return 0;
  }
  const auto* speed = std::ranges::find(ovk::port_speeds, gbit, &ovk::PortSpeed::gbit);
  return speed != std::end(ovk::port_speeds) ? std::optional{speed->bit} : std::nullopt;
}

std::uint32_t gbit_of(std::uint32_t speed_bit) {
  const auto* speed = std::ranges::find(ovk::port_speeds, speed_bit, &ovk::PortSpeed::bit);
  return speed != std::end(ovk::port_speeds) ? speed->gbit : 0;
}

}  // namespace ravnsim
