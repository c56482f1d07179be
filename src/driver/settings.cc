// Settings text: the line reader getLineS and SettingDefaultTime, which
// fills the per-hour AM/PM defaults and the default century of the pipeline
// context from the caller's settings text.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "driver/engine.h"
#include "extractor_kr/stages.h"

namespace {

constexpr int32_t kLineCapacity = 1024;
constexpr int32_t kHours = 13;

// Every whole call reads its settings text, so the reading is kept to a
// few operations a byte.
bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
bool IsSpaceOrTab(char c) { return c == ' ' || c == '\t'; }

// The number a value begins with, as atoi reads it (a sign, then digits; 0
// for none); values past the range of an int are cut to it.
int32_t Atoi(std::string_view s) {
  size_t i = 0;
  bool negative = false;
  if (i < s.size() && (s[i] == '-' || s[i] == '+')) negative = s[i++] == '-';
  int64_t n = 0;
  for (; i < s.size() && s[i] >= '0' && s[i] <= '9'; ++i) {
    n = n * 10 + (s[i] - '0');
    if (n > INT32_MAX) n = INT64_C(1) + INT32_MAX;
  }
  n = negative ? -n : n;
  return static_cast<int32_t>(n < INT32_MIN ? INT32_MIN : n > INT32_MAX ? INT32_MAX : n);
}

// Applies one settings line; `hourSection` tells whether a DEFAULTTIME line
// has opened the hour lines.
void ApplyLine(ETS_CONTEXT* ctx, const char* line, bool* hourSection) {
  const char* p = line;
  while (IsBlank(*p)) ++p;
  if (*p == '\0' || *p == '#') return;

  const char* keyEnd = p;
  while (*keyEnd != '\0' && !IsBlank(*keyEnd)) ++keyEnd;
  if (*keyEnd == '\0') return;  // a key with nothing after it
  const std::string_view key(p, keyEnd - p);

  const char* v = keyEnd;
  while (IsSpaceOrTab(*v)) ++v;
  if (*v == '\0' || *v == '\n' || *v == '\r') return;  // no value
  const char* valueEnd = v;
  while (*valueEnd != '\0' && !IsBlank(*valueEnd)) ++valueEnd;
  const std::string_view value(v, valueEnd - v);

  if (key == "DEFAULTTIME") {
    int32_t n = Atoi(value);
    if (n > kHours) n = kHours;  // the table has 13 hours
    for (int32_t h = 0; h < n; ++h) ctx->defaultAmPm[h] = 0;
    *hourSection = true;
  } else if (key == "DEFAULTCENTURY") {
    ctx->defaultCentury = Atoi(value);
  } else if (*hourSection) {
    // Any other key is an hour; a word reads as hour 0.
    const int32_t hour = Atoi(key);
    if (hour < 0 || hour > 12) return;
    if (value == "am") {
      ctx->defaultAmPm[hour] = 1;
    } else if (value == "pm") {
      ctx->defaultAmPm[hour] = 2;
    }
  }
}

}  // namespace

extern "C" {

char* getLineS(char* line, int32_t capacity, const char* source) {
  if (line == nullptr) return nullptr;
  if (capacity < 2 || source == nullptr || source[0] == '\0') {
    if (capacity > 0) line[0] = '\0';
    return nullptr;
  }
  int32_t n = 0;
  while (n < capacity - 1 && source[n] != '\0') {
    line[n] = source[n];
    ++n;
    if (line[n - 1] == '\n') break;
  }
  line[n] = '\0';
  return line + n;
}

void SettingDefaultTime(ETS_CONTEXT* context, const char* settings) {
  if (context == nullptr || settings == nullptr) return;
  char line[kLineCapacity];
  line[0] = '\0';
  bool hourSection = false;
  size_t offset = 0;
  for (char* end; (end = getLineS(line, kLineCapacity, settings + offset)) != nullptr;) {
    offset += static_cast<size_t>(end - line);
    ApplyLine(context, line, &hourSection);
  }
}

}  // extern "C"

namespace eti {

void ReadSettings(const char* settings, LoadedDictionaries* d) {
  // A setting the text does not give means no default.
  ETS_CONTEXT ctx = {};
  SettingDefaultTime(&ctx, settings);
  std::memcpy(d->defaultAmPm, ctx.defaultAmPm, sizeof(d->defaultAmPm));
  d->defaultCentury = ctx.defaultCentury;
}

}  // namespace eti
