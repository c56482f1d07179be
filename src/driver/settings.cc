// Settings text: the line reader getLineS and SettingDefaultTime, which
// fills the per-hour AM/PM defaults and the default century of the pipeline
// context from the caller's settings text.
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "driver/engine.h"
#include "extractor_kr/stages.h"

namespace {

constexpr int32_t kLineCapacity = 1024;
constexpr int32_t kHours = 13;

bool IsAnyOf(char c, std::string_view set) {
  return c != '\0' && set.find(c) != std::string_view::npos;
}

int32_t Atoi(std::string_view s) { return std::atoi(std::string(s).c_str()); }

// Applies one settings line; `hourSection` tells whether a DEFAULTTIME line
// has opened the hour lines.
void ApplyLine(ETS_CONTEXT* ctx, const char* line, bool* hourSection) {
  const char* p = line;
  while (IsAnyOf(*p, " \t\n\r")) ++p;
  if (*p == '\0' || *p == '#') return;

  const char* keyEnd = p;
  while (*keyEnd != '\0' && !IsAnyOf(*keyEnd, " \t\n\r")) ++keyEnd;
  if (*keyEnd == '\0') return;  // a key with nothing after it
  const std::string_view key(p, keyEnd - p);

  const char* v = keyEnd;
  while (IsAnyOf(*v, " \t")) ++v;
  if (*v == '\0' || *v == '\n' || *v == '\r') return;  // no value
  const char* valueEnd = v;
  while (*valueEnd != '\0' && !IsAnyOf(*valueEnd, " \t\n\r")) ++valueEnd;
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
  char line[kLineCapacity] = {0};
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
