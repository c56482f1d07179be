// The reading options as the tools take them in words: "future" or "past",
// and a window of years "MIN-MAX".
#ifndef EXTRACTOR_KR_TOOLS_COMMON_READING_OPTIONS_H_
#define EXTRACTOR_KR_TOOLS_COMMON_READING_OPTIONS_H_

#include <string>

#include "extractor_kr.h"

namespace eti::tools {

// "future" or "past" into *prefer; false otherwise.
bool ParsePrefer(const std::string& v, ekr_prefer* prefer);

// "MIN-MAX" into the window of *o; the problem in words otherwise (and *o
// unchanged).
std::string ParseYears(const std::string& v, ekr_options* o);

// Whether the options are the whole call's rules.
bool WholeCall(const ekr_options& o);

}  // namespace eti::tools

#endif  // EXTRACTOR_KR_TOOLS_COMMON_READING_OPTIONS_H_
