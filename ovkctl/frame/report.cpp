#include "ovkctl/frame/report.h"

#include <stdexcept>
#include <utility>

namespace ovkctl {

Table::Table(std::string key, std::string label, std::vector<Column> columns,
             std::string when_empty)
    : key_(std::move(key)),
      label_(std::move(label)),
      when_empty_(std::move(when_empty)),
      columns_(std::move(columns)) {}

Table& Table::row(std::vector<Cell> cells) {
  if (cells.size() != columns_.size()) {
    throw std::logic_error("a row of the table \"" + key_ + "\" does not fit its columns");
  }
  rows_.push_back(std::move(cells));
  return *this;
}

Section::Section(std::string key, std::string title, Kind kind)
    : key_(std::move(key)), title_(std::move(title)), kind_(kind) {}

Section& Section::field(std::string key, std::string label, Cell value) {
  parts_.emplace_back(Field{std::move(key), std::move(label), std::move(value)});
  return *this;
}

Table& Section::table(std::string key, std::string label, std::vector<Column> columns,
                      std::string when_empty) {
  parts_.emplace_back(
      Table(std::move(key), std::move(label), std::move(columns), std::move(when_empty)));
  return std::get<Table>(parts_.back());
}

Section& Section::dump(std::string key, std::string label, std::vector<std::uint8_t> bytes,
                       std::uint64_t first_offset) {
  parts_.emplace_back(Dump{std::move(key), std::move(label), std::move(bytes), first_offset});
  return *this;
}

Section& Section::note(std::string text) {
  parts_.emplace_back(Note{std::move(text)});
  return *this;
}

Section& Report::section(std::string key, std::string title) {
  return sections_.emplace_back(std::move(key), std::move(title), Kind::kObject);
}

Section& Report::element(std::string key, std::string title) {
  return sections_.emplace_back(std::move(key), std::move(title), Kind::kElement);
}

}  // namespace ovkctl
