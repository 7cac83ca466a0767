#include "simulator/io_counters.h"

namespace ravnsim {

void IoCounters::add(std::size_t bytes_written, std::size_t bytes_read, bool good) {
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
