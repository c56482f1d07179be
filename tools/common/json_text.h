// JSON text as the tools write it: one string writer for every answer the
// command-line tool and the server give.
#ifndef EXTRACTOR_KR_TOOLS_COMMON_JSON_TEXT_H_
#define EXTRACTOR_KR_TOOLS_COMMON_JSON_TEXT_H_

#include <string>
#include <string_view>

namespace eti::tools {

// Appends `utf8` as a JSON string, quotes included: quote, backslash and
// control characters escaped, everything else (UTF-8 included) as it is.
void AppendJsonString(std::string_view utf8, std::string* out);

}  // namespace eti::tools

#endif  // EXTRACTOR_KR_TOOLS_COMMON_JSON_TEXT_H_
