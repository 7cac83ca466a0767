#include "ovkctl/subjects/fc_words.h"

#include "driver_abi/fc.h"
#include "ovkctl/frame/values.h"

#include <algorithm>

namespace ovkctl {
namespace {

struct TypeWord {
  std::uint32_t code;
  const char* text;
};

constexpr TypeWord kPortTypes[] = {
    {1, "unknown"}, {2, "other"},   {3, "not present"},     {5, "N_Port"},
    {6, "NL_Port"}, {7, "FL_Port"}, {8, "F_Port"},          {9, "E_Port"},
    {10, "G_Port"}, {20, "L_Port"}, {21, "point-to-point"},
};

constexpr TypeWord kPortStates[] = {
    {1, "unknown"},     {2, "online"},    {3, "offline"}, {4, "bypassed"},
    {5, "diagnostics"}, {6, "link down"}, {7, "error"},   {8, "loopback"},
};

constexpr TypeWord kServiceClasses[] = {
    {0x1, "class F"}, {0x2, "class 1"},  {0x4, "class 2"},
    {0x8, "class 3"}, {0x10, "class 4"}, {0x40, "class 6"},
};

constexpr TypeWord kFc4Types[] = {
    {0x05, "IP"},
    {0x08, "FCP"},
    {0x1b, "FICON control unit"},
    {0x1c, "FICON channel"},
    {0x20, "CT"},
    {0x22, "SW"},
    {0x28, "NVMe"},
};

constexpr std::uint32_t kSpeedUnknown = 0;
constexpr std::uint32_t kSpeedNotNegotiated = 0x8000;

std::string word_for(std::span<const TypeWord> words, std::uint32_t code) {
  const auto word = std::ranges::find(words, code, &TypeWord::code);
  return word != words.end() ? word->text : "code " + std::to_string(code);
}

}  // namespace

std::string port_type_text(std::uint32_t code) { return word_for(kPortTypes, code); }

std::string port_state_text(std::uint32_t code) { return word_for(kPortStates, code); }

std::optional<std::uint32_t> speed_gbit(std::uint32_t code) {
  const auto speed = std::ranges::find(ovk::port_speeds, code, &ovk::PortSpeed::bit);
  if (speed == std::end(ovk::port_speeds)) {
    return {};
  }
  return speed->gbit;
}

std::string gbit_text(std::uint32_t gbit) { return std::to_string(gbit) + " Gbit/s"; }

std::string speed_text(std::uint32_t code) {
  if (const auto gbit = speed_gbit(code)) {
    return gbit_text(*gbit);
  }
  if (code == kSpeedUnknown) {
    return "unknown";
  }
  return code == kSpeedNotNegotiated ? "not negotiated" : "code " + hex_text(code, 0);
}

std::vector<std::uint32_t> speed_list(std::uint32_t mask) {
  std::vector<std::uint32_t> speeds;
  for (const ovk::PortSpeed& speed : ovk::port_speeds) {
    if ((mask & speed.bit) != 0) {
      speeds.push_back(speed.gbit);
    }
  }
  return speeds;
}

std::vector<std::string> service_class_list(std::uint32_t mask) {
  std::vector<std::string> classes;
  for (const TypeWord& service_class : kServiceClasses) {
    if ((mask & service_class.code) != 0) {
      classes.emplace_back(service_class.text);
    }
  }
  return classes;
}

std::vector<std::string> fc4_type_list(std::span<const std::uint8_t> map) {
  static constexpr std::uint32_t type_count = 256;
  std::vector<std::string> types;
  for (std::uint32_t type = 0; type < type_count; ++type) {
    if (ovk::has_fc4_type(map, type)) {
      const auto* const word = std::ranges::find(kFc4Types, type, &TypeWord::code);
      types.push_back(word != std::end(kFc4Types) ? word->text : "type " + hex_text(type, 2));
    }
  }
  return types;
}

}  // namespace ovkctl
