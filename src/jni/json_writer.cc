// JSON writer: renders the typed result list as one JSON array text.
#include "jni/json_writer.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace eti {
namespace {

constexpr char kElementFormat[] =
    "{\"resultType\":\"%d\",\"startTime\":\"%s\",\"endTime\":\"%s\","
    "\"beginIndex\":\"%d\",\"endIndex\":\"%d\",\"content\":\"%s\","
    "\"inputInformStart\":\"%d%d%d\",\"inputInformEnd\":\"%d%d%d\","
    "\"cycle\":\"%s\"}";

// The literal part of the element format (141 characters) + one digit of
// resultType + two 14-character times + six flag digits + the 14-character
// cycle.
constexpr size_t kFixedSlot = 190;

size_t DecimalLength(int32_t v) {
  char buf[16];
  return static_cast<size_t>(std::snprintf(buf, sizeof(buf), "%d", v));
}

size_t QuoteCount(const char* s) {
  size_t q = 0;
  for (; *s != '\0'; ++s) q += (*s == '"');
  return q;
}

const char* ContentOf(const TYPED_RESULT* r) {
  return r->content != nullptr ? r->content : "";
}

size_t SlotLength(const TYPED_RESULT* r) {
  const char* content = ContentOf(r);
  return kFixedSlot + DecimalLength(r->beginIndex) + DecimalLength(r->endIndex) +
         std::strlen(content) + QuoteCount(content);
}

char* EscapeContent(const char* content) {
  const size_t n = std::strlen(content);
  auto* out = static_cast<char*>(std::malloc(n + QuoteCount(content) + 1));
  char* w = out;
  for (const char* p = content; *p != '\0'; ++p) {
    if (*p == '"') *w++ = '\\';
    *w++ = *p;
  }
  *w = '\0';
  return out;
}

// Copies a fixed 15-byte time field so that a missing terminator cannot
// make the formatter read past it.
void Terminated(const char (&field)[15], char (&out)[15]) {
  std::memcpy(out, field, 15);
  out[14] = '\0';
}

}  // namespace

char* WriteJsonArray(const TYPED_RESULT* list) {
  if (list == nullptr) {
    auto* empty = static_cast<char*>(std::malloc(3));
    std::memcpy(empty, "[]", 3);
    return empty;
  }
  size_t total = 2;
  for (const TYPED_RESULT* r = list; r != nullptr; r = r->next) {
    total += SlotLength(r) + (r != list ? 1 : 0);
  }
  auto* buf = static_cast<char*>(std::malloc(total + 1));
  buf[0] = '[';
  size_t p = 1;
  for (const TYPED_RESULT* r = list; r != nullptr; r = r->next) {
    const size_t slot = SlotLength(r);
    char* escaped = EscapeContent(ContentOf(r));
    const bool span = r->resultType > 1;
    const uint8_t* endFlags = span ? r->inputInformEnd : r->inputInformStart;
    char start[15], end[15], cycle[15];
    Terminated(r->startTime, start);
    Terminated(span ? r->endTime : r->startTime, end);
    Terminated(r->cycle, cycle);
    // Bounded by the buffer: an element longer than its slot is cut, never
    // written past the end.
    std::snprintf(buf + p, total + 1 - p, kElementFormat, r->resultType, start,
                  end, r->beginIndex, r->endIndex, escaped,
                  r->inputInformStart[0], r->inputInformStart[1],
                  r->inputInformStart[2], endFlags[0], endFlags[1],
                  endFlags[2], cycle);
    std::free(escaped);
    if (r->next != nullptr) {
      buf[p + slot] = ',';
      p += slot + 1;
    } else {
      buf[p + slot] = ']';
      buf[p + slot + 1] = '\0';
    }
  }
  buf[total] = '\0';
  return buf;
}

}  // namespace eti

extern "C" char* ETI_ResultsJson(const TYPED_RESULT* list) { return eti::WriteJsonArray(list); }
