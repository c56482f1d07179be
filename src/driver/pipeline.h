// The extraction pipeline: ETS, GetDTtype, combineMarks and FreeRESULT_ETS
// are exported (public header); the result-building loop and the mapping of
// marks back onto the input are factored out here so that they can be
// driven directly with hand-made records.
#ifndef EXTRACTOR_KR_DRIVER_PIPELINE_H_
#define EXTRACTOR_KR_DRIVER_PIPELINE_H_

#include <cstdint>

#include "extractor_kr/stages.h"

namespace eti {

// Maps per-byte marks of the normalised text (w entries) onto the input
// text (out, n entries, cleared by the caller) through the replacement
// records of normalisation (NULL when nothing was replaced).
void MapMarks(const int32_t* normalised, int32_t w, const retTypeBBT* replacements,
              int32_t* out, int32_t n);

// The result list of restored records: points, spans joined from a start
// and an end, open starts and ends, durations added to an open start, whole
// periods; records past 2035 dropped.  Reads and updates the records'
// duration fields; does not free them.
RESULT_ETS* BuildResults(DTINFO* restored, int32_t n, int32_t w,
                         const retTypeBBT* replacements);

}  // namespace eti

#endif  // EXTRACTOR_KR_DRIVER_PIPELINE_H_
