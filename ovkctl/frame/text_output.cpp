#include "ovkctl/frame/report.h"
#include "ovkctl/frame/values.h"

#include <algorithm>
#include <cstddef>

namespace ovkctl {
namespace {

constexpr std::size_t column_gap = 2;
constexpr std::size_t indent_width = 2;

/** The columns that a UTF-8 text takes, as far as one a character is right. */
std::size_t width_of(const std::string& text) {
  return static_cast<std::size_t>(std::ranges::count_if(
      text, [](char c) { return (static_cast<unsigned char>(c) & 0xc0) != 0x80; }));
}

std::string padding(const std::string& text, std::size_t width) {
  const std::size_t taken = width_of(text);
  return std::string(width > taken ? width - taken : 0, ' ');
}

/** A column of a table as texts, the header first. */
struct TextColumn {
  std::vector<std::string> texts;
  std::size_t width = 0;
  bool to_the_right = true;
};

TextColumn text_column(const Table& table, std::size_t index) {
  TextColumn column;
  column.texts.push_back(table.columns[index].header);
  for (const std::vector<Cell>& cells : table.rows) {
    const Cell& cell = cells[index];
    const bool known = !std::holds_alternative<std::monostate>(cell.value());
    column.to_the_right = column.to_the_right && (cell.is_quantity() || !known);
    column.texts.push_back(cell.text());
  }
  for (const std::string& text : column.texts) {
    column.width = std::max(column.width, width_of(text));
  }
  return column;
}

/** Collects lines; a blank line separates blocks, and no line ends in blanks. */
class TextWriter {
 public:
  std::string take() { return std::move(text_); }

  void set_indent(std::size_t indent) { indent_ = indent; }

  void line(const std::string& text) {
    const std::string whole = std::string(indent_, ' ') + text;
    text_ += whole.substr(0, whole.find_last_not_of(' ') + 1) + "\n";
  }

  void lines(const std::string& text) {
    for (std::size_t start = 0; start < text.size();) {
      const std::size_t end = std::min(text.find('\n', start), text.size());
      line(text.substr(start, end - start));
      start = end + 1;
    }
  }

  void separate() {
    if (!text_.empty() && !text_.ends_with("\n\n")) {
      text_ += "\n";
    }
  }

 private:
  std::string text_;
  std::size_t indent_ = 0;
};

void write_table_rows(TextWriter& writer, const Table& table) {
  std::vector<TextColumn> columns;
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    if (!table.columns[i].header.empty()) {
      columns.push_back(text_column(table, i));
    }
  }
  for (std::size_t row = 0; row <= table.rows.size(); ++row) {
    std::string line;
    for (const TextColumn& column : columns) {
      const std::string& text = column.texts[row];
      const std::string blanks = padding(text, column.width);
      line += line.empty() ? "" : std::string(column_gap, ' ');
      line += column.to_the_right ? blanks + text : text + blanks;
    }
    writer.line(line);
  }
}

std::size_t label_width(const Report& report) {
  std::size_t width = 0;
  const auto measure = [&width](const Section& section) {
    for (const Section::Part& part : section.parts()) {
      if (const auto* const field = std::get_if<Field>(&part)) {
        width =
            std::max(width, width_of(field->label) + (section.title().empty() ? 0 : indent_width));
      }
    }
  };
  measure(report);
  std::ranges::for_each(report.sections(), measure);
  return width;
}

/** Writes the parts of a section; what is not a field is set off by blank lines. */
class PartWriter {
 public:
  PartWriter(TextWriter& writer, std::size_t label_width)
      : writer_(writer), label_width_(label_width) {}

  void operator()(const Field& field) {
    if (field.label.empty()) {
      return;
    }
    begin(Block::fields);
    writer_.line(field.label + padding(field.label, label_width_ + column_gap) +
                 field.value.text());
  }

  void operator()(const Table& table) {
    begin(Block::other);
    if (!table.label.empty()) {
      writer_.line(table.label);
    }
    if (table.rows.empty()) {
      writer_.line(table.when_empty);
    } else {
      write_table_rows(writer_, table);
    }
  }

  void operator()(const Dump& dump) {
    if (dump.key.empty()) {
      return;
    }
    begin(Block::other);
    if (!dump.label.empty()) {
      writer_.line(dump.label);
    }
    writer_.lines(hexdump(dump.bytes, dump.first_offset));
  }

  void operator()(const Note& note) {
    begin(Block::notes);
    writer_.line(note.text);
  }

 private:
  enum class Block { none, fields, notes, other };

  void begin(Block block) {
    if (last_ != Block::none && (block != last_ || block == Block::other)) {
      writer_.separate();
    }
    last_ = block;
  }

  TextWriter& writer_;
  std::size_t label_width_;
  Block last_ = Block::none;
};

void write_section(TextWriter& writer, const Section& section, std::size_t label_width) {
  writer.separate();
  std::size_t indent = 0;
  if (!section.title().empty()) {
    writer.line(section.title());
    indent = indent_width;
  }
  writer.set_indent(indent);
  PartWriter part_writer(writer, label_width - indent);
  for (const Section::Part& part : section.parts()) {
    std::visit(part_writer, part);
  }
  writer.set_indent(0);
}

}  // namespace

std::string render_text(const Report& report) {
  TextWriter writer;
  const std::size_t width = label_width(report);
  write_section(writer, report, width);
  for (const Section& section : report.sections()) {
    write_section(writer, section, width);
  }
  return writer.take();
}

}  // namespace ovkctl
