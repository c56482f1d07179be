// Lunar to solar conversion: Lunar2Solar, Mi_IsYunYear and Mi_HowManyDays
// are exported (public header); the month table is shared here.
#ifndef EXTRACTOR_KR_CALENDAR_LUNAR_H_
#define EXTRACTOR_KR_CALENDAR_LUNAR_H_

#include <cstdint>

namespace eti {

constexpr int32_t kFirstLunarYear = 1881;
constexpr int32_t kLunarYears = 220;  // 1881 .. 2100

// One 13-digit row per lunar year (see lunar_table.cc).
extern const char* const kLunarMonthTable[kLunarYears];

}  // namespace eti

#endif  // EXTRACTOR_KR_CALENDAR_LUNAR_H_
