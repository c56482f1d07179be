// Restoration: RestoreTime and ModifyDTInfo are exported
// (extractor_kr/stages.h); the engine restores under the reader rules with
// where each record stands in the text.
#ifndef EXTRACTOR_KR_RESOLVE_RESTORE_H_
#define EXTRACTOR_KR_RESOLVE_RESTORE_H_

#include <vector>

#include "extractor_kr/stages.h"
#include "resolve/reader.h"

namespace eti {

// RestoreTime; with `places` (one per record, in list order) by the reader
// rules: a record takes its date from the reference, the start of its span
// in the same sentence, or, a bare time, the latest day stated; 지난 and
// 오는 before it send it their way; a weekday written with a day picks the
// year where they agree.  Writes into `places` the first times of the
// other weekdays of a weekly list.
DTINFO* Restore(DTINFO* list, DTINFO* reference, ETS_CONTEXT* context,
                std::vector<Placement>* places);

}  // namespace eti

#endif  // EXTRACTOR_KR_RESOLVE_RESTORE_H_
