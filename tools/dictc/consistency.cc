// Consistency check of a dictionary set.  The unit dictionary is compiled
// and searched with the library's own SearchTagSeq, so that a pattern passes
// exactly when the dispatcher would cut it.
#include "dictc/consistency.h"

#include <algorithm>
#include <memory>
#include <set>
#include <string_view>

#include "dict/trie_format.h"
#include "dict/btrie.h"
#include "extractor_kr/stages.h"
#include "session/cp949.h"

namespace eti::tools {
namespace {

// Names the dispatcher answers to, handlers and markers alike.
constexpr std::string_view kUnitNames[] = {
    "YUnit", "MUnit", "WUnit", "WeekDayUnit", "DUnit", "hUnit", "mUnit", "sUnit",
    "rYUnit", "rMUnit", "rDUnit", "rHUnit", "AMPMUnit", "DayNight", "DSEP", "TSEP",
    "Lunar", "Position", "SetRelFlag", "Duration", "pDUnit"};

// Names the tagger makes itself.
constexpr std::string_view kTaggerNames[] = {"NUM", "SP", "T_SEP", "D_SEP", "Dur"};

std::vector<std::string> Split(const std::string& s, char sep) {
  std::vector<std::string> parts;
  size_t from = 0;
  for (size_t at; (at = s.find(sep, from)) != std::string::npos; from = at + 1) {
    parts.push_back(s.substr(from, at - from));
  }
  parts.push_back(s.substr(from));
  return parts;
}

// The names a tag value gives its token: NAME of each NAME or NAME[INT].
std::vector<std::string> TagNames(const std::string& value) {
  std::vector<std::string> names;
  for (const std::string& entry : Split(value, ',')) {
    if (!entry.empty()) names.push_back(entry.substr(0, entry.find('[')));
  }
  return names;
}

}  // namespace

std::vector<SourceError> CheckDictionarySet(const Sources& tags, const Sources& patterns,
                                            const Sources& units) {
  std::vector<SourceError> errors;
  const auto tagEntries = ReadTrieSources(tags, DictKind::kTag, &errors);
  const auto patternEntries = ReadTrieSources(patterns, DictKind::kPattern, &errors);
  const auto unitEntries = ReadTrieSources(units, DictKind::kUnit, &errors);
  const auto fail = [&](const SourceEntry& e, std::string message) {
    errors.push_back({e.file, e.line, std::move(message)});
  };
  const std::string unitsName = units.empty() ? "the units" : units[0].name;

  std::set<std::string> produced(std::begin(kTaggerNames), std::end(kTaggerNames));
  for (const SourceEntry& e : tagEntries) {
    const char first = e.keyUtf8[0];
    if ((first >= '0' && first <= '9') || std::string_view(" :./-~").find(first) != std::string_view::npos) {
      fail(e, "\"" + e.keyUtf8 + "\" starts with a character the tagger never looks up");
    }
    for (const std::string& name : TagNames(e.valueUtf8)) produced.insert(name);
  }

  for (const SourceEntry& e : unitEntries) {
    if (std::find(std::begin(kUnitNames), std::end(kUnitNames), e.valueUtf8) == std::end(kUnitNames)) {
      fail(e, "unit name \"" + e.valueUtf8 + "\" is not one the dispatcher knows");
    }
  }

  const std::string unitBlob = CompileTrie(unitEntries, DictKind::kUnit);
  std::unique_ptr<BTrie, TrieDeleter> unitTrie(LoadTrie(unitBlob.data()));
  for (const SourceEntry& e : patternEntries) {
    const std::vector<std::string> items = Split(e.keyUtf8, '*');
    if (std::to_string(items.size()) != e.valueUtf8) {
      fail(e, "pattern \"" + e.keyUtf8 + "\" has " + std::to_string(items.size()) +
                                 " items but the count " + e.valueUtf8);
    }
    for (const std::string& item : items) {
      if (produced.count(item) == 0) {
        fail(e, "pattern \"" + e.keyUtf8 + "\" uses \"" + item +
                                   "\", which no tag entry and not the tagger produces");
      }
    }
    retTypeBBT* cut = SearchTagSeq(unitTrie.get(), e.entry.key.c_str());
    if (cut == nullptr) {
      fail(e, "pattern \"" + e.keyUtf8 + "\" is not cut into units by " + unitsName);
    }
    ETI_free_retTypeBBT(&cut);
  }
  std::stable_sort(errors.begin(), errors.end(), [](const SourceError& a, const SourceError& b) {
    return a.file != b.file ? a.file < b.file : a.line < b.line;
  });
  return errors;
}

namespace {

// Whether every space of a replacement maps back onto a space of its key.
// The marks of the work text go back onto the key's bytes right-aligned:
// the last bytes of the value onto the last bytes of the key (a longer
// value's first bytes map nowhere), so a space is harmless exactly where
// the key has one at the same distance from the end (한  -> 1 , 네 일 ->
// __ 일).
bool SpacesMapOntoSpaces(const std::string& key, const std::string& value) {
  for (size_t i = 0; i < value.size(); ++i) {
    if (value[i] != ' ' || i + key.size() < value.size()) continue;
    if (key[i + key.size() - value.size()] != ' ') return false;
  }
  return true;
}

}  // namespace

std::vector<SourceError> CheckReplacements(const Sources& replace) {
  std::vector<SourceError> errors;
  for (const SourceEntry& e : ReadTrieSources(replace, DictKind::kReplace, &errors)) {
    if (!SpacesMapOntoSpaces(e.entry.key, e.entry.value)) {
      errors.push_back({e.file, e.line,
                        "replacement \"" + e.valueUtf8 + "\" holds a space where its key has "
                        "none, which would split a character of the text when the expression is "
                        "mapped back"});
    }
    const std::string& key = e.entry.key;
    if (key.size() == 2 && static_cast<unsigned char>(key[0]) >= 0x80) {
      errors.push_back({e.file, e.line,
                        "key \"" + e.keyUtf8 + "\" is one character: replacement is tried at "
                        "every byte, so it also matches across two characters of other words; "
                        "write it with what follows it"});
    }
  }
  return errors;
}

std::vector<SourceError> CheckTagsAgainstReplacements(const Sources& tags,
                                                      const Sources& replace) {
  std::vector<SourceError> errors;
  const auto tagEntries = ReadTrieSources(tags, DictKind::kTag, &errors);
  const auto replaceEntries = ReadTrieSources(replace, DictKind::kReplace, &errors);
  for (const SourceEntry& t : tagEntries) {
    for (const SourceEntry& r : replaceEntries) {
      if (t.keyUtf8.find(r.keyUtf8) != std::string::npos) {
        errors.push_back({t.file, t.line,
                          "tag key \"" + t.keyUtf8 + "\" is never seen: " + r.file + ":" +
                              std::to_string(r.line) + " rewrites \"" + r.keyUtf8 +
                              "\" before tagging"});
        break;
      }
    }
  }
  return errors;
}

}  // namespace eti::tools
