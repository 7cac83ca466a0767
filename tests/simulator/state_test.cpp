#include "simulator/channel_error.h"
#include "simulator/state_store.h"
#include "tests/simulator/simulator_test.h"

#include <chrono>
#include <csignal>
#include <functional>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

#include <gmock/gmock.h>

namespace ravnsim::test {

namespace {

using Blob = std::vector<std::byte>;

constexpr std::size_t blob_size = 65536;

Blob blob_of(unsigned byte) { return Blob(blob_size, std::byte(byte)); }

/** Runs something in a process of its own. */
class Child {
 public:
  explicit Child(const std::function<void()>& body) : id_{fork()} {
    if (id_ == 0) {
      body();
      _exit(0);
    }
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  /** Waits for its end; gives the signal that killed it, 0 when it ended by itself. */
  int end() const {
    int status = 0;
    EXPECT_EQ(waitpid(id_, &status, 0), id_);
    return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
  }

  [[nodiscard]] pid_t id() const { return id_; }

 private:
  pid_t id_;
};

/** Lets a file of this process grow to half a blob only. */
void limit_files() {
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = blob_size / 2;
  setrlimit(RLIMIT_FSIZE, &limit);
}

/** The board's state after a sub-command of RAVN_MGMT_SETDIAG; the status when it fails. */
std::uint32_t set_diag(const Channel& channel, std::uint32_t sub_command) {
  CommandBlock block{.driver_board = 3, .selector = sub_command};
  const DriverStatus status = channel.send(DriverCommand::setdiag, block);
  return status == DriverStatus::success ? block.value : static_cast<std::uint32_t>(status);
}

/** Whether discovery gives the board as ready. */
bool is_ready(const Channel& channel) {
  std::array<std::int32_t, 21> discovery{};
  CommandBlock block{.driver_board = 3};
  EXPECT_EQ(channel.send(DriverCommand::initbrds, block, &discovery), DriverStatus::success);
  return discovery[5] >= 0;
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
  for (const bool dies : {true, false}) {
    const Child writer{[&] {
      std::signal(SIGXFSZ, dies ? SIG_DFL : SIG_IGN);
      limit_files();
      StateStore store{folder};
      try {
        store.write("blob", blob_of(2));
      } catch (const StateError&) {
        _exit(store.read("blob") == blob_of(1) ? 0 : 1);
      }
      _exit(1);
    }};
    EXPECT_EQ(writer.end(), dies ? SIGXFSZ : 0);
    StateStore store{folder};
    EXPECT_EQ(store.read("blob"), blob_of(1));
  }
  StateStore store{folder};
  store.write("blob", blob_of(3));
  EXPECT_EQ(store.read("blob"), blob_of(3)) << "what the dead writer left is in nobody's way";
}

TEST_F(SimulatorTest, AFolderInUseByAnotherProcessFailsTheOpeningAfterAWhile) {
  use_topology(one_board);
  const auto path = use_state();
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  const Child holder{[&] {
    const StateStore store{path};
    if (write(ready[1], "", 1) == 1) {
      pause();
    }
  }};
  char byte;
  ASSERT_EQ(read(ready[0], &byte, 1), 1);

  const auto start = std::chrono::steady_clock::now();
  testing::internal::CaptureStderr();
  const Channel refused;
  EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::HasSubstr(path.string()));
  EXPECT_EQ(refused.open_result(), static_cast<int>(ChannelError::state_in_use));
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds{1});

  std::thread killer{[&] {
    std::this_thread::sleep_for(std::chrono::milliseconds{200});
    kill(holder.id(), SIGKILL);
  }};
  const Channel opened;
  EXPECT_EQ(opened.open_result(), 0) << "it waits for a process that is about to end";
  killer.join();
  EXPECT_EQ(holder.end(), SIGKILL);
  close(ready[0]);
  close(ready[1]);
}

TEST_F(SimulatorTest, AStateFolderThatCannotBeMadeFailsTheOpening) {
  const std::string file = use_topology(one_board);
  setenv("RAVNSIM_STATE", (file + "/state").c_str(), 1);
  EXPECT_THAT(said_by_a_channel(), testing::HasSubstr(file + "/state: cannot be made"));
}

TEST_F(SimulatorTest, ABoardStaysInTheStateInWhichItWasPutAndDiscoveryShowsIt) {
  use_topology(one_board);
  use_state();
  {
    const Channel channel;
    EXPECT_EQ(set_diag(channel, 16), 1U);
    EXPECT_EQ(set_diag(channel, 19), 3U);
    EXPECT_EQ(set_diag(channel, 20), 5U);
    EXPECT_TRUE(is_ready(channel));
    EXPECT_EQ(set_diag(channel, 18), 2U);
    for (const std::uint32_t unknown : {0U, 15U, 21U, 0xFFFFFFFFU}) {
      EXPECT_EQ(set_diag(channel, unknown),
                static_cast<std::uint32_t>(DriverStatus::not_supported));
    }
  }
  const Channel channel;
  EXPECT_EQ(set_diag(channel, 16), 2U);
  EXPECT_FALSE(is_ready(channel));
  EXPECT_EQ(set_diag(channel, 17), 1U);
  EXPECT_TRUE(is_ready(channel));
}

TEST_F(SimulatorTest, ABoardThatDoesNotGetUpIsNotReadyInEveryState) {
  use_topology(with(one_board, R"("sli_mode")", R"("ready": false, "sli_mode")"));
  const Channel channel;
  EXPECT_FALSE(is_ready(channel));
  EXPECT_EQ(set_diag(channel, 16), 2U);
  EXPECT_EQ(set_diag(channel, 18), 2U);
  EXPECT_EQ(set_diag(channel, 17), static_cast<std::uint32_t>(DriverStatus::not_ready));
}

}  // namespace

}  // namespace ravnsim::test
