// Holds each call of the table to its contract.

#include "tests/library/contract.h"

#include "tests/support/library_test.h"

#include <ovk/core.h>
#include <ovk/hbaapi.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <numeric>
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

/** How a call's command ends at the driver. */
struct CallEnding {
  std::uint32_t board;
  std::uint32_t status = 0;
  int delivery = 0;
  std::uint32_t mode = 0;

  [[nodiscard]] bool succeeds() const { return status == 0 && delivery == 0; }
};

/** The row as a variation has it. */
Contract varied(Contract row, const Variation& other) {
  const auto append = []<typename Items>(Items& to, const Items& more) {
    to.insert(to.end(), more.begin(), more.end());
  };
  if (other.run.call != nullptr) {
    row.run = other.run;
    row.given = row.words = {};
    row.sends = row.always = {};
  }
  append(row.given, other.given);
  append(row.words, other.words);
  append(row.sends, other.sends);
  append(row.answers, other.answers);
  append(row.replies, other.replies);
  append(row.always, other.gets);
  row.shares = other.shares;
  row.gets = row.refused = {};
  row.told = {};
  return row;
}

std::string name_of(const testing::TestParamInfo<Contract>& row) {
  return std::string{row.param.call} + row.param.variant;
}

class ContractTest : public LibraryTest, public testing::WithParamInterface<Contract> {
 protected:
  ContractTest() { std::iota(std::begin(ovk_refresh_timer), std::end(ovk_refresh_timer), 0x5670); }

  Contract contract = GetParam();
  const DriverCommand& command = command_of(contract);
  /** What the driver gives back, by source: the words of the block, then the payloads. */
  std::array<ByteVector, 6> sources = answers();

  static std::uint32_t number_of(std::uint32_t board, Addressee addressee) {
    if (addressee != Addressee::board) {
      return no_board;
    }
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
      expect_sli_mode(number_of(board, Addressee::board), mode);
    }
  }

  void expect_others(std::uint32_t board, const std::vector<Besides>& others) {
    for (const auto& [name, words, addressee] : others) {
      Exchange& exchange = channel.expect(name, number_of(board, addressee));
      for (const auto& [word, value] : words) {
        exchange.word(word, value);
      }
    }
  }

  /** Expects the command with all that it carries, and answers it. */
  Exchange& expect_command(std::uint32_t board, const ByteVector& memory) {
    Exchange& exchange = channel.expect(contract.command, number_of(board, contract.addressee));
    for (const auto& [word, value] : contract.words) {
      exchange.word(word, value);
    }
    if (contract.sends_tag && board < OVK_MAX_BOARDS) {
      exchange.word(4, ovk_refresh_timer[board]);
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
      if (contract.passes_on && command.payloads[i].direction != Direction::descriptor) {
        exchange.holds(i + 1, sent[i]);
      }
      if (command.payloads[i].direction == Direction::output ||
          command.payloads[i].direction == Direction::in_out) {
        exchange.replies(i + 1, sources[i + 1]);
      }
    }
    return exchange;
  }

  /** Expects all that the call sends; a mode of 0 is the first that its gate admits. */
  void expect_call(const CallEnding& ending, const ByteVector& memory) {
    const auto& [board, status, delivery, mode] = ending;
    expect_mode_question(
        board, mode != 0 || contract.gate.admitted.empty() ? mode : contract.gate.admitted.front());
    expect_others(board, contract.before);
    expect_command(board, memory).ends_with(status, delivery);
    if (ending.succeeds()) {
      expect_others(board, contract.after);
    }
  }

  /** The caller's memory when the call has ended this way. */
  [[nodiscard]] ByteVector memory_after(const CallEnding& ending) const {
    ByteVector memory = given();
    const auto deliver = [&](const std::vector<Copy>& copies) {
      for (const auto& [payload, at, offset, size] : copies) {
        copy(sources[payload], at, memory, offset, size);
      }
    };
    deliver(contract.shares);
    deliver(contract.always);
    if (ending.succeeds()) {
      deliver(contract.gets);
    } else if (ending.delivery == 0) {
      deliver(contract.refused);
    }
    if (ending.status != 0 && ending.status == contract.told.first) {
      deliver(contract.told.second);
    }
    return memory;
  }

  [[nodiscard]] ByteVector table() const {
    const auto* const entries = static_cast<const std::uint8_t*>(contract.keeps.table);
    return {entries, entries + contract.keeps.size * OVK_MAX_BOARDS};
  }

  [[nodiscard]] ByteVector table_after(const CallEnding& ending) const {
    const Kept& kept = contract.keeps;
    ByteVector entries = table();
    if (ending.succeeds() && ending.board < OVK_MAX_BOARDS) {
      copy(sources[kept.source], kept.at, entries, kept.size * ending.board, kept.size);
    }
    return entries;
  }

  [[nodiscard]] std::uint32_t result_of(const CallEnding& ending) const {
    if (ending.succeeds()) {
      return contract.success;
    }
    if (ending.delivery != 0 && contract.undelivered != Undelivered::by_status) {
      return contract.undelivered == Undelivered::error
                 ? static_cast<std::uint32_t>(ending.delivery)
                 : contract.otherwise;
    }
    if (contract.passes_status) {
      return ending.status;
    }
    const auto mapped = std::ranges::find(contract.results, ending.status,
                                          &decltype(contract.results)::value_type::first);
    return mapped != contract.results.end() ? mapped->second : contract.otherwise;
  }

  /** Makes the call, which is to end this way. */
  void expect_ending(const CallEnding& ending) {
    expect_ending(ending, result_of(ending), memory_after(ending), contract.no_memory.size());
  }

  void expect_ending(const CallEnding& ending, std::uint32_t result, const ByteVector& after,
                     std::size_t allocations) {
    const auto& [board, status, delivery, mode] = ending;
    SCOPED_TRACE(testing::Message() << "board " << board << ", status " << std::hex << status
                                    << ", delivery " << std::dec << delivery);
    ByteVector memory = given();
    const ByteVector kept = table_after(ending);
    expect_call(ending, memory);
    const AllocationWatch watch;
    EXPECT_EQ(contract.run.call(board, memory.data()), result);
    EXPECT_EQ(watch.allocations(), allocations);
    EXPECT_EQ(watch.outstanding(), 0);
    EXPECT_THAT(memory, SameBytes(after));
    EXPECT_THAT(table(), SameBytes(kept));
  }

  /** Makes the call as the variation has it. */
  void expect_variation(const Variation& other) {
    contract = varied(GetParam(), other);
    sources = answers();
    const CallEnding ending{0, other.status, other.delivery};
    ByteVector after = memory_after(ending);
    for (const auto& [offset, value] : other.leaves) {
      after = with_at(std::move(after), offset, value);
    }
    expect_ending(ending, other.result, after, other.allocates ? contract.no_memory.size() : 0);
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
  for (const std::uint32_t board : {0U, 1U, beyond_the_tables, 0x80000000U}) {
    expect_ending({board});
  }
  for (const std::uint32_t mode : contract.gate.admitted) {
    expect_ending({.board = 1, .mode = mode});
  }
  expect_ending({.board = 0, .delivery = 5});
  expect_ending({.board = 0, .delivery = -3});
  for (const std::uint32_t status : statuses) {
    expect_ending({0, status});
    expect_ending({0, status, 5});
  }
  for (std::size_t i = 0; i < GetParam().variations.size(); ++i) {
    SCOPED_TRACE(testing::Message() << "variation " << i);
    expect_variation(GetParam().variations[i]);
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

INSTANTIATE_TEST_SUITE_P(Calls, ContractTest, testing::ValuesIn(contracts()), name_of);

class LogLinesTest : public ContractTest {
 protected:
  /** The lines of the call that are not those of its other commands. */
  std::vector<LogLine> own_lines() {
    std::vector<LogLine> lines = log_lines();
    std::erase_if(lines, [this](const LogLine& line) {
      const auto names = [&](const Besides& other) {
        return line.text.find(other.command) != std::string::npos;
      };
      return line.function != contract.logged_call || std::ranges::any_of(contract.before, names);
    });
    return lines;
  }

  [[nodiscard]] std::string result_line(const char* start, const char* end) const {
    const std::string name = contract.result_text;
    const char* const board = contract.addressee == Addressee::module ? " brd[0]" : " brd[1]";
    return start + std::string(name.size() < 28 ? 28 - name.size() : 0, ' ') + name + board + end;
  }
};

TEST_P(LogLinesTest, NameTheCallAndTheCommandAndItsEnding) {
  log_at(OVK_LOG_CALL | OVK_LOG_SUCCESS | OVK_LOG_ERROR);
  for (const CallEnding& ending : {CallEnding{1}, CallEnding{1, 0x0BAD00AB, 0x1D}}) {
    ByteVector memory = given();
    expect_call(ending, memory);
    contract.run.call(1, memory.data());
  }
  std::vector<LogLine> expected;
  for (const auto& [line, text] :
       {std::pair{success_line, result_line("cmd ok:  ", " id")},
        {failure_line, result_line("cmd err: ", " stat[x1d:xbad00ab] id")}}) {
    if (contract.also_logged != nullptr) {
      expected.push_back({contract.logged_call, contract.also_logged});
    }
    if ((contract.lines & call_line) != 0) {
      expected.push_back(
          {contract.logged_call, std::string{"call: "} + contract.call_text + " id"});
    }
    if ((contract.lines & line) != 0) {
      expected.push_back({contract.logged_call, text});
    }
  }
  EXPECT_EQ(own_lines(), expected);
}

INSTANTIATE_TEST_SUITE_P(Commands, LogLinesTest, testing::ValuesIn(logged_commands()), name_of);

TEST(LoggedCommandsTest, AreAllThatTheLibrarySends) {
  for (const DriverCommand& command : commands) {
    // The boards are discovered in one loop over all numbers, whose lines BoardTest looks at.
    const bool elsewhere = command.name.empty() || command.name == "RAVN_MGMT_INITBRDS";
    EXPECT_EQ(std::ranges::count(logged_commands(), command.name, &Contract::command) == 0,
              elsewhere)
        << command.name;
  }
}

}  // namespace
}  // namespace ovk::test
