#include "ovkctl/frame/command.h"
#include "ovkctl/frame/errors.h"
#include "ovkctl/frame/files.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/subjects/scsi_access.h"

#include <ovk/fabric.h>

#include <algorithm>

namespace ovkctl {
namespace {

constexpr ResultText kElsResults[] = {
    {OVK_ELS_NO_RESPONSE, "the port did not answer",
     "See with \"ovkctl ports\" whether the board sees the port."},
};

/** A descriptor as it stands, or a port WWN at its begin. */
ElsDestination destination_of(const HexBytes& given) {
  ElsDestination destination{};
  if (given.bytes.size() != sizeof(Wwn) && given.bytes.size() != sizeof destination) {
    throw UsageError("DESTINATION is a port WWN or the driver's descriptor of 16 bytes");
  }
  std::ranges::copy(given.bytes, destination.bytes);
  return destination;
}

std::string reply_text(const ByteVector& reply) {
  constexpr std::uint8_t ls_rjt = 0x01;
  constexpr std::uint8_t ls_acc = 0x02;
  const std::uint32_t code = big_endian(reply, 0, 1);
  if (code == ls_rjt) {
    return "LS_RJT, reason " + hex_text(big_endian(reply, 5, 1), 2) + ", explanation " +
           hex_text(big_endian(reply, 6, 1), 2);
  }
  return code == ls_acc ? "LS_ACC" : "code " + hex_text(code, 2);
}

ByteVector exchange_els(std::uint32_t board, const ElsDestination& destination,
                        const ByteVector& request) {
  if (request.empty() || request.size() > OVK_ELS_MAX_LENGTH) {
    throw UsageError("REQUEST has 1 to 1024 bytes");
  }
  ByteVector reply(OVK_ELS_MAX_LENGTH);
  std::uint32_t length = 0;
  const std::uint32_t result =
      OVK_SendELSCmd(board, &destination, request.data(),
                     static_cast<std::uint32_t>(request.size()), reply.data(), &length);
  check_board(result, board, "The ELS exchange", kElsResults);
  reply.resize(std::min<std::size_t>(length, reply.size()));
  return reply;
}

}  // namespace

void add_els(Command root) {
  const Command els = root.subcommand("els", "Send an extended link service request to a port");
  els.example("ovkctl els 0 10:00:02:0a:54:00:00:01 10000000deadbeef");
  const auto board = els.board();
  const auto destination = els.argument<HexBytes>(
      "DESTINATION", "port WWN, or the driver's descriptor of 16 bytes in hex");
  const auto request = els.argument<HexBytes>("REQUEST", "the request in hex");
  const auto output = els.output_file();
  els.action([=](const Context& context) {
    const ElsDestination port = destination_of(*destination);
    const Session session;
    const ByteVector reply = exchange_els(session.board(*board), port, request->bytes);
    if (output.present()) {
      write_file(*output, reply);
      return;
    }
    Report report;
    report.field("reply", "Reply", reply_text(reply))
        .field("length", "Length", Size{reply.size()})
        .dump("data", "", reply);
    context.print(report);
  });
}

}  // namespace ovkctl
