#include "tests/support/library_test.h"

#include <ovk/features.h>

#include <cstring>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

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
    std::function<std::uint32_t()> run;
  };

  std::vector<Call> calls() {
    return {
        {"RAVN_MGMT_VMID_GET_QFPA", [this] { return OVK_GetQFPAPriorityList(0, list.get()); }},
        {"RAVN_MGMT_VMID_GET_ID_MAPPING", [this] { return OVK_GetVMidMapping(0, mapping.get()); }},
        {"RAVN_MGMT_VMID_UPDATE_MAPPING",
         [this] { return OVK_UpdateVMidMapping(0, mapping.get()); }}};
  }

  std::unique_ptr<QfpaPriorityList> list = std::make_unique<QfpaPriorityList>();
  std::unique_ptr<VMidMapping> mapping = std::make_unique<VMidMapping>();
};

TEST_F(VMidTest, TheCallersOwnRecordTravelsToTheDriverAndBackWhole) {
  const auto expect = [this](std::string_view command, const ByteVector& sent) -> Exchange& {
    expect_sli_mode(board0, 4);
    return channel.expect(command, board0).sends(1, sent);
  };
  const ByteVector ranges(514, 0xA1);
  const ByteVector identifiers(76808, 0xA2);
  expect("RAVN_MGMT_VMID_GET_QFPA", bytes_of(*list)).replies(1, ranges);
  expect("RAVN_MGMT_VMID_GET_ID_MAPPING", bytes_of(*mapping)).replies(1, identifiers);
  expect("RAVN_MGMT_VMID_UPDATE_MAPPING", identifiers);
  const std::vector<Call> all = calls();
  const AllocationWatch memory;
  for (const Call& call : all) {
    EXPECT_EQ(call.run(), OVK_OK) << call.command;
  }
  EXPECT_EQ(memory.allocations(), 0);
  EXPECT_THAT(bytes_of(*list), SameBytes(ranges));
  EXPECT_THAT(bytes_of(*mapping), SameBytes(identifiers));
}

TEST_F(VMidTest, StatusesDeliveryErrorsAndOlderBoardsHaveTheirResults) {
  for (const Call& call : calls()) {
    SCOPED_TRACE(call.command);
    for (const auto& [status, delivery, result] :
         {Ending{0x0BAD0020, 0, 9}, Ending{0x0BAD005D, 0, 7}, Ending{0x0BAD0030, 0, 1},
          Ending{7, 0, 1}, Ending{0x0BAD005D, 9, 1}}) {
      expect_sli_mode(board0, 5);
      channel.expect(call.command, board0).ends_with(status, delivery);
      EXPECT_EQ(call.run(), result) << std::hex << status << ", " << delivery;
    }
    expect_gate(call.run, 3, OVK_NOT_SUPPORTED);
  }
}

}  // namespace
}  // namespace ovk::test
