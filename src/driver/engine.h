// The engine behind every way in.  The whole-call entry (ETI_Main, ETS,
// getOthers) loads a dictionary set for each call; the session API loads it
// once when an extractor is opened.  Both then run the same pipeline and
// the same remainder text over a loaded set.
#ifndef EXTRACTOR_KR_DRIVER_ENGINE_H_
#define EXTRACTOR_KR_DRIVER_ENGINE_H_

#include <cstdint>
#include <string>

#include "extractor_kr/stages.h"

namespace eti {

// A dictionary set ready for runs: the four tries loaded and checked, the
// settings text read, the word list split into its lines.  The pointers are
// not owned; nothing in a run writes through them, so one set may serve
// many runs on many threads at once.
struct LoadedDictionaries {
  const BTrie* replacements = nullptr;
  const BTrie* tags = nullptr;
  const BTrie* patterns = nullptr;
  const BTrie* unitSequences = nullptr;
  int32_t defaultAmPm[13] = {0};  // per hour 0..12: 0 none, 1 AM, 2 PM
  int32_t defaultCentury = 0;
  const DicHanddle* words = nullptr;
};

// Whether the whole-call entry accepts a reference time: years 1970..2043,
// months 1..12, days 1..31, hours 0..24, minutes 0..60, read from the first
// twelve characters as the entry reads them.
bool AcceptReference(const char* refTime);

// Reads a settings text into `d` (hours and century, both cleared first).
void ReadSettings(const char* settings, LoadedDictionaries* d);

// ETS over a loaded set: the pipeline's results (NULL for none), with
// *overallType written as ETS writes it.
RESULT_ETS* RunPipeline(const char* text, const char* refTime, const LoadedDictionaries& d,
                        int32_t* overallType);

// Removal map of the remainder text, one character per byte of `text`:
// '0' kept, '1' removed as part of an expression or of a listed word right
// after one, byte value 1 a removed comma.  With no results every byte is
// kept (commas too).
std::string RemovalMap(const char* text, int32_t length, const RESULT_ETS* list,
                       const DicHanddle* words);

// The bytes of `text` that `map` keeps, as a new heap text.
char* KeptText(const char* text, const std::string& map);

// The repetition string of a result: 00010000000000 yearly ...
// 00000001000000 daily, 00000000000000 for none.
const char* CycleOf(const RESULT_ETS& r);

// The byte positions a result's marks cover: the first marked byte and one
// past the last, both -1 when nothing is marked.
void MarkedBytes(const RESULT_ETS& r, int32_t textLength, int32_t* begin, int32_t* end);

}  // namespace eti

#endif  // EXTRACTOR_KR_DRIVER_ENGINE_H_
