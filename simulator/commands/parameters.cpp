#include "driver_abi/records/parameters.h"

#include "simulator/board/adapter.h"
#include "simulator/board/driver_parameters.h"
#include "simulator/board/text_field.h"
#include "simulator/call/handler_table.h"
#include "simulator/call/request.h"

#include <algorithm>
#include <cstddef>

namespace ravnsim {

namespace {

using ovk::ParameterRecord;

DriverStatus list_parameters(Adapter& adapter, Request& request) {
  CommandBlock& block = request.block();
  auto& table = request.output<ovk::ParameterTable>(1);
  const auto definitions = parameter_definitions();
  const auto& values = adapter.state<ParameterValues>();
  const std::size_t room = std::min<std::size_t>(block.request_size, sizeof table);
  const std::size_t count = std::min(room / sizeof(ParameterRecord), definitions.size());
  for (std::size_t i = 0; i < count; ++i) {
    const ParameterDefinition& definition = definitions[i];
    ParameterRecord& record = table.entries[i];
    put_text(record.name, definition.name);
    record.least = definition.least;
    record.most = definition.most;
    record.initial = definition.initial;
    record.value = values.value(i);
    record.takes_effect = definition.takes_effect;
    put_text(record.description, definition.description);
  }
  block.reply_size = static_cast<std::uint32_t>(count * sizeof(ParameterRecord));
  return DriverStatus::success;
}

DriverStatus set_parameter(Adapter& adapter, Request& request) {
  const CommandBlock& block = request.block();
  if (block.index >= parameter_definitions().size()) {
    return DriverStatus::not_found;
  }
  const ParameterDefinition& definition = parameter_definitions()[block.index];
  if (definition.takes_effect == ovk::TakesEffect::never_set) {
    return DriverStatus::not_permitted;
  }
  if (block.value < definition.least || block.value > definition.most) {
    return DriverStatus::does_not_fit;
  }
  adapter.state<ParameterValues>().set(block.index, block.value);
  return DriverStatus::success;
}

}  // namespace

void add_parameters_handlers(HandlerTable& table) {
  table.on<"RAVN_MGMT_GETCFG">(list_parameters);
  table.on<"RAVN_MGMT_SETCFG">(set_parameter);
}

}  // namespace ravnsim
