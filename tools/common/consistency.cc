// Consistency check of a dictionary set.  The unit dictionary is compiled
// and searched with the library's own SearchTagSeq, so that a pattern passes
// exactly when the dispatcher would cut it.
#include "common/consistency.h"

#include <algorithm>
#include <memory>
#include <set>
#include <string_view>

#include "common/trie_format.h"
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

std::vector<SourceError> CheckDictionarySet(const SourceFile& tags, const SourceFile& patterns,
                                            const SourceFile& units) {
  std::vector<SourceError> errors;
  const auto tagEntries = ReadTrieSource(tags.text, tags.name, DictKind::kTag, &errors);
  const auto patternEntries =
      ReadTrieSource(patterns.text, patterns.name, DictKind::kPattern, &errors);
  const auto unitEntries = ReadTrieSource(units.text, units.name, DictKind::kUnit, &errors);
  const auto fail = [&](const SourceFile& f, int line, std::string message) {
    errors.push_back({f.name, line, std::move(message)});
  };

  std::set<std::string> produced(std::begin(kTaggerNames), std::end(kTaggerNames));
  for (const SourceEntry& e : tagEntries) {
    const char first = e.keyUtf8[0];
    if ((first >= '0' && first <= '9') || std::string_view(" :./-~").find(first) != std::string_view::npos) {
      fail(tags, e.line, "\"" + e.keyUtf8 + "\" starts with a character the tagger never looks up");
    }
    for (const std::string& name : TagNames(e.valueUtf8)) produced.insert(name);
  }

  for (const SourceEntry& e : unitEntries) {
    if (std::find(std::begin(kUnitNames), std::end(kUnitNames), e.valueUtf8) == std::end(kUnitNames)) {
      fail(units, e.line, "unit name \"" + e.valueUtf8 + "\" is not one the dispatcher knows");
    }
  }

  const std::string unitBlob = BuildTrieBlob(TrieEntries(unitEntries));
  std::unique_ptr<BTrie, TrieDeleter> unitTrie(LoadTrie(unitBlob.data()));
  for (const SourceEntry& e : patternEntries) {
    const std::vector<std::string> items = Split(e.keyUtf8, '*');
    if (std::to_string(items.size()) != e.valueUtf8) {
      fail(patterns, e.line, "pattern \"" + e.keyUtf8 + "\" has " + std::to_string(items.size()) +
                                 " items but the count " + e.valueUtf8);
    }
    for (const std::string& item : items) {
      if (produced.count(item) == 0) {
        fail(patterns, e.line, "pattern \"" + e.keyUtf8 + "\" uses \"" + item +
                                   "\", which no tag entry and not the tagger produces");
      }
    }
    retTypeBBT* cut = SearchTagSeq(unitTrie.get(), e.entry.key.c_str());
    if (cut == nullptr) {
      fail(patterns, e.line, "pattern \"" + e.keyUtf8 + "\" is not cut into units by " + units.name);
    }
    ETI_free_retTypeBBT(&cut);
  }
  std::stable_sort(errors.begin(), errors.end(), [](const SourceError& a, const SourceError& b) {
    return a.file != b.file ? a.file < b.file : a.line < b.line;
  });
  return errors;
}

std::vector<SourceError> CheckReplacements(const SourceFile& replace) {
  std::vector<SourceError> errors;
  for (const SourceEntry& e : ReadTrieSource(replace.text, replace.name, DictKind::kReplace, &errors)) {
    if (e.valueUtf8.find(' ') != std::string::npos) {
      errors.push_back({replace.name, e.line,
                        "replacement \"" + e.valueUtf8 + "\" holds a space, which would split a "
                        "character of the text when the expression is mapped back"});
    }
    std::string key;
    ConvertError ignored;
    if (Utf8ToCp949(e.keyUtf8, &key, &ignored) && key.size() == 2 && static_cast<unsigned char>(key[0]) >= 0x80) {
      errors.push_back({replace.name, e.line,
                        "key \"" + e.keyUtf8 + "\" is one character: replacement is tried at "
                        "every byte, so it also matches across two characters of other words; "
                        "write it with what follows it"});
    }
  }
  return errors;
}

std::vector<SourceError> CheckTagsAgainstReplacements(const SourceFile& tags,
                                                      const SourceFile& replace) {
  std::vector<SourceError> errors;
  const auto tagEntries = ReadTrieSource(tags.text, tags.name, DictKind::kTag, &errors);
  const auto replaceEntries =
      ReadTrieSource(replace.text, replace.name, DictKind::kReplace, &errors);
  for (const SourceEntry& t : tagEntries) {
    for (const SourceEntry& r : replaceEntries) {
      if (t.keyUtf8.find(r.keyUtf8) != std::string::npos) {
        errors.push_back({tags.name, t.line,
                          "tag key \"" + t.keyUtf8 + "\" is never seen: " + replace.name + ":" +
                              std::to_string(r.line) + " rewrites \"" + r.keyUtf8 +
                              "\" before tagging"});
        break;
      }
    }
  }
  return errors;
}

}  // namespace eti::tools
