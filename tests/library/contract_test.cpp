// Holds each call of the table to its contract.

#include "tests/library/contract.h"

#include "tests/support/library_test.h"

#include <ovk/core.h>
#include <ovk/hbaapi.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <iomanip>
#include <iterator>
#include <numeric>
#include <sstream>
#include <string>

namespace ovk::test {
namespace {

constexpr std::uint32_t statuses[] = {0x01, 0x03, 0x04, 0x06, 0x07, 0x0A, 0x0D,  0x0E,
                                      0x0F, 0x10, 0x14, 0x20, 0x21, 0x2B, 0x2C,  0x30,
                                      0x39, 0x5A, 0x5D, 0x84, 0x9B, 0xB4, 0x100, 0x119};

constexpr std::size_t word_size = 4;
constexpr std::size_t guard = 16;  // bytes behind the caller's memory
constexpr std::uint32_t beyond_the_tables = 32;

const DriverCommand& command_of(const Contract& contract) {
  return *std::ranges::find(commands, std::string_view{contract.command}, &DriverCommand::name);
}

void copy(const ByteVector& from, std::size_t at, ByteVector& to, std::size_t place,
          std::size_t size) {
  ASSERT_LE(at + size, from.size());
  ASSERT_LE(place + size, to.size());
  std::copy_n(from.begin() + static_cast<std::ptrdiff_t>(at), size,
              to.begin() + static_cast<std::ptrdiff_t>(place));
}

ByteVector with_places(ByteVector bytes, const std::vector<Place>& places, std::size_t unit = 1) {
  for (const auto& [place, value] : places) {
    bytes = with_at(std::move(bytes), unit * place, value);
  }
  return bytes;
}

std::uint32_t word_at(const ByteVector& bytes, std::size_t place) {
  std::uint32_t word = 0;
  std::memcpy(&word, &bytes.at(place), sizeof word);
  return word;
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
  Terms& terms = row.terms;
  if (other.run.call != nullptr) {
    row.run = other.run;
    terms.given = terms.words = {};
    terms.sends = terms.always = {};
  }
  append(terms.given, other.given);
  append(terms.words, other.words);
  append(terms.sends, other.sends);
  append(terms.answers, other.answers);
  append(terms.replies, other.replies);
  append(terms.always, other.gets);
  terms.shares = other.shares;
  terms.gets = terms.refused = {};
  terms.told = {};
  terms.leaves = other.leaves;
  terms.success = terms.otherwise = other.result;
  terms.results = {};
  terms.undelivered = Undelivered::otherwise;
  terms.no_memory.resize(other.allocates ? terms.no_memory.size() : 0);
  return row;
}

std::string name_of(const testing::TestParamInfo<Contract>& row) {
  return std::string{row.param.call} + row.param.terms.variant;
}

class ContractTest : public LibraryTest, public testing::WithParamInterface<Contract> {
 protected:
  ContractTest() { std::iota(std::begin(ovk_refresh_timer), std::end(ovk_refresh_timer), 0x5670); }

  Contract contract = GetParam();
  const Terms& terms = contract.terms;
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
    return with_places(counted_bytes(contract.run.size + guard, 0x31), terms.given);
  }

  [[nodiscard]] std::array<ByteVector, 6> answers() const {
    std::array<ByteVector, 6> given_back;
    given_back[block] = with_places(counted_bytes(48, 0xC1), terms.answers, word_size);
    for (std::size_t i = 1; i <= command.payload_count; ++i) {
      given_back[i] =
          counted_bytes(command.payloads[i - 1].size, static_cast<std::uint8_t>(0x51 + 0x20 * i));
    }
    for (const auto& [payload, word] : terms.replies) {
      given_back[payload] = with_places(std::move(given_back[payload]), {word});
    }
    given_back[zeros].resize(contract.run.size);
    given_back[ones].resize(contract.run.size, 0xFF);
    return given_back;
  }

  Exchange& expect_words(const char* name, std::uint32_t number, const std::vector<Place>& words) {
    Exchange& exchange = channel.expect(name, number);
    for (const auto& [word, value] : words) {
      exchange.word(word, value);
    }
    return exchange;
  }

  void expect_others(std::uint32_t board, const std::vector<Besides>& others) {
    for (const auto& [name, words, addressee] : others) {
      expect_words(name, number_of(board, addressee), words);
    }
  }

  /** Expects the command with all that it carries, and answers it. */
  Exchange& expect_command(std::uint32_t board, const ByteVector& memory) {
    Exchange& exchange =
        expect_words(contract.command, number_of(board, terms.addressee), terms.words);
    if (terms.sends_tag && board < OVK_MAX_BOARDS) {
      exchange.word(4, ovk_refresh_timer[board]);
    }
    std::array<ByteVector, max_payloads> sent;
    for (std::size_t i = 0; i < command.payload_count; ++i) {
      sent[i].resize(command.payloads[i].size);
    }
    for (const auto& part : {terms.sends, terms.shares}) {
      for (const auto& [payload, at, offset, size] : part) {
        if (payload == block) {
          exchange.word(at / word_size, word_at(memory, offset));
        } else {
          copy(memory, offset, sent[payload - 1], at, size);
        }
      }
    }
    for (std::size_t word = 1; word < 11; ++word) {
      exchange.answers(word, word_at(sources[block], word_size * word));
    }
    for (std::size_t i = 0; i < command.payload_count; ++i) {
      if (terms.passes_on && command.payloads[i].direction != Direction::descriptor) {
        exchange.sends(i + 1, sent[i]);
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
    if (!terms.gate.admitted.empty()) {
      expect_sli_mode(number_of(board, Addressee::board),
                      mode != 0 ? mode : terms.gate.admitted.front());
    }
    expect_others(board, terms.before);
    expect_command(board, memory).ends_with(status, delivery);
    if (ending.succeeds()) {
      expect_others(board, terms.after);
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
    deliver(terms.shares);
    deliver(terms.always);
    if (ending.succeeds()) {
      deliver(terms.gets);
    } else if (ending.delivery == 0) {
      deliver(terms.refused);
    }
    if (ending.status == status_base + terms.told.first) {
      deliver(terms.told.second);
    }
    return with_places(std::move(memory), terms.leaves);
  }

  [[nodiscard]] ByteVector table() const {
    const auto* const entries = static_cast<const std::uint8_t*>(terms.keeps.table);
    return {entries, entries + terms.keeps.size * OVK_MAX_BOARDS};
  }

  [[nodiscard]] std::uint32_t result_of(const CallEnding& ending) const {
    if (ending.succeeds()) {
      return terms.success;
    }
    if (ending.delivery != 0 && terms.undelivered != Undelivered::by_status) {
      return terms.undelivered == Undelivered::error ? static_cast<std::uint32_t>(ending.delivery)
                                                     : terms.otherwise;
    }
    if (terms.passes_status) {
      return ending.status;
    }
    const auto mapped = std::ranges::find(terms.results, ending.status - status_base,
                                          &decltype(terms.results)::value_type::first);
    return mapped != terms.results.end() ? mapped->second : terms.otherwise;
  }

  /** Makes the call, which is to end this way. */
  void expect_ending(const CallEnding& ending) {
    const auto& [board, status, delivery, mode] = ending;
    SCOPED_TRACE(testing::Message() << "board " << board << ", status " << std::hex << status
                                    << ", delivery " << std::dec << delivery);
    ByteVector memory = given();
    const auto& [kept_in, source, at, size] = terms.keeps;
    ByteVector kept = table();
    if (ending.succeeds() && board < OVK_MAX_BOARDS) {
      copy(sources[source], at, kept, size * board, size);
    }
    expect_call(ending, memory);
    const AllocationWatch watch;
    EXPECT_EQ(contract.run.call(board, memory.data()), result_of(ending));
    EXPECT_EQ(watch.allocations(), terms.no_memory.size());
    EXPECT_EQ(watch.outstanding(), 0);
    EXPECT_THAT(memory, SameBytes(memory_after(ending)));
    EXPECT_THAT(table(), SameBytes(kept));
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
  for (const std::uint32_t mode : terms.gate.admitted) {
    expect_ending({.board = 1, .mode = mode});
  }
  expect_ending({.board = 0, .delivery = 5});
  expect_ending({.board = 0, .delivery = -3});
  expect_ending({0, 1});
  for (const std::uint32_t status : statuses) {
    expect_ending({0, status_base + status});
    expect_ending({0, status_base + status, 5});
  }
  for (const Variation& other : GetParam().terms.variations) {
    contract = varied(GetParam(), other);
    sources = answers();
    expect_ending({0, other.status != 0 ? status_base + other.status : 0, other.delivery});
  }
}

TEST_P(ContractTest, NothingIsSentThroughAClosedGateOrWithoutMemory) {
  const Gate& gate = terms.gate;
  if (!gate.admitted.empty()) {
    expect_no_sli_mode(board0);
    expect_refusal(1);
  }
  if (gate.refused_mode != 0) {
    expect_sli_mode(board0, gate.refused_mode);
    expect_refusal(gate.refusal);
  }
  for (std::size_t i = 0; i < terms.no_memory.size() && !terms.sends_anyhow; ++i) {
    SCOPED_TRACE(testing::Message() << "allocation " << i);
    if (!gate.admitted.empty() && !terms.allocates_first) {
      expect_sli_mode(board0, gate.admitted.front());
    }
    expect_refusal(terms.no_memory[i], static_cast<int>(i));
  }
}

std::vector<Contract> passing_on() {
  std::vector<Contract> calls = contracts();
  std::erase_if(calls, [](const Contract& call) { return !call.terms.passes_on; });
  return calls;
}

INSTANTIATE_TEST_SUITE_P(Calls, ContractTest, testing::ValuesIn(passing_on()), name_of);

class LogLinesTest : public ContractTest {
 protected:
  /** The lines of the call that are neither those of its other commands nor its very own. */
  std::vector<LogLine> own_lines() {
    std::vector<LogLine> lines = log_lines();
    std::erase_if(lines, [this](const LogLine& line) {
      const auto names = [&](const Besides& other) {
        return line.text.find(other.command) != std::string::npos;
      };
      return line.function != function || line.text.starts_with("readOffset") ||
             std::ranges::any_of(terms.before, names) || std::ranges::any_of(terms.after, names);
    });
    return lines;
  }

  static std::string named(const char* text, const char* usual) {
    return text != nullptr ? text : usual;
  }

  const std::string function = named(terms.logged_call, contract.call);
};

TEST_P(LogLinesTest, NameTheCallAndTheCommandAndItsEndingAtTheirLevel) {
  log_at(0);
  std::ostringstream where;
  where << std::setw(28) << named(terms.result_text, contract.command)
        << (terms.addressee == Addressee::module ? " brd[0]" : " brd[1]");
  const std::string call = "call: " + named(terms.call_text, contract.command) + " id";
  struct {
    OvkLogLevel level;
    LoggedLines line;
    std::vector<std::string> texts;
  } const levels[] = {
      {OVK_LOG_LIFECYCLE, {}, {}},
      {OVK_LOG_CALL, call_line, {call, call}},
      {OVK_LOG_SUCCESS, success_line, {"cmd ok:  " + where.str() + " id"}},
      {OVK_LOG_ERROR, failure_line, {"cmd err: " + where.str() + " stat[x1d:xbad00ab] id"}}};
  std::vector<LogLine> expected;
  for (const auto& [level, line, texts] : levels) {
    LogLevel = level;
    for (const CallEnding& ending : {CallEnding{1}, CallEnding{1, 0x0BAD00AB, 0x1D}}) {
      ByteVector memory = given();
      expect_call(ending, memory);
      contract.run.call(1, memory.data());
    }
    for (const std::string& text : texts) {
      if ((terms.lines & line) != 0) {
        expected.push_back({function, text});
      }
    }
  }
  EXPECT_EQ(own_lines(), expected);
}

INSTANTIATE_TEST_SUITE_P(Commands, LogLinesTest, testing::ValuesIn(contracts()), name_of);

TEST(LoggedCommandsTest, AreAllThatTheLibrarySends) {
  for (const DriverCommand& command : commands) {
    // The boards are discovered in one loop over all numbers, whose lines BoardTest looks at.
    const bool elsewhere = command.name.empty() || command.name == "RAVN_MGMT_INITBRDS";
    EXPECT_EQ(std::ranges::count(contracts(), command.name, &Contract::command) == 0, elsewhere)
        << command.name;
  }
}

}  // namespace
}  // namespace ovk::test
