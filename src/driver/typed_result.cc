// Typed results: the output form of the pipeline's RESULT_ETS list, with
// character positions (charIndex) and the repetition cycle string.
#include <cstdlib>
#include <cstring>

#include "driver/engine.h"
#include "extractor_kr/stages.h"

namespace eti {

// Only the four date periods are rendered; a repeated hour is carried by the
// pipeline but has no cycle of its own.
const char* CycleOf(const RESULT_ETS& r) {
  if (r.repeatFlags[0] == 1) return "00010000000000";
  if (r.repeatFlags[1] == 1) return "00000100000000";
  if (r.repeatFlags[2] == 1) return "00000007000000";
  if (r.repeatFlags[3] == 1) return "00000001000000";
  return "00000000000000";
}

void MarkedBytes(const RESULT_ETS& r, int32_t textLength, int32_t* begin, int32_t* end) {
  *begin = -1;
  *end = -1;
  if (r.marks == nullptr) return;
  // One pass from both ends at once, each side until it finds a mark.
  for (int32_t i = 0; i < textLength; ++i) {
    if (*begin == -1 && r.marks[i] == 1) *begin = i;
    if (*end == -1 && r.marks[textLength - 1 - i] == 1) *end = textLength - i;
    if (*begin != -1 && *end != -1) break;
  }
}

}  // namespace eti

extern "C" {

int32_t charIndex(const char* text, int32_t bytePos) {
  int32_t pos = 0;
  int32_t wide = 0;
  while (pos < bytePos) {
    const unsigned char c = static_cast<unsigned char>(text[pos]);
    if (c == '\0') return pos - wide;  // a position past the text's end
    if (c >= 0x80) {
      pos += 2;
      ++wide;
    } else {
      pos += 1;
    }
  }
  if (pos > bytePos) {  // the last step went past bytePos
    --bytePos;
    --wide;
  }
  return bytePos - wide;
}

TYPED_RESULT* newType(const RESULT_ETS* list, const char* text,
                      int32_t textLength) {
  TYPED_RESULT* head = nullptr;
  TYPED_RESULT* tail = nullptr;
  for (const RESULT_ETS* r = list; r != nullptr; r = r->next) {
    auto* t = static_cast<TYPED_RESULT*>(std::calloc(1, sizeof(TYPED_RESULT)));
    std::memcpy(t->countryCode, "KR", 2);
    std::memcpy(t->startTime, r->startTime, 15);
    std::memcpy(t->endTime, r->endTime, 15);
    std::memcpy(t->inputInformStart, r->startFlags, 3);
    std::memcpy(t->inputInformEnd, r->endFlags, 3);
    std::memcpy(t->cycle, eti::CycleOf(*r), 15);
    t->resultType = r->spanFlag + 1;
    t->next = nullptr;

    int32_t beginByte = -1;
    int32_t endByte = -1;
    eti::MarkedBytes(*r, textLength, &beginByte, &endByte);
    t->beginIndex = charIndex(text, beginByte);
    t->endIndex = charIndex(text, endByte);

    if (tail == nullptr) {
      head = t;
    } else {
      tail->next = t;
    }
    tail = t;
  }
  return head;
}

void ETI_FreeTypedResults(TYPED_RESULT* list) {
  while (list != nullptr) {
    TYPED_RESULT* next = list->next;
    std::free(list->content);
    std::free(list);
    list = next;
  }
}

}  // extern "C"
