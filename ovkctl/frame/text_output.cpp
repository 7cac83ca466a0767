#include "ovkctl/frame/report.h"
#include "ovkctl/frame/values.h"

#include <algorithm>
#include <cstddef>
#include <sstream>

namespace ovkctl {
namespace {

constexpr std::size_t indent_width = 2;

/** The columns that a UTF-8 text takes, as far as one a character is right. */
std::size_t width_of(const std::string& text) {
  return static_cast<std::size_t>(std::ranges::count_if(
      text, [](char c) { return (static_cast<unsigned char>(c) & 0xc0) != 0x80; }));
}

/** The header of a column and its cells, each as wide as the widest. */
std::vector<std::string> column_texts(const Table& table, std::size_t index) {
  std::vector<std::string> texts{table.columns[index].header};
  std::size_t width = width_of(texts[0]);
  bool to_the_right = true;
  for (const std::vector<Cell>& cells : table.rows) {
    to_the_right = to_the_right && cells[index].is_quantity();
    width = std::max(width, width_of(texts.emplace_back(cells[index].text())));
  }
  for (std::string& text : texts) {
    text.insert(to_the_right ? 0 : text.size(), width - width_of(text), ' ');
  }
  return texts;
}

/** The lines of a table, its header first. */
std::vector<std::string> table_lines(const Table& table) {
  std::vector<std::string> lines(table.rows.size() + 1);
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    if (*table.columns[i].header == '\0') {
      continue;
    }
    const std::vector<std::string> texts = column_texts(table, i);
    for (std::size_t row = 0; row < lines.size(); ++row) {
      lines[row].append(lines[row].empty() ? "" : "  ").append(texts[row]);
    }
  }
  return lines;
}

std::size_t indent_of(const Section& section) { return section.title().empty() ? 0 : indent_width; }

/** The width of the widest label, with what it is indented by. */
std::size_t label_width(const Report& report) {
  std::size_t width = 0;
  for (const Report::Part& part : report.parts()) {
    if (const auto* const field = std::get_if<Field>(&part)) {
      width = std::max(width, indent_of(report) + width_of(field->label));
    }
  }
  for (const Section& section : report.sections()) {
    width = std::max(width, label_width(section));
  }
  return width;
}

/** Collects the lines of a report. Blank lines set off sections, and in them what is not a field;
    no line ends in blanks. */
class TextWriter {
 public:
  explicit TextWriter(std::size_t label_width) : label_width_{label_width} {}

  void write(const Report& report) {
    separate();
    if (!report.title().empty()) {
      line(report.title());
    }
    indent_ = indent_of(report);
    last_ = Block::none;
    for (const Report::Part& part : report.parts()) {
      std::visit(*this, part);
    }
    indent_ = 0;
    std::ranges::for_each(report.sections(), [this](const Section& section) { write(section); });
  }

  [[nodiscard]] const std::string& text() const { return text_; }

  void operator()(const Field& field) {
    if (field.label.empty()) {
      return;
    }
    begin(Block::fields);
    const std::size_t gap = label_width_ - indent_ - width_of(field.label) + 2;
    line(field.label + std::string(gap, ' ') + field.value.text());
  }

  void operator()(const Table& table) {
    begin(Block::other, table.label);
    if (table.rows.empty()) {
      line(table.when_empty);
    } else {
      std::ranges::for_each(table_lines(table), [this](const auto& text) { line(text); });
    }
  }

  void operator()(const Dump& dump) {
    if (dump.key.empty()) {
      return;
    }
    begin(Block::other, dump.label);
    std::istringstream lines{hexdump(dump.bytes, dump.first_offset)};
    for (std::string text; std::getline(lines, text);) {
      line(text);
    }
  }

  void operator()(const Note& note) {
    begin(Block::notes);
    line(note.text);
  }

 private:
  enum class Block { none, fields, notes, other };

  void begin(Block block, const std::string& label = {}) {
    if (last_ != Block::none && (block != last_ || block == Block::other)) {
      separate();
    }
    last_ = block;
    if (!label.empty()) {
      line(label);
    }
  }

  void line(const std::string& text) {
    text_.append(indent_, ' ').append(text);
    text_.erase(text_.find_last_not_of(' ') + 1);
    text_ += '\n';
  }

  void separate() {
    if (!text_.empty() && !text_.ends_with("\n\n")) {
      text_ += '\n';
    }
  }

  std::size_t label_width_;
  std::string text_;
  std::size_t indent_ = 0;
  Block last_ = Block::none;
};

}  // namespace

std::string render_text(const Report& report) {
  TextWriter writer{label_width(report)};
  writer.write(report);
  return writer.text();
}

}  // namespace ovkctl
