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

namespace {

constexpr int refused = 22;

ScriptedChannel* current_channel = nullptr;

}  // namespace

Exchange::Exchange(const DriverCommand& command, std::uint32_t driver_board) : command_{&command} {
  expected_words_[0] = driver_board;
}

void Exchange::check(const std::uint32_t* block, const std::vector<std::uint8_t*>& payloads) {
  for (std::size_t i = 0; i < words; ++i) {
    EXPECT_EQ(block[i], expected_words_[i]) << command_->name << ", word " << i;
  }
  for (std::size_t i = 0; i < payloads.size(); ++i) {
    SCOPED_TRACE(testing::Message() << command_->name << ", payload " << i + 1);
    const auto& [size, direction] = command_->payloads[i];
    auto& [expected, written_only, lacking, reply, sent] = payloads_[i];
    EXPECT_EQ(payloads[i] == nullptr, lacking);
    if (payloads[i] == nullptr) {
      continue;
    }
    // A descriptor has a size of its own, whatever the declaration says.
    const bool described = direction == Direction::descriptor;
    sent.assign(payloads[i], payloads[i] + (described ? sizeof(vmk_MgmtDataDescriptor) : size));
    if (expected) {
      EXPECT_TRUE(written_only || direction != Direction::output) << "is not sent to the driver";
      expected->resize(sent.size());
      EXPECT_THAT(sent, SameBytes(*expected));
    }
  }
}

int Exchange::perform(std::uint32_t* block, const std::vector<std::uint8_t*>& payloads) {
  check(block, payloads);
  if (meanwhile_) {
    meanwhile_();
  }
  for (const auto& [word, value] : answered_words_) {
    block[word] = value;
  }
  for (std::size_t i = 0; i < payloads.size(); ++i) {
    if (const ByteVector& reply = payloads_[i].reply; !reply.empty() && payloads[i] != nullptr) {
      EXPECT_NE(command_->payloads[i].direction, Direction::input);
      EXPECT_LE(reply.size(), command_->payloads[i].size);
      std::ranges::copy(reply, payloads[i]);
    }
  }
  return result_;
}

ScriptedChannel::ScriptedChannel() { current_channel = this; }

ScriptedChannel::~ScriptedChannel() {
  verify();
  current_channel = nullptr;
}

void ScriptedChannel::verify() const {
  for (std::size_t i = next_; i < exchanges_.size(); ++i) {
    ADD_FAILURE() << "expected, but never sent: " << exchanges_[i].command_->name;
  }
}

ScriptedChannel* ScriptedChannel::current() { return current_channel; }

vmk_MgmtChannel* ScriptedChannel::handle() {
  void* opaque = this;
  return static_cast<vmk_MgmtChannel*>(opaque);
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
  if (next_ == exchanges_.size()) {
    ADD_FAILURE() << "not expected: command 0x" << std::hex << id;
    return refused;
  }
  Exchange& exchange = exchanges_[next_];
  if (exchange.command_->id != id || parameter_count != 1 + exchange.command_->payload_count) {
    ADD_FAILURE() << "expected " << exchange.command_->name << ", got command 0x" << std::hex << id
                  << " with " << std::dec << parameter_count << " parameters";
    return refused;
  }
  ++next_;
  void* block = parameters.front();
  return exchange.perform(static_cast<std::uint32_t*>(block),
                          {parameters.begin() + 1, parameters.end()});
}

}  // namespace ovk::test

// The program's own channel: it comes before the one that libovk.so is linked with.

using ovk::test::AllocationsUncounted;
using ovk::test::ScriptedChannel;

int vmk_MgmtUserInit(const vmk_MgmtSignature* signature, uint32_t reserved0, uint32_t reserved1,
                     vmk_MgmtChannel** channel) {
  const AllocationsUncounted uncounted;
  ScriptedChannel* scripted = ScriptedChannel::current();
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
  EXPECT_EQ(channel, ScriptedChannel::current()->handle());
  EXPECT_EQ(instance, 0U);
  std::vector<std::uint8_t*> parameters;
  va_list arguments;
  va_start(arguments, parameter_count);
  for (uint32_t i = 0; i < parameter_count; ++i) {
    parameters.push_back(va_arg(arguments, std::uint8_t*));
  }
  va_end(arguments);
  return ScriptedChannel::current()->invoke(callback, parameter_count, parameters);
}

void vmk_MgmtUserDestroy(vmk_MgmtChannel* channel) {
  EXPECT_EQ(channel, ScriptedChannel::current()->handle());
  ++ScriptedChannel::current()->closed;
}
