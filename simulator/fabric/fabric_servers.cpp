#include "simulator/fabric/fabric_servers.h"

#include "driver_abi/records/name_server.h"
#include "simulator/board/port_list.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <variant>
#include <vector>

namespace ravnsim {

namespace {

using Bytes = std::span<const std::uint8_t>;

/** What a server gives after the preamble, or why it does not. */
using CtAnswer = std::variant<ByteVector, CtReject>;

constexpr std::uint32_t management_server = ovk::well_known_addresses | ovk::management_service;
constexpr std::uint32_t name_server = ovk::well_known_addresses | ovk::directory_service;
constexpr std::uint32_t configuration_subtype = 0x01;
constexpr std::uint32_t name_subtype = 0x02;

// The preamble of a CT_IU.
constexpr std::size_t preamble_size = 16;
constexpr std::size_t service_offset = 4;
constexpr std::size_t subtype_offset = 5;
constexpr std::size_t command_offset = 8;
constexpr std::size_t size_offset = 10;

constexpr std::uint8_t last_entry = 0x80;
constexpr std::size_t id_size = 3;
constexpr std::size_t name_size = 8;

constexpr CtReject wrong_version{0x02, 0x00};
constexpr CtReject wrong_size{0x04, 0x00};
constexpr CtReject unknown_id{0x09, 0x01};
constexpr CtReject unknown_port_name{0x09, 0x02};
constexpr CtReject unknown_fc4_type{0x09, 0x07};
constexpr CtReject unknown_element{0x09, 0x01};
constexpr CtReject not_supported{0x0B, 0x00};

/** The ports that are registered, by rising address: put in order when the list of them changes,
    because whoever walks a large fabric asks for each. */
class Registry {
 public:
  explicit Registry(Adapter& adapter) : adapter_{adapter} {}

  const std::vector<const PortTopology*>& ports() {
    const auto& list = adapter_.state<PortList>();
    if (list.tag() != tag_) {
      ports_.clear();
      std::ranges::transform(list.ports(), std::back_inserter(ports_),
                             [](const PortTopology& port) { return &port; });
      ports_.push_back(&adapter_.topology().port);
      std::ranges::sort(ports_, {}, &PortTopology::fc_id);
      tag_ = list.tag();
    }
    return ports_;
  }

 private:
  Adapter& adapter_;
  std::uint32_t tag_ = 0;  // that no list has
  std::vector<const PortTopology*> ports_;
};

const std::vector<const PortTopology*>& registered(Adapter& adapter) {
  return adapter.state<Registry>().ports();
}

/** How the name server tells the types of ports apart. */
std::uint8_t name_server_type(PortType type) {
  static const std::map<PortType, std::uint8_t> types{
      {PortType::n_port, 0x01}, {PortType::point_to_point, 0x01}, {PortType::nl_port, 0x02},
      {PortType::f_port, 0x81}, {PortType::fl_port, 0x82},        {PortType::e_port, 0x84}};
  const auto found = types.find(type);
  return found != types.end() ? found->second : std::uint8_t{0};
}

/** A symbolic name, as much of it as is registered. */
std::string_view registered_name(const PortTopology& port) {
  return std::string_view{port.symbolic_name}.substr(0, sizeof ovk::RegisteredPort{}.symbolic_name);
}

/** Everything that is registered of the port after the one of the request (GA_NXT). */
CtAnswer next_port(Adapter& adapter, Bytes request) {
  const auto& ports = registered(adapter);
  const std::uint32_t id = get_number(request, 1, id_size);
  const auto after = std::ranges::upper_bound(ports, id, {}, &PortTopology::fc_id);
  const PortTopology& port = after != ports.end() ? **after : *ports.front();
  const std::string_view name = registered_name(port);
  ovk::RegisteredPort answer{.type = name_server_type(port.type),
                             .port_name = port.port_wwn,
                             .symbolic_name_length = static_cast<std::uint8_t>(name.size()),
                             .node_name = port.node_wwn,
                             .fc4_types = port.fc4_types_supported,
                             .fabric_name = port.fabric_name};
  set_number(answer.fc_id, port.fc_id);
  set_number(answer.classes, port.classes);
  std::ranges::copy(name, answer.symbolic_name);
  return record_bytes(answer);
}

// What the entries of answers say of a port.
using Describe = void (*)(ByteVector& entry, const PortTopology& port);

void put_nothing(ByteVector& /*entry*/, const PortTopology& /*port*/) {}

void put_port_name(ByteVector& entry, const PortTopology& port) {
  put_bytes(entry, port.port_wwn.bytes);
}

void put_node_name(ByteVector& entry, const PortTopology& port) {
  put_bytes(entry, port.node_wwn.bytes);
}

void put_symbolic_port_name(ByteVector& entry, const PortTopology& port) {
  const std::string_view name = registered_name(port);
  put_number(entry, static_cast<std::uint32_t>(name.size()), 1);
  put_text(entry, name);
}

/** A name behind the four reserved bytes of a list's entry. */
template <Describe put_name>
void put_field(ByteVector& entry, const PortTopology& port) {
  put_zeros(entry, 4);
  put_name(entry, port);
}

/** The port whose address a request carries, or why there is none. */
template <Describe describe>
CtAnswer of_id(Adapter& adapter, Bytes request) {
  const auto& ports = registered(adapter);
  const std::uint32_t id = get_number(request, 1, id_size);
  const auto port = std::ranges::lower_bound(ports, id, {}, &PortTopology::fc_id);
  if (port == ports.end() || (*port)->fc_id != id) {
    return unknown_id;
  }
  ByteVector answer;
  describe(answer, **port);
  return answer;
}

CtAnswer id_of_name(Adapter& adapter, Bytes request) {
  for (const PortTopology* port : registered(adapter)) {
    if (std::ranges::equal(port->port_wwn.bytes, request.first(name_size))) {
      ByteVector answer{0};
      put_number(answer, port->fc_id, id_size);
      return answer;
    }
  }
  return unknown_port_name;
}

/** An entry for each port of the FC-4 type of the request; the last one is marked. */
template <Describe describe>
CtAnswer of_fc4_type(Adapter& adapter, Bytes request) {
  ByteVector answer;
  std::size_t last = 0;
  for (const PortTopology* port : registered(adapter)) {
    if (ovk::has_fc4_type(port->fc4_types_supported, request[3])) {
      last = answer.size();
      answer.push_back(0);
      put_number(answer, port->fc_id, id_size);
      describe(answer, *port);
    }
  }
  if (answer.empty()) {
    return unknown_fc4_type;
  }
  answer[last] = last_entry;
  return answer;
}

struct NameServerCommand {
  std::uint32_t code;
  std::size_t request_size;
  CtAnswer (*answer)(Adapter&, Bytes);
};

constexpr NameServerCommand name_server_commands[] = {
    {0x0100, 4, next_port},                              // GA_NXT
    {0x0112, 4, of_id<put_port_name>},                   // GPN_ID
    {0x0113, 4, of_id<put_node_name>},                   // GNN_ID
    {0x0118, 4, of_id<put_symbolic_port_name>},          // GSPN_ID
    {0x0121, name_size, id_of_name},                     // GID_PN
    {0x0171, 4, of_fc4_type<put_nothing>},               // GID_FT
    {0x0172, 4, of_fc4_type<put_field<put_port_name>>},  // GPN_FT
    {0x0173, 4, of_fc4_type<put_field<put_node_name>>},  // GNN_FT
};

CtAnswer ask_name_server(Adapter& adapter, std::uint32_t code, Bytes request) {
  const auto* command = std::ranges::find(name_server_commands, code, &NameServerCommand::code);
  if (command == std::end(name_server_commands)) {
    return not_supported;
  }
  return request.size() < command->request_size ? CtAnswer{wrong_size}
                                                : command->answer(adapter, request);
}

/** The fabric is one switch, which has the fabric's name. */
CtAnswer ask_management_server(Adapter& adapter, std::uint32_t code, Bytes request) {
  constexpr std::uint32_t get_element_list = 0x0101;  // GIEL
  constexpr std::uint32_t get_fabric_name = 0x0114;   // GFN
  const Wwn& element = adapter.topology().port.fabric_name;
  ByteVector answer;
  if (code == get_element_list) {
    constexpr std::uint32_t type_switch = 1;
    put_number(answer, 1, 4);
    put_bytes(answer, element.bytes);
    put_number(answer, type_switch, 4);
    return answer;
  }
  if (code != get_fabric_name) {
    return not_supported;
  }
  if (request.size() < name_size) {
    return wrong_size;
  }
  if (!std::ranges::equal(element.bytes, request.first(name_size))) {
    return unknown_element;
  }
  put_bytes(answer, element.bytes);
  return answer;
}

CtAnswer ask(Adapter& adapter, std::uint32_t destination, Bytes request) {
  constexpr std::uint8_t oldest_revision = 1;
  constexpr std::uint8_t newest_revision = 3;
  if (request.size() < preamble_size) {
    return wrong_size;
  }
  if (request[0] < oldest_revision || request[0] > newest_revision) {
    return wrong_version;
  }
  const std::uint32_t service = request[service_offset];
  const std::uint32_t subtype = request[subtype_offset];
  const std::uint32_t code = get_number(request, command_offset, 2);
  const Bytes rest = request.subspan(preamble_size);
  if (destination == name_server && service == ovk::directory_service && subtype == name_subtype) {
    return ask_name_server(adapter, code, rest);
  }
  if (destination == management_server && service == ovk::management_service &&
      subtype == configuration_subtype) {
    return ask_management_server(adapter, code, rest);
  }
  return not_supported;
}

/** The preamble of an answer, which repeats what the request says of the service. */
ByteVector answer_preamble(Bytes request, std::uint32_t response, std::uint32_t residual) {
  ByteVector preamble(request.begin(), request.begin() + static_cast<std::ptrdiff_t>(std::min(
                                                             request.size(), command_offset)));
  preamble.resize(command_offset);
  put_number(preamble, response, 2);
  put_number(preamble, residual, 2);
  put_zeros(preamble, 4);
  return preamble;
}

/** An accepting CT_IU, as long as the request allows; it says how many words were left out. */
ByteVector ct_accept(Bytes request, Bytes contents) {
  constexpr std::size_t word = 4;
  const std::size_t most = get_number(request, size_offset, 2) * word;
  const std::size_t kept = most == 0 ? contents.size() : std::min(most, contents.size());
  const auto left_out = static_cast<std::uint32_t>((contents.size() - kept) / word);
  ByteVector iu = answer_preamble(request, ovk::ct_accepted, left_out);
  put_bytes(iu, contents.first(kept));
  return iu;
}

}  // namespace

ByteVector ct_reject(Bytes request, CtReject reject) {
  ByteVector iu = answer_preamble(request, ovk::ct_rejected, 0);
  iu[13] = reject.reason;
  iu[14] = reject.explanation;
  return iu;
}

std::optional<ByteVector> answer_ct(Adapter& adapter, std::uint32_t destination, Bytes request) {
  if (destination != name_server && destination != management_server) {
    return std::nullopt;
  }
  const CtAnswer answer = ask(adapter, destination, request);
  if (const auto* reject = std::get_if<CtReject>(&answer)) {
    return ct_reject(request, *reject);
  }
  return ct_accept(request, std::get<ByteVector>(answer));
}

}  // namespace ravnsim
