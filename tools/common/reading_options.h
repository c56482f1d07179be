// The reading options as the tools take them in words: the rules
// ("reader" or "whole-call"), the preference ("future" or "past") and a
// window of years "MIN-MAX".  The names, the limits and the problems in
// words are the library's own.
#ifndef EXTRACTOR_KR_TOOLS_COMMON_READING_OPTIONS_H_
#define EXTRACTOR_KR_TOOLS_COMMON_READING_OPTIONS_H_

#include <string>

#include "extractor_kr.h"

namespace eti::tools {

// A rule set's name into *rules; false otherwise.
bool ParseRules(const std::string& v, ekr_rules* rules);

// A preference's name into *prefer; false otherwise.
bool ParsePrefer(const std::string& v, ekr_prefer* prefer);

// The names the library gives, joined by " or " ("reader or whole-call").
std::string RulesNames();
std::string PreferNames();

// "MIN-MAX" into the window of *o; the problem in words otherwise (and *o
// unchanged).  Whether the window suits the rest of the options is
// OptionsProblem's to say.
std::string ParseYears(const std::string& v, ekr_options* o);

// The problem with options as the library words it, "" when they are sound.
std::string OptionsProblem(const ekr_options& o);

// Whether the options are the whole call's rules.
bool WholeCall(const ekr_options& o);

// The options ekr_options_init gives: the reader's rules.
ekr_options DefaultReading();

}  // namespace eti::tools

#endif  // EXTRACTOR_KR_TOOLS_COMMON_READING_OPTIONS_H_
