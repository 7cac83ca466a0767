#include "ovkctl/frame/command.h"
#include "ovkctl/frame/files.h"
#include "ovkctl/frame/session.h"
#include "ovkctl/subjects/ct_access.h"

namespace ovkctl {

void add_ct(Command root) {
  const Command ct = root.subcommand("ct", "Send a CT_IU to a server of the fabric");
  ct.example("ovkctl ct 0 0xfffffc 01000000fc020000017100000000000000000008");
  const auto board = ct.board();
  const auto destination = ct.argument<std::uint32_t>(
      "DESTINATION", "well-known address of the form 0xffffXX", between(0xFFFF00, 0xFFFFFF));
  const auto request = ct.argument<HexBytes>("REQUEST", "the CT_IU in hex, preamble included");
  const auto output = ct.output_file();
  ct.action([=](const Context& context) {
    const Session session;
    const ByteVector response = exchange_ct(session.board(*board), *destination, request->bytes);
    if (output.present()) {
      write_file(*output, response);
      return;
    }
    Report report;
    report.field("response", "Response", ct_response_text(response))
        .field("length", "Length", Size{response.size()})
        .dump("data", "", response);
    context.print(report);
  });
}

}  // namespace ovkctl
