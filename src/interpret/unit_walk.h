// The item walk shared by every unit handler: token k of the unit is read
// with item k of the unit's sequence, and each of its attributes named like
// the item is a hit.  Handlers differ only in what a hit does.
#ifndef EXTRACTOR_KR_INTERPRET_UNIT_WALK_H_
#define EXTRACTOR_KR_INTERPRET_UNIT_WALK_H_

#include <cstring>
#include <string_view>

#include "extractor_kr/stages.h"
#include "interpret/dtinfo.h"

namespace eti {

// State of one walk.
struct Walk {
  DTINFO* rec = nullptr;
  int32_t running = kUnset;  // the value the unit's field will receive
  bool anyValue = false;     // some hit carried a value
  bool lastHitValued = false;  // of the current token
};

// What a hit does: false makes the handler give NULL at once.
enum class Hit { kGoOn, kFail };

// The items of a '*'-joined sequence, one after the other; empty items
// vanish.
class Items {
 public:
  explicit Items(const char* seq) : at_(seq) {}
  // The next item, or false when the sequence is used up.
  bool Next(std::string_view* item) {
    while (*at_ == '*') ++at_;
    if (*at_ == '\0') return false;
    const char* start = at_;
    while (*at_ != '*' && *at_ != '\0') ++at_;
    *item = std::string_view(start, static_cast<size_t>(at_ - start));
    return true;
  }

 private:
  const char* at_;
};

// Walks tokens[first, end) against unitSeq.  onHit(item, attr, token, walk)
// handles each hit.  A token without attributes or without a hit, or (when
// lastHitMustHaveValue) whose last hit had no value, frees the record and
// gives NULL.  Otherwise the running value is stored in `field`.
template <typename OnHit>
DTINFO* WalkUnit(RETTAGS* tokens, int32_t first, int32_t end, const char* unitSeq,
                 int32_t DTINFO::*field, Walk* w, OnHit onHit,
                 bool lastHitMustHaveValue = false) {
  if (unitSeq == nullptr) return nullptr;
  if (w->rec == nullptr) w->rec = NewDTINFO();
  Items items(unitSeq);
  bool more = true;
  for (int32_t k = first; k < end; ++k) {
    const RETTAGS& token = tokens[k];
    bool hit = false;
    bool failed = false;
    w->lastHitValued = false;
    std::string_view item;
    more = more && items.Next(&item);
    if (more) {
      for (const TAGATTR* a = token.attrs; a != nullptr && !failed; a = a->next) {
        if (item != a->name) continue;
        hit = true;
        failed = onHit(item, *a, token, w) == Hit::kFail;
      }
    }
    if (failed || !hit || (lastHitMustHaveValue && !w->lastHitValued)) {
      Free_DTINFO(w->rec);
      w->rec = nullptr;
      return nullptr;
    }
  }
  w->rec->*field = w->running;
  return w->rec;
}

}  // namespace eti

#endif  // EXTRACTOR_KR_INTERPRET_UNIT_WALK_H_
