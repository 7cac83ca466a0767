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
#include <deque>
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

/** What stands above a column: its member in JSON, and its header in the text. */
struct ColumnHead {
  std::string key;
  std::string header;
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

/** Fields, tables, dumps and notes that belong together; an object in JSON. */
class Section {
 public:
  using Part = std::variant<Field, Table, Dump, Note>;
  /** Whether the section is a member of its own or one of the objects in an array. */
  enum class Kind { object, element };

  Section(std::string key, std::string title, Kind kind);

  /** Adds a labelled value. */
  Section& field(std::string key, std::string label, Cell value) &;

  /**
   * Adds a table with a row for each element of `rows`.
   *
   * @param when_empty  the sentence that stands for a table without rows
   */
  template <typename Row, std::size_t count, typename Rows>
  Section& table(std::string key, std::string label, const Column<Row> (&columns)[count],
                 const Rows& rows, std::string when_empty) & {
    Table table{std::move(key), std::move(label), std::move(when_empty), {}, {}};
    for (const Column<Row>& column : columns) {
      table.columns.push_back({column.key, column.header});
    }
    for (const auto& row : rows) {
      std::vector<Cell>& cells = table.rows.emplace_back();
      for (const Column<Row>& column : columns) {
        cells.push_back(column.cell(row));
      }
    }
    parts_.emplace_back(std::move(table));
    return *this;
  }

  /** Adds the bytes that "-o FILE" writes; they are shown when there is no -o, unless the key is
      empty. Several go into the file one after the other. */
  Section& payload(std::string key, std::string label, Bytes bytes,
                   std::uint64_t first_offset = 0) &;

  /** Takes out the bytes that "-o FILE" writes; nothing when the section has none. */
  std::optional<Bytes> take_payload();

  /** Adds raw bytes. */
  Section& dump(std::string key, std::string label, Bytes bytes, std::uint64_t first_offset = 0) &;

  /** Adds a sentence for people. */
  Section& note(std::string text) &;

  [[nodiscard]] const std::string& key() const { return key_; }
  [[nodiscard]] const std::string& title() const { return title_; }
  [[nodiscard]] Kind kind() const { return kind_; }
  [[nodiscard]] const std::deque<Part>& parts() const { return parts_; }

 private:
  std::string key_;
  std::string title_;
  Kind kind_;
  std::deque<Part> parts_;
};

/** What a command has to say. Its own parts come first, then its sections. */
class Report : public Section {
 public:
  Report() : Section{{}, {}, Kind::object} {}

  // A report that is made in one expression grows in place.
  using Section::dump;
  using Section::field;
  using Section::note;
  using Section::payload;
  using Section::table;
  Report&& field(std::string key, std::string label, Cell value) && {
    field(std::move(key), std::move(label), std::move(value));
    return std::move(*this);
  }
  template <typename Row, std::size_t count, typename Rows>
  Report&& table(std::string key, std::string label, const Column<Row> (&columns)[count],
                 const Rows& rows, std::string when_empty) && {
    table(std::move(key), std::move(label), columns, rows, std::move(when_empty));
    return std::move(*this);
  }
  Report&& payload(std::string key, std::string label, Bytes bytes,
                   std::uint64_t first_offset = 0) && {
    payload(std::move(key), std::move(label), std::move(bytes), first_offset);
    return std::move(*this);
  }
  Report&& dump(std::string key, std::string label, Bytes bytes,
                std::uint64_t first_offset = 0) && {
    dump(std::move(key), std::move(label), std::move(bytes), first_offset);
    return std::move(*this);
  }
  Report&& note(std::string text) && {
    note(std::move(text));
    return std::move(*this);
  }

  /**
   * Adds a section; in JSON a member with that key, or, without a key, the members of the document.
   * The reference stays valid.
   */
  Section& section(std::string key, std::string title);

  /** Adds a section that is one of several alike; in JSON all of one key make an array. */
  Section& element(std::string key, std::string title);

  [[nodiscard]] const std::deque<Section>& sections() const { return sections_; }

  /** Takes out the bytes that "-o FILE" writes, of all sections; nothing when there are none. */
  std::optional<Bytes> take_payload();

  /** Whether there is nothing to say. */
  [[nodiscard]] bool empty() const { return parts().empty() && sections_.empty(); }

 private:
  std::deque<Section> sections_;
};

/** The text of a report: aligned, without trailing blanks, each line with its end. */
std::string render_text(const Report& report);

/** Whether a JSON document is spread over lines or stands on one. */
enum class JsonForm { indented, one_line };

/** The JSON document of a report, with its version, and a line end. */
std::string render_json(const Report& report, JsonForm form = JsonForm::indented);

}  // namespace ovkctl
