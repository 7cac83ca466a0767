/**
 * @file
 * What an adapter keeps without power, as records.
 */
#pragma once

#include "simulator/board/adapter.h"
#include "simulator/call/report.h"

#include <cstdint>
#include <cstring>
#include <exception>
#include <span>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace ravnsim {

/** The bytes that records are made of. */
template <typename Record, std::size_t extent>
std::span<const std::uint8_t> bytes_of(std::span<const Record, extent> records) {
  static_assert(std::is_trivially_copyable_v<Record>);
  return {reinterpret_cast<const std::uint8_t*>(records.data()), records.size_bytes()};
}

/** A record that is kept under a name, as it was last set. What was saved in another size, by
    another version of the simulator, counts as never saved. */
template <typename Record>
class Saved {
 public:
  Saved(Adapter& adapter, std::string name, const Record& initial = {})
      : adapter_{adapter}, name_{std::move(name)}, record_{initial} {
    if (const auto blob = adapter.load(name_); blob && blob->size() == sizeof(Record)) {
      std::memcpy(&record_, blob->data(), sizeof(Record));
    }
  }

  [[nodiscard]] const Record& get() const { return record_; }

  void set(const Record& record) {
    record_ = record;
    adapter_.save(name_, bytes_of(std::span{&std::as_const(record_), 1}));
  }

  /** Lets `f` change the record, and saves it. */
  template <typename Change>
  void change(Change f) {
    f(record_);
    set(record_);
  }

 private:
  Adapter& adapter_;
  std::string name_;
  Record record_;
};

/** A record that changes too often to be saved each time: it is saved when the board goes. */
template <typename Record>
class SavedAtEnd {
 public:
  SavedAtEnd(Adapter& adapter, std::string name, const Record& initial = {})
      : saved_{adapter, std::move(name), initial}, record_{saved_.get()} {}
  SavedAtEnd(const SavedAtEnd&) = delete;
  SavedAtEnd& operator=(const SavedAtEnd&) = delete;
  ~SavedAtEnd() {
    try {
      if (changed_) {
        saved_.set(record_);
      }
    } catch (const std::exception& error) {
      report(error.what());
    }
  }

  [[nodiscard]] const Record& get() const { return record_; }

  /** The record, to be changed. */
  [[nodiscard]] Record& change() {
    changed_ = true;
    return record_;
  }

 private:
  Saved<Record> saved_;
  Record record_;
  bool changed_ = false;
};

/** A list of records that is kept under a name. */
template <typename Record>
class SavedList {
 public:
  /** The records that were kept; `initial` when there are none, or no whole ones. */
  SavedList(Adapter& adapter, std::string name, std::vector<Record> initial = {})
      : adapter_{adapter}, name_{std::move(name)}, records_{std::move(initial)} {
    const auto blob = adapter.load(name_);
    if (blob && !blob->empty() && blob->size() % sizeof(Record) == 0) {
      records_.resize(blob->size() / sizeof(Record));
      std::memcpy(records_.data(), blob->data(), blob->size());
    }
  }

  [[nodiscard]] const std::vector<Record>& records() const { return records_; }

  /** Lets `f` change the records, and saves them. */
  template <typename Change>
  void change(Change f) {
    f(records_);
    adapter_.save(name_, bytes_of(std::span{std::as_const(records_)}));
  }

  /** Forgets the records and that there were any. */
  void forget() {
    records_.clear();
    adapter_.forget(name_);
  }

 private:
  Adapter& adapter_;
  std::string name_;
  std::vector<Record> records_;
};

}  // namespace ravnsim
