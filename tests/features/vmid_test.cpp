#include "tests/support/library_test.h"

#include <ovk/features.h>

#include <cstring>
#include <functional>
#include <memory>
#include <string_view>

namespace ovk::test {
namespace {

constexpr std::uint8_t question = 0x51;

class VMidTest : public LibraryTest {
 protected:
  VMidTest() {
    std::memset(list.get(), question, sizeof *list);
    std::memset(mapping.get(), question, sizeof *mapping);
  }

  struct Call {
    std::string_view command;
    std::size_t size;
    std::function<std::uint32_t()> run;
  };

  std::vector<Call> calls() {
    return {
        {"RAVN_MGMT_VMID_GET_QFPA", 514, [this] { return OVK_GetQFPAPriorityList(0, list.get()); }},
        {"RAVN_MGMT_VMID_GET_ID_MAPPING", 76808,
         [this] { return OVK_GetVMidMapping(0, mapping.get()); }},
        {"RAVN_MGMT_VMID_UPDATE_MAPPING", 76808,
         [this] { return OVK_UpdateVMidMapping(0, mapping.get()); }}};
  }

  std::unique_ptr<QfpaPriorityList> list = std::make_unique<QfpaPriorityList>();
  std::unique_ptr<VMidMapping> mapping = std::make_unique<VMidMapping>();
};

TEST_F(VMidTest, TheCallersOwnRecordTravelsToTheDriverWhole) {
  for (const Call& call : calls()) {
    expect_sli_mode(board0, 4);
    channel.expect(call.command, board0).sends(1, ByteVector(call.size, question));
    const AllocationWatch memory;
    EXPECT_EQ(call.run(), OVK_OK) << call.command;
    EXPECT_EQ(memory.allocations(), 0) << call.command;
  }
}

TEST_F(VMidTest, AnswersArriveInTheCallersRecord) {
  expect_sli_mode(board0, 4);
  channel.expect("RAVN_MGMT_VMID_GET_QFPA", board0).replies(1, ByteVector(514, 0xA1));
  EXPECT_EQ(OVK_GetQFPAPriorityList(0, list.get()), OVK_OK);
  EXPECT_EQ(bytes_of(*list), ByteVector(514, 0xA1));

  expect_sli_mode(board0, 4);
  channel.expect("RAVN_MGMT_VMID_GET_ID_MAPPING", board0).replies(1, ByteVector(76808, 0xA2));
  EXPECT_EQ(OVK_GetVMidMapping(0, mapping.get()), OVK_OK);
  EXPECT_EQ(bytes_of(*mapping), ByteVector(76808, 0xA2));
}

TEST_F(VMidTest, StatusesAndDeliveryErrorsHaveTheirResults) {
  for (const Call& call : calls()) {
    for (const auto& [status, result] :
         {std::pair{0x0BAD0020U, 9U}, {0x0BAD005DU, 7U}, {0x0BAD0030U, 1U}, {7U, 1U}}) {
      expect_sli_mode(board0, 5);
      channel.expect(call.command, board0).status(status);
      EXPECT_EQ(call.run(), result) << call.command << std::hex << status;
    }
    expect_sli_mode(board0, 4);
    channel.expect(call.command, board0).status(0x0BAD005D).delivery_error(9);
    EXPECT_EQ(call.run(), 1U) << call.command << " that was not delivered has no status";
  }
}

TEST_F(VMidTest, OnlySli4BoardsAreAsked) {
  for (const Call& call : calls()) {
    expect_sli_mode(board0, 3);
    EXPECT_EQ(call.run(), OVK_NOT_SUPPORTED) << call.command;
    expect_no_sli_mode(board0);
    EXPECT_EQ(call.run(), OVK_FAILED) << call.command;
  }
}

}  // namespace
}  // namespace ovk::test
