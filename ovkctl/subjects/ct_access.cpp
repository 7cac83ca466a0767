#include "ovkctl/subjects/ct_access.h"

#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/values.h"

#include <ovk/fabric.h>

#include <algorithm>

namespace ovkctl {
namespace {

constexpr std::uint32_t kAccepted = 0x8002;
constexpr std::uint32_t kRejected = 0x8001;

constexpr ResultText kCtResults[] = {
    {static_cast<std::uint32_t>(OVK_CT_NOT_READY), "the port cannot send now",
     "See with \"ovkctl list\" whether the board is ready and its link is up."},
    {static_cast<std::uint32_t>(OVK_CT_NO_RESOURCES), "there is no memory or the transport failed",
     "Run the command again."},
    {static_cast<std::uint32_t>(OVK_CT_TOO_LONG), "the request or the response is too long",
     "Ask for less at a time."},
    {static_cast<std::uint32_t>(OVK_CT_FAILED),
     "the address is not a well-known one, or the server did not answer",
     "The name server is 0xfffffc, the management server 0xfffffa."},
};

std::string reason_text(std::uint32_t reason) {
  switch (reason) {
    case 0x01:
      return "invalid command code";
    case 0x02:
      return "invalid version";
    case 0x03:
      return "logical error";
    case 0x04:
      return "invalid CT_IU size";
    case 0x05:
      return "logical busy";
    case 0x07:
      return "protocol error";
    case 0x09:
      return "unable to perform the command";
    case 0x0B:
      return "command not supported";
    default:
      return "reason " + hex_text(reason, 2);
  }
}

}  // namespace

ByteVector exchange_ct(std::uint32_t board, std::uint32_t destination,
                       std::span<const std::uint8_t> request) {
  ByteVector response(OVK_CT_MAX_LENGTH);
  const std::int32_t result =
      GetCTInfo(board, destination, request.data(), static_cast<std::uint32_t>(request.size()),
                response.data(), static_cast<std::uint32_t>(response.size()));
  if (result < 0) {
    check_board(static_cast<std::uint32_t>(result), board, "The CT exchange", kCtResults);
  }
  response.resize(std::min<std::size_t>(static_cast<std::size_t>(result), response.size()));
  return response;
}

std::string ct_response_text(std::span<const std::uint8_t> response) {
  const std::uint32_t code = big_endian(response, 8, 2);
  if (response.size() < kCtPreamble) {
    return "no CT_IU";
  }
  if (code != kRejected) {
    return code == kAccepted ? "accepted" : "response code " + hex_text(code, 4);
  }
  return "rejected: " + reason_text(response[13]) + ", explanation " + hex_text(response[14], 2);
}

bool ct_accepted(std::span<const std::uint8_t> response) {
  return response.size() >= kCtPreamble && big_endian(response, 8, 2) == kAccepted;
}

}  // namespace ovkctl
