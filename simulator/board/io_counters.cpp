#include "simulator/board/io_counters.h"

#include "simulator/call/report.h"

#include <exception>

namespace ravnsim {

namespace {

constexpr const char* saved_name = "io-counters";

}  // namespace

IoCounters::IoCounters(Adapter& adapter)
    : adapter_{adapter}, values_{adapter.load_record<Values>(saved_name).value_or(Values{})} {}

IoCounters::~IoCounters() {
  if (!changed_) {
    return;
  }
  try {
    adapter_.save_record(saved_name, values_);
  } catch (const std::exception& error) {
    report(error.what());
  }
}

void IoCounters::add(std::size_t bytes_written, std::size_t bytes_read, bool good) {
  changed_ = true;
  if (bytes_read != 0) {
    ++values_.reads;
  } else if (bytes_written != 0) {
    ++values_.writes;
  } else {
    ++values_.without_data;
  }
  values_.bytes_read += bytes_read;
  values_.bytes_written += bytes_written;
  values_.failed += good ? 0 : 1;
}

}  // namespace ravnsim
