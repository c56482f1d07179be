// Unit dispatcher: CalDTStr and SearchTagSeq are exported (public header);
// the choice among groups of units is exposed for tests.
#ifndef EXTRACTOR_KR_INTERPRET_DISPATCHER_H_
#define EXTRACTOR_KR_INTERPRET_DISPATCHER_H_

#include "extractor_kr/stages.h"

namespace eti {

// The first node of the group of units CalDTStr uses, from a unit list in
// which every node at position 0 opens a group.
retTypeBBT* ChooseGroup(retTypeBBT* units);

}  // namespace eti

#endif  // EXTRACTOR_KR_INTERPRET_DISPATCHER_H_
