#include "tests/house/tree.h"

#include "tests/support/files.h"

#include <filesystem>

namespace ovk::test {

std::map<std::string, std::string> files_below(const std::string& folder,
                                               const std::string& names) {
  namespace fs = std::filesystem;
  const fs::path root{OVK_SOURCE_DIR};
  const std::regex wanted{names};
  std::map<std::string, std::string> texts;
  for (fs::recursive_directory_iterator entry{root / folder}, end; entry != end; ++entry) {
    const std::string path = entry->path().lexically_relative(root);
    if (path == "build" || entry->path().filename().string().starts_with('.')) {
      entry.disable_recursion_pending();
    } else if (entry->is_regular_file() && std::regex_match(path, wanted)) {
      texts.emplace(path, read_file(entry->path()));
    }
  }
  return texts;
}

Names all_matches(const std::string& text, const std::regex& pattern) {
  return {std::sregex_token_iterator{text.begin(), text.end(), pattern, 1}, {}};
}

Names declared(const std::string& folder) {
  static const std::regex declaration{R"((?:\n|extern )OVK_API\b[^;(\[]*?\b(\w+)\s*[(\[;])"};
  Names names;
  for (const auto& [path, text] : files_below(folder, R"(.*\.h)")) {
    names.merge(all_matches(text, declaration));
  }
  return names;
}

}  // namespace ovk::test
