// Unit dispatcher.  In: one pattern match (its '*'-joined unit sequence)
// and the match's tokens.  Out: the match's records, one per unit, linked,
// flagged and validated.  The unit-sequence trie cuts the sequence into
// units; each unit's tokens go to the handler its name selects; the marker
// units "Position", "SetRelFlag" and "Duration" make no record but say how
// the others relate to the reference time.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
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
// One unit of a unit sequence as the scan finds it: where it starts in
// the key, its bytes and its value (in the trie).
struct UnitHit {
  int32_t pos;
  std::string_view text;
  const char* value;
};

// The units of a pattern key: every unit sequence at each '*'-joined
// item, kept from the first that starts at 0 as long as each next one
// starts where the one before ended; empty unless the last one ends the
// key.
std::vector<UnitHit> UnitSequences(const BTrie* unitSeqTrie, std::string_view key) {
  std::vector<UnitHit> hits;
  ScanFullDic(unitSeqTrie, IndexOf(unitSeqTrie), key.data(), static_cast<int32_t>(key.size()),
              false, [&](int32_t pos, int32_t length, const char* value) {
                hits.push_back({pos, key.substr(static_cast<size_t>(pos), static_cast<size_t>(length)),
                                value});
              });
  int64_t expected = 0;
  bool kept = false;
  size_t out = 0;
  for (const UnitHit& h : hits) {
    if (h.pos == expected) {
      expected += static_cast<int64_t>(h.text.size()) + 1;  // and the '*'
      kept = true;
      hits[out++] = h;
    } else if (!kept) {
      hits[out++] = h;
    }
  }
  hits.resize(out);
  if (hits.empty() || expected - 1 != static_cast<int64_t>(key.size())) hits.clear();
  return hits;
}

// Picks one group of units (each group opens with a unit at position 0) in
// one forward walk: when a group ends with more '*' than the best so far,
// the group that starts next is chosen, not the one that earned the score;
// the last group is chosen when it beats the best.  So of two groups the
// second wins unless neither has a '*'.  Returns [begin, end) of the group.
std::pair<size_t, size_t> ChooseGroupOf(const std::vector<UnitHit>& units) {
  size_t chosen = 0, groupStart = 0;
  int32_t best = 0, score = 0;
  for (size_t k = 0; k < units.size(); ++k) {
    if (k > 0 && units[k].pos == 0) {
      if (score > best) {
        best = score;
        chosen = k;
      }
      score = 0;
      groupStart = k;
    }
    score += static_cast<int32_t>(std::count(units[k].text.begin(), units[k].text.end(), '*'));
  }
  if (score > best) chosen = groupStart;
  size_t end = chosen + 1;
  while (end < units.size() && units[end].pos != 0) ++end;
  return {chosen, end};
}

retTypeBBT* ChooseGroup(retTypeBBT* units) {
  std::vector<UnitHit> hits;
  for (const retTypeBBT* u = units; u != nullptr; u = u->next) {
    hits.push_back({u->startPos, u->text, u->value});
  }
  if (hits.empty()) return nullptr;
  retTypeBBT* chosen = units;
  for (size_t k = ChooseGroupOf(hits).first; k > 0; --k) chosen = chosen->next;
  return chosen;
}

}  // namespace eti

extern "C" {

retTypeBBT* SearchTagSeq(const BTrie* unitSeqTrie, const char* text) {
  if (text == nullptr) return nullptr;
  retTypeBBT* head = nullptr;
  retTypeBBT** tail = &head;
  for (const eti::UnitHit& h : eti::UnitSequences(unitSeqTrie, text)) {
    *tail = eti::NewHitRecord(h.pos, h.text.data(), h.text.size(), h.value);
    tail = &(*tail)->next;
  }
  return head;
}

DTINFO* CalDTStr(const BTrie* unitSeqTrie, RETTAGS* tokens, int32_t count,
                 const retTypeBBT* match) {
  if (!eti::IsHitList(match) || tokens == nullptr || count < 1) return nullptr;
  const std::vector<eti::UnitHit> units = eti::UnitSequences(unitSeqTrie, match->text);
  if (units.empty()) return nullptr;
  const auto [first, last] = eti::ChooseGroupOf(units);
  const int32_t nodes = static_cast<int32_t>(last - first);
  std::vector<DTINFO*> slots(static_cast<size_t>(nodes), nullptr);

  int32_t relValue = eti::kUnset;
  int32_t positionIndex = eti::kUnset;
  int32_t durationValue = eti::kUnset;
  int32_t index = 0;
  std::string text;  // the unit's key, as the handlers read it
  for (int32_t k = 0; k < nodes; ++k) {
    const eti::UnitHit* u = &units[first + static_cast<size_t>(k)];
    text.assign(u->text);
    const int32_t end = index + DepthOfSeq(text.c_str());
    // Handlers never see tokens past the match, whatever the dictionaries say.
    const int32_t bounded = end < count ? end : count;
    if (const eti::UnitEntry* h = eti::HandlerFor(u->value)) {
      slots[k] = h->unit != nullptr ? h->unit(tokens, index, bounded, text.c_str())
                                     : h->marker(tokens, index, bounded);
    } else if (std::strcmp(u->value, "Position") == 0) {
      if (!eti::IsSet(relValue)) {
        if (text == "After") {
          positionIndex = k;
          relValue = 2;
        } else if (text == "Before") {
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
  return list;
}

}  // extern "C"
