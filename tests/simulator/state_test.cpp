#include "simulator/board/state_store.h"
#include "simulator/call/channel_error.h"
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

using Blob = std::vector<std::uint8_t>;

constexpr std::size_t blob_size = 65536;

Blob blob_of(unsigned byte) { return Blob(blob_size, std::uint8_t(byte)); }

/** Runs something in a process of its own. */
pid_t start_child(const std::function<void()>& body) {
  const pid_t child = fork();
  if (child == 0) {
    body();
    _exit(0);
  }
  return child;
}

/** Waits for a process; gives the signal that killed it, or its exit code, negated. */
int end_of(pid_t child) {
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return WIFSIGNALED(status) ? WTERMSIG(status) : -WEXITSTATUS(status);
}

/** Lets a file of this process grow to half a blob only. */
void limit_files() {
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = blob_size / 2;
  setrlimit(RLIMIT_FSIZE, &limit);
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
    const pid_t writer = start_child([&] {
      std::signal(SIGXFSZ, dies ? SIG_DFL : SIG_IGN);
      limit_files();
      StateStore store{folder};
      try {
        store.write("blob", blob_of(2));
      } catch (const StateError&) {
        _exit(store.read("blob") == blob_of(1) ? 0 : 1);
      }
      _exit(1);
    });
    EXPECT_EQ(end_of(writer), dies ? SIGXFSZ : 0);
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
  const pid_t holder = start_child([&] {
    const StateStore store{path};
    if (write(ready[1], "", 1) == 1) {
      pause();
    }
  });
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
    kill(holder, SIGKILL);
  }};
  const Channel opened;
  EXPECT_EQ(opened.open_result(), 0) << "it waits for a process that is about to end";
  killer.join();
  EXPECT_EQ(end_of(holder), SIGKILL);
  close(ready[0]);
  close(ready[1]);
}

TEST_F(SimulatorTest, AStateFolderThatCannotBeMadeFailsTheOpening) {
  const std::string file = use_topology(one_board);
  setenv("RAVNSIM_STATE", (file + "/state").c_str(), 1);
  testing::internal::CaptureStderr();
  EXPECT_EQ(Channel{}.open_result(), static_cast<int>(ChannelError::input_output));
  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              testing::HasSubstr(file + "/state: cannot be made"));
}

}  // namespace

}  // namespace ravnsim::test
