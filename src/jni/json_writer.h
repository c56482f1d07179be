// The JSON result array of the native entry.
#ifndef EXTRACTOR_KR_JNI_JSON_WRITER_H_
#define EXTRACTOR_KR_JNI_JSON_WRITER_H_

#include "extractor_kr/stages.h"

namespace eti {

// The JSON array text of a result list, in a new malloc'd buffer: "[]" for
// an empty list.  Every value is written inside double quotes; a double
// quote in the content is escaped with a backslash and nothing else is.
// Elements sit at slots computed from the fixed widths of their fields (one
// digit of resultType, 0/1 flags, 14-character times and cycle), never from
// the formatted length.
char* WriteJsonArray(const TYPED_RESULT* list);

}  // namespace eti

#endif  // EXTRACTOR_KR_JNI_JSON_WRITER_H_
