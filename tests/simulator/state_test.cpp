#include "simulator/board/state_store.h"
#include "simulator/call/channel_error.h"
#include "tests/simulator/simulator_test.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <sys/resource.h>
#include <thread>

#include <gmock/gmock.h>

namespace ravnsim::test {

namespace {

constexpr std::size_t blob_size = 65536;

Bytes blob_of(std::uint8_t byte) { return Bytes(blob_size, byte); }

/** Replaces the first blob in a process whose files can grow to half a blob only, and ends it; with
    0 when the store tells the failure and still has the old one. */
[[noreturn]] void replace_half(const std::filesystem::path& folder, void (*on_limit)(int)) {
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = blob_size / 2;
  setrlimit(RLIMIT_FSIZE, &limit);
  std::signal(SIGXFSZ, on_limit);
  StateStore store{folder};
  try {
    store.write("blob", blob_of(2));
  } catch (const StateError&) {
    std::_Exit(store.read("blob") == blob_of(1) ? 0 : 1);
  }
  std::_Exit(1);
}

TEST_F(SimulatorTest, AStoreKeepsItsBlobsInMemoryOrInItsFolderBeyondItsLife) {
  StateStore memory;
  memory.write("board-1/a", blob_of(1));
  EXPECT_EQ(memory.read("board-1/a"), blob_of(1));
  memory.remove("board-1/a");
  EXPECT_EQ(memory.read("board-1/a"), std::nullopt);

  const auto path = folder / "made" / "for it";
  {
    StateStore store{path};
    store.write("board-1/a", blob_of(1));
    store.write("board-1/a", blob_of(2));
    store.write("board-1/b", blob_of(3));
    store.remove("board-1/b");
    store.remove("board-1/never");
  }
  StateStore store{path};
  EXPECT_EQ(store.read("board-1/a"), blob_of(2));
  EXPECT_EQ(store.read("board-1/b"), std::nullopt);
}

TEST_F(SimulatorTest, AWriterThatDiesOrFailsHalfwayLeavesTheOldBlob) {
  { StateStore{folder}.write("blob", blob_of(1)); }
  EXPECT_EXIT(replace_half(folder, SIG_DFL), testing::KilledBySignal(SIGXFSZ), "");
  EXPECT_EXIT(replace_half(folder, SIG_IGN), testing::ExitedWithCode(0), "");
  StateStore store{folder};
  EXPECT_EQ(store.read("blob"), blob_of(1));
  store.write("blob", blob_of(3));
  EXPECT_EQ(store.read("blob"), blob_of(3)) << "what the dead writer left is in nobody's way";
}

TEST_F(SimulatorTest, AFolderInUseFailsTheOpeningAfterAWhile) {
  setenv("RAVNSIM_STATE", folder.c_str(), 1);
  std::optional<StateStore> other{folder};
  const auto start = std::chrono::steady_clock::now();
  testing::internal::CaptureStderr();
  EXPECT_EQ(Channel{}.open_result(), static_cast<int>(ChannelError::state_in_use));
  EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr(folder));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds{1});

  const std::jthread ends{[&] {
    std::this_thread::sleep_for(std::chrono::milliseconds{200});
    other.reset();
  }};
  EXPECT_EQ(Channel{}.open_result(), 0) << "it waits for a user that is about to end";
}

TEST_F(SimulatorTest, AStateFolderThatCannotBeMadeFailsTheOpening) {
  const std::string file = use_faults("[]");
  setenv("RAVNSIM_STATE", (file + "/state").c_str(), 1);
  testing::internal::CaptureStderr();
  EXPECT_EQ(Channel{}.open_result(), static_cast<int>(ChannelError::input_output));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              testing::HasSubstr(file + "/state: cannot be made"));
}

}  // namespace

}  // namespace ravnsim::test
