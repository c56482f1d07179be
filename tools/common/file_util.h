// Files for the tools: whole-file reads, and writes that never leave a
// half-written file behind (a temporary file beside the target, renamed
// over it once complete).
#ifndef EXTRACTOR_KR_TOOLS_COMMON_FILE_UTIL_H_
#define EXTRACTOR_KR_TOOLS_COMMON_FILE_UTIL_H_

#include <string>
#include <string_view>

namespace eti::tools {

bool ReadFile(const std::string& path, std::string* out, std::string* error);
bool WriteFileAtomically(const std::string& path, std::string_view data, std::string* error);

}  // namespace eti::tools

#endif  // EXTRACTOR_KR_TOOLS_COMMON_FILE_UTIL_H_
