// The date-time record DTINFO: creation with every field unset, list
// freeing, linking a unit's records with the match's flags, and the range
// checks that decide whether a match stands.
#include "interpret/dtinfo.h"

#include "calendar/rules.h"

#include <cstdlib>
#include <cstring>

namespace eti {

DTINFO* NewDTINFO() {
  auto* r = static_cast<DTINFO*>(std::malloc(sizeof(DTINFO)));
  std::memset(r, 0x0A, sizeof(DTINFO));
  r->next = nullptr;
  return r;
}

}  // namespace eti

using eti::IsSet;
using eti::kUnset;

extern "C" {

int32_t Free_DTINFO(DTINFO* head) {
  if (head == nullptr) return 0;
  while (head != nullptr) {
    DTINFO* next = head->next;
    if (eti::HasMarks(head)) std::free(head->compoundMarks);
    std::free(head);
    head = next;
  }
  return 1;
}

DTINFO* SetFlagsToDTInfo(DTINFO** records, int32_t count, int32_t relValue,
                         int32_t positionIndex, int32_t durationValue) {
  if (count < 1 || records == nullptr) return nullptr;

  // Records before the position word take its relation, back to the first
  // absolute one (an absolute hour stops the walk).
  if (IsSet(positionIndex) && positionIndex - 1 >= 0) {
    const int32_t from = positionIndex - 1 < count ? positionIndex - 1 : count - 1;
    for (int32_t i = from; i >= 0; --i) {
      DTINFO* r = records[i];
      if (r == nullptr) continue;
      if (r->relKind == 0) break;
      r->relKind = relValue;
    }
  }

  DTINFO* head = nullptr;
  DTINFO* tail = nullptr;
  for (int32_t i = 0; i < count; ++i) {
    DTINFO* r = records[i];
    if (r == nullptr) continue;
    r->duration = durationValue;  // the match's Duration replaces any "Dur"
    if (tail == nullptr) {
      head = r;
    } else {
      tail->next = r;
    }
    tail = r;
  }
  return head;
}

int32_t ValidateAbsolDT(const DTINFO* head) {
  for (const DTINFO* r = head; r != nullptr; r = r->next) {
    const bool absolute = (r->relKind == 0 || r->relKind == kUnset) && r->duration != 0;
    if (absolute) {
      // Two-digit years up to 30 and years of the 2000s up to 2030 pass;
      // negative remainders pass too.  The reader rules read every
      // two-digit year and every year inside their window.
      const eti::ReadingRules& rules = eti::CurrentRules();
      if (!rules.reader) {
        if (IsSet(r->year) && r->year % 2000 > 30) return 1;
      } else if (IsSet(r->year) && r->year > 99 &&
                 (r->year < rules.minYear || r->year > rules.maxYear)) {
        return 1;
      }
      if (IsSet(r->month) && r->month > 12) return 1;
      if (IsSet(r->day) && r->day > 31) return 1;
      if (IsSet(r->hour) && r->hour > 24) return 1;
      if (IsSet(r->minute) && r->minute > 60) return 1;
      if (IsSet(r->second) && r->second > 60) return 1;
    } else if (IsSet(r->year) &&
               static_cast<uint32_t>(r->year) + 100u > 200u) {
      return 1;  // a relative year offset lies within -100..100
    }
  }
  return 0;
}

int32_t DepthOfSeq(const char* text) {
  if (text == nullptr) return -1;
  int32_t depth = 1;
  for (const char* p = text; *p != '\0'; ++p) {
    if (*p == '*') ++depth;
  }
  return depth;
}

}  // extern "C"
