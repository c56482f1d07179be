// Unit dispatcher.  In: one pattern match (its '*'-joined unit sequence)
// and the match's tokens.  Out: the match's records, one per unit, linked,
// flagged and validated.  The unit-sequence trie cuts the sequence into
// units; each unit's tokens go to the handler its name selects; the marker
// units "Position", "SetRelFlag" and "Duration" make no record but say how
// the others relate to the reference time.
#include <cstdlib>
#include <cstring>
#include <vector>

#include "dict/btrie.h"
#include "extractor_kr/stages.h"
#include "interpret/dispatcher.h"
#include "interpret/dtinfo.h"

namespace eti {
namespace {

using UnitHandler = DTINFO* (*)(RETTAGS*, int32_t, int32_t, const char*);
using MarkerHandler = DTINFO* (*)(RETTAGS*, int32_t, int32_t);

struct UnitEntry {
  const char* name;
  UnitHandler unit;
  MarkerHandler marker;
};

constexpr UnitEntry kHandlers[] = {
    {"YUnit", Cal_YUnit, nullptr},         {"MUnit", Cal_MUnit, nullptr},
    {"WUnit", Cal_WUnit, nullptr},         {"WeekDayUnit", Cal_WeekDayUnit, nullptr},
    {"DUnit", Cal_DUnit, nullptr},         {"hUnit", Cal_hUnit, nullptr},
    {"mUnit", Cal_mUnit, nullptr},         {"sUnit", Cal_sUnit, nullptr},
    {"rYUnit", Cal_rYUnit, nullptr},       {"rMUnit", Cal_rMUnit, nullptr},
    {"rDUnit", Cal_rDUnit, nullptr},       {"rHUnit", Cal_rHUnit, nullptr},
    {"AMPMUnit", nullptr, Cal_AMPMUnit},   {"DayNight", nullptr, Cal_DayNight},
    {"DSEP", nullptr, Cal_DSEP},           {"TSEP", nullptr, Cal_TSEP},
    {"Lunar", nullptr, Cal_Lunar},         {"pDUnit", Cal_pDUnit, nullptr},
};

const UnitEntry* HandlerFor(const char* name) {
  for (const UnitEntry& e : kHandlers) {
    if (std::strcmp(e.name, name) == 0) return &e;
  }
  return nullptr;
}

int32_t Stars(const char* s) {
  int32_t n = 0;
  for (; *s != '\0'; ++s) n += *s == '*';
  return n;
}

// The value of the first attribute of a unit's first token.
int32_t FirstValue(const RETTAGS* tokens, int32_t index, int32_t count) {
  if (index < 0 || index >= count || tokens[index].attrs == nullptr) return kUnset;
  return tokens[index].attrs->value;
}

}  // namespace

// Picks one group of units (each group opens with a unit at position 0) in
// one forward walk: when a group ends with more '*' than the best so far,
// the group that starts next is chosen, not the one that earned the score;
// the last group is chosen when it beats the best.  So of two groups the
// second wins unless neither has a '*'.
retTypeBBT* ChooseGroup(retTypeBBT* units) {
  retTypeBBT* chosen = units;
  retTypeBBT* groupStart = units;
  int32_t best = 0;
  int32_t score = 0;
  for (retTypeBBT* u = units; u != nullptr; u = u->next) {
    if (u != units && u->startPos == 0) {
      if (score > best) {
        best = score;
        chosen = u;
      }
      score = 0;
      groupStart = u;
    }
    score += Stars(u->text);
  }
  if (score > best) chosen = groupStart;
  return chosen;
}

}  // namespace eti

extern "C" {

retTypeBBT* SearchTagSeq(const BTrie* unitSeqTrie, const char* text) {
  retTypeBBT* hits = ETI_getFullDic(text, unitSeqTrie, 0);
  if (!eti::IsHitList(hits)) return nullptr;
  int64_t expected = 0;
  bool kept = false;
  retTypeBBT* prev = nullptr;
  for (retTypeBBT* h = hits; h != nullptr;) {
    if (h->startPos == expected) {
      expected += static_cast<int64_t>(std::strlen(h->text)) + 1;  // and the '*'
      kept = true;
      prev = h;
      h = h->next;
    } else if (kept) {
      retTypeBBT* next = h->next;
      prev->next = next;
      h->next = nullptr;
      ETI_free_retTypeBBT(&h);
      h = next;
    } else {
      prev = h;
      h = h->next;
    }
  }
  if (expected - 1 == static_cast<int64_t>(std::strlen(text))) return hits;
  ETI_free_retTypeBBT(&hits);
  return nullptr;
}

DTINFO* CalDTStr(const BTrie* unitSeqTrie, RETTAGS* tokens, int32_t count,
                 const retTypeBBT* match) {
  if (!eti::IsHitList(match) || tokens == nullptr || count < 1) return nullptr;
  retTypeBBT* units = SearchTagSeq(unitSeqTrie, match->text);
  if (units == nullptr) return nullptr;

  // Cut the chosen group out of the list and free the rest.
  retTypeBBT* group = eti::ChooseGroup(units);
  retTypeBBT* groupEnd = group;
  while (groupEnd->next != nullptr && groupEnd->next->startPos != 0) groupEnd = groupEnd->next;
  retTypeBBT* after = groupEnd->next;
  groupEnd->next = nullptr;
  for (retTypeBBT** link = &units; *link != nullptr;) {
    if (*link == group) {
      *link = after;
      break;
    }
    link = &(*link)->next;
  }
  ETI_free_retTypeBBT(&units);

  int32_t nodes = 0;
  for (retTypeBBT* u = group; u != nullptr; u = u->next) ++nodes;
  std::vector<DTINFO*> slots(static_cast<size_t>(nodes), nullptr);

  int32_t relValue = eti::kUnset;
  int32_t positionIndex = eti::kUnset;
  int32_t durationValue = eti::kUnset;
  int32_t index = 0;
  int32_t k = 0;
  for (retTypeBBT* u = group; u != nullptr; u = u->next, ++k) {
    const int32_t end = index + DepthOfSeq(u->text);
    // Handlers never see tokens past the match, whatever the dictionaries say.
    const int32_t bounded = end < count ? end : count;
    if (const eti::UnitEntry* h = eti::HandlerFor(u->value)) {
      slots[k] = h->unit != nullptr ? h->unit(tokens, index, bounded, u->text)
                                     : h->marker(tokens, index, bounded);
    } else if (std::strcmp(u->value, "Position") == 0) {
      if (!eti::IsSet(relValue)) {
        if (std::strcmp(u->text, "After") == 0) {
          positionIndex = k;
          relValue = 2;
        } else if (std::strcmp(u->text, "Before") == 0) {
          positionIndex = k;
          relValue = -2;
        }
      }
    } else if (std::strcmp(u->value, "SetRelFlag") == 0) {
      if (!eti::IsSet(relValue)) {
        positionIndex = k;
        relValue = eti::FirstValue(tokens, index, count);
      }
    } else if (std::strcmp(u->value, "Duration") == 0) {
      if (!eti::IsSet(durationValue)) durationValue = eti::FirstValue(tokens, index, count);
    }
    // Past the match the index wraps to its start.
    index = end < count ? end : 0;
  }

  DTINFO* list = SetFlagsToDTInfo(slots.data(), nodes, relValue, positionIndex, durationValue);
  if (ValidateAbsolDT(list) == 1) {
    Free_DTINFO(list);
    list = nullptr;
  }
  ETI_free_retTypeBBT(&group);
  return list;
}

}  // extern "C"
