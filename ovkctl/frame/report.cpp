#include "ovkctl/frame/report.h"

namespace ovkctl {

std::optional<Bytes> Report::take_payload(std::optional<Bytes> before) {
  std::optional<Bytes> payload = std::move(before);
  std::erase_if(parts_, [&payload](const Part& part) {
    const auto* const dump = std::get_if<Dump>(&part);
    if (dump == nullptr || !dump->for_file) {
      return false;
    }
    payload = payload ? std::move(payload) : Bytes{};
    payload->insert(payload->end(), dump->bytes.begin(), dump->bytes.end());
    return true;
  });
  for (Section& section : sections_) {
    payload = section.take_payload(std::move(payload));
  }
  return payload;
}

}  // namespace ovkctl
