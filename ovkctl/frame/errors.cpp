#include "ovkctl/frame/errors.h"

#include "ovkctl/frame/values.h"

#include <ovk/types.h>

#include <algorithm>
#include <utility>

namespace ovkctl {
namespace {

constexpr ResultText shared_results[] = {
    {OVK_FAILED, "the command was not delivered or the driver refused it", see_driver_log},
    {OVK_NOT_SUPPORTED, "this adapter does not support it",
     "See with \"ovkctl show\" which SLI mode and features the board has."},
    {OVK_ILLEGAL_WWN, "no port has this name", "See with \"ovkctl ports\" which ports there are."},
    {OVK_ILLEGAL_INDEX, "nothing stands at this index",
     "List what there is and take an index from there."},
    {OVK_MORE_DATA, "there is more than the buffer holds", "Ask for less at a time."},
    {OVK_STALE_DATA, "the fabric changed meanwhile", "Run the command again."},
    {OVK_NO_MEMORY, "there is not enough memory", "Free memory and run the command again."},
};

constexpr ResultText unknown_result = {0, "the driver gave a result of its own", see_driver_log};

const ResultText& text_of(std::uint32_t result, std::span<const ResultText> own) {
  for (const std::span<const ResultText> texts :
       {own, std::span<const ResultText>(shared_results)}) {
    const auto text = std::ranges::find(texts, result, &ResultText::result);
    if (text != texts.end()) {
      return *text;
    }
  }
  return unknown_result;
}

}  // namespace

OperationFailed::OperationFailed(const std::string& message, std::string advice,
                                 std::optional<std::uint32_t> result)
    : std::runtime_error(message), advice_(std::move(advice)), result_(result) {}

void check(std::uint32_t result, const std::string& operation, std::span<const ResultText> own) {
  if (result == OVK_OK) {
    return;
  }
  static constexpr std::uint32_t last_decimal = 255;
  const ResultText& text = text_of(result, own);
  const std::string number = result > last_decimal ? hex_text(result, 0) : std::to_string(result);
  throw OperationFailed(
      fmt::format("{} failed with result {}: {}.", operation, number, text.meaning), text.advice,
      result);
}

void check_room(std::size_t count, std::size_t room, const char* what) {
  if (count > room) {
    throw OperationFailed(
        fmt::format("The driver says that it gave {} {} where {} have room.", count, what, room));
  }
}

}  // namespace ovkctl
