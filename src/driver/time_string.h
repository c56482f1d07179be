// Time strings: 14 characters YYYYMMDDhhmmss, F's for unknown fields.
// ConvStrToDTINFO, DT2Char and dateTimeRevalidate are exported (public
// header); this header shares the formatter behind them.
#ifndef EXTRACTOR_KR_DRIVER_TIME_STRING_H_
#define EXTRACTOR_KR_DRIVER_TIME_STRING_H_

#include <cstdint>

namespace eti {

constexpr char kOpenTime[] = "FFFFFFFFFFFFFF";

// Writes the time string of the six fields into out[15]; ETI_UNSET fields
// become F's.  Each field is printed at its position and the next one
// overwrites whatever a too-wide value spilled; the string always ends at
// position 14.
void FormatTimeString(int32_t year, int32_t month, int32_t day, int32_t hour,
                      int32_t minute, int32_t second, char* out);

}  // namespace eti

#endif  // EXTRACTOR_KR_DRIVER_TIME_STRING_H_
