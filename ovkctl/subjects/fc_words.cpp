#include "ovkctl/subjects/fc_words.h"

#include "driver_abi/fc.h"
#include "ovkctl/frame/words.h"

namespace ovkctl {
namespace {

using ovk::PortState;
using ovk::PortType;

constexpr auto port_types = words<PortType>({
    {PortType::unknown, "unknown"},
    {PortType::other, "other"},
    {PortType::not_present, "not present"},
    {PortType::n_port, "N_Port"},
    {PortType::nl_port, "NL_Port"},
    {PortType::fl_port, "FL_Port"},
    {PortType::f_port, "F_Port"},
    {PortType::e_port, "E_Port"},
    {PortType::g_port, "G_Port"},
    {PortType::l_port, "L_Port"},
    {PortType::point_to_point, "point-to-point"},
});

constexpr auto port_states = words<PortState>({
    {PortState::unknown, "unknown"},
    {PortState::online, "online"},
    {PortState::offline, "offline"},
    {PortState::bypassed, "bypassed"},
    {PortState::diagnostics, "diagnostics"},
    {PortState::link_down, "link down"},
    {PortState::error, "error"},
    {PortState::loopback, "loopback"},
});

/** The bits of a mask of classes (FC-HBA). */
constexpr auto service_classes = words<std::uint32_t>({
    {0x1, "class F"},
    {0x2, "class 1"},
    {0x4, "class 2"},
    {0x8, "class 3"},
    {0x10, "class 4"},
    {0x40, "class 6"},
});

constexpr auto fc4_types = words<std::uint32_t>({
    {0x05, "IP"},
    {ovk::fc4_fcp, "FCP"},
    {0x1b, "FICON control unit"},
    {0x1c, "FICON channel"},
    {ovk::fc4_ct, "CT"},
    {0x22, "SW"},
    {ovk::fc4_nvme, "NVMe"},
});

}  // namespace

std::string port_type_text(std::uint32_t code) { return word_of(port_types, PortType{code}); }

std::string port_state_text(std::uint32_t code) { return word_of(port_states, PortState{code}); }

std::vector<std::string> service_class_list(std::uint32_t mask) {
  std::vector<std::string> classes;
  for (const auto& [bit, word] : service_classes) {
    if ((mask & bit) != 0) {
      classes.emplace_back(word);
    }
  }
  return classes;
}

std::vector<std::string> fc4_type_list(std::span<const std::uint8_t> map) {
  static constexpr std::uint32_t type_count = 256;
  std::vector<std::string> types;
  for (std::uint32_t type = 0; type < type_count; ++type) {
    if (ovk::has_fc4_type(map, type)) {
      types.push_back(word_or_hex(fc4_types, type, 2, "type "));
    }
  }
  return types;
}

}  // namespace ovkctl
