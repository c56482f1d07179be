// Reading dictionary sources, with a message naming the file and line of
// every problem.
#include "dict/source.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <utility>

#include "session/cp949.h"

namespace eti {
namespace {

constexpr size_t kMaxTagName = 64;    // the tagger's name buffer, NUL included
constexpr size_t kMaxTagValue = 512;  // its work area for a tag list
constexpr size_t kMaxWord = 1024;     // the word list's line buffer

struct Line {
  int number;
  std::string_view text;
};

// Content lines of a source: comments and blank lines dropped, CR cut.
std::vector<Line> ContentLines(std::string_view text) {
  if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);  // BOM
  std::vector<Line> lines;
  int number = 0;
  while (!text.empty()) {
    ++number;
    const size_t nl = text.find('\n');
    std::string_view line = text.substr(0, nl);
    text.remove_prefix(nl == std::string_view::npos ? text.size() : nl + 1);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    if (line.empty() || line[0] == '#' ||
        line.find_first_not_of(" \t") == std::string_view::npos) {
      continue;
    }
    lines.push_back({number, line});
  }
  return lines;
}

// Character (not byte) column of a byte offset in a UTF-8 text, 1-based.
size_t Column(std::string_view utf8, size_t offset) {
  size_t column = 1;
  for (size_t i = 0; i < offset && i < utf8.size(); ++i) {
    if ((static_cast<unsigned char>(utf8[i]) & 0xC0) != 0x80) ++column;
  }
  return column;
}

bool Convert(std::string_view utf8, std::string_view what, std::string* out,
             std::string* message) {
  ConvertError error;
  if (Utf8ToCp949(utf8, out, &error)) return true;
  *message = std::string(what) + ", character " + std::to_string(Column(utf8, error.offset)) +
             ": " + error.message;
  return false;
}

// Checks a tag list as the tagger reads it: entries NAME or NAME[INT]
// separated by commas.  Returns an empty string when it is sound.
std::string CheckTagValue(const std::string& value) {
  if (value.size() >= kMaxTagValue) {
    return "tag value of " + std::to_string(value.size()) + " bytes (512 or more)";
  }
  bool any = false;
  size_t start = 0;
  while (start <= value.size()) {
    size_t comma = value.find(',', start);
    if (comma == std::string::npos) comma = value.size();
    const std::string entry = value.substr(start, comma - start);
    start = comma + 1;
    if (entry.empty()) continue;
    any = true;
    const size_t open = entry.find('[');
    const std::string name = entry.substr(0, open);
    if (name.empty()) return "tag entry \"" + entry + "\" has no name";
    if (name.size() >= kMaxTagName) {
      return "tag name of " + std::to_string(name.size()) + " bytes (64 or more)";
    }
    if (name.find(']') != std::string::npos) return "tag entry \"" + entry + "\" is malformed";
    if (open != std::string::npos) {
      const size_t close = entry.find(']', open);
      std::string number = entry.substr(open + 1, close == std::string::npos
                                                      ? std::string::npos
                                                      : close - open - 1);
      size_t digits = number.size();
      if (!number.empty() && number[0] == '-') --digits;
      if (close == std::string::npos || close + 1 != entry.size() || digits == 0 ||
          number.find_first_not_of("0123456789", number[0] == '-' ? 1 : 0) != std::string::npos) {
        return "tag entry \"" + entry + "\" is not NAME or NAME[INTEGER]";
      }
    }
  }
  if (!any) return "tag value has no tag";
  return "";
}

std::string CheckValue(DictKind kind, const std::string& value) {
  switch (kind) {
    case DictKind::kTag:
      return CheckTagValue(value);
    case DictKind::kPattern:
      if (value.find_first_not_of("0123456789") != std::string::npos || value[0] == '0' ||
          value.size() > 6) {
        return "pattern value \"" + value + "\" is not a token count";
      }
      return "";
    case DictKind::kReplace:
    case DictKind::kUnit:
      return "";
  }
  return "";
}

// Pattern keys may offer alternatives, {A|B|}, each group standing for one
// of its parts (an empty part stands for nothing); empty items left by an
// empty part vanish.  A value of '#' is the item count of each key.
bool ExpandPattern(const std::string& key, const std::string& value,
                   std::vector<std::pair<std::string, std::string>>* out, std::string* message) {
  std::vector<std::string> keys = {""};
  for (size_t i = 0; i < key.size();) {
    if (key[i] == '}' || key[i] == '|') {
      *message = std::string("'") + key[i] + "' outside a {...} group";
      return false;
    }
    if (key[i] != '{') {
      const size_t next = std::min(key.find('{', i), key.find_first_of("}|", i));
      const std::string literal = key.substr(i, next == std::string::npos ? std::string::npos : next - i);
      for (std::string& k : keys) k += literal;
      i += literal.size();
      continue;
    }
    const size_t close = key.find('}', i);
    const size_t nested = key.find('{', i + 1);
    if (close == std::string::npos || (nested != std::string::npos && nested < close)) {
      *message = "unclosed or nested {...} group";
      return false;
    }
    std::vector<std::string> parts;
    for (size_t from = i + 1;;) {
      const size_t bar = key.find('|', from);
      if (bar == std::string::npos || bar > close) {
        parts.push_back(key.substr(from, close - from));
        break;
      }
      parts.push_back(key.substr(from, bar - from));
      from = bar + 1;
    }
    std::vector<std::string> grown;
    for (const std::string& k : keys) {
      for (const std::string& part : parts) grown.push_back(k + part);
    }
    keys = std::move(grown);
    if (keys.size() > 100000) {
      *message = "expands to more than 100000 keys";
      return false;
    }
    i = close + 1;
  }
  for (std::string k : keys) {
    // Empty items vanish: no leading, trailing or doubled '*'.
    std::string clean;
    for (char c : k) {
      if (c == '*' && (clean.empty() || clean.back() == '*')) continue;
      clean.push_back(c);
    }
    while (!clean.empty() && clean.back() == '*') clean.pop_back();
    if (clean.empty()) continue;
    const std::string items = std::to_string(std::count(clean.begin(), clean.end(), '*') + 1);
    if (value != "#" && keys.size() > 1) {
      *message = "a key with {...} groups needs the value # (its item count)";
      return false;
    }
    out->emplace_back(clean, value == "#" ? items : value);
  }
  return true;
}

}  // namespace

bool ParseDictKind(std::string_view name, DictKind* kind) {
  static const std::pair<std::string_view, DictKind> kinds[] = {
      {"replace", DictKind::kReplace},
      {"tag", DictKind::kTag},
      {"pattern", DictKind::kPattern},
      {"unit", DictKind::kUnit}};
  for (const auto& [n, k] : kinds) {
    if (n == name) {
      *kind = k;
      return true;
    }
  }
  return false;
}

std::string SourceError::Format() const {
  return file + ":" + std::to_string(line) + ": " + message;
}

std::vector<SourceEntry> ReadTrieSource(std::string_view text, std::string_view file,
                                        DictKind kind, std::vector<SourceError>* errors) {
  std::vector<SourceEntry> entries;
  std::map<std::string, size_t> seen;  // CP949 key -> index in entries
  const auto fail = [&](int line, std::string message) {
    errors->push_back({std::string(file), line, std::move(message)});
  };
  for (const Line& line : ContentLines(text)) {
    const size_t tab = line.text.find('\t');
    if (tab == std::string_view::npos) {
      fail(line.number, "missing tab between key and value");
      continue;
    }
    const std::string key(line.text.substr(0, tab));
    const std::string value(line.text.substr(tab + 1));
    if (key.empty()) {
      fail(line.number, "empty key");
      continue;
    }
    if (value.empty()) {
      fail(line.number, "empty value for key \"" + key + "\"");
      continue;
    }
    std::vector<std::pair<std::string, std::string>> pairs;
    std::string message;
    if (kind != DictKind::kPattern) {
      pairs.emplace_back(key, value);
    } else if (!ExpandPattern(key, value, &pairs, &message)) {
      fail(line.number, message);
      continue;
    }
    for (const auto& [k, v] : pairs) {
      SourceEntry e;
      e.file = std::string(file);
      e.line = line.number;
      e.keyUtf8 = k;
      e.valueUtf8 = v;
      if (!Convert(e.keyUtf8, "key", &e.entry.key, &message) ||
          !Convert(e.valueUtf8, "value", &e.entry.value, &message)) {
        fail(line.number, message);
        break;
      }
      message = CheckValue(kind, e.entry.value);
      if (!message.empty()) {
        fail(line.number, message);
        break;
      }
      auto [it, fresh] = seen.emplace(e.entry.key, entries.size());
      if (!fresh) {
        const SourceEntry& first = entries[it->second];
        if (first.entry.value != e.entry.value) {
          fail(line.number, "key \"" + e.keyUtf8 + "\" has value \"" + e.valueUtf8 +
                                "\" here but \"" + first.valueUtf8 + "\" on line " +
                                std::to_string(first.line));
        }
        continue;
      }
      entries.push_back(std::move(e));
    }
  }
  return entries;
}

std::vector<SourceEntry> ReadTrieSources(const std::vector<SourceFile>& files, DictKind kind,
                                         std::vector<SourceError>* errors) {
  std::vector<SourceEntry> entries;
  std::map<std::string, size_t> seen;  // CP949 key -> index in entries
  for (const SourceFile& f : files) {
    for (SourceEntry& e : ReadTrieSource(f.text, f.name, kind, errors)) {
      auto [it, fresh] = seen.emplace(e.entry.key, entries.size());
      if (fresh) {
        entries.push_back(std::move(e));
        continue;
      }
      const SourceEntry& first = entries[it->second];
      if (first.entry.value != e.entry.value) {
        errors->push_back({e.file, e.line,
                           "key \"" + e.keyUtf8 + "\" has value \"" + e.valueUtf8 + "\" here but \"" +
                               first.valueUtf8 + "\" in " + first.file + ":" +
                               std::to_string(first.line)});
      }
    }
  }
  return entries;
}

std::vector<std::string> ReadWordSource(std::string_view text, std::string_view file,
                                        std::vector<SourceError>* errors) {
  std::vector<std::string> words;
  for (const Line& line : ContentLines(text)) {
    std::string word, message;
    if (!Convert(line.text, "word", &word, &message)) {
      errors->push_back({std::string(file), line.number, message});
    } else if (word.size() >= kMaxWord) {
      errors->push_back({std::string(file), line.number, "word of 1024 bytes or more"});
    } else {
      words.push_back(std::move(word));
    }
  }
  return words;
}

std::vector<TrieEntry> TrieEntries(const std::vector<SourceEntry>& entries) {
  std::vector<TrieEntry> out;
  out.reserve(entries.size());
  for (const SourceEntry& e : entries) out.push_back(e.entry);
  return out;
}

std::string WordListText(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& w : words) text += w + '\n';
  return text;
}

std::string CompileTrie(const std::vector<SourceEntry>& entries, DictKind kind) {
  const bool names = kind == DictKind::kPattern || kind == DictKind::kUnit;
  return BuildCompactTrieBlob(TrieEntries(entries), names ? '*' : '\0');
}

}  // namespace eti
