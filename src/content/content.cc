// Content extraction over marked-up texts, for direct callers (the native
// entry computes its content with getOthers instead).  In: a text whose
// date and time expressions are wrapped in <D> <T> <L> <C> tags.  Out: the
// text without the tags, without the words that the removal file lists and
// with tidy spacing (ExtractContent); or the text without each <T> span and
// the particle after it (RemoveDTwithJosa).  ConvertData makes such a
// tagged text from a text and a per-byte mask.  Texts are limited to 1023
// bytes, as the removal file's users have always written them; longer ones
// are refused.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "extractor_kr/stages.h"

namespace {

constexpr size_t kTextLimit = 1024;
constexpr size_t kMaxEndingWord = 10;
constexpr const char* kTags[] = {"<D>", "<T>", "<L>", "<C>", "</D>", "</T>", "</L>", "</C>"};

enum class Section { kNone, kEmotion, kUseless, kHeadWord, kEnding };

bool TooLong(const char* s) { return std::strlen(s) >= kTextLimit; }

char* CopyOut(const std::string& s) {
  auto* out = static_cast<char*>(std::malloc(s.size() + 1));
  if (out != nullptr) std::memcpy(out, s.c_str(), s.size() + 1);
  return out;
}

void EraseAll(std::string* text, std::string_view what) {
  if (what.empty()) return;
  for (size_t at; (at = text->find(what)) != std::string::npos;) text->erase(at, what.size());
}

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

// The first word of a text (split at space or tab) and where it starts.
std::string_view FirstWord(const std::string& text, size_t* start) {
  size_t b = 0;
  while (b < text.size() && IsBlank(text[b])) ++b;
  size_t e = b;
  while (e < text.size() && !IsBlank(text[e])) ++e;
  *start = b;
  return std::string_view(text).substr(b, e - b);
}

// Drops the first word and the one delimiter after it.
void DropFirstWord(std::string* text, size_t start, size_t length) {
  size_t n = length;
  if (start + n < text->size()) ++n;  // the delimiter
  text->erase(start, n);
}

// Every two-byte character followed by '_': the form in which the emotion
// entries are written.
std::string Marked(const std::string& text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    out.push_back(text[i]);
    if (static_cast<unsigned char>(text[i]) >= 0x80 && i + 1 < text.size()) {
      out.push_back(text[++i]);
      out.push_back('_');
    }
  }
  return out;
}

void ApplyEntry(Section section, std::string_view entry, std::string* text) {
  size_t start = 0;
  switch (section) {
    case Section::kEmotion:
      EraseAll(text, std::string(entry) + "_");
      break;
    case Section::kUseless:
      EraseAll(text, entry);
      break;
    case Section::kHeadWord:
      if (FirstWord(*text, &start) == entry) DropFirstWord(text, start, entry.size());
      break;
    case Section::kNone:
    case Section::kEnding: {
      const std::string_view first = FirstWord(*text, &start);
      if (first.size() >= entry.size() && first.size() <= kMaxEndingWord &&
          first.substr(first.size() - entry.size()) == entry) {
        DropFirstWord(text, start, first.size());
      }
      break;
    }
  }
}

std::string JoinWords(const std::string& text) {
  std::string out;
  size_t i = 0;
  while (i < text.size()) {
    while (i < text.size() && text[i] == ' ') ++i;
    size_t e = i;
    while (e < text.size() && text[e] != ' ') ++e;
    if (e > i) {
      if (!out.empty()) out.push_back(' ');
      out.append(text, i, e - i);
    }
    i = e;
  }
  return out;
}

struct FileCloser {
  void operator()(std::FILE* f) const { std::fclose(f); }
};
struct DicDeleter {
  void operator()(DicHanddle* d) const { FreeDicHanddle(&d); }
};

}  // namespace

extern "C" {

int32_t RemoveDTTag(const char* src, char* dst) {
  if (src == nullptr || dst == nullptr) return 0;
  if (TooLong(src)) {
    dst[0] = '\0';
    return 0;
  }
  std::string text(src);
  for (const char* tag : kTags) EraseAll(&text, tag);
  std::memcpy(dst, text.c_str(), text.size() + 1);
  return 1;
}

char* ExtractContent(const char* taggedText, const char* dictionaryDir) {
  if (taggedText == nullptr || dictionaryDir == nullptr || TooLong(taggedText)) return nullptr;
  std::vector<char> stripped(std::strlen(taggedText) + 1);
  RemoveDTTag(taggedText, stripped.data());
  std::string text(stripped.data());
  if (text.find_first_not_of(" \t") == std::string::npos) return CopyOut(text);

  const std::string path = std::string(dictionaryDir) + "/rem_words.dic";
  std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "rb"));
  if (!file) return nullptr;

  Section section = Section::kNone;
  char line[kTextLimit];
  while (std::fgets(line, sizeof(line), file.get()) != nullptr) {
    line[std::strcspn(line, "\r\n")] = '\0';
    const std::string_view l(line);
    if (l.find("emotion") != std::string_view::npos) {
      text = Marked(text);
      section = Section::kEmotion;
    } else if (l.find("useless") != std::string_view::npos) {
      EraseAll(&text, "_");
      section = Section::kUseless;
    } else if (l.find("headWord") != std::string_view::npos) {
      section = Section::kHeadWord;
    } else if (l.find("ending") != std::string_view::npos) {
      section = Section::kEnding;
    } else {
      size_t b = 0;
      while (b < l.size() && IsBlank(l[b])) ++b;
      size_t e = b;
      while (e < l.size() && !IsBlank(l[e])) ++e;
      const std::string_view entry = l.substr(b, e - b);
      if (entry.empty() || entry[0] == '#') continue;
      ApplyEntry(section, entry, &text);
    }
  }
  return CopyOut(JoinWords(text));
}

char* ConvertData(const char* text, const char* mask) {
  if (text == nullptr || mask == nullptr) return nullptr;
  const size_t n = std::strlen(text);
  if (n != std::strlen(mask) || n >= kTextLimit) return nullptr;
  const std::string padded = " " + std::string(text) + " ";
  const std::string bits = "0" + std::string(mask) + "0";
  std::string out;
  for (size_t k = 1; k < padded.size(); ++k) {
    if (bits[k - 1] == '0' && bits[k] == '1') out += "<T>";
    if (bits[k - 1] == '1' && bits[k] == '0') out += "</T>";
    out.push_back(padded[k]);
  }
  // At least the 1024 bytes callers have always been given.
  auto* result = static_cast<char*>(std::calloc(out.size() + 1 > kTextLimit ? out.size() + 1 : kTextLimit, 1));
  if (result == nullptr) return nullptr;
  std::memcpy(result, out.c_str(), out.size() + 1);
  return result;
}

int32_t RemoveDTwithJosa(const char* taggedText, char* out, const char* particleList) {
  if (taggedText == nullptr || out == nullptr) return 0;
  if (TooLong(taggedText)) {
    out[0] = '\0';
    return 0;
  }
  DicHanddle* raw = nullptr;
  if (InitDicHanddle(&raw) == 0) return 0;
  std::unique_ptr<DicHanddle, DicDeleter> particles(raw);
  if (MakeDic(&raw, particleList != nullptr ? particleList : "") == 0) return 0;

  // The meal words and the syllables after them are written in UTF-8 while
  // the comparison takes two bytes a syllable, so in a CP949 text the meal
  // exception never applies and every tagged time goes with its particle.
  static const char* const kMeals[] = {"아침", "점심", "저녁"};
  static const char* const kEatings[] = {"먹", "같", "있"};

  std::string text(taggedText);
  while (true) {
    const size_t open = text.find("<T>");
    if (open == std::string::npos) break;
    const size_t close = text.find("</T>", open);
    if (close == std::string::npos) break;  // an unclosed span stays
    const size_t spanEnd = close + 4;
    const std::string rest = text.substr(spanEnd);

    bool meal = false;
    if (spanEnd - open == 11) {
      for (const char* m : kMeals) {
        if (std::memcmp(text.data() + open + 3, m, 4) != 0) continue;
        for (const char* e : kEatings) {
          if (rest.size() >= 2 && std::memcmp(rest.data(), e, 2) == 0) meal = true;
        }
        break;
      }
    }
    if (meal) {
      text = text.substr(0, open) + text.substr(open + 3, 4) + rest;
      continue;
    }
    size_t particle = 0;
    for (int32_t k = 0; k < particles->count; ++k) {
      const char* p = particles->words[k];
      const size_t len = std::strlen(p);
      if (rest.size() >= len && rest.compare(0, len, p) == 0) {
        particle = len;
        break;
      }
    }
    text = text.substr(0, open) + rest.substr(particle);
  }
  std::memcpy(out, text.c_str(), text.size() + 1);
  return 1;
}

}  // extern "C"
