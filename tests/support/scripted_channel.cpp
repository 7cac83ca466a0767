#include "tests/support/scripted_channel.h"

#include "driver_abi/vmkmgmt.h"
#include "tests/support/allocation.h"

#include <ovk/core.h>

#include <algorithm>
#include <cstdarg>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

namespace ovk::test {

int Exchange::perform(std::uint32_t* block, const std::vector<std::uint8_t*>& payloads) {
  for (std::size_t i = 0; i < words; ++i) {
    EXPECT_EQ(block[i], expected_words_[i]) << command_->name << ", word " << i;
  }
  for (const auto& [word, value] : answered_words_) {
    block[word] = value;
  }
  for (std::size_t i = 0; i < payloads.size(); ++i) {
    SCOPED_TRACE(testing::Message() << command_->name << ", payload " << i + 1);
    const auto& [size, direction] = command_->payloads[i];
    auto& [expected, lacking, reply, sent] = payloads_[i];
    EXPECT_EQ(payloads[i] == nullptr, lacking);
    if (payloads[i] == nullptr) {
      continue;
    }
    // A descriptor has a size of its own, whatever the declaration says.
    const bool described = direction == Direction::descriptor;
    sent.assign(payloads[i], payloads[i] + (described ? sizeof(vmk_MgmtDataDescriptor) : size));
    if (expected) {
      expected->resize(sent.size());
      EXPECT_THAT(sent, SameBytes(*expected));
    }
    EXPECT_LE(reply.size(), direction == Direction::input ? 0 : size);
    std::ranges::copy(reply, payloads[i]);
  }
  return result_;
}

void ScriptedChannel::verify() const {
  for (std::size_t i = next_; i < exchanges_.size(); ++i) {
    ADD_FAILURE() << "expected, but never sent: " << exchanges_[i].command_->name;
  }
}

Exchange& ScriptedChannel::expect(std::string_view name, std::uint32_t driver_board) {
  const auto* command = std::ranges::find(commands, name, &DriverCommand::name);
  if (command == commands.end()) {
    throw std::invalid_argument{"the driver has no command " + std::string{name}};
  }
  return exchanges_.emplace_back(*command, driver_board);
}

int ScriptedChannel::invoke(std::uint64_t id, std::uint32_t parameter_count,
                            const std::vector<std::uint8_t*>& parameters) {
  constexpr int refused = 22;
  const bool is_over = next_ == exchanges_.size();
  const DriverCommand& expected = is_over ? commands.front() : *exchanges_[next_].command_;
  if (is_over || expected.id != id || parameter_count != 1 + expected.payload_count) {
    ADD_FAILURE() << "expected " << (is_over ? "no command" : expected.name) << ", got command 0x"
                  << std::hex << id << " with " << std::dec << parameter_count << " parameters";
    return refused;
  }
  return exchanges_[next_++].perform(reinterpret_cast<std::uint32_t*>(parameters.front()),
                                     {parameters.begin() + 1, parameters.end()});
}

}  // namespace ovk::test

// The program's own channel: it comes before the one that libovk.so is linked with.

using ovk::test::AllocationsUncounted;
using ovk::test::ScriptedChannel;

int vmk_MgmtUserInit(const vmk_MgmtSignature* signature, uint32_t reserved0, uint32_t reserved1,
                     vmk_MgmtChannel** channel) {
  const AllocationsUncounted uncounted;
  ScriptedChannel* scripted = ScriptedChannel::current;
  EXPECT_EQ(signature, &ravn_mgmt_signature);
  EXPECT_EQ(reserved0, 0U);
  EXPECT_EQ(reserved1, 0U);
  ++scripted->opened;
  if (scripted->open_result == 0) {
    *channel = scripted->handle();
  }
  return scripted->open_result;
}

int vmk_MgmtUserCallbackInvokeInt(vmk_MgmtChannel* channel, uint64_t instance, uint64_t callback,
                                  uint32_t parameter_count, ...) {
  const AllocationsUncounted uncounted;
  EXPECT_EQ(channel, ScriptedChannel::current->handle());
  EXPECT_EQ(instance, 0U);
  std::vector<std::uint8_t*> parameters;
  va_list arguments;
  va_start(arguments, parameter_count);
  for (uint32_t i = 0; i < parameter_count; ++i) {
    parameters.push_back(va_arg(arguments, std::uint8_t*));
  }
  va_end(arguments);
  return ScriptedChannel::current->invoke(callback, parameter_count, parameters);
}

void vmk_MgmtUserDestroy(vmk_MgmtChannel* channel) {
  EXPECT_EQ(channel, ScriptedChannel::current->handle());
  ++ScriptedChannel::current->closed;
}
