// Compounding: CompoundDTInfo, CheckCollision and NewDTnfo are exported
// (extractor_kr/stages.h); the engine compounds with what each record
// covers kept as runs beside it.
#ifndef EXTRACTOR_KR_RESOLVE_COMPOUND_H_
#define EXTRACTOR_KR_RESOLVE_COMPOUND_H_

#include <vector>

#include "extractor_kr/stages.h"
#include "interpret/marks.h"
#include "resolve/reader.h"

namespace eti {

// CompoundDTInfo over records whose marks are `marks` (one per record, in
// list order): the new compounds, their compoundMarks left unset, and in
// `out` what each covers, in list order.  With `reader`, records join only
// across blanks inside one sentence, and a count counts from the reference
// unless the text ties it to an earlier expression (ReaderText::CountBase):
// then it is left for restoration to count from that expression once
// resolved, and `ties` (one per compound) says which.
DTINFO* Compound(DTINFO* list, const std::vector<Marks>& marks, DTINFO* reference,
                 const char* text, std::vector<Marks>* out, const ReaderText* reader = nullptr,
                 std::vector<Tie>* ties = nullptr);

}  // namespace eti

#endif  // EXTRACTOR_KR_RESOLVE_COMPOUND_H_
