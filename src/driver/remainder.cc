// Remainder text.  In: the input text, the pipeline's results and the word
// list.  Out: the content shown with every result: the text without the
// bytes any result marks, without a listed word that directly follows such
// a stretch (a particle tied to the expression goes with it), and without
// its commas.  ConvRES2char merges the results' marks into one map;
// SelectResult picks one result of a list for callers who want a single
// answer.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "driver/engine.h"
#include "extractor_kr/stages.h"

namespace {

constexpr char kKept = '0';
constexpr char kRemoved = '1';
constexpr char kRemovedComma = 1;

struct DicDeleter {
  void operator()(DicHanddle* d) const { FreeDicHanddle(&d); }
};

char* Copy(const char* s, size_t n) {
  auto* out = static_cast<char*>(std::malloc(n + 1));
  std::memcpy(out, s, n);
  out[n] = '\0';
  return out;
}

// The first word of the list that the text continues with at byte i, in
// list order; an empty word matches anywhere and so stops the search.
const std::string_view* FollowingWord(const eti::WordList& words, const eti::WordIndex* index,
                                      const char* text, size_t length, size_t i) {
  const auto fits = [&](const std::string_view& w) {
    return w.size() <= length - i && std::memcmp(text + i, w.data(), w.size()) == 0;
  };
  if (index != nullptr) {
    for (uint32_t k : index->Candidates(static_cast<unsigned char>(text[i]))) {
      if (fits(words[k])) return &words[k];
    }
    return nullptr;
  }
  for (const std::string_view& w : words) {
    if (fits(w)) return &w;
  }
  return nullptr;
}

}  // namespace

extern "C" {

char* ConvRES2char(const RESULT_ETS* list, int32_t length) {
  if (list == nullptr || length < 0) return nullptr;
  auto* map = static_cast<char*>(std::malloc(static_cast<size_t>(length) + 1));
  std::memset(map, kKept, static_cast<size_t>(length));
  for (const RESULT_ETS* r = list; r != nullptr; r = r->next) {
    if (r->marks == nullptr) continue;
    for (int32_t k = 0; k < length; ++k) {
      if (r->marks[k] == 1) map[k] = kRemoved;
    }
  }
  map[length] = '\0';
  return map;
}

char* getOthers(const char* text, const RESULT_ETS* list, const char* wordList) {
  if (text == nullptr) return nullptr;
  const int32_t length = static_cast<int32_t>(std::strlen(text));
  if (list == nullptr) return Copy(text, static_cast<size_t>(length));

  DicHanddle* raw = nullptr;
  if (InitDicHanddle(&raw) == 0) return nullptr;
  std::unique_ptr<DicHanddle, DicDeleter> dic(raw);
  if (MakeDic(&raw, wordList != nullptr ? wordList : "") == 0) return nullptr;
  eti::WordList words;
  for (int32_t k = 0; k < dic->count; ++k) {
    if (dic->words[k] != nullptr) words.emplace_back(dic->words[k]);
  }
  std::unique_ptr<char, decltype(&std::free)> marked(ConvRES2char(list, length), &std::free);
  std::string map(marked.get(), static_cast<size_t>(length));
  eti::RemoveFollowingWordsAndCommas(text, words, nullptr, &map);
  return eti::KeptText(text, map);
}

RESULT_ETS* SelectResult(const RESULT_ETS* list) {
  if (list == nullptr) return nullptr;
  auto* result = static_cast<RESULT_ETS*>(std::malloc(sizeof(RESULT_ETS)));
  *result = *list;

  if (list->next != nullptr) {
    // Working copies of the list, with an unlink mark each.
    std::vector<const RESULT_ETS*> nodes;
    for (const RESULT_ETS* r = list; r != nullptr; r = r->next) nodes.push_back(r);
    const int32_t count = static_cast<int32_t>(nodes.size());
    std::vector<bool> unlinked(nodes.size(), false);
    int32_t last[4] = {-1, -1, -1, -1};
    for (int32_t k = 0; k < count; ++k) {
      if (nodes[k]->spanFlag <= 3) last[nodes[k]->spanFlag] = k;
    }
    // Span flags 2 and 3 are never made by the pipeline; they are kept for
    // callers who build their own lists.
    if (last[1] != -1 && last[2] != -1 && last[1] + 1 < count &&
        nodes[last[1] + 1]->spanFlag == 2) {
      unlinked[last[1] + 1] = true;
    }
    if (last[3] != -1 && last[3] + 1 < count) unlinked[last[3] + 1] = true;

    std::vector<int32_t> chain;
    for (int32_t k = 0; k < count; ++k) {
      if (!unlinked[k]) chain.push_back(k);
    }
    size_t at = 0;
    while (at + 1 < chain.size() && nodes[chain[at + 1]]->spanFlag != 0) ++at;
    *result = *nodes[chain[at]];
  }

  // Complete the start time: a known hour with an unknown minute gets minute
  // 00, seconds are always 00, and every other unknown digit becomes 0.
  char* t = result->startTime;
  if (t[9] != 'F' && t[10] == 'F') {
    t[10] = '0';
    t[11] = '0';
  }
  t[12] = '0';
  t[13] = '0';
  for (int k = 0; k < 12; ++k) {
    if (t[k] == 'F') t[k] = '0';
  }
  result->next = nullptr;
  return result;
}

}  // extern "C"

namespace eti {

WordList SplitWordList(const char* text) {
  // The pieces getLineS cuts: up to a line feed, at most 1023 bytes.
  constexpr size_t kPiece = 1023;
  WordList words;
  if (text == nullptr) return words;
  for (const char* p = text; *p != '\0';) {
    size_t n = 0;
    while (n < kPiece && p[n] != '\0') {
      if (p[n++] == '\n') break;
    }
    size_t kept = n;
    while (kept > 0 && (p[kept - 1] == '\n' || p[kept - 1] == '\r')) --kept;
    words.emplace_back(p, kept);
    p += n;
  }
  return words;
}

WordIndex::WordIndex(const WordList& words) {
  for (uint32_t k = 0; k < words.size(); ++k) {
    if (words[k].empty()) {
      for (auto& list : byLead_) list.push_back(k);  // fits anywhere
    } else {
      byLead_[static_cast<unsigned char>(words[k][0])].push_back(k);
      byLast_[static_cast<unsigned char>(words[k].back())].push_back(k);
    }
  }
}

void RemoveFollowingWordsAndCommas(const char* text, const WordList& words,
                                   const WordIndex* index, std::string* map) {
  const size_t length = map->size();
  bool afterRemoved = false;
  for (size_t i = 0; i < length;) {
    char& m = (*map)[i];
    if (m != kKept) {
      if (m == kRemoved) afterRemoved = true;
      ++i;
    } else if (afterRemoved) {
      afterRemoved = false;
      const std::string_view* w = FollowingWord(words, index, text, length, i);
      if (w != nullptr && !w->empty()) {
        for (size_t k = 0; k < w->size(); ++k) (*map)[i + k] = kRemoved;
        i += w->size();
      }
      // Otherwise the same byte is looked at again, now as an ordinary one.
    } else if (text[i] == ',') {
      m = kRemovedComma;
      ++i;
    } else {
      ++i;
    }
  }
}

std::string RemovalMap(const char* text, int32_t length, const std::vector<Found>& found,
                       const WordList& words, const WordIndex* index) {
  std::string map(static_cast<size_t>(length > 0 ? length : 0), kKept);
  if (found.empty() || length <= 0) return map;
  for (const Found& f : found) {
    for (const MarkRun& r : f.marks) {
      for (int32_t k = std::max(r.begin, 0); k < std::min(r.end, length); ++k) map[k] = kRemoved;
    }
  }
  RemoveFollowingWordsAndCommas(text, words, index, &map);
  return map;
}

char* KeptText(const char* text, const std::string& map) {
  size_t kept = 0;
  for (char m : map) kept += m == kKept;
  auto* out = static_cast<char*>(std::malloc(kept + 1));
  size_t o = 0;
  for (size_t i = 0; i < map.size(); ++i) {
    if (map[i] == kKept) out[o++] = text[i];
  }
  out[o] = '\0';
  return out;
}

}  // namespace eti
