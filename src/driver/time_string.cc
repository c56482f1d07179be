// Time strings: between DTINFO records and the fixed 14-character strings
// of the output.  ConvStrToDTINFO reads the reference time, DT2Char prints
// a record, dateTimeRevalidate normalises six loose fields through the
// calendar and prints them.  Every string is exactly 14 characters, which
// the JSON writer's slot arithmetic relies on.
#include "driver/time_string.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "calendar/arith.h"
#include "calendar/calendar.h"
#include "interpret/dtinfo.h"

namespace eti {

namespace {

// What "%0*d" writes for `value` at `width`, and its NUL: the digits,
// zero-padded on the left to `width` characters in all, a minus sign first
// when negative.  Returns the number of characters.
int FormatPadded(int32_t value, int width, char* out) {
  char digits[12];
  int n = 0;
  int64_t v = value;
  const bool negative = v < 0;
  if (negative) v = -v;
  do {
    digits[n++] = static_cast<char>('0' + v % 10);
    v /= 10;
  } while (v != 0);
  int length = 0;
  if (negative) out[length++] = '-';
  for (int pad = width - n - (negative ? 1 : 0); pad > 0; --pad) out[length++] = '0';
  while (n > 0) out[length++] = digits[--n];
  out[length] = '\0';
  return length;
}

}  // namespace

void FormatTimeString(int32_t year, int32_t month, int32_t day, int32_t hour,
                      int32_t minute, int32_t second, char* out) {
  struct Field {
    int32_t value;
    int width;
    int pos;
  };
  const Field fields[6] = {{year, 4, 0},  {month, 2, 4},  {day, 2, 6},
                           {hour, 2, 8},  {minute, 2, 10}, {second, 2, 12}};
  // Room for the widest spill of the last field ("-2147483648" and NUL).
  char scratch[32];
  for (const Field& f : fields) {
    if (!IsSet(f.value)) {
      std::memcpy(scratch + f.pos, "FFFF", f.width);
      scratch[f.pos + f.width] = '\0';
    } else {
      FormatPadded(f.value, f.width, scratch + f.pos);
    }
  }
  std::memcpy(out, scratch, 14);
  out[14] = '\0';
}

namespace {

// atoi of at most `width` characters from `text`.
int32_t ReadField(const char* text, int width) {
  char buf[8] = {0};
  std::strncpy(buf, text, width);
  return ReadInt(buf);
}

}  // namespace
}  // namespace eti

extern "C" {

DTINFO* ConvStrToDTINFO(const char* text) {
  if (text == nullptr) return nullptr;
  const size_t len = std::strlen(text);
  if (len != 12 && len != 14) return nullptr;

  ETI_TM tm{};
  tm.tm_year = eti::ReadField(text, 4) - 1900;
  tm.tm_mon = eti::ReadField(text + 4, 2) - 1;
  tm.tm_mday = eti::ReadField(text + 6, 2);
  tm.tm_hour = eti::ReadField(text + 8, 2);
  tm.tm_min = eti::ReadField(text + 10, 2);
  tm.tm_sec = len == 14 ? eti::ReadField(text + 12, 2) : 0;
  if (date2Sec(&tm) == -1) return nullptr;

  DTINFO* r = eti::NewDTINFO();
  r->year = tm.tm_year + 1900;
  r->month = tm.tm_mon + 1;
  r->day = tm.tm_mday;
  r->hour = tm.tm_hour;
  r->minute = tm.tm_min;
  r->second = tm.tm_sec;
  r->weekday = tm.tm_wday;
  r->week = eti::WeekOfMonth(tm.tm_mday, tm.tm_wday);
  r->lunar = 0;
  r->relKind = 0;
  r->repeatYear = r->repeatMonth = r->repeatWeek = r->repeatDay = r->repeatHour = 0;
  r->ampm = 0;
  return r;
}

int32_t DT2Char(const DTINFO* record, char* out) {
  if (record == nullptr || out == nullptr) return 0;
  eti::FormatTimeString(record->year, record->month, record->day, record->hour,
                        record->minute, record->second, out);
  return 1;
}

char* dateTimeRevalidate(int32_t* date, int32_t* time) {
  using eti::IsSet;
  // Fold the month into 1..12, carrying whole years.
  if (IsSet(date[1]) && date[1] > 12) {
    const int32_t years = (date[1] - 1) / 12;
    date[1] -= 12 * years;
    date[0] = eti::WAdd(date[0], years);
  } else if (IsSet(date[1]) && date[1] < 1) {
    const int64_t years = (1 - static_cast<int64_t>(date[1]) + 11) / 12;
    date[1] = eti::Wrap(date[1] + 12 * years);
    date[0] = eti::Wrap(date[0] - years);
  }

  ETI_TM tm{};
  if (IsSet(time[2])) tm.tm_sec = time[2];
  if (IsSet(time[1])) tm.tm_min = time[1];
  if (IsSet(time[0])) tm.tm_hour = time[0];
  if (IsSet(date[2])) tm.tm_mday = date[2];
  if (IsSet(date[1])) tm.tm_mon = date[1] - 1;
  if (IsSet(date[0])) tm.tm_year = eti::WSub(date[0], 1900);
  // Midnight exactly reads as no time of day at all.
  const bool noTime = tm.tm_sec == 0 && tm.tm_min == 0 && tm.tm_hour == 0;

  date2Sec(&tm);
  const int32_t normal[6] = {eti::WAdd(tm.tm_year, 1900), tm.tm_mon + 1, tm.tm_mday,
                             tm.tm_hour, tm.tm_min, tm.tm_sec};
  for (int i = 0; i < 3; ++i) {
    if (IsSet(date[i])) date[i] = normal[i];
    if (IsSet(time[i])) time[i] = normal[3 + i];
  }

  auto* out = static_cast<char*>(std::malloc(15));
  eti::FormatTimeString(normal[0], normal[1], normal[2],
                        noTime ? eti::kUnset : normal[3],
                        noTime ? eti::kUnset : normal[4],
                        noTime ? eti::kUnset : normal[5], out);
  return out;
}

}  // extern "C"
