#include "simulator/board/io_counters.h"

namespace ravnsim {

void IoCounters::add(std::size_t bytes_written, std::size_t bytes_read, bool good) {
  Values& values = values_.change();
  if (bytes_read != 0) {
    ++values.reads;
  } else if (bytes_written != 0) {
    ++values.writes;
  } else {
    ++values.without_data;
  }
  values.bytes_read += bytes_read;
  values.bytes_written += bytes_written;
  values.failed += good ? 0 : 1;
}

}  // namespace ravnsim
