/**
 * @file
 * Reads the simulator's JSON files. Whatever is wrong in a file is refused with a message that
 * names the file, the place in it and the mistake, so a reader that uses these classes needs no
 * checks of its own for presence, type and range.
 *
 *     void read_members(JsonObject& in, BoardTopology& board) {
 *       in.required("model", board.model, Longest{255});
 *       in.optional("features", board.features);
 *     }
 */
#pragma once

#include "simulator/topology/wwn.h"

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace ravnsim {

/** A mistake in a file that the user wrote. */
class ConfigurationError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/** The numbers that a member admits, both ends included. */
struct Range {
  std::uint64_t least = 0;
  std::uint64_t most = std::numeric_limits<std::uint64_t>::max();
};

/** The longest text that a member admits, in bytes. */
struct Longest {
  std::size_t bytes;
};

/** A word that a member admits, and what it stands for. */
template <typename Meaning>
struct Word {
  std::string_view name;
  Meaning meaning;
};

class JsonObject;

template <typename Record, typename Key>
class Unique;

/**
 * A place in a document, and the value there if there is one. Each reading function refuses a place
 * without a value, and a value of another kind than it reads.
 */
class JsonValue {
 public:
  /** Whether there is a value here. */
  [[nodiscard]] bool present() const { return json_ != nullptr; }

  /** Whether there is a text here. */
  [[nodiscard]] bool is_text() const;

  /** Reads true or false, or a world-wide name. */
  void read(bool& value) const;
  void read(Wwn& value) const;

  /** Reads a text. */
  void read(std::string& value, Longest longest) const { value = text(longest.bytes); }

  /** Reads a whole number, or its hex text ("0x0400"). */
  template <std::unsigned_integral Number>
  void read(Number& value, Range range = {}) const {
    value = number<Number>(range);
  }

  /** Reads one of a few words, as what it stands for. */
  template <typename Meaning, std::size_t count>
  void read(Meaning& value, const Word<Meaning> (&words)[count]) const {
    value = word(words);
  }

  /** Reads a list, of which each element is read within the same limits. */
  template <typename Element, typename... Limits>
  void read(std::vector<Element>& list, const Limits&... limits) const {
    for (const JsonValue& place : elements()) {
      place.read(list.emplace_back(), limits...);
    }
  }

  /** Reads a list of objects that are told apart by a key. */
  template <typename Record, typename Key>
  void read(std::vector<Record>& list, Unique<Record, Key> unique) const {
    for (const JsonValue& place : elements()) {
      place.read(list.emplace_back());
      unique.check(place, list.back());
    }
  }

  /** Reads an object, whose members `read_members(JsonObject&, Record&)` reads. */
  template <typename Record>
  requires std::is_class_v<Record>
  void read(Record& record) const;

  /** Reads what may be missing elsewhere, and is here. */
  template <typename Value>
  void read(std::optional<Value>& value) const {
    read(value.emplace());
  }

  /** Reads a value that `reader` makes of this place. */
  template <typename Value, std::invocable<const JsonValue&> Reader>
  void read(Value& value, Reader reader) const {
    value = reader(*this);
  }

  /** A whole number, or its hex text. */
  template <std::unsigned_integral Number>
  [[nodiscard]] Number number(Range range = {}) const {
    constexpr std::uint64_t largest = std::numeric_limits<Number>::max();
    return static_cast<Number>(number_between(range.least, std::min(range.most, largest)));
  }

  /** A text of at most `longest` bytes. */
  [[nodiscard]] std::string text(std::size_t longest) const;

  /** One of a few words, as what it stands for. */
  template <typename Meaning, std::size_t count>
  [[nodiscard]] Meaning word(const Word<Meaning> (&words)[count]) const {
    std::array<std::string_view, count> names;
    std::ranges::transform(words, names.begin(), &Word<Meaning>::name);
    return words[index_of_word(names)].meaning;
  }

  /** The elements of a list. */
  [[nodiscard]] std::vector<JsonValue> elements() const;

  /** The place of an element in its list. */
  [[nodiscard]] std::size_t index() const;

  /** The file and the place in it, as messages give them. */
  [[nodiscard]] std::string where() const;

  /** Throws a ConfigurationError that says where this place is and what is wrong with it. */
  [[noreturn]] void refuse(const std::string& mistake) const;

 private:
  friend class JsonDocument;
  friend class JsonObject;

  JsonValue(std::shared_ptr<const std::string> file, std::string pointer,
            const nlohmann::json* json)
      : file_{std::move(file)}, pointer_{std::move(pointer)}, json_{json} {}

  [[nodiscard]] const nlohmann::json& value() const;
  [[nodiscard]] std::uint64_t number_between(std::uint64_t least, std::uint64_t most) const;
  [[nodiscard]] std::size_t index_of_word(std::span<const std::string_view> words) const;

  std::shared_ptr<const std::string> file_;
  std::string pointer_;
  const nlohmann::json* json_;
};

/** The requirement that no two elements of a list have the same key. Where the mistake has "{}",
   its message names the key. */
template <typename Record, typename Key>
class Unique {
 public:
  Unique(Key Record::*key, std::string mistake, std::set<Key> taken)
      : key_{key}, mistake_{std::move(mistake)}, taken_{std::move(taken)} {}

  void check(const JsonValue& place, const Record& record) {
    const Key& key = record.*key_;
    if (!taken_.insert(key).second) {
      place.refuse(mistake_.find("{}") == std::string::npos
                       ? mistake_
                       : std::string{mistake_}.replace(mistake_.find("{}"), 2, shown(key)));
    }
  }

 private:
  static std::string shown(const Wwn& wwn) { return to_text(wwn); }
  static std::string shown(std::uint32_t number) { return std::to_string(number); }

  Key Record::*key_;
  std::string mistake_;
  std::set<Key> taken_;
};

/** Such a requirement; `taken` are keys that are in use besides those of the list. */
template <typename Record, typename Key>
Unique<Record, Key> unique(Key Record::*key, std::string mistake, std::set<Key> taken = {}) {
  return {key, std::move(mistake), std::move(taken)};
}

/**
 * The members of an object. Each reading function takes the name of a member, the variable that it
 * goes to, and what `JsonValue::read` wants to know of its kind. Members that were never asked for
 * are mistakes.
 */
class JsonObject {
 public:
  /** Refuses a value that is not an object. */
  explicit JsonObject(JsonValue object);

  /** Reads a member that must be there. */
  template <typename Value, typename... Limits>
  void required(const std::string& name, Value& value, const Limits&... limits) {
    at(name).read(value, limits...);
  }

  /** Reads a member that may be missing; the variable then keeps its default. */
  template <typename Value, typename... Limits>
  void optional(const std::string& name, Value& value, const Limits&... limits) {
    if (const JsonValue place = at(name); place.present()) {
      place.read(value, limits...);
    }
  }

  /** Reads the elements of a list that may be missing. */
  template <typename Element, typename... Limits>
  void list(const std::string& name, std::vector<Element>& elements, const Limits&... limits) {
    optional(name, elements, limits...);
  }

  /** Hands the places of a list's elements to `take`, if there is a list. */
  template <typename Take>
  void each(const std::string& name, Take take) {
    if (const JsonValue place = at(name); place.present()) {
      std::ranges::for_each(place.elements(), take);
    }
  }

  /** The place of a member, whether or not the object has it. */
  [[nodiscard]] JsonValue at(const std::string& name);

  /** The object's own place. */
  [[nodiscard]] const JsonValue& place() const { return object_; }

  /** Refuses the members that were not asked for. */
  void refuse_others() const;

 private:
  JsonValue object_;
  std::vector<std::string> known_;
};

/** Hands the members of an object to `read` and refuses those that it did not ask for. */
template <typename Read>
void read_object(const JsonValue& value, Read read) {
  JsonObject members{value};
  read(members);
  members.refuse_others();
}

template <typename Record>
requires std::is_class_v<Record>
void JsonValue::read(Record& record) const {
  read_object(*this, [&](JsonObject& in) { read_members(in, record); });
}

/** A parsed file. Places in it are valid while it lives. */
class JsonDocument {
 public:
  /** Parses a file; comments are allowed. */
  static JsonDocument from_file(const std::string& path);

  /** Parses a text; messages give `name` as its file. */
  static JsonDocument from_text(const std::string& name, std::string_view text);

  JsonDocument(JsonDocument&&) noexcept;
  ~JsonDocument();

  [[nodiscard]] JsonValue root() const;

 private:
  JsonDocument(std::string name, std::string_view text);

  std::shared_ptr<const std::string> file_;
  std::unique_ptr<const nlohmann::json> json_;
};

}  // namespace ravnsim
