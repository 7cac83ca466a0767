#include "ovkctl/frame/cell.h"

#include "driver_abi/fc.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <iterator>

namespace ovkctl {
namespace {

constexpr const char* nothing = "-";

std::string size_text(std::uint64_t bytes) {
  static constexpr std::uint64_t step = 1024;
  static constexpr std::array units = {"bytes", "KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
  // What is said in bytes everywhere, such as a frame size, stays in bytes.
  static constexpr std::uint64_t least_with_unit = 16 * step;
  std::size_t unit = 0;
  if (bytes < least_with_unit) {
    return fmt::format("{} bytes", bytes);
  }
  while (bytes % step == 0 && unit + 1 < units.size()) {
    bytes /= step;
    ++unit;
  }
  return fmt::format("{} {}", bytes, units.at(unit));
}

std::string list_text(const List& list) {
  const std::string text = fmt::format("{}", fmt::join(list, ", "));
  return text.empty() ? nothing : text;
}

std::string speed_text(Speed speed) {
  static constexpr std::uint32_t unknown = 0;
  static constexpr std::uint32_t not_negotiated = 0x8000;
  if (const auto gbit = speed.gbit()) {
    return fmt::format("{} Gbit/s", *gbit);
  }
  if (speed.code == unknown) {
    return "unknown";
  }
  return speed.code == not_negotiated ? "not negotiated" : "code " + hex_text(speed.code, 0);
}

struct TextOf {
  std::string operator()(std::monostate) const { return nothing; }
  std::string operator()(bool flag) const { return flag ? "yes" : "no"; }
  std::string operator()(std::int64_t number) const { return std::to_string(number); }
  std::string operator()(double number) const { return fmt::format("{:.1f}", number); }
  std::string operator()(const Cell::WideNumber& number) const { return number.digits; }
  std::string operator()(const std::string& text) const { return text.empty() ? nothing : text; }
  std::string operator()(Hex hex) const { return hex_text(hex.value, hex.digits); }
  std::string operator()(FcAddress address) const {
    static constexpr int digits = 6;
    return hex_text(address.value, digits);
  }
  std::string operator()(Size size) const { return size_text(size.bytes); }
  std::string operator()(LargeSize size) const { return size_text(size.bytes); }
  std::string operator()(Speed speed) const { return speed_text(speed); }
  std::string operator()(Speeds speeds) const {
    List texts;
    for (const std::uint32_t gbit : speeds.gbits()) {
      texts.push_back(fmt::format("{} Gbit/s", gbit));
    }
    return list_text(texts);
  }
  std::string operator()(const Wwn& wwn) const { return wwn_text(wwn); }
  std::string operator()(const List& list) const { return list_text(list); }
};

template <typename... Types>
bool holds_one_of(const Cell::Value& value) {
  return (std::holds_alternative<Types>(value) || ...);
}

}  // namespace

std::optional<std::uint32_t> Speed::gbit() const {
  const auto* const speed = std::ranges::find(ovk::port_speeds, code, &ovk::PortSpeed::bit);
  return speed != std::end(ovk::port_speeds) ? std::optional{speed->gbit} : std::nullopt;
}

std::vector<std::uint32_t> Speeds::gbits() const {
  std::vector<std::uint32_t> speeds;
  for (const ovk::PortSpeed& speed : ovk::port_speeds) {
    if ((mask & speed.bit) != 0) {
      speeds.push_back(speed.gbit);
    }
  }
  return speeds;
}

bool Cell::is_quantity() const {
  return holds_one_of<std::monostate, std::int64_t, double, WideNumber, Size, LargeSize, Speed>(
      value_);
}

std::string Cell::text() const { return std::visit(TextOf{}, value_); }

}  // namespace ovkctl
