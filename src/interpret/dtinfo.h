// The date-time record: making records and reading the UNSET convention.
//
// Free_DTINFO, SetFlagsToDTInfo, ValidateAbsolDT and DepthOfSeq are the
// exported list operations (public header); this header adds the helpers
// that every stage which builds or reads records shares.
#ifndef EXTRACTOR_KR_INTERPRET_DTINFO_H_
#define EXTRACTOR_KR_INTERPRET_DTINFO_H_

#include <cstdint>

#include "extractor_kr/stages.h"

namespace eti {

constexpr int32_t kUnset = ETI_UNSET;
constexpr uint8_t kUnsetFlag = 0x0A;

inline bool IsSet(int32_t v) { return v != kUnset; }

// A new heap record with every byte 0x0A (every field unset) and next NULL.
DTINFO* NewDTINFO();

// Whether a record owns a marks array (its low 32 bits are not the preset
// pattern).
inline bool HasMarks(const DTINFO* r) {
  return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(r->compoundMarks)) !=
         static_cast<uint32_t>(kUnset);
}

}  // namespace eti

#endif  // EXTRACTOR_KR_INTERPRET_DTINFO_H_
