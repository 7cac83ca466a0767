#include "ovkctl/subjects/secret.h"

#include "ovkctl/frame/errors.h"
#include "tests/ovkctl/person.h"

#include <array>
#include <csignal>
#include <string_view>
#include <unistd.h>

#include <gtest/gtest.h>

namespace ovkctl {
namespace {

std::string_view text_of(const Secret& secret) { return {secret.bytes().data(), secret.length()}; }

int ask_for_winter_harbour() {
  Secret secret;
  try {
    secret.ask("Password");
  } catch (const OperationFailed&) {
    return 1;
  }
  return text_of(secret) == "winter harbour" ? 0 : 2;
}

TEST(SecretTest, APasswordIsAskedForTwiceAndNotShown) {
  for (const auto& [again, exit_code] : {std::pair("winter harbour\n", 0), {"winter\n", 1}}) {
    Person person(ask_for_winter_harbour);
    person.sees("Password: ");
    person.types("winter harbour\n");
    person.sees("again: ");
    person.types(again);
    EXPECT_EQ(person.end(), exit_code);
    EXPECT_EQ(person.shown().find("winter"), std::string::npos) << person.shown();
  }
}

TEST(SecretTest, AnInterruptEndsTheProgramAndNotTheEcho) {
  Person person(ask_for_winter_harbour);
  person.sees("Password: ");
  EXPECT_FALSE(person.echoes());
  person.types("\x03");
  EXPECT_EQ(person.end(), -SIGINT);
  EXPECT_TRUE(person.echoes());
}

TEST(SecretTest, ALineNeedsNoEndButADescriptorThatIsOpen) {
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe(ends.data()), 0);
  ASSERT_EQ(write(ends[1], "winter", 6), 6);
  close(ends[1]);
  Secret secret;
  secret.read_from(ends[0]);
  EXPECT_EQ(text_of(secret), "winter");
  close(ends[0]);
  EXPECT_THROW(secret.read_from(ends[0]), OperationFailed);
  EXPECT_EQ(secret.length(), 0);
}

}  // namespace
}  // namespace ovkctl
