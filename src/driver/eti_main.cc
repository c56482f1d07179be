// The extraction driver below the native entry: checks the reference time,
// runs the pipeline over the set the call hands in, types its results,
// computes the content once and hands a copy of it to every result.
#include <cstdlib>
#include <cstring>

#include "calendar/arith.h"
#include "dict/btrie.h"
#include "driver/engine.h"
#include "extractor_kr/stages.h"

namespace eti {
namespace {

// atoi of the `width` characters at `at` of a text of `length` bytes; a
// field past the end of the text reads as empty.
int32_t ReadRefField(const char* text, size_t length, size_t at, size_t width) {
  char buf[5] = {0};
  if (at < length) std::strncpy(buf, text + at, width);
  return ReadInt(buf);
}

char* CopyText(const char* s) {
  const size_t n = std::strlen(s);
  auto* copy = static_cast<char*>(std::malloc(n + 1));
  std::memcpy(copy, s, n + 1);
  return copy;
}

}  // namespace

// Years 1970..2043, months 1..12, days 1..31 whatever the month, hours
// 0..24 and minutes 0..60: hour 24 and minute 60 are valid references.
bool AcceptReference(const char* refTime) {
  if (refTime == nullptr) return false;
  const size_t n = std::strlen(refTime);
  const uint32_t year = static_cast<uint32_t>(ReadRefField(refTime, n, 0, 4));
  const uint32_t month = static_cast<uint32_t>(ReadRefField(refTime, n, 4, 2));
  const uint32_t day = static_cast<uint32_t>(ReadRefField(refTime, n, 6, 2));
  const uint32_t hour = static_cast<uint32_t>(ReadRefField(refTime, n, 8, 2));
  const uint32_t minute = static_cast<uint32_t>(ReadRefField(refTime, n, 10, 2));
  return year - 1970u <= 73u && month - 1u <= 11u && day - 1u <= 30u &&
         hour <= 24u && minute <= 60u;
}

CallDictionaries::CallDictionaries(const char* settings, const void* replacements,
                                   const void* tags, const void* patterns,
                                   const void* unitSequences, const char* words)
    : tries_{CallTrie(replacements), CallTrie(tags), CallTrie(patterns), CallTrie(unitSequences)},
      words_(SplitWordList(words)) {
  ReadSettings(settings, &d_);
  d_.replacements = tries_[0].get();
  d_.tags = tries_[1].get();
  d_.patterns = tries_[2].get();
  d_.unitSequences = tries_[3].get();
  d_.words = &words_;
  // Every scan of the text starts at the top of a trie, so the top-level
  // chains are indexed for the call; the deeper chains are short.
  for (int k = 0; k < 4; ++k) {
    indexes_[k] = std::make_unique<ChainIndex>(tries_[k].get(), ChainIndex::TopOnly{});
    d_.indexes[k] = indexes_[k].get();
  }
}

}  // namespace eti

extern "C" int32_t ETI_Main(const char* text, TYPED_RESULT** results,
                            const char* refTime, const char* settings,
                            const void* a2, const void* a3, const void* a4,
                            const void* a5, const char* a6) {
  if (text == nullptr || results == nullptr) return -1;
  const int32_t textLength = static_cast<int32_t>(std::strlen(text));
  if (!eti::AcceptReference(refTime)) return -1;

  const eti::CallDictionaries set(settings, a2, a3, a4, a5, a6);
  int32_t overallType = 0;  // the driver has no use for it
  const std::vector<eti::Found> found =
      eti::RunPipeline(text, textLength, refTime, set.get(), &overallType);
  *results = eti::TypedResults(found, text);
  if (*results == nullptr) return 0;
  char* content =
      eti::KeptText(text, eti::RemovalMap(text, textLength, found, set.words()));
  for (TYPED_RESULT* t = *results; t != nullptr; t = t->next) t->content = eti::CopyText(content);
  std::free(content);
  return 0;
}
