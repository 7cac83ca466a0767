#include "ovkctl/frame/report.h"
#include "ovkctl/frame/values.h"

#include <stdexcept>

#include <nlohmann/json.hpp>

namespace ovkctl {
namespace {

using Json = nlohmann::ordered_json;

/** Raised when a member changes its meaning or goes; new members do not raise it. */
constexpr int json_version = 1;

struct JsonOf {
  Json operator()(std::monostate) const { return nullptr; }
  Json operator()(bool flag) const { return flag; }
  Json operator()(std::int64_t number) const { return number; }
  Json operator()(double number) const { return number; }
  Json operator()(const Cell::WideNumber& number) const { return number.digits; }
  Json operator()(const std::string& text) const { return text; }
  Json operator()(Size size) const { return size.bytes; }
  Json operator()(LargeSize size) const { return std::to_string(size.bytes); }
  Json operator()(Speed speed) const {
    const auto gbit = speed.gbit();
    return gbit ? Json(*gbit) : Json(nullptr);
  }
  Json operator()(Speeds speeds) const { return speeds.gbits(); }
  Json operator()(const List& list) const { return list; }
  /** The rest reads in JSON as it does in the text. */
  template <typename T>
  Json operator()(const T& value) const {
    return Cell(value).text();
  }
};

Json json_of(const Cell& cell) { return std::visit(JsonOf{}, cell.value()); }

Json json_of(const Table& table) {
  Json rows = Json::array();
  for (const std::vector<Cell>& cells : table.rows) {
    Json row = Json::object();
    for (std::size_t i = 0; i < cells.size(); ++i) {
      row[table.columns[i].key] = json_of(cells[i]);
    }
    rows.push_back(std::move(row));
  }
  return rows;
}

/** Throws std::logic_error for a key that is there already: one would take the other's place. */
void add_member(Json& object, const std::string& key, Json value) {
  if (!object.emplace(key, std::move(value)).second) {
    throw std::logic_error("two members of the report are called \"" + key + "\"");
  }
}

struct AddPart {
  Json& object;

  void operator()(const Field& field) const { add_member(object, field.key, json_of(field.value)); }
  void operator()(const Table& table) const { add_member(object, table.key, json_of(table)); }
  void operator()(const Dump& dump) const {
    if (!dump.key.empty()) {
      add_member(object, dump.key, bytes_text(dump.bytes));
    }
  }
  void operator()(const Note&) const {}
};

void add_members(Json& object, const Report& report) {
  for (const Report::Part& part : report.parts()) {
    std::visit(AddPart{object}, part);
  }
  for (const Section& section : report.sections()) {
    if (section.key().empty()) {
      add_members(object, section);
      continue;
    }
    Json member = Json::object();
    add_members(member, section);
    if (section.kind() == Section::Kind::element) {
      object[section.key()].push_back(std::move(member));
    } else {
      add_member(object, section.key(), std::move(member));
    }
  }
}

}  // namespace

std::string render_json(const Report& report, JsonForm form) {
  Json document = {{"version", json_version}};
  add_members(document, report);
  const int indent = form == JsonForm::indented ? 2 : -1;
  return document.dump(indent, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace ovkctl
