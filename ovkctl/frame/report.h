/**
 * @file
 * What a command has to say, from which both the text for people and the JSON are rendered.
 *
 * Every part has a key, in snake_case, for JSON and a label for the text. A part with an empty
 * label is left out of the text.
 */
#ifndef OVKCTL_REPORT_H
#define OVKCTL_REPORT_H

#include "ovkctl/frame/cell.h"

#include <cstdint>
#include <deque>
#include <string>
#include <variant>
#include <vector>

namespace ovkctl {

/** A labelled value. */
struct Field {
  std::string key;
  std::string label;
  Cell value;
};

/** A column of a table. */
struct Column {
  std::string key;
  std::string header;
};

/** Rows under a header; an array of objects in JSON. */
class Table {
 public:
  /** @param when_empty  the sentence that stands for a table without rows */
  Table(std::string key, std::string label, std::vector<Column> columns, std::string when_empty);

  /** Adds a row with a cell for each column; throws std::logic_error for any other number. */
  Table& row(std::vector<Cell> cells);

  const std::string& key() const { return key_; }
  const std::string& label() const { return label_; }
  const std::string& when_empty() const { return when_empty_; }
  const std::vector<Column>& columns() const { return columns_; }
  const std::vector<std::vector<Cell>>& rows() const { return rows_; }

 private:
  std::string key_;
  std::string label_;
  std::string when_empty_;
  std::vector<Column> columns_;
  std::vector<std::vector<Cell>> rows_;
};

/** Raw bytes: hex with ASCII in the text, a string of hex digits in JSON. */
struct Dump {
  std::string key;
  std::string label;
  std::vector<std::uint8_t> bytes;
  std::uint64_t first_offset = 0;  ///< what the text counts from
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
  enum class Kind { kObject, kElement };

  Section(std::string key, std::string title, Kind kind);

  /** Adds a labelled value. */
  Section& field(std::string key, std::string label, Cell value);

  /** Adds a table, to be filled through the reference. */
  Table& table(std::string key, std::string label, std::vector<Column> columns,
               std::string when_empty);

  /** Adds raw bytes. */
  Section& dump(std::string key, std::string label, std::vector<std::uint8_t> bytes,
                std::uint64_t first_offset = 0);

  /** Adds a sentence for people. */
  Section& note(std::string text);

  const std::string& key() const { return key_; }
  const std::string& title() const { return title_; }
  Kind kind() const { return kind_; }
  const std::deque<Part>& parts() const { return parts_; }

 private:
  std::string key_;
  std::string title_;
  Kind kind_;
  std::deque<Part> parts_;
};

/** What a command has to say. Its own parts come first, then its sections. */
class Report : public Section {
 public:
  Report() : Section({}, {}, Kind::kObject) {}

  /**
   * Adds a section; in JSON a member with that key, or, without a key, the members of the document.
   * The reference stays valid.
   */
  Section& section(std::string key, std::string title);

  /** Adds a section that is one of several alike; in JSON all of one key make an array. */
  Section& element(std::string key, std::string title);

  const std::deque<Section>& sections() const { return sections_; }

 private:
  std::deque<Section> sections_;
};

/** The text of a report: aligned, without trailing blanks, each line with its end. */
std::string render_text(const Report& report);

/** Whether a JSON document is spread over lines or stands on one. */
enum class JsonForm { kIndented, kOneLine };

/** The JSON document of a report, with its version, and a line end. */
std::string render_json(const Report& report, JsonForm form = JsonForm::kIndented);

}  // namespace ovkctl

#endif
