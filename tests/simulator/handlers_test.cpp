#include "driver_abi/commands.h"
#include "simulator/call/command_id.h"
#include "simulator/call/handler_table.h"

#include <string_view>

#include <gtest/gtest.h>

namespace ravnsim::test {
namespace {

TEST(HandlersTest, EveryCommandThatTheLibraryInvokesHasADriverSide) {
  const HandlerTable handlers = all_handlers();
  for (const ovk::DriverCommand& row : ovk::commands) {
    if (row.name == ovk::command_rows::reserved) {
      continue;
    }
    const auto command = command_named(row.name);
    ASSERT_TRUE(command) << row.name;
    EXPECT_EQ(command->number, row.id) << row.name;
    EXPECT_EQ(name_of(*command), row.name);
    EXPECT_NE(handlers.find(*command), nullptr) << row.name;
  }
}

}  // namespace
}  // namespace ravnsim::test
