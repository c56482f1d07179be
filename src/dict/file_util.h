// Files of dictionary sets: whole-file reads, directory listings, and
// writes that never leave a half-written file behind (a temporary file
// beside the target, renamed over it once complete).
#ifndef EXTRACTOR_KR_DICT_FILE_UTIL_H_
#define EXTRACTOR_KR_DICT_FILE_UTIL_H_

#include <string>
#include <string_view>
#include <vector>

namespace eti {

bool ReadFile(const std::string& path, std::string* out, std::string* error);
bool WriteFileAtomically(const std::string& path, std::string_view data, std::string* error);

// The names of the files of `dir` that end in `suffix`, sorted.
std::vector<std::string> ListFiles(const std::string& dir, std::string_view suffix);

}  // namespace eti

#endif  // EXTRACTOR_KR_DICT_FILE_UTIL_H_
