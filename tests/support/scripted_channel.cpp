#include "tests/support/scripted_channel.h"

#include "platform/vmkmgmt.h"
#include "tests/support/allocation.h"

#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <utility>

#include <gtest/gtest.h>

namespace ovk::test {

namespace {

constexpr std::size_t status_word = 11;
constexpr int refused = 22;

ScriptedChannel* current_channel = nullptr;

const Callback* find_callback(std::string_view name) {
  const auto* row = std::ranges::find(catalogue, name, &Callback::name);
  return row == catalogue.end() ? nullptr : row;
}

bool is_sent(Direction direction) {
  return direction == Direction::input || direction == Direction::in_out;
}

}  // namespace

Exchange::Exchange(const Callback& callback, std::uint32_t driver_board) : callback_{&callback} {
  expected_words_[0] = driver_board;
}

Exchange& Exchange::word(std::size_t number, std::uint32_t value) {
  expected_words_.at(number) = value;
  return *this;
}

Exchange& Exchange::sends(std::size_t payload, ByteVector bytes) {
  expected_payloads_.at(payload - 1) = std::move(bytes);
  payload_expected_.at(payload - 1) = true;
  return *this;
}

Exchange& Exchange::lacks(std::size_t payload) {
  payload_lacking_.at(payload - 1) = true;
  return *this;
}

Exchange& Exchange::answers(std::size_t word, std::uint32_t value) {
  answered_words_.emplace_back(word, value);
  return *this;
}

Exchange& Exchange::replies(std::size_t payload, ByteVector bytes) {
  replies_.at(payload - 1) = std::move(bytes);
  return *this;
}

Exchange& Exchange::status(DriverStatus status) {
  return answers(status_word, static_cast<std::uint32_t>(status));
}

Exchange& Exchange::status(std::uint32_t status) { return answers(status_word, status); }

Exchange& Exchange::delivery_error(int result) {
  result_ = result;
  return *this;
}

Exchange& Exchange::meanwhile(std::function<void()> action) {
  meanwhile_ = std::move(action);
  return *this;
}

const ByteVector& Exchange::sent(std::size_t payload) const { return sent_.at(payload - 1); }

void Exchange::check(const std::uint32_t* block, const std::vector<std::uint8_t*>& payloads) {
  for (std::size_t i = 0; i < words; ++i) {
    EXPECT_EQ(block[i], expected_words_[i]) << callback_->name << ", word " << i;
  }
  for (std::size_t i = 0; i < payloads.size(); ++i) {
    const Parameter& parameter = callback_->payloads[i];
    EXPECT_EQ(payloads[i] == nullptr, payload_lacking_[i])
        << callback_->name << ", payload " << i + 1;
    if (payloads[i] == nullptr) {
      continue;
    }
    // A descriptor has a size of its own, whatever the declaration says.
    const std::size_t size = parameter.direction == Direction::descriptor
                                 ? sizeof(vmk_MgmtDataDescriptor)
                                 : parameter.size;
    sent_[i].assign(payloads[i], payloads[i] + size);
    if (payload_expected_[i]) {
      EXPECT_TRUE(is_sent(parameter.direction) || parameter.direction == Direction::descriptor)
          << callback_->name << ", payload " << i + 1 << " is not sent to the driver";
      ByteVector expected = expected_payloads_[i];
      expected.resize(size);
      EXPECT_EQ(sent_[i], expected) << callback_->name << ", payload " << i + 1;
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
    if (!replies_[i].empty() && payloads[i] != nullptr) {
      EXPECT_NE(callback_->payloads[i].direction, Direction::input);
      EXPECT_LE(replies_[i].size(), callback_->payloads[i].size);
      std::ranges::copy(replies_[i], payloads[i]);
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
    ADD_FAILURE() << "expected, but never sent: " << exchanges_[i].callback_->name;
  }
}

ScriptedChannel* ScriptedChannel::current() { return current_channel; }

Exchange& ScriptedChannel::expect(std::string_view name, std::uint32_t driver_board) {
  const Callback* callback = find_callback(name);
  if (callback == nullptr) {
    std::fprintf(stderr, "the catalogue holds no %s\n", std::string{name}.c_str());
    std::abort();
  }
  return exchanges_.emplace_back(*callback, driver_board);
}

int ScriptedChannel::invoke(std::uint64_t id, std::uint32_t parameter_count,
                            const std::vector<std::uint8_t*>& parameters) {
  if (next_ == exchanges_.size() && other_result_ != 0) {
    return other_result_;
  }
  if (next_ == exchanges_.size()) {
    ADD_FAILURE() << "not expected: command 0x" << std::hex << id;
    return refused;
  }
  Exchange& exchange = exchanges_[next_];
  if (exchange.callback_->id != id || parameter_count != 1 + exchange.callback_->payload_count) {
    ADD_FAILURE() << "expected " << exchange.callback_->name << ", got command 0x" << std::hex << id
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
  EXPECT_EQ(signature->callback_count, ovk::catalogue.size());
  EXPECT_EQ(reserved0, 0U);
  EXPECT_EQ(reserved1, 0U);
  ++scripted->opened;
  if (scripted->open_result == 0) {
    void* opaque = scripted;
    *channel = static_cast<vmk_MgmtChannel*>(opaque);
  }
  return scripted->open_result;
}

int vmk_MgmtUserCallbackInvokeInt(vmk_MgmtChannel* /*channel*/, uint64_t instance,
                                  uint64_t callback, uint32_t parameter_count, ...) {
  const AllocationsUncounted uncounted;
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

void vmk_MgmtUserDestroy(vmk_MgmtChannel* /*channel*/) { ++ScriptedChannel::current()->closed; }
