// Calendar and seconds: internal companions of the exported calendar
// functions (date2Sec, sec2Date, LastDayOfMonth, DayOfRelWeekday,
// FindFirstDayOfWeek, declared in the public header).
#ifndef EXTRACTOR_KR_CALENDAR_CALENDAR_H_
#define EXTRACTOR_KR_CALENDAR_CALENDAR_H_

#include "extractor_kr/stages.h"

namespace eti {

// Monday-based week of the month of a normalised day: the week that holds
// the 1st is week 1 and weeks turn over on Mondays.  At least 1.
inline int32_t WeekOfMonth(int32_t day, int32_t weekday) {
  int32_t week = ((day + ((weekday + 7 - day % 7) % 7) - 1) / 7) + 1;
  return week < 1 ? 1 : week;
}

}  // namespace eti

#endif  // EXTRACTOR_KR_CALENDAR_CALENDAR_H_
