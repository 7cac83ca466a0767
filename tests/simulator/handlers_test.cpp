#include "simulator/commands/handlers.h"

#include "library/core/catalogue.h"
#include "simulator/call/driver_commands.h"

#include <string_view>

#include <gtest/gtest.h>

namespace ravnsim::test {
namespace {

TEST(HandlersTest, EveryCommandThatTheLibraryInvokesHasADriverSide) {
  const HandlerTable handlers = all_handlers();
  for (const ovk::Callback& callback : ovk::catalogue) {
    if (callback.name == std::string_view{ovk::catalogue_rows::reserved}) {
      continue;
    }
    const auto command = command_named(callback.name);
    ASSERT_TRUE(command) << callback.name;
    EXPECT_EQ(static_cast<std::uint64_t>(*command), callback.id) << callback.name;
    EXPECT_EQ(name_of(*command), callback.name);
    EXPECT_NE(handlers.find(*command), nullptr) << callback.name;
  }
}

}  // namespace
}  // namespace ravnsim::test
