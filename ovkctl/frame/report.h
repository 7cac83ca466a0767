/**
 * @file
 * What a command has to say, from which both the text for people and the JSON are rendered.
 *
 * Every part has a key, in snake_case, for JSON and a label for the text. A part with an empty
 * label is left out of the text.
 */
#pragma once

#include "ovkctl/frame/cell.h"
#include "ovkctl/frame/columns.h"
#include "ovkctl/frame/values.h"

#include <cstdint>
#include <iterator>
#include <list>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace ovkctl {

/** A labelled value. */
struct Field {
  std::string key;
  std::string label;
  Cell value;
};

/** Rows under a header, with a cell for each column; an array of objects in JSON. */
struct Table {
  std::string key;
  std::string label;
  std::string when_empty;  ///< the sentence that stands for a table without rows
  std::vector<ColumnHead> columns;
  std::vector<std::vector<Cell>> rows;
};

/** Raw bytes: hex with ASCII in the text, a string of hex digits in JSON. */
struct Dump {
  std::string key;  ///< empty: neither in the text nor in JSON
  std::string label;
  Bytes bytes;
  std::uint64_t first_offset = 0;  ///< what the text counts from
  bool for_file = false;           ///< whether "-o FILE" takes them instead of showing them
};

/** A sentence for people; not in JSON. */
struct Note {
  std::string text;
};

class Report;

/** Parts that belong together in a report; an object in JSON. */
using Section = Report;

/**
 * What a command has to say: fields, tables, dumps and notes, and after them sections of those.
 * What adds a part gives the report itself, to be added to or to be returned.
 */
class Report {
 public:
  using Part = std::variant<Field, Table, Dump, Note>;
  /** Whether a section is a member of its own or one of the objects in an array. */
  enum class Kind { object, element };

  Report() = default;
  Report(std::string key, std::string title, Kind kind)
      : key_{std::move(key)}, title_{std::move(title)}, kind_{kind} {}

  /** Adds a labelled value. */
  Report&& field(std::string key, std::string label, Cell value) {
    return add(Field{std::move(key), std::move(label), std::move(value)});
  }

  /**
   * Adds a table with a row for each element of `rows`.
   *
   * @param when_empty  the sentence that stands for a table without rows
   */
  template <typename Row, std::size_t count, typename Rows>
  Report&& table(std::string key, std::string label, const Column<Row> (&columns)[count],
                 const Rows& rows, std::string when_empty) {
    Table table{std::move(key), std::move(label), std::move(when_empty), {}, {}};
    table.columns.assign(std::begin(columns), std::end(columns));
    for (const auto& row : rows) {
      const auto number = static_cast<std::uint32_t>(table.rows.size());
      std::vector<Cell>& cells = table.rows.emplace_back();
      for (const Column<Row>& column : columns) {
        cells.push_back(column.cell(row, number));
      }
    }
    return add(std::move(table));
  }

  /** Adds raw bytes. */
  Report&& dump(std::string key, std::string label, Bytes bytes, std::uint64_t first_offset = 0) {
    return add(Dump{std::move(key), std::move(label), std::move(bytes), first_offset});
  }

  /** Adds the bytes that "-o FILE" writes; they are shown when there is no -o, unless the key is
      empty. Several go into the file one after the other. */
  Report&& payload(std::string key, std::string label, Bytes bytes,
                   std::uint64_t first_offset = 0) {
    return add(Dump{std::move(key), std::move(label), std::move(bytes), first_offset, true});
  }

  /** Adds a sentence for people. */
  Report&& note(std::string text) { return add(Note{std::move(text)}); }

  /**
   * Adds a section; in JSON a member with that key, or, without a key, the members of the document.
   * The reference stays valid.
   */
  Section& section(std::string key, std::string title) {
    return sections_.emplace_back(std::move(key), std::move(title), Kind::object);
  }

  /** Adds a section that is one of several alike; in JSON all of one key make an array. */
  Section& element(std::string key, std::string title) {
    return sections_.emplace_back(std::move(key), std::move(title), Kind::element);
  }

  /** Takes out the bytes that "-o FILE" writes, of all sections, and puts them after those before;
      nothing when there are none. */
  std::optional<Bytes> take_payload(std::optional<Bytes> before = {});

  /** Whether there is nothing to say. */
  [[nodiscard]] bool empty() const { return parts_.empty() && sections_.empty(); }

  [[nodiscard]] const std::string& key() const { return key_; }
  [[nodiscard]] const std::string& title() const { return title_; }
  [[nodiscard]] Kind kind() const { return kind_; }
  [[nodiscard]] const std::vector<Part>& parts() const { return parts_; }
  [[nodiscard]] const std::list<Section>& sections() const { return sections_; }

 private:
  Report&& add(Part part) {
    parts_.push_back(std::move(part));
    return std::move(*this);
  }

  std::string key_;
  std::string title_;
  Kind kind_ = Kind::object;
  std::vector<Part> parts_;
  std::list<Section> sections_;
};

/** The text of a report: aligned, without trailing blanks, each line with its end. */
std::string render_text(const Report& report);

/** Whether a JSON document is spread over lines or stands on one. */
enum class JsonForm { indented, one_line };

/** The JSON document of a report, with its version, and a line end. */
std::string render_json(const Report& report, JsonForm form = JsonForm::indented);

}  // namespace ovkctl
