#include "ovkctl/frame/report.h"

#include <utility>

namespace ovkctl {
namespace {

using Payload = std::optional<Bytes>;

void append(Payload& payload, Payload more) {
  if (!payload) {
    payload = std::move(more);
  } else if (more) {
    payload->insert(payload->end(), more->begin(), more->end());
  }
}

}  // namespace

Section::Section(std::string key, std::string title, Kind kind)
    : key_{std::move(key)}, title_{std::move(title)}, kind_{kind} {}

Section& Section::field(std::string key, std::string label, Cell value) & {
  parts_.emplace_back(Field{std::move(key), std::move(label), std::move(value)});
  return *this;
}

Section& Section::dump(std::string key, std::string label, Bytes bytes,
                       std::uint64_t first_offset) & {
  parts_.emplace_back(Dump{std::move(key), std::move(label), std::move(bytes), first_offset});
  return *this;
}

Section& Section::payload(std::string key, std::string label, Bytes bytes,
                          std::uint64_t first_offset) & {
  parts_.emplace_back(Dump{std::move(key), std::move(label), std::move(bytes), first_offset, true});
  return *this;
}

std::optional<Bytes> Section::take_payload() {
  std::optional<Bytes> payload;
  std::deque<Part> others;
  for (Part& part : parts_) {
    if (auto* const dump = std::get_if<Dump>(&part); dump != nullptr && dump->for_file) {
      append(payload, std::move(dump->bytes));
    } else {
      others.push_back(std::move(part));
    }
  }
  parts_ = std::move(others);
  return payload;
}

Section& Section::note(std::string text) & {
  parts_.emplace_back(Note{std::move(text)});
  return *this;
}

Section& Report::section(std::string key, std::string title) {
  return sections_.emplace_back(std::move(key), std::move(title), Kind::object);
}

Section& Report::element(std::string key, std::string title) {
  return sections_.emplace_back(std::move(key), std::move(title), Kind::element);
}

std::optional<Bytes> Report::take_payload() {
  Payload payload = Section::take_payload();
  for (Section& section : sections_) {
    append(payload, section.take_payload());
  }
  return payload;
}

}  // namespace ovkctl
