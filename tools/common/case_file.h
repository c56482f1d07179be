// Case files: the end-to-end cases and the development corpus.  One case
// per line, four tab-separated columns: reference time, text (UTF-8), the
// expected results in their compact form, the expected content; lines that
// start with '#' and blank lines are ignored.
#ifndef EXTRACTOR_KR_TOOLS_COMMON_CASE_FILE_H_
#define EXTRACTOR_KR_TOOLS_COMMON_CASE_FILE_H_

#include <string>
#include <string_view>
#include <vector>

#include "dict/file_util.h"
#include "dict/source.h"

namespace eti::tools {

struct CaseLine {
  int line = 0;
  std::string ref, text, expected, content;
};

// The cases of a file; a line without four columns is reported in *errors.
std::vector<CaseLine> ParseCaseFile(std::string_view text, std::string_view file,
                                    std::vector<SourceError>* errors);

}  // namespace eti::tools

#endif  // EXTRACTOR_KR_TOOLS_COMMON_CASE_FILE_H_
