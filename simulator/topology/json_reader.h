/**
 * @file
 * Reads the simulator's JSON files. Whatever is wrong in a file is refused with a message that
 * names the file, the place in it and the mistake, so a reader that uses these classes needs no
 * checks of its own for presence, type and range.
 *
 *     read_object(value, [&](JsonObject& members) {
 *       topology.model = members.at("model").text(255);
 *       topology.features = members.at("features").number<std::uint32_t>({}, 0);
 *     });
 */
#pragma once

#include "simulator/fabric/wwn.h"

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
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
template <std::unsigned_integral Number>
struct Range {
  Number least = 0;
  Number most = std::numeric_limits<Number>::max();
};

/**
 * A place in a document, and the value there if there is one. Each reading function refuses a value
 * of another kind; those with a fallback give it when there is no value, the others refuse that.
 */
class JsonValue {
 public:
  /** Whether there is a value here. */
  [[nodiscard]] bool present() const { return json_ != nullptr; }

  /** Whether there is a text here. */
  [[nodiscard]] bool is_text() const;

  /** True or false. */
  [[nodiscard]] bool flag() const;
  [[nodiscard]] bool flag(bool fallback) const { return present() ? flag() : fallback; }

  /** A whole number, or its hex text ("0x0400"). */
  template <typename Number>
  [[nodiscard]] Number number(Range<Number> range = {}) const {
    return static_cast<Number>(number_between(range.least, range.most));
  }
  template <typename Number>
  [[nodiscard]] Number number(Range<Number> range, Number fallback) const {
    return present() ? number(range) : fallback;
  }

  /** A text of at most `longest` bytes. */
  [[nodiscard]] std::string text(std::size_t longest) const;
  [[nodiscard]] std::string text(std::size_t longest, std::string fallback) const {
    return present() ? text(longest) : std::move(fallback);
  }

  /** A world-wide name. */
  [[nodiscard]] Wwn wwn() const;
  [[nodiscard]] Wwn wwn(const Wwn& fallback) const { return present() ? wwn() : fallback; }

  /** One of a few words, as what it stands for. */
  template <typename Meaning>
  using Words = std::initializer_list<std::pair<std::string_view, Meaning>>;
  template <typename Meaning>
  [[nodiscard]] Meaning word(Words<Meaning> words) const {
    const std::string given = text(64);
    std::string known;
    for (const auto& [name, meaning] : words) {
      if (given == name) {
        return meaning;
      }
      known.append(known.empty() ? "" : ", ").append(name);
    }
    refuse("\"" + given + "\" is none of " + known);
  }
  template <typename Meaning>
  [[nodiscard]] Meaning word(Words<Meaning> words, Meaning fallback) const {
    return present() ? word(words) : fallback;
  }

  /** The elements of a list. */
  [[nodiscard]] std::vector<JsonValue> elements() const;
  [[nodiscard]] std::vector<JsonValue> elements_or_none() const {
    return present() ? elements() : std::vector<JsonValue>{};
  }

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

  std::shared_ptr<const std::string> file_;
  std::string pointer_;
  const nlohmann::json* json_;
};

/** The members of an object. Members that were never asked for are mistakes. */
class JsonObject {
 public:
  /** Refuses a value that is not an object. */
  explicit JsonObject(JsonValue object);

  /** The place of a member, whether or not the object has it. */
  [[nodiscard]] JsonValue at(const std::string& name);

  /** The object's own place. */
  [[nodiscard]] const JsonValue& place() const { return object_; }

  /** Refuses the members that `at` was not called for. */
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
