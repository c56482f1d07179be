// Typed results: the output form of the pipeline's RESULT_ETS list, with
// character positions (charIndex) and the repetition cycle string.
#include <algorithm>
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

void MarkedBytes(const Found& f, int32_t* begin, int32_t* end) {
  *begin = f.marks.empty() ? -1 : f.marks.front().begin;
  *end = f.marks.empty() ? -1 : f.marks.back().end;
}

void CharIndexes(const char* text, std::vector<int32_t*> positions) {
  std::sort(positions.begin(), positions.end(),
            [](const int32_t* a, const int32_t* b) { return *a < *b; });
  // The walk of charIndex, once for all positions in ascending order: a
  // position inside a two-byte character counts as the character's start,
  // and a walk stopped by the text's end gives every later position the
  // character count there.
  int32_t pos = 0;
  int32_t wide = 0;
  bool stopped = false;  // the walk reached the text's end
  for (int32_t* p : positions) {
    const int32_t bytePos = *p;
    while (!stopped && pos < bytePos) {
      const unsigned char c = static_cast<unsigned char>(text[pos]);
      if (c == '\0') {
        stopped = true;
      } else if (c >= 0x80) {
        stopped = text[pos + 1] == '\0';  // a lead byte at the very end
        pos += 2;
        ++wide;
      } else {
        pos += 1;
      }
    }
    if (bytePos <= 0) {
      *p = bytePos;
    } else if (pos < bytePos) {
      *p = pos - wide;  // a position past the text's end
    } else {
      *p = bytePos - wide;
    }
  }
}

TYPED_RESULT* TypedResults(const std::vector<Found>& found, const char* text) {
  std::vector<int32_t> positions(2 * found.size());
  std::vector<int32_t*> requests;
  requests.reserve(positions.size());
  for (size_t k = 0; k < found.size(); ++k) {
    MarkedBytes(found[k], &positions[2 * k], &positions[2 * k + 1]);
    requests.push_back(&positions[2 * k]);
    requests.push_back(&positions[2 * k + 1]);
  }
  CharIndexes(text, std::move(requests));
  TYPED_RESULT* head = nullptr;
  TYPED_RESULT** link = &head;
  for (size_t k = 0; k < found.size(); ++k) {
    const RESULT_ETS& r = found[k].node;
    auto* t = static_cast<TYPED_RESULT*>(std::calloc(1, sizeof(TYPED_RESULT)));
    std::memcpy(t->countryCode, "KR", 2);
    std::memcpy(t->startTime, r.startTime, 15);
    std::memcpy(t->endTime, r.endTime, 15);
    std::memcpy(t->inputInformStart, r.startFlags, 3);
    std::memcpy(t->inputInformEnd, r.endFlags, 3);
    std::memcpy(t->cycle, CycleOf(r), 15);
    t->resultType = r.spanFlag + 1;
    t->beginIndex = positions[2 * k];
    t->endIndex = positions[2 * k + 1];
    t->next = nullptr;
    *link = t;
    link = &t->next;
  }
  return head;
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
      // A lead byte at the very end steps over the terminator: whatever
      // lies beyond is not the text's.
      const bool last = text[pos + 1] == '\0';
      pos += 2;
      ++wide;
      if (last && pos < bytePos) return pos - wide;
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
