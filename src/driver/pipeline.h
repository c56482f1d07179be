// The extraction pipeline: ETS, GetDTtype, combineMarks and FreeRESULT_ETS
// are exported (extractor_kr/stages.h); the result loop and the mapping of
// what an expression covers back onto the input are factored out here so
// that they can be driven directly with hand-made records.
#ifndef EXTRACTOR_KR_DRIVER_PIPELINE_H_
#define EXTRACTOR_KR_DRIVER_PIPELINE_H_

#include <cstdint>
#include <vector>

#include "driver/engine.h"
#include "extractor_kr/stages.h"
#include "interpret/marks.h"
#include "resolve/reader.h"

namespace eti {

// Where each byte of the input text was read from in the normalised text:
// one to one outside the replacements; inside one, a space and the
// replacement stand for the matched piece.  Built once per run from the
// replacement records (NULL when nothing was replaced), in proportion to
// their number.
class InputMap {
 public:
  InputMap(const retTypeBBT* replacements, int32_t inputLength, int32_t normalisedLength);

  // The input bytes read from the bytes that runs of 1 cover in the
  // normalised text, as runs of 1.  A matched piece longer than its
  // replacement maps its first extra bytes to the replacement's first byte;
  // the space before a replacement, and the first bytes of a replacement
  // longer than its piece, map to nothing.
  Marks Map(const Marks& normalised) const;

 private:
  struct Segment {
    int32_t inputBegin, inputEnd;  // input bytes [inputBegin, inputEnd)
    int32_t source;                // the normalised byte of inputBegin
    bool constant;                 // every byte of the segment reads `source`
  };
  std::vector<Segment> segments_;  // in input order, and so in normalised order
};

// The result list of restored records (`marks`: what each covers in the
// normalised text, in list order): points, spans joined from a start and an
// end, open starts and ends, durations added to an open start, whole
// periods; records past 2035 dropped.  Reads and updates the records'
// duration fields; does not free them.  With `places` (the reader rules':
// where each record stands), no span joins across the end of a sentence
// and none ends before it starts.
std::vector<Found> BuildResults(DTINFO* restored, const std::vector<Marks>& marks,
                                const InputMap& map,
                                const std::vector<Placement>* places = nullptr);

}  // namespace eti

#endif  // EXTRACTOR_KR_DRIVER_PIPELINE_H_
