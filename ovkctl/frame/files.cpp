#include "ovkctl/frame/files.h"

#include "ovkctl/frame/errors.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fmt/core.h>
#include <memory>
#include <unistd.h>

namespace ovkctl {
namespace {

struct Close {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Close>;

[[noreturn]] void fail(const std::string& path, const char* what) {
  throw OperationFailed(
      fmt::format("The file \"{}\" cannot be {}: {}.", path, what, std::strerror(errno)));
}

}  // namespace

Bytes read_file(const std::string& path, std::size_t most) {
  const File file(std::fopen(path.c_str(), "rb"));
  if (!file) {
    fail(path, "read");
  }
  Bytes bytes;  // grows with the file: what may be read is often far more
  std::array<std::uint8_t, 65536> part;
  std::size_t count = 0;
  do {
    count = std::fread(part.data(), 1, part.size(), file.get());
    bytes.insert(bytes.end(), part.begin(), part.begin() + static_cast<std::ptrdiff_t>(count));
  } while (count != 0 && bytes.size() <= most);
  if (std::ferror(file.get()) != 0) {
    fail(path, "read");
  }
  if (bytes.size() > most) {
    throw OperationFailed(
        fmt::format("The file \"{}\" is too long: at most {} bytes fit.", path, most));
  }
  return bytes;
}

Bytes given_bytes(const std::optional<HexBytes>& hex, const std::optional<std::string>& file,
                  std::size_t most, const char* sentence) {
  if (hex.has_value() == file.has_value()) {
    throw UsageError(sentence);
  }
  return hex ? hex->bytes : read_file(*file, most);
}

void write_file(const std::string& path, std::span<const std::uint8_t> bytes) {
  // A copy of the descriptor, so that closing tells here whether all was written.
  File file(path == "-" ? fdopen(dup(STDOUT_FILENO), "wb") : std::fopen(path.c_str(), "wb"));
  if (!file) {
    fail(path, "written");
  }
  const bool whole = std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
  // The last bytes may fail as late as here.
  if (std::fclose(file.release()) != 0 || !whole) {
    fail(path, "written");
  }
}

}  // namespace ovkctl
