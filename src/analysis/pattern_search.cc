// Pattern search.  In: the tagger's tokens, the normalised text and the
// pipeline context (pattern trie, unit-sequence trie, reference).  Out: the
// found expressions as folded DTINFO records with byte positions and marks.
//
// The text splits into stretches of bytes covered by tokens.  In each, every
// reading is tried: one token per place where several start (a path), and
// along a path, at each start, every combination of one attribute per token
// spelled as a '*'-joined key and looked up in the pattern trie; the longest
// pattern is taken greedily from the left and handed to the unit dispatcher
// and the collocation folding.  The reading covering the most bytes wins.
//
// Two things keep the work in hand without changing any answer: the
// attribute combinations are enumerated by walking the pattern trie, so that
// all the combinations that differ only after the point where the trie
// cannot go on are looked up once; and past a budget of readings, forks take
// only their last token.
#include "analysis/pattern_search.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "calendar/arith.h"
#include "dict/btrie.h"
#include "driver/trace.h"
#include "interpret/dtinfo.h"
#include "interpret/marks.h"

namespace eti {
namespace {

bool NameFits(size_t keyLength, size_t nameLength) {
  // The name, its '*' and the terminator must fit.
  return keyLength + nameLength + 1 < kPatternKeyCapacity;
}

// What a run of lookups did to the best pattern so far: a hit replaces the
// best when its count is strictly larger; the prefix marker replaces whatever
// is there.  Summarised so that runs can be combined and replayed.
struct Outcome {
  bool marker = false;
  int64_t before = INT64_MIN;    // the largest count up to the last marker
  int64_t after = INT64_MIN;     // the largest count after it (or in all)
  int32_t afterHit = -1;         // the first hit reaching `after` (Enumeration::hits_)

  void Add(const Outcome& o) {
    if (o.marker) {
      marker = true;
      before = std::max({before, after, o.before});
      after = o.after;
      afterHit = o.afterHit;
    } else if (o.after > after) {
      after = o.after;
      afterHit = o.afterHit;
    }
  }
};

class Enumeration {
 public:
  Enumeration(const BTrie* trie, RETTAGS* tokens, int32_t start, int32_t count)
      : trie_(trie), index_(IndexOf(trie)), tokens_(tokens), start_(start), count_(count) {}

  BestPattern Run() {
    std::string prefix;
    prefix.reserve(96);
    const Outcome o = Explore(start_, &prefix);
    BestPattern best;
    int32_t hit = -1;
    if (o.marker) {
      best.count = static_cast<int32_t>(std::max<int64_t>(0, o.before));
      best.hit = ETI_BBT_PREFIX;
      if (o.after > best.count) {
        best.count = static_cast<int32_t>(o.after);
        hit = o.afterHit;
      }
    } else if (o.after > 0) {
      best.count = static_cast<int32_t>(o.after);
      hit = o.afterHit;
    }
    if (hit >= 0) {
      // The record the longest-match search would have made for this key.
      const Hit& h = hits_[static_cast<size_t>(hit)];
      best.hit = static_cast<retTypeBBT*>(std::malloc(sizeof(retTypeBBT)));
      best.hit->startPos = 0;
      best.hit->text = strndup(h.key.c_str(), static_cast<size_t>(h.length));
      best.hit->value = strdup(h.value);
      best.hit->next = nullptr;
    }
    return best;
  }

 private:
  // The longest-match search of `key` from the root: the prefix marker
  // when the key runs out inside the trie before any entry, else its
  // deepest entry.
  Outcome Lookup(const std::string& key) {
    Outcome o;
    const char* value = nullptr;
    int32_t length = 0;
    int32_t after = 0;
    const bool usedUp = WalkKey(
        trie_, index_, key.c_str(), 0,
        [&](int32_t l, const char* v) {
          length = l;
          value = v;
        },
        &after);
    if (value == nullptr) {
      o.marker = usedUp;
    } else {
      o.after = ReadInt(value);
      o.afterHit = static_cast<int32_t>(hits_.size());
      hits_.push_back({key, length, value});
    }
    return o;
  }

  // Whether every attribute name of token k fits after a key of `length`
  // bytes, so that every completion's key begins with the key so far.
  bool AllNamesFit(int32_t k, size_t length) const {
    for (const TAGATTR* a = tokens_[k].attrs; a != nullptr; a = a->next) {
      if (!NameFits(length, std::strlen(a->name))) return false;
    }
    return true;
  }

  // Every combination for tokens [k, count), after `prefix` (the chosen
  // names of the tokens before k, each followed by '*').
  Outcome Explore(int32_t k, std::string* prefix) {
    Outcome total;
    // Names of this token met so far and their outcomes (the first few; a
    // name not kept is simply explored again, to the same outcome).
    constexpr int kKept = 16;
    std::pair<const char*, Outcome> seen[kKept];
    int seenCount = 0;
    for (const TAGATTR* a = tokens_[k].attrs; a != nullptr; a = a->next) {
      // A name met before gives the same keys again: replay its outcome.
      const auto same = std::find_if(seen, seen + seenCount, [a](const auto& s) {
        return std::strcmp(s.first, a->name) == 0;
      });
      if (same != seen + seenCount) {
        total.Add(same->second);
        continue;
      }
      Outcome o;
      const size_t length = std::strlen(a->name);
      if (!NameFits(prefix->size(), length)) {
        // Neither this token nor any after it is in the key.
        o = Lookup(prefix->substr(0, prefix->empty() ? 0 : prefix->size() - 1));
      } else {
        const size_t mark = prefix->size();
        prefix->append(a->name);
        if (k + 1 == count_) {
          o = Lookup(*prefix);
        } else {
          prefix->push_back('*');
          if (AllNamesFit(k + 1, prefix->size()) &&
              WalkStopsInside(trie_, index_, prefix->c_str())) {
            // The walk stops inside this key whatever follows, so the key as
            // it stands gives every completion's result.
            o = Lookup(*prefix);
          } else {
            o = Explore(k + 1, prefix);
          }
        }
        prefix->resize(mark);
      }
      if (seenCount < kKept) seen[seenCount++] = {a->name, o};
      total.Add(o);
    }
    return total;
  }

  const BTrie* trie_;
  const ChainIndex* index_;
  RETTAGS* tokens_;
  int32_t start_, count_;
  // The entries found, with the key that found each.
  struct Hit {
    std::string key;
    int32_t length;
    const char* value;
  };
  std::vector<Hit> hits_;
};

int64_t Score(const DTINFO* list) {
  int64_t score = 0;
  for (const DTINFO* r = list; r != nullptr; r = r->next) score += r->seqEnd - r->seqBegin;
  return score;
}

void Append(DTINFO** head, DTINFO* list) {
  while (*head != nullptr) head = &(*head)->next;
  *head = list;
}

// The best reading of the covered bytes [from, to) given the path so far;
// `budget` counts the readings still to be explored at forks.
DTINFO* SearchReadings(const int32_t* coverage, int32_t from, int32_t to, RETTAGS** chains,
                       RETTAGS** path, int32_t pathLen, ETS_CONTEXT* ctx, int32_t* budget) {
  DTINFO* best = nullptr;
  RETTAGS* local[kMaxPath];
  std::copy(path, path + pathLen, local);

  if (pathLen < kMaxPath) {
    for (int32_t i = from; i < to;) {
      RETTAGS* chain = chains[i];
      if (chain == nullptr) return best;  // the reading stops here
      if (chain->next == nullptr && std::strcmp(chain->attrs->name, "SP") == 0) {
        i += chain->length;  // spaces never enter a path
        continue;
      }
      for (RETTAGS* t = chain; t->next != nullptr; t = t->next) {
        if (*budget <= 0) break;
        --*budget;
        local[pathLen] = t;
        DTINFO* r = SearchReadings(coverage, i + t->length, to, chains, local, pathLen + 1, ctx,
                                   budget);
        if (Score(r) > Score(best)) {
          Free_DTINFO(best);
          best = r;
        } else {
          Free_DTINFO(r);
        }
      }
      RETTAGS* last = chain;
      while (last->next != nullptr) last = last->next;
      local[pathLen++] = last;
      i += last->length;
      if (pathLen == kMaxPath) break;  // the rest of the stretch is not read
    }
    if (pathLen == 0) return best;
  }

  int32_t consumed = -1;
  DTINFO* r = FindTS(local, pathLen, &consumed, ctx);
  if (r == nullptr) return best;
  if (consumed == 0) {
    Free_DTINFO(r);
    return best;
  }
  for (DTINFO* d = r; d != nullptr; d = d->next) {
    const int32_t b = std::clamp(d->seqBegin, 0, pathLen - 1);
    const int32_t e = std::clamp(d->seqEnd, 1, pathLen) - 1;
    d->seqBegin = local[b]->startPos;
    d->seqEnd = local[e]->startPos + local[e]->length;
  }
  if (best == nullptr) return r;
  if (Score(r) > Score(best)) {
    Free_DTINFO(best);
    return r;
  }
  Free_DTINFO(r);
  return best;
}

}  // namespace

size_t BuildPatternKey(const RETTAGS* tokens, int32_t start, int32_t count, char* key) {
  size_t length = 0;
  for (int32_t k = start; k < count; ++k) {
    const char* name = tokens[k].attrs->name;
    const size_t n = std::strlen(name);
    if (!NameFits(length, n)) break;
    std::memcpy(key + length, name, n);
    length += n;
    key[length++] = '*';
  }
  if (length > 0) --length;  // the last '*' becomes the terminator
  key[length] = '\0';
  return length;
}

BestPattern FindBestPattern(const BTrie* patterns, RETTAGS* tokens, int32_t start,
                            int32_t count) {
  return Enumeration(patterns, tokens, start, count).Run();
}

DTINFO* FindExpressions(RETTAGS* tokens, const char* text, int32_t n, ETS_CONTEXT* ctx,
                        std::vector<Marks>* marks, bool freeTokens) {
  marks->clear();
  if (text == nullptr) n = 0;
  std::vector<RETTAGS*> chains(static_cast<size_t>(n), nullptr);
  std::vector<int32_t> coverage(static_cast<size_t>(n) + 1, -1);

  // Re-link the tokens into one chain per start position.  The tokens of
  // one position come one after the other, so the chain being built is
  // always the cursor's own.
  RETTAGS* t = tokens;
  RETTAGS* last = nullptr;  // the last token of chains[cursor]
  for (int32_t cursor = 0; t != nullptr && cursor < n;) {
    if (t->startPos != cursor) {
      ++cursor;
      last = nullptr;
      continue;
    }
    RETTAGS* next = t->next;
    t->next = nullptr;
    const int32_t end = std::min(n, t->startPos + std::max(t->length, 0));
    for (int32_t k = t->startPos; k < end; ++k) coverage[k] = 1;
    if (last == nullptr) {
      chains[cursor] = t;
    } else {
      last->next = t;
    }
    last = t;
    t = next;
  }
  if (freeTokens) Free_RETTAGS(t);  // tokens out of order, if any

  DTINFO* output = nullptr;
  DTINFO** tail = &output;  // where the next stretch's records go
  if (n > 0 && ctx != nullptr) {
    for (int32_t i = 0; i < n;) {
      if (coverage[i] != 1) {
        ++i;
        continue;
      }
      int32_t j = i;
      while (j < n && coverage[j] == 1) ++j;
      int32_t budget = kReadingBudget;
      DTINFO* found = SearchReadings(coverage.data(), i, j, chains.data(), nullptr, 0, ctx,
                                     &budget);
      for (DTINFO* d = found; d != nullptr; d = d->next) {
        // Every non-space byte of the match belongs to the expression.
        marks->emplace_back();
        Marks& m = marks->back();
        const int32_t from = std::max(0, d->seqBegin);
        const int32_t to = std::min(n, d->seqEnd);
        for (int32_t k = from; k < to;) {
          if (text[k] == ' ') {
            ++k;
            continue;
          }
          int32_t e = k + 1;
          while (e < to && text[e] != ' ') ++e;
          m.push_back({k, e, 1});
          k = e;
        }
      }
      *tail = found;
      while (*tail != nullptr) tail = &(*tail)->next;
      i = j;
    }
  }
  if (freeTokens) {
    for (RETTAGS* chain : chains) Free_RETTAGS(chain);
  }
  return output;
}

}  // namespace eti

extern "C" {

DTINFO* FindTS(RETTAGS** path, int32_t count, int32_t* consumed, ETS_CONTEXT* ctx) {
  int32_t ignored = -1;
  if (consumed == nullptr) consumed = &ignored;
  if (path == nullptr || count < 1 || ctx == nullptr) return nullptr;
  // Local copies of the tokens: the dispatcher reads them as an array.
  std::vector<RETTAGS> copies(static_cast<size_t>(count));
  for (int32_t k = 0; k < count; ++k) copies[k] = *path[k];

  eti::Trace* const trace = eti::ActiveTrace();
  const auto note = [&](int32_t from, int32_t n, const char* pattern, const char* outcome) {
    const RETTAGS& last = copies[from + n - 1];
    trace->matches.push_back(
        {copies[from].startPos, last.startPos + last.length, pattern, outcome});
  };
  DTINFO* result = nullptr;
  int32_t s = 0;
  while (s < count) {
    const eti::BestPattern best =
        eti::FindBestPattern(ctx->patternTrie, copies.data(), s, count);
    if (best.hit == ETI_BBT_PREFIX) {
      if (trace != nullptr) {
        note(s, count - s, "", "the rest of the reading only begins a pattern: it stops here");
      }
      *consumed = s;  // the rest of the path is the beginning of a pattern
      return result;
    }
    if (best.hit == nullptr) {
      ++s;
      continue;
    }
    // A pattern never reaches past the path, whatever its count says.
    const int32_t n = std::min(best.count, count - s);
    DTINFO* list = CalDTStr(ctx->unitSeqTrie, copies.data() + s, n, best.hit);
    if (trace != nullptr && n > 0) {
      note(s, n, best.hit->text,
           list != nullptr ? "a record"
                           : "no record: the units cut it into nothing, or a value failed its "
                             "check (a year outside the rules, a month past 12 ...)");
    }
    if (list != nullptr) {
      if (ctx->reference == nullptr) {
        Free_DTINFO(list);
        Free_DTINFO(result);
        retTypeBBT* hit = best.hit;
        ETI_free_retTypeBBT(&hit);
        return nullptr;
      }
      DTINFO* d = AnalColSeq(list, ctx->reference);
      d->seqBegin = s;
      d->seqEnd = s + n;
      eti::Append(&result, d);
    }
    // A match the dispatcher rejects still consumes its tokens.
    s += best.count;
    *consumed = s;
    retTypeBBT* hit = best.hit;
    ETI_free_retTypeBBT(&hit);
  }
  if (*consumed == -1) *consumed = count;
  return result;
}

DTINFO* SearchSubSeq(const int32_t* coverage, int32_t from, int32_t to, RETTAGS** chains,
                     RETTAGS** path, int32_t pathLen, ETS_CONTEXT* ctx) {
  if (chains == nullptr || pathLen < 0 || pathLen > eti::kMaxPath) return nullptr;
  int32_t budget = eti::kReadingBudget;
  return eti::SearchReadings(coverage, from, to, chains, path, pathLen, ctx, &budget);
}

DTINFO* ExtAndComp(RETTAGS* tokens, const char* text, ETS_CONTEXT* ctx) {
  const int32_t n = text != nullptr ? static_cast<int32_t>(std::strlen(text)) : 0;
  std::vector<eti::Marks> marks;
  DTINFO* output = eti::FindExpressions(tokens, text, n, ctx, &marks, true);
  size_t k = 0;
  for (DTINFO* d = output; d != nullptr; d = d->next) d->compoundMarks = eti::MarksArray(marks[k++], n);
  return output;
}

}  // extern "C"
