// The word-trap finder; what it looks for is told in traps.h.
#include "dictc/traps.h"

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <string_view>

#include "dict/file_util.h"
#include "dict/btrie.h"
#include "session/cp949.h"
#include "session/extractor.h"

namespace eti::tools {
namespace {

using U32 = std::u32string;

// A reference in the middle of a year: the readings are what counts here,
// not the dates they resolve to.
constexpr char kReference[] = "202405151030";

// Endings that stand right after a time word in what the word lists write
// as one word of its own (주도 is a word, and 다음 주도 is "next week too"):
// particles and forms of the copula.  Where the rest of a word is one of
// these, the time reading is the likelier one and the word is no trap.
constexpr const char* kEndings[] = {
    "가", "과", "나", "는", "다", "도", "라", "랑", "로", "를", "만", "면", "야", "에", "엔",
    "와", "요", "으로", "은", "을", "의", "이", "인", "일", "임", "입", "지", "께", "쯤", "경",
    "부터", "까지", "마다", "보다", "처럼", "하고", "이나", "이다", "이라", "이랑", "이야",
    "이면", "인데", "인가", "인지", "일까", "이고", "이며", "이었", "였", "예요", "이에요",
    "입니다", "에는", "에도", "에서", "에게", "한테", "께서", "까지는", "부터는", "이라도",
    // 12일자, 오늘자: the edition of that day
    "자"};

// The unit words a number stands before (3일 전, 3월 말, 3 시민).
constexpr const char* kUnitTags[] = {"YearW",  "MonthW", "MonthsW", "WeekW", "DayW",
                                     "HourW",  "HoursW", "MinW",    "SecW"};

std::string Utf8(const U32& s) {
  std::string out;
  for (char32_t c : s) AppendUtf8(c, &out);
  return out;
}

// Code points of a UTF-8 text; a malformed byte stands for itself as
// U+FFFD (the word lists and sources are read as UTF-8 already).
U32 Decode(std::string_view s) {
  U32 out;
  for (size_t i = 0; i < s.size();) {
    const auto b = static_cast<unsigned char>(s[i]);
    const size_t n = b < 0x80 ? 1 : b >= 0xF0 ? 4 : b >= 0xE0 ? 3 : b >= 0xC0 ? 2 : 0;
    if (n == 0 || i + n > s.size()) {
      out.push_back(0xFFFD);
      ++i;
      continue;
    }
    char32_t c = n == 1 ? b : b & (0x7F >> n);
    for (size_t k = 1; k < n; ++k) c = (c << 6) | (static_cast<unsigned char>(s[i + k]) & 0x3F);
    out.push_back(c);
    i += n;
  }
  return out;
}

bool IsSyllable(char32_t c) { return c >= 0xAC00 && c <= 0xD7A3; }

bool AllSyllables(const U32& w) {
  return !w.empty() && std::all_of(w.begin(), w.end(), IsSyllable);
}

// Conjoining jamo (leading consonant, vowel, optional trailing consonant)
// composed into syllables.
U32 ComposeHangul(const U32& s) {
  U32 out;
  for (size_t i = 0; i < s.size(); ++i) {
    const char32_t l = s[i];
    if (l >= 0x1100 && l <= 0x1112 && i + 1 < s.size() && s[i + 1] >= 0x1161 &&
        s[i + 1] <= 0x1175) {
      char32_t syllable = 0xAC00 + ((l - 0x1100) * 21 + (s[i + 1] - 0x1161)) * 28;
      ++i;
      if (i + 1 < s.size() && s[i + 1] >= 0x11A8 && s[i + 1] <= 0x11C2) syllable += s[++i] - 0x11A7;
      out.push_back(syllable);
    } else {
      out.push_back(l);
    }
  }
  return out;
}

bool StartsWith(const U32& s, const U32& prefix) {
  return s.size() >= prefix.size() && s.compare(0, prefix.size(), prefix) == 0;
}

// Bytes that no tag holds, one for each byte the text takes in CP949.
std::string Blank(const U32& s) {
  size_t bytes = 0;
  for (char32_t c : s) bytes += c < 0x80 ? 1 : 2;
  return std::string(bytes, '_');
}

struct Span {
  int begin, end;  // code points
};

class Finder {
 public:
  Finder(const CompiledSet& set, const std::vector<SourceEntry>& replace,
         const std::vector<SourceEntry>& tags)
      : replaceTrie_(LoadTrie(set.replace.data())) {
    const session::Status s = session::Extractor::Open(set.View(), &extractor_);
    if (!s.ok()) problem_ = s.detail;
    for (const SourceEntry& e : replace) replaceKeys_.insert(Decode(e.keyUtf8));
    for (const SourceEntry& e : tags) tagKeys_.push_back(Decode(e.keyUtf8));
    for (const char* e : kEndings) endings_.insert(Decode(e));
    // The set's own words that go with an expression are endings too.
    std::string words;
    ConvertError bad;
    if (Cp949ToUtf8(set.words, &words, &bad)) {
      size_t from = 0;
      for (size_t nl; (nl = words.find('\n', from)) != std::string::npos; from = nl + 1) {
        if (nl > from) endings_.insert(Decode(std::string_view(words).substr(from, nl - from)));
      }
    }
    CollectCandidates(replace, tags);
  }

  const std::string& problem() const { return problem_; }

  std::vector<Trap> Find(const std::vector<std::string>& wordList) {
    std::vector<U32> words;
    for (const std::string& w : wordList) {
      const U32 word = Decode(w);
      words.push_back(word);
      AddVerbForms(word, &words);  // not words.back(): pushing may move it
    }
    std::sort(words.begin(), words.end());
    words.erase(std::unique(words.begin(), words.end()), words.end());

    const std::vector<U32> stoppers = Stoppers();
    for (const U32& w : words) {
      TryAlone(w);
      for (const U32& k : stoppers) {
        if (w.size() > k.size() && StartsWith(w, k)) TryStopper(w, k);
      }
    }
    for (const auto& [p, s] : Pairs()) {
      for (auto it = std::lower_bound(words.begin(), words.end(), s);
           it != words.end() && StartsWith(*it, s); ++it) {
        if (*it != s) TryAfter(p, *it);
      }
    }
    return Reduce();
  }

 private:
  // Where the set reads expressions in `text`.
  std::vector<Span> Expressions(const U32& text) {
    session::Results r;
    std::vector<Span> spans;
    if (extractor_ == nullptr || !extractor_->Extract(Utf8(text), kReference, &r).ok()) {
      return spans;
    }
    for (const ekr_result& e : r.items) {
      if (e.begin_char >= 0) spans.push_back({e.begin_char, e.end_char});
    }
    return spans;
  }

  // The replacements applied to `text`, in code points.
  std::vector<Span> Replacements(const U32& text) {
    std::vector<Span> spans;
    std::string cp949;
    ConvertError bad;
    if (!Utf8ToCp949(Utf8(text), &cp949, &bad)) return spans;
    retTypeBBT* hits = removeDuplicatedBBTResult(ETI_getFullDic(cp949.c_str(), replaceTrie_.get(), 1));
    // Byte offsets to code points: every character but ASCII takes two bytes.
    std::vector<int> charAt(cp949.size() + 1, 0);
    int chars = 0;
    for (size_t i = 0; i < cp949.size(); ++chars) {
      const size_t n = static_cast<unsigned char>(cp949[i]) >= 0x80 ? 2 : 1;
      for (size_t k = 0; k < n && i + k < cp949.size(); ++k) charAt[i + k] = chars;
      i += n;
    }
    charAt[cp949.size()] = chars;
    for (const retTypeBBT* h = hits; h != nullptr; h = h->next) {
      const size_t end = std::min(cp949.size(), static_cast<size_t>(h->startPos) + std::strlen(h->text));
      spans.push_back({charAt[static_cast<size_t>(h->startPos)], charAt[end]});
    }
    ETI_free_retTypeBBT(&hits);
    return spans;
  }

  // Whether the rest of a word after a time word may be an ending, or the
  // start of one: a guard on such a word would also take the time word
  // and its ending (일부 is a word, and 4일부터 is the 4th and 부터).
  bool MayBeEnding(const U32& rest) const {
    for (const U32& e : endings_) {
      if (StartsWith(e, rest)) return true;
    }
    return false;
  }

  // The end of the shortest guard from `text`'s start that reaches past
  // `cut`, where an expression ends inside a word: one more character, or
  // as many as it takes for the rest to be no ending (뒤로하다: 뒤로하, since
  // 뒤로 is 뒤 and 로).  It serves every form of the word (뒤끓다, 뒤끓은).
  size_t GuardEnd(const U32& text, size_t cut) const {
    size_t end = cut + 1;
    while (end < text.size() && MayBeEnding(text.substr(cut, end - cut))) ++end;
    return end;
  }

  bool Covered(const U32& text) {
    for (const Span& e : Expressions(text)) {
      if (e.begin == 0 && e.end == static_cast<int>(text.size())) return true;
    }
    return false;
  }

  // The word lists give a verb in a few forms (이월하다, 이월한, 이월할, 이월해);
  // text has many more (이월했다, 금주하기로), each a place a time word
  // hides in.  The common ones of 하다 and 되다 verbs are added.
  static void AddVerbForms(const U32& w, std::vector<U32>* words) {
    static const std::pair<const char32_t*, std::vector<const char32_t*>> kForms[] = {
        {U"하다", {U"했", U"하기", U"하지", U"하면", U"하게", U"하는", U"하며", U"하던", U"합", U"해서"}},
        {U"되다", {U"됐", U"되기", U"되지", U"되면", U"되게", U"되는", U"되며", U"되던", U"됩", U"돼서"}}};
    for (const auto& [ending, forms] : kForms) {
      const U32 e(ending);
      if (w.size() <= e.size() || w.compare(w.size() - e.size(), e.size(), e) != 0) continue;
      const U32 stem = w.substr(0, w.size() - e.size());
      for (const char32_t* f : forms) words->push_back(stem + f);
    }
  }

  // Time words and what stands before them: every tag key and the part of
  // a replacement key before its last space (before), and the tag keys,
  // replacement keys and last parts of spaced ones of one or two syllables
  // (after: what begins an everyday word), guards aside.  The pairs are
  // those whose two parts, a space apart, are read as one expression.
  // Numbers stand as 3 (3 시, 3일 전).
  void CollectCandidates(const std::vector<SourceEntry>& replace,
                         const std::vector<SourceEntry>& tags) {
    std::set<U32> before = {U"3"}, after;
    const auto word = [](const U32& w) {
      return !w.empty() && std::all_of(w.begin(), w.end(), [](char32_t c) {
        return IsSyllable(c) || (c >= '0' && c <= '9');
      });
    };
    for (const SourceEntry& e : tags) {
      const U32 k = Decode(e.keyUtf8);
      if (!word(k)) continue;
      before.insert(k);
      if (AllSyllables(k) && k.size() <= 2) after.insert(k);
      if (AllSyllables(k) && std::find_if(std::begin(kUnitTags), std::end(kUnitTags), [&](const char* t) {
            return e.valueUtf8 == t;
          }) != std::end(kUnitTags)) {
        before.insert(U"3" + k);
        unitKeys_.insert(k);
      }
    }
    for (const SourceEntry& e : replace) {
      if (e.valueUtf8.find('_') != std::string::npos) continue;  // a guard
      const U32 k = Decode(e.keyUtf8);
      const size_t space = k.rfind(U' ');
      if (space == U32::npos) {
        if (AllSyllables(k) && k.size() <= 2) after.insert(k);
        continue;
      }
      const U32 head = k.substr(0, space), tail = k.substr(space + 1);
      if (!head.empty() && head.find(U' ') == U32::npos && word(head)) before.insert(head);
      if (AllSyllables(tail) && tail.size() <= 2) after.insert(tail);
    }
    before_.assign(before.begin(), before.end());
    after_.assign(after.begin(), after.end());
  }

  std::vector<std::pair<U32, U32>> Pairs() {
    std::vector<std::pair<U32, U32>> pairs;
    for (const U32& p : before_) {
      for (const U32& s : after_) {
        const U32 text = p + U" " + s;
        for (const Span& e : Expressions(text)) {
          if (e.begin < static_cast<int>(p.size()) && e.end == static_cast<int>(text.size())) {
            pairs.emplace_back(p, s);
            break;
          }
        }
      }
    }
    return pairs;
  }

  // Whether a guard would blank part of a tag key where that key stands in
  // a text (후년 inside 내후년, 일곱 inside 일곱시): the tagger never sees
  // what a replacement rewrote.
  bool InsideTagKey(const U32& core) const {
    for (const U32& t : tagKeys_) {
      if (t.find(core) != U32::npos) return true;
    }
    return false;
  }

  void Add(const U32& context, const U32& word, const Span& e, U32 key, std::string value) {
    if (replaceKeys_.count(key) != 0) return;
    U32 core = key;
    while (!core.empty() && core.back() == U' ') core.pop_back();
    if (InsideTagKey(core)) return;
    auto [it, fresh] = guards_.emplace(key, Trap{});
    if (!fresh) return;
    it->second = {Utf8(context), Utf8(word),
                  Utf8(context.substr(static_cast<size_t>(e.begin), static_cast<size_t>(e.end - e.begin))),
                  Utf8(key), std::move(value)};
  }

  // Whether a word may be blanked wherever it stands: not when it is an
  // expression itself, nor when a number before it makes it one (일전 is
  // the other day, and 2일전 two days ago).
  bool SafeAlone(const U32& w) { return !Covered(w) && !Covered(U"3" + w); }

  // A written date that a word after it must leave alone.  Counters stop
  // the reading of a decimal before them (3.5점 is a score), and a word
  // that only begins with a counter's syllable is no counter (6.20 개봉 is
  // a release date).
  static constexpr char32_t kDate[] = U"6.20";

  // The tag keys that stop the date before them, units of time aside (6.20
  // 시 would be a decimal count of hours, and a word that starts with 시 is
  // guarded where a number stands before it already).
  std::vector<U32> Stoppers() {
    std::vector<U32> out;
    if (!StartsAt(U32(kDate), 0)) return out;
    for (const U32& k : tagKeys_) {
      if (!AllSyllables(k) || unitKeys_.count(k) != 0) continue;
      if (!StartsAt(U32(kDate) + U" " + k, 0)) out.push_back(k);
    }
    return out;
  }

  // Whether an expression starts at `at` and covers the date there.
  bool StartsAt(const U32& text, int at) {
    for (const Span& e : Expressions(text)) {
      if (e.begin == at && e.end >= at + 4) return true;
    }
    return false;
  }

  void TryStopper(const U32& w, const U32& k) {
    if (replaceKeys_.count(w) != 0) return;
    const U32 text = U32(kDate) + U" " + w;
    if (StartsAt(text, 0)) return;
    const U32 key = w.substr(0, GuardEnd(w, k.size()));
    if (SafeAlone(key)) Add(text, w, Span{0, 4}, key, Blank(key));
  }

  // A word alone: an expression inside it that is not the whole word, nor
  // the word less an ending.
  void TryAlone(const U32& w) {
    if (replaceKeys_.count(w) != 0) return;
    const int n = static_cast<int>(w.size());
    for (const Span& e : Expressions(w)) {
      if (e.begin == 0 && (e.end == n || MayBeEnding(w.substr(static_cast<size_t>(e.end))))) {
        continue;
      }
      const U32 key = w.substr(0, GuardEnd(w, static_cast<size_t>(e.end)));
      if (SafeAlone(key)) Add(w, w, e, key, Blank(key));
      return;
    }
  }

  // p w, where p s is an expression and w begins with s: an expression that
  // ends inside w.  When a replacement reaches across into w, the guard
  // must start where that replacement starts; it keeps the expression
  // before w (6월 초대 is June).  Otherwise the word alone is the guard.
  void TryAfter(const U32& p, const U32& w) {
    if (replaceKeys_.count(w) != 0) return;
    const U32 text = p + U" " + w;
    const int start = static_cast<int>(p.size()) + 1, n = static_cast<int>(text.size());
    for (const Span& e : Expressions(text)) {
      if (e.begin >= start || e.end <= start || e.end >= n) continue;
      if (MayBeEnding(text.substr(static_cast<size_t>(e.end)))) continue;
      for (const Span& r : Replacements(text)) {
        if (r.begin < start && r.end > start) {
          const U32 key = text.substr(static_cast<size_t>(r.begin),
                                      GuardEnd(text, static_cast<size_t>(e.end)) - static_cast<size_t>(r.begin));
          U32 head = text.substr(static_cast<size_t>(r.begin), static_cast<size_t>(start - 1 - r.begin));
          std::string value = Blank(key);
          if (!head.empty() && Covered(head)) {
            value = Utf8(head) + Blank(key.substr(head.size()));
          }
          Add(text, w, e, key, std::move(value));
          return;
        }
      }
      const U32 key = w.substr(0, GuardEnd(w, static_cast<size_t>(e.end - start)));
      if (SafeAlone(key)) Add(text, w, e, key, Blank(key));
      return;
    }
  }

  // The guards, each kept only when no shorter guard is a prefix of it (the
  // shorter one matches there already).
  std::vector<Trap> Reduce() {
    std::vector<Trap> out;
    for (const auto& [key, trap] : guards_) {
      bool covered = false;
      for (size_t n = 2; n < key.size() && !covered; ++n) {
        covered = guards_.count(key.substr(0, n)) != 0;
      }
      if (!covered) out.push_back(trap);
    }
    return out;
  }

  std::unique_ptr<BTrie, TrieDeleter> replaceTrie_;
  std::unique_ptr<session::Extractor> extractor_;
  std::string problem_;
  std::set<U32> replaceKeys_, endings_;
  std::vector<U32> tagKeys_;
  std::set<U32> unitKeys_;  // tag keys of units of time (일, 시간 ...)
  std::vector<U32> before_, after_;
  std::map<U32, Trap> guards_;
};

}  // namespace

bool ReadCommonWords(const std::string& path, std::vector<std::string>* words,
                     std::string* error) {
  std::string text;
  if (!ReadFile(path, &text, error)) return false;
  size_t from = 0;
  bool first = true;
  while (from < text.size()) {
    size_t nl = text.find('\n', from);
    if (nl == std::string::npos) nl = text.size();
    std::string_view line(text.data() + from, nl - from);
    from = nl + 1;
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    const bool count = first && !line.empty() &&
                       line.find_first_not_of("0123456789") == std::string_view::npos;
    first = false;
    if (count || line.empty() || line[0] == '#') continue;
    const U32 w = ComposeHangul(Decode(line.substr(0, line.find('/'))));
    if (AllSyllables(w)) words->push_back(Utf8(w));
  }
  return true;
}

bool FindTraps(const CompiledSet& set, const std::vector<SourceEntry>& replace,
               const std::vector<SourceEntry>& tags, const std::vector<std::string>& words,
               std::vector<Trap>* traps, std::string* error) {
  Finder finder(set, replace, tags);
  if (!finder.problem().empty()) {
    *error = finder.problem();
    return false;
  }
  *traps = finder.Find(words);
  return true;
}

}  // namespace eti::tools
