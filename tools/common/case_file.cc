#include "common/case_file.h"

#include <dirent.h>

#include <algorithm>

namespace eti::tools {

std::vector<CaseLine> ParseCaseFile(std::string_view text, std::string_view file,
                                    std::vector<SourceError>* errors) {
  std::vector<CaseLine> cases;
  int number = 0;
  while (!text.empty()) {
    ++number;
    const size_t nl = text.find('\n');
    const std::string_view line = text.substr(0, nl);
    text.remove_prefix(nl == std::string_view::npos ? text.size() : nl + 1);
    if (line.empty() || line[0] == '#') continue;
    std::vector<std::string> cols;
    size_t from = 0;
    for (size_t tab; (tab = line.find('\t', from)) != std::string_view::npos; from = tab + 1) {
      cols.emplace_back(line.substr(from, tab - from));
    }
    cols.emplace_back(line.substr(from));
    if (cols.size() != 4) {
      errors->push_back({std::string(file), number, "expected 4 tab-separated columns"});
      continue;
    }
    cases.push_back({number, cols[0], cols[1], cols[2], cols[3]});
  }
  return cases;
}

}  // namespace eti::tools
