#include "fuzz_dicts.h"

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "dict/source_set.h"

namespace eti::fuzz {

const DictSet& DefaultDicts() {
  static const DictSet set = [] {
    std::vector<eti::SourceError> errors;
    const eti::CompiledSet c =
        eti::CompileSourceDir(std::string(ETI_SOURCE_DIR) + "/dicts/ko", &errors);
    if (!errors.empty()) {
      std::fprintf(stderr, "%s\n", errors[0].Format().c_str());
      std::abort();
    }
    return DictSet{{c.settings, c.replace, c.tags, c.patterns, c.units, c.words}};
  }();
  return set;
}

std::string CallInput(const std::string& ref, const std::string& text) {
  std::string input(1, '\0');
  input += ref.substr(0, 12);
  input.resize(13, '0');
  input += '\0';  // default settings
  input += '\0';  // no edits
  return input + text;
}

}  // namespace eti::fuzz
