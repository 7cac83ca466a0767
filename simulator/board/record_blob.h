/**
 * @file
 * Lists of records in what an adapter keeps.
 */
#pragma once

#include "simulator/board/adapter.h"

#include <cstddef>
#include <cstring>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

namespace ravnsim {

/** The records that were kept under a name; none when there are no whole ones. */
template <typename Record>
std::vector<Record> load_records(const Adapter& adapter, const std::string& name) {
  static_assert(std::is_trivially_copyable_v<Record>);
  const auto blob = adapter.load(name);
  if (!blob || blob->empty() || blob->size() % sizeof(Record) != 0) {
    return {};
  }
  std::vector<Record> records(blob->size() / sizeof(Record));
  std::memcpy(records.data(), blob->data(), blob->size());
  return records;
}

/** Keeps records under a name. */
template <typename Record>
void save_records(Adapter& adapter, const std::string& name, const std::vector<Record>& records) {
  adapter.save(name, std::as_bytes(std::span{records}));
}

}  // namespace ravnsim
