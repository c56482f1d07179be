// Line word list: a plain text, one word per line, loaded into an array of
// words in line order.  The remainder text searches it in that order.
#include <cstdlib>
#include <cstring>

#include "extractor_kr/stages.h"

namespace {

constexpr int32_t kLineCapacity = 1024;

}  // namespace

extern "C" {

int32_t InitDicHanddle(DicHanddle** handle) {
  if (handle == nullptr) return 0;
  *handle = static_cast<DicHanddle*>(std::malloc(sizeof(DicHanddle)));
  if (*handle == nullptr) return 0;
  (*handle)->words = nullptr;
  (*handle)->count = 0;
  return 1;
}

int32_t MakeDic(DicHanddle** handle, const char* text) {
  if (handle == nullptr || *handle == nullptr) return 0;
  if (text == nullptr) text = "";
  DicHanddle* dic = *handle;
  char line[kLineCapacity];

  int32_t count = 0;
  size_t offset = 0;
  for (char* end; (end = getLineS(line, kLineCapacity, text + offset)) != nullptr;) {
    offset += static_cast<size_t>(end - line);
    ++count;
  }
  dic->count = count;
  if (count == 0) return 1;
  dic->words = static_cast<char**>(std::calloc(count, sizeof(char*)));
  if (dic->words == nullptr) return 0;

  offset = 0;
  for (int32_t i = 0; i < count; ++i) {
    char* end = getLineS(line, kLineCapacity, text + offset);
    if (end == nullptr) break;
    offset += static_cast<size_t>(end - line);
    size_t n = static_cast<size_t>(end - line);
    while (n > 0 && (line[n - 1] == '\n' || line[n - 1] == '\r')) --n;
    // Room for eight times the word, as every entry has always had.
    char* word = static_cast<char*>(std::malloc(8 * n + 1));
    if (word == nullptr) return 0;
    std::memcpy(word, line, n);
    word[n] = '\0';
    dic->words[i] = word;
  }
  return 1;
}

int32_t FreeDicHanddle(DicHanddle** handle) {
  if (handle == nullptr || *handle == nullptr) return 0;
  DicHanddle* dic = *handle;
  if (dic->words != nullptr) {
    for (int32_t i = 0; i < dic->count; ++i) std::free(dic->words[i]);
    std::free(dic->words);
  }
  std::free(dic);
  return 1;
}

}  // extern "C"
