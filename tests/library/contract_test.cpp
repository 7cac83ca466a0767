// Holds each call of the table to its contract.

#include "tests/library/contract.h"

#include "tests/support/library_test.h"

#include <ovk/core.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>

namespace ovk::test {
namespace {

constexpr std::uint32_t statuses[] = {0x0BAD0003, 0x0BAD0004, 0x0BAD0006, 0x0BAD0007, 0x0BAD000A,
                                      0x0BAD000D, 0x0BAD000E, 0x0BAD000F, 0x0BAD0010, 0x0BAD0014,
                                      0x0BAD0020, 0x0BAD0021, 0x0BAD002B, 0x0BAD002C, 0x0BAD0030,
                                      0x0BAD0039, 0x0BAD005A, 0x0BAD005D, 0x0BAD0084, 0x0BAD009B,
                                      0x0BAD00B4, 0x0BAD0100, 0x0BAD0119, 0x0BAD0001, 1};

constexpr std::size_t guard = 16;  // bytes behind the caller's memory
constexpr std::uint32_t beyond_the_tables = 32;

const DriverCommand& command_of(const Contract& contract) {
  return *std::ranges::find(commands, std::string_view{contract.command}, &DriverCommand::name);
}

void copy(const ByteVector& from, std::size_t at, ByteVector& to, std::size_t place,
          std::size_t size) {
  ASSERT_LE(at + size, from.size());
  ASSERT_LE(place + size, to.size());
  std::memcpy(to.data() + place, from.data() + at, size);
}

class ContractTest : public LibraryTest, public testing::WithParamInterface<Contract> {
 protected:
  const Contract& contract = GetParam();
  const DriverCommand& command = command_of(contract);
  /** What the driver gives back, by source: the words of the block, then the payloads. */
  const std::array<ByteVector, 6> sources = answers();

  static std::uint32_t number_of(std::uint32_t board) {
    return board == 0 ? board0 : board == 1 ? board1 : unmapped_number;
  }

  /** The caller's memory before the call. */
  [[nodiscard]] ByteVector given() const {
    ByteVector memory = counted_bytes(contract.run.size + guard, 0x31);
    for (const auto& [offset, value] : contract.given) {
      memory = with_at(std::move(memory), offset, value);
    }
    return memory;
  }

  [[nodiscard]] std::array<ByteVector, 6> answers() const {
    std::array<ByteVector, 6> given_back;
    given_back[block] = counted_bytes(48, 0xC1);
    for (const auto& [word, value] : contract.answers) {
      given_back[block] = with_at(std::move(given_back[block]), 4 * word, value);
    }
    for (std::size_t i = 1; i <= command.payload_count; ++i) {
      given_back[i] =
          counted_bytes(command.payloads[i - 1].size, static_cast<std::uint8_t>(0x51 + 0x20 * i));
    }
    for (const auto& [payload, word] : contract.replies) {
      given_back[payload] = with_at(std::move(given_back[payload]), word.first, word.second);
    }
    given_back[zeros].resize(contract.run.size);
    given_back[ones].resize(contract.run.size, 0xFF);
    return given_back;
  }

  void expect_mode_question(std::uint32_t board, std::uint32_t mode) {
    if (!contract.gate.admitted.empty()) {
      expect_sli_mode(number_of(board), mode);
    }
  }

  /** Expects the command with all that it carries, and answers it. */
  Exchange& expect_command(std::uint32_t board, const ByteVector& memory) {
    Exchange& exchange =
        channel.expect(contract.command, contract.of_the_module ? no_board : number_of(board));
    for (const auto& [word, value] : contract.words) {
      exchange.word(word, value);
    }
    std::array<ByteVector, max_payloads> sent;
    for (std::size_t i = 0; i < command.payload_count; ++i) {
      sent[i].resize(command.payloads[i].size);
    }
    for (const auto& part : {contract.sends, contract.shares}) {
      for (const auto& [payload, at, offset, size] : part) {
        if (payload == block) {
          std::uint32_t value = 0;
          std::memcpy(&value, &memory[offset], size);
          exchange.word(at / 4, value);
        } else {
          copy(memory, offset, sent[payload - 1], at, size);
        }
      }
    }
    for (std::size_t word = 1; word < 11; ++word) {
      std::uint32_t value = 0;
      std::memcpy(&value, &sources[block][4 * word], sizeof value);
      exchange.answers(word, value);
    }
    for (std::size_t i = 0; i < command.payload_count; ++i) {
      if (command.payloads[i].direction != Direction::descriptor) {
        exchange.holds(i + 1, sent[i]);
      }
      if (command.payloads[i].direction == Direction::output ||
          command.payloads[i].direction == Direction::in_out) {
        exchange.replies(i + 1, sources[i + 1]);
      }
    }
    return exchange;
  }

  /** The caller's memory when a command has ended this way. */
  [[nodiscard]] ByteVector memory_after(std::uint32_t status, int delivery) const {
    ByteVector memory = given();
    const auto deliver = [&](const std::vector<Copy>& copies) {
      for (const auto& [payload, at, offset, size] : copies) {
        copy(sources[payload], at, memory, offset, size);
      }
    };
    deliver(contract.shares);
    deliver(contract.always);
    if (status == 0 && delivery == 0) {
      deliver(contract.gets);
    } else if (delivery == 0) {
      deliver(contract.refused);
    }
    if (status != 0 && status == contract.told.first) {
      deliver(contract.told.second);
    }
    return memory;
  }

  [[nodiscard]] std::uint32_t result_of(std::uint32_t status, int delivery) const {
    if (status == 0 && delivery == 0) {
      return contract.success;
    }
    if (delivery != 0 && contract.undelivered != Undelivered::by_status) {
      return contract.undelivered == Undelivered::error ? static_cast<std::uint32_t>(delivery)
                                                        : contract.otherwise;
    }
    if (contract.passes_status) {
      return status;
    }
    const auto mapped =
        std::ranges::find(contract.results, status, &decltype(contract.results)::value_type::first);
    return mapped != contract.results.end() ? mapped->second : contract.otherwise;
  }

  /** Makes the call, which is to end this way. */
  void expect_ending(std::uint32_t board, std::uint32_t status, int delivery,
                     std::uint32_t mode = 0) {
    SCOPED_TRACE(testing::Message() << "board " << board << ", status " << std::hex << status
                                    << ", delivery " << std::dec << delivery);
    ByteVector memory = given();
    expect_mode_question(
        board, mode != 0 || contract.gate.admitted.empty() ? mode : contract.gate.admitted.front());
    expect_command(board, memory).ends_with(status, delivery);
    const AllocationWatch watch;
    EXPECT_EQ(contract.run.call(board, memory.data()), result_of(status, delivery));
    EXPECT_EQ(watch.allocations(), contract.no_memory.size());
    EXPECT_EQ(watch.outstanding(), 0);
    EXPECT_THAT(memory, SameBytes(memory_after(status, delivery)));
  }

  /** Makes the call, which is to send nothing and to leave its memory alone. */
  void expect_refusal(std::uint32_t result, int failing = AllocationWatch::none_fails) {
    ByteVector memory = given();
    const AllocationWatch watch{failing};
    EXPECT_EQ(contract.run.call(0, memory.data()), result);
    EXPECT_EQ(watch.outstanding(), 0);
    EXPECT_THAT(memory, SameBytes(given()));
  }
};

TEST_P(ContractTest, EveryEndingHasItsResultAndItsEffects) {
  for (const std::uint32_t board : {0U, 1U, beyond_the_tables}) {
    expect_ending(board, 0, 0);
  }
  for (const std::uint32_t mode : contract.gate.admitted) {
    expect_ending(1, 0, 0, mode);
  }
  expect_ending(0, 0, 5);
  expect_ending(0, 0, -3);
  for (const std::uint32_t status : statuses) {
    expect_ending(0, status, 0);
    expect_ending(0, status, 5);
  }
}

TEST_P(ContractTest, NothingIsSentThroughAClosedGateOrWithoutMemory) {
  const Gate& gate = contract.gate;
  if (!gate.admitted.empty()) {
    expect_no_sli_mode(board0);
    expect_refusal(1);
  }
  if (gate.refused_mode != 0) {
    expect_sli_mode(board0, gate.refused_mode);
    expect_refusal(gate.refusal);
  }
  for (std::size_t i = 0; i < contract.no_memory.size() && !contract.sends_anyhow; ++i) {
    SCOPED_TRACE(testing::Message() << "allocation " << i);
    if (!gate.admitted.empty() && !contract.allocates_first) {
      expect_sli_mode(board0, gate.admitted.front());
    }
    expect_refusal(contract.no_memory[i], static_cast<int>(i));
  }
}

TEST_P(ContractTest, TheLogTellsOfTheCallAndItsEnding) {
  log_at(OVK_LOG_CALL | OVK_LOG_SUCCESS | OVK_LOG_ERROR);
  for (const auto& [status, delivery] : {std::pair{0U, 0}, {0x0BAD00ABU, 0x1D}}) {
    ByteVector memory = given();
    expect_mode_question(1, contract.gate.admitted.empty() ? 0 : contract.gate.admitted.front());
    expect_command(1, memory).ends_with(status, delivery);
    contract.run.call(1, memory.data());
  }
  std::vector<LogLine> lines = log_lines();
  std::erase_if(lines, [this](const LogLine& line) {
    return line.function != contract.logged_call || !line.text.starts_with('c');
  });

  const auto padded = [this](const std::string& start) {
    const std::string name = contract.result_text;
    const std::string board = contract.of_the_module ? " brd[0]" : " brd[1]";
    return start + std::string(name.size() < 28 ? 28 - name.size() : 0, ' ') + name + board;
  };
  const LogLine call{contract.logged_call, std::string{"call: "} + contract.call_text + " id"};
  std::vector<LogLine> expected;
  for (const auto& [line, text] :
       {std::pair{success_line, padded("cmd ok:  ") + " id"},
        {failure_line, padded("cmd err: ") + " stat[x1d:xbad00ab] id"}}) {
    if ((contract.lines & call_line) != 0) {
      expected.push_back(call);
    }
    if ((contract.lines & line) != 0) {
      expected.push_back({contract.logged_call, text});
    }
  }
  EXPECT_EQ(lines, expected);
}

INSTANTIATE_TEST_SUITE_P(Calls, ContractTest, testing::ValuesIn(contracts()), [](const auto& row) {
  return std::string{row.param.call} + row.param.variant;
});

}  // namespace
}  // namespace ovk::test
