#include "simulator/topology/json_reader.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <iterator>
#include <set>

#include <nlohmann/json.hpp>

namespace ravnsim {

namespace {

/** "line:column" of a byte, both from 1. */
std::string line_and_column(std::string_view text, std::size_t byte) {
  const std::string_view before = text.substr(0, std::min(byte, text.size()));
  const auto line = 1 + std::ranges::count(before, '\n');
  const std::size_t line_start = before.rfind('\n') + 1;  // npos + 1 is 0
  return std::to_string(line) + ":" + std::to_string(before.size() - line_start + 1);
}

/** What the parser found, without the position that it gives in a way of its own. */
std::string reason_of(const nlohmann::json::parse_error& error) {
  const std::string_view text = error.what();
  const std::size_t reason = text.find(": ");
  return std::string{reason == std::string_view::npos ? text : text.substr(reason + 2)};
}

/** A member name as a JSON pointer writes it. */
std::string pointer_token(std::string_view name) {
  std::string token = "/";
  for (const char c : name) {
    if (c == '~' || c == '/') {
      token += c == '~' ? "~0" : "~1";
    } else {
      token += c;
    }
  }
  return token;
}

/** Watches the parser for members that stand twice in one object, the later of which would
    silently win. */
class DuplicateWatch {
 public:
  explicit DuplicateWatch(const std::string& file) : file_{file} {}

  bool operator()(nlohmann::json::parse_event_t event, const nlohmann::json& parsed) {
    using Event = nlohmann::json::parse_event_t;
    if (event == Event::key) {
      take_key(parsed.get<std::string>());
    } else if (event == Event::object_end || event == Event::array_end) {
      levels_.pop_back();
    } else {
      if (!levels_.empty() && levels_.back().is_list) {
        levels_.back().token = pointer_token(std::to_string(levels_.back().length++));
      }
      if (event != Event::value) {
        levels_.push_back({.is_list = event == Event::array_start});
      }
    }
    return true;
  }

 private:
  struct Level {
    bool is_list;
    std::size_t length = 0;
    std::set<std::string> members{};
    std::string token{};
  };

  void take_key(const std::string& name) {
    Level& level = levels_.back();
    level.token = pointer_token(name);
    if (!level.members.insert(name).second) {
      std::string pointer;
      for (const Level& outer : levels_) {
        pointer += outer.token;
      }
      throw ConfigurationError{file_ + ": " + pointer + ": this member stands twice"};
    }
  }

  const std::string& file_;
  std::vector<Level> levels_;
};

nlohmann::json parse(const std::string& name, std::string_view text) {
  DuplicateWatch watch{name};
  try {
    return nlohmann::json::parse(
        text,
        [&](int, nlohmann::json::parse_event_t event, nlohmann::json& parsed) {
          return watch(event, parsed);
        },
        true, true);
  } catch (const nlohmann::json::parse_error& error) {
    throw ConfigurationError{name + ":" + line_and_column(text, error.byte - (error.byte > 0)) +
                             ": " + reason_of(error)};
  }
}

/** A value as messages show it. */
std::string shown(const nlohmann::json& value) {
  constexpr std::size_t longest = 60;
  const std::string text = value.dump();
  return text.size() <= longest ? text : text.substr(0, longest) + "...";
}

std::optional<std::uint64_t> parse_hex(std::string_view text) {
  if (!text.starts_with("0x") && !text.starts_with("0X")) {
    return std::nullopt;
  }
  text.remove_prefix(2);
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, 16);
  if (error != std::errc{} || end != text.data() + text.size()) {
    return std::nullopt;
  }
  return number;
}

std::optional<std::uint64_t> whole_number(const nlohmann::json& value) {
  if (value.is_number_unsigned()) {
    return value.get<std::uint64_t>();
  }
  return value.is_string() ? parse_hex(value.get_ref<const std::string&>()) : std::nullopt;
}

template <typename Names>
std::string joined(const Names& names) {
  std::string text;
  for (const auto& name : names) {
    text.append(text.empty() ? "" : ", ").append(name);
  }
  return text;
}

}  // namespace

std::string JsonValue::where() const { return *file_ + ": " + (pointer_.empty() ? "/" : pointer_); }

void JsonValue::refuse(const std::string& mistake) const {
  throw ConfigurationError{where() + ": " + mistake};
}

const nlohmann::json& JsonValue::value() const {
  if (json_ == nullptr) {
    refuse("this member is missing");
  }
  return *json_;
}

bool JsonValue::is_text() const { return present() && json_->is_string(); }

void JsonValue::read(bool& value) const {
  if (!this->value().is_boolean()) {
    refuse("true or false is wanted here, not " + shown(*json_));
  }
  value = json_->get<bool>();
}

std::uint64_t JsonValue::number_between(std::uint64_t least, std::uint64_t most) const {
  const auto number = whole_number(value());
  if (!number) {
    refuse("a whole number from 0 on, or its hex text \"0x...\", is wanted here, not " +
           shown(value()));
  }
  if (*number < least || *number > most) {
    refuse(shown(value()) + " is not between " + std::to_string(least) + " and " +
           std::to_string(most));
  }
  return *number;
}

std::string JsonValue::text(std::size_t longest) const {
  if (!value().is_string()) {
    refuse("a text is wanted here, not " + shown(value()));
  }
  const auto& text = value().get_ref<const std::string&>();
  if (text.size() > longest) {
    refuse("the text has " + std::to_string(text.size()) + " bytes; " + std::to_string(longest) +
           " have room");
  }
  return text;
}

void JsonValue::read(Wwn& value) const {
  constexpr std::size_t longest_wwn = 64;
  const std::string given = text(longest_wwn);
  const auto wwn = parse_wwn(given);
  if (!wwn) {
    refuse("\"" + given + "\" is no world-wide name such as \"10:00:02:00:00:00:00:01\"");
  }
  value = *wwn;
}

std::size_t JsonValue::index_of_word(std::span<const std::string_view> words) const {
  constexpr std::size_t longest_word = 64;
  const std::string given = text(longest_word);
  const auto found = std::ranges::find(words, given);
  if (found == words.end()) {
    refuse("\"" + given + "\" is none of " + joined(words));
  }
  return static_cast<std::size_t>(found - words.begin());
}

std::size_t JsonValue::index() const {
  return std::stoul(pointer_.substr(pointer_.rfind('/') + 1));
}

std::vector<JsonValue> JsonValue::elements() const {
  if (!value().is_array()) {
    refuse("a list is wanted here, not " + shown(value()));
  }
  std::vector<JsonValue> elements;
  for (const nlohmann::json& element : *json_) {
    elements.push_back({file_, pointer_ + "/" + std::to_string(elements.size()), &element});
  }
  return elements;
}

JsonObject::JsonObject(JsonValue object) : object_{std::move(object)} {
  if (!object_.value().is_object()) {
    object_.refuse("an object is wanted here, not " + shown(object_.value()));
  }
}

JsonValue JsonObject::at(const std::string& name) {
  known_.push_back(name);
  const auto found = object_.json_->find(name);
  return {object_.file_, object_.pointer_ + pointer_token(name),
          found != object_.json_->end() ? &*found : nullptr};
}

void JsonObject::refuse_others() const {
  for (const auto& [name, value] : object_.json_->items()) {
    if (std::ranges::find(known_, name) == known_.end()) {
      object_.refuse("member \"" + name + "\" is unknown; known are " + joined(known_));
    }
  }
}

JsonDocument::JsonDocument(std::string name, std::string_view text)
    : file_{std::make_shared<const std::string>(std::move(name))},
      json_{std::make_unique<const nlohmann::json>(parse(*file_, text))} {}

JsonDocument::JsonDocument(JsonDocument&&) noexcept = default;
JsonDocument::~JsonDocument() = default;

JsonDocument JsonDocument::from_file(const std::string& path) {
  try {
    std::ifstream file;
    file.exceptions(std::ios::failbit | std::ios::badbit);
    file.open(path, std::ios::binary);
    return {path, std::string{std::istreambuf_iterator<char>{file}, {}}};
  } catch (const std::ios::failure&) {
    throw ConfigurationError{path + ": cannot be read: " + std::strerror(errno)};
  }
}

JsonDocument JsonDocument::from_text(const std::string& name, std::string_view text) {
  return {name, text};
}

JsonValue JsonDocument::root() const { return {file_, "", json_.get()}; }

}  // namespace ravnsim
