// Absolute unit handlers: a year, month, week, weekday, day, hour, minute
// or second unit (its number and its unit word) becomes one record.  The
// eight share one walk; a small table of rules says where each one's value
// and "Repeat" go and which special attribute names it knows.
#include <cstring>
#include <string_view>
#include <string>

#include "extractor_kr/stages.h"
#include "interpret/dtinfo.h"
#include "interpret/unit_walk.h"

namespace eti {
namespace {

constexpr int32_t kNoRel = -999;  // "Rel" is an ordinary hit for this unit

enum class EndRule {
  kNone,
  kLastWeek,     // week unit: the last week (5), the hit's own value unused
  kLastWeekday,  // weekday unit: the last such weekday of the month
  kPeriodEnd,    // day unit: the end of the period
};

struct AbsoluteUnit {
  int32_t DTINFO::*field;
  int32_t DTINFO::*repeat;
  int32_t relOnRel;
  EndRule end;
  bool hour;     // the hour unit: AM/PM from the number, "Hour" words
  bool rsUnit;   // the second unit: "rs-Unit" counts from the reference time
};

// The minute's and the second's "Repeat" share the year's field.
constexpr AbsoluteUnit kYear{&DTINFO::year, &DTINFO::repeatYear, 1, EndRule::kNone, false, false};
constexpr AbsoluteUnit kMonth{&DTINFO::month, &DTINFO::repeatMonth, 1, EndRule::kNone, false, false};
constexpr AbsoluteUnit kWeek{&DTINFO::week, &DTINFO::repeatWeek, 1, EndRule::kLastWeek, false, false};
constexpr AbsoluteUnit kWeekday{&DTINFO::weekday, &DTINFO::repeatWeek, kNoRel, EndRule::kLastWeekday,
                                false, false};
constexpr AbsoluteUnit kDay{&DTINFO::day, &DTINFO::repeatDay, 2, EndRule::kPeriodEnd, false, false};
constexpr AbsoluteUnit kHour{&DTINFO::hour, &DTINFO::repeatHour, 1, EndRule::kNone, true, false};
constexpr AbsoluteUnit kMinute{&DTINFO::minute, &DTINFO::repeatYear, 1, EndRule::kNone, false, false};
constexpr AbsoluteUnit kSecond{&DTINFO::second, &DTINFO::repeatYear, 1, EndRule::kNone, false, true};

// A number written with a leading zero (09) is a morning hour; 13..23 are
// afternoon hours; anything else is left open.
int32_t AmPmOfNumber(int32_t v, const RETTAGS& token) {
  if (v >= 13 && v <= 23) return 1;
  if (token.text != nullptr && token.text[0] == '0' && v <= 9) return 0;
  return kUnset;
}

Hit AbsoluteHit(const AbsoluteUnit& u, std::string_view item, const TAGATTR& a,
                const RETTAGS& token, Walk* w) {
  DTINFO* r = w->rec;
  const int32_t v = a.value;
  if (item == "Repeat") {
    r->*u.repeat = v;  // taken as it is, UNSET included
    return Hit::kGoOn;
  }
  if (item == "Rel" && u.relOnRel != kNoRel) r->relKind = u.relOnRel;
  if (item == "Dur") r->duration = 1;
  if (item == "rs-Unit" && u.rsUnit) r->relKind = 5;
  if (item == "End") {
    switch (u.end) {
      case EndRule::kLastWeek:
        w->running = 5;
        return Hit::kGoOn;
      case EndRule::kLastWeekday:
        r->week = 10000;
        break;
      case EndRule::kPeriodEnd:
        r->periodEnd = 1;
        break;
      case EndRule::kNone:
        break;
    }
  }
  if (!IsSet(v)) return Hit::kGoOn;
  if (!u.hour) {
    w->running = v;
    return Hit::kGoOn;
  }
  r->ampm = AmPmOfNumber(v, token);
  if (item != "Hour") {
    w->running = v;
  } else if (v == 12) {
    // A word that names noon is hour 12 in the morning half; every other
    // valued hour word stands for hour 24 in the afternoon half.
    w->running = 12;
    r->ampm = 0;
  } else {
    w->running = 24;
    r->ampm = 1;
  }
  return Hit::kGoOn;
}

DTINFO* Absolute(const AbsoluteUnit& u, RETTAGS* tokens, int32_t first, int32_t end,
                 const char* unitSeq) {
  if (unitSeq == nullptr) return nullptr;
  Walk w;
  w.rec = NewDTINFO();
  if (u.hour) w.rec->relKind = 0;  // the only absolute handler that says so
  return WalkUnit(tokens, first, end, unitSeq, u.field, &w,
                  [&u](std::string_view item, const TAGATTR& a, const RETTAGS& token, Walk* walk) {
                    return AbsoluteHit(u, item, a, token, walk);
                  });
}

}  // namespace
}  // namespace eti

extern "C" {

DTINFO* Cal_YUnit(RETTAGS* t, int32_t first, int32_t end, const char* seq) {
  return eti::Absolute(eti::kYear, t, first, end, seq);
}
DTINFO* Cal_MUnit(RETTAGS* t, int32_t first, int32_t end, const char* seq) {
  return eti::Absolute(eti::kMonth, t, first, end, seq);
}
DTINFO* Cal_WUnit(RETTAGS* t, int32_t first, int32_t end, const char* seq) {
  return eti::Absolute(eti::kWeek, t, first, end, seq);
}
DTINFO* Cal_WeekDayUnit(RETTAGS* t, int32_t first, int32_t end, const char* seq) {
  return eti::Absolute(eti::kWeekday, t, first, end, seq);
}
DTINFO* Cal_DUnit(RETTAGS* t, int32_t first, int32_t end, const char* seq) {
  return eti::Absolute(eti::kDay, t, first, end, seq);
}
DTINFO* Cal_hUnit(RETTAGS* t, int32_t first, int32_t end, const char* seq) {
  return eti::Absolute(eti::kHour, t, first, end, seq);
}
DTINFO* Cal_mUnit(RETTAGS* t, int32_t first, int32_t end, const char* seq) {
  return eti::Absolute(eti::kMinute, t, first, end, seq);
}
DTINFO* Cal_sUnit(RETTAGS* t, int32_t first, int32_t end, const char* seq) {
  return eti::Absolute(eti::kSecond, t, first, end, seq);
}

}  // extern "C"
