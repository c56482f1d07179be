#include "resolve/reader.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <memory>

#include "driver/engine.h"
#include "session/cp949.h"

namespace eti {
namespace {

// Blanks, and the underscores that a replacement leaves for a word it
// takes out (설 바로 다음다음날: 바로 is written as blanks after the date).
bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '_'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsLead(char c) { return static_cast<unsigned char>(c) >= 0x80; }

// Words in the engine's encoding, made once from their UTF-8 spelling.
std::vector<std::string> Words(std::initializer_list<const char*> utf8) {
  std::vector<std::string> out;
  for (const char* w : utf8) out.push_back(Cp949(w));
  return out;
}

bool AnyEquals(std::string_view w, const std::vector<std::string>& words) {
  return std::any_of(words.begin(), words.end(), [&](const std::string& x) { return w == x; });
}

bool EndsWith(std::string_view w, std::string_view end) {
  return w.size() >= end.size() && w.substr(w.size() - end.size()) == end;
}

// The last character of a word (two bytes for a syllable).
std::string_view LastChar(std::string_view w) {
  if (w.empty()) return w;
  if (w.size() >= 2 && IsLead(w[w.size() - 2])) return w.substr(w.size() - 2);
  return w.substr(w.size() - 1);
}

// Words that send a date the way they say.
const std::vector<std::string>& PastWords() {
  static const std::vector<std::string> w = Words({"지난"});
  return w;
}
const std::vector<std::string>& FutureWords() {
  static const std::vector<std::string> w = Words({"오는", "다가오는", "돌아오는"});
  return w;
}
// Words that may stand between a date and a count that leans on it
// (설 바로 다음다음날).
const std::vector<std::string>& ThroughWords() {
  static const std::vector<std::string> w = Words({"바로", "딱", "꼭", "약", "그"});
  return w;
}
// Words that point back to the expression before (그 전날, 그다음 날).
const std::vector<std::string>& BackWords() {
  static const std::vector<std::string> w = Words({"그", "그다음", "그담", "그전", "그날"});
  return w;
}
// Words that join sentences and tie nothing (그리고 한 달 전에 보낸).
const std::vector<std::string>& LinkWords() {
  static const std::vector<std::string> w =
      Words({"그리고", "글고", "그럼", "그래서", "근데", "그런데", "그러면", "하지만", "또",
             "또한", "및", "아", "아니", "혹시", "이미", "벌써", "아직", "그냥", "걍", "이제",
             "지금", "현재", "오늘", "방금", "최소", "적어도", "대략", "최대", "무려"});
  return w;
}
// Endings of a word that is no noun of an event (a particle or a verb
// ending as its last syllable).
const std::vector<std::string>& NonNounEnds() {
  static const std::vector<std::string> w =
      Words({"은", "는", "이", "가", "을", "를", "에", "의", "도", "와", "과", "고", "서", "며",
             "면", "다", "요", "게", "지", "니", "데", "나", "만", "야", "죠", "네", "까", "라",
             "자", "래", "해", "했", "된", "한", "할", "던", "든", "겠", "음", "함", "됨", "께",
             "랑", "로", "란", "선", "걸", "건", "데", "된", "될", "은", "운", "던", "신", "쯤"});
  return w;
}
// What a noun of an event may end in before the count: "from" (수령일로부터
// 7일 이내) and the day of (출고일 전날: 출고).
const std::vector<std::string>& FromEnds() {
  static const std::vector<std::string> w =
      Words({"으로부터", "로부터", "에서부터", "부터", "기준으로", "기준"});
  return w;
}
const std::vector<std::string>& DayEnds() {
  static const std::vector<std::string> w = Words({"일", "날"});
  return w;
}
// After or before the event: 만기 후 한 달 이내, 종료 후 이틀 이내.
const std::vector<std::string>& AroundWords() {
  static const std::vector<std::string> w = Words({"후", "전", "뒤", "이후", "이전"});
  return w;
}
const std::vector<std::string>& AfterWords() {
  static const std::vector<std::string> w = Words({"후", "뒤", "이후"});
  return w;
}

// Whether a word reads as the noun of an event: Hangul syllables only, no
// particle or verb ending at its end, no word that only links sentences.
bool EventNoun(std::string_view w) {
  if (w.empty()) return false;
  for (size_t i = 0; i < w.size(); i += 2) {
    if (!IsLead(w[i]) || i + 1 >= w.size()) return false;
  }
  if (AnyEquals(w, LinkWords()) || AnyEquals(w, BackWords())) return false;
  return !AnyEquals(LastChar(w), NonNounEnds());
}

}  // namespace

ReaderText::ReaderText(const char* text, int32_t length)
    : text_(text != nullptr ? std::string_view(text, static_cast<size_t>(std::max(length, 0)))
                            : std::string_view()) {
  sentenceStarts_.push_back(0);
  const int32_t n = static_cast<int32_t>(text_.size());
  for (int32_t i = 0; i < n; ++i) {
    const char c = text_[static_cast<size_t>(i)];
    if (IsLead(c)) {
      ++i;  // the trail byte of a two-byte character is no punctuation
      continue;
    }
    bool end = c == '!' || c == '?' || c == '\n';
    if (c == '.') {
      const bool between = i > 0 && i + 1 < n && IsDigit(text_[static_cast<size_t>(i - 1)]) &&
                           IsDigit(text_[static_cast<size_t>(i + 1)]);
      end = !between;
    }
    if (end && sentenceStarts_.back() != i + 1) sentenceStarts_.push_back(i + 1);
  }
}

int32_t ReaderText::SentenceOf(int32_t at) const {
  return static_cast<int32_t>(
      std::upper_bound(sentenceStarts_.begin(), sentenceStarts_.end(), at) -
      sentenceStarts_.begin() - 1);
}

bool ReaderText::Blank(int32_t from, int32_t to) const {
  for (int32_t i = std::max(from, 0); i < to && i < static_cast<int32_t>(text_.size()); ++i) {
    if (!IsBlank(text_[static_cast<size_t>(i)])) return false;
  }
  return true;
}

std::string_view ReaderText::WordBefore(int32_t at, int32_t* wordBegin) const {
  int32_t end = std::min(at, static_cast<int32_t>(text_.size()));
  while (end > 0 && IsBlank(text_[static_cast<size_t>(end - 1)])) --end;
  int32_t begin = end;
  while (begin > 0 && !IsBlank(text_[static_cast<size_t>(begin - 1)])) --begin;
  // Step over a character that opens the word but is the trail byte of the
  // one before (a word is cut at blanks, which are single bytes, so only a
  // lead byte can begin one).
  *wordBegin = begin;
  std::string_view w = text_.substr(static_cast<size_t>(begin), static_cast<size_t>(end - begin));
  // Punctuation before the word belongs to no word.
  while (!w.empty() && !IsLead(w.front()) && !IsDigit(w.front()) &&
         !(w.front() >= 'A' && w.front() <= 'z')) {
    w.remove_prefix(1);
    ++*wordBegin;
  }
  // A sentence that ends right before: nothing stands before the word.
  if (!w.empty() && (w.back() == '.' || w.back() == '!' || w.back() == '?')) return {};
  return w;
}

Placement ReaderText::Place(const Marks& covered) const {
  int32_t begin = -1, end = -1;
  for (const MarkRun& m : covered) {
    if (m.value != 1) continue;
    begin = begin < 0 ? m.begin : std::min(begin, m.begin);
    end = std::max(end, m.end);
  }
  return Place(begin, end);
}

Placement ReaderText::Place(int32_t begin, int32_t end) const {
  Placement p;
  p.begin = begin;
  p.end = end;
  if (begin < 0) return p;
  p.sentence = SentenceOf(begin);
  int32_t wordBegin = 0;
  const std::string_view w = WordBefore(begin, &wordBegin);
  if (SentenceOf(wordBegin) == p.sentence) {
    if (AnyEquals(w, PastWords()) || EndsWith(w, PastWords()[0])) {
      // 지난 alone, or glued to the expression by normalisation; not the
      // end of a longer word (보지난).
      if (w.size() == PastWords()[0].size()) p.direction = Direction::kPast;
    } else if (AnyEquals(w, FutureWords())) {
      p.direction = Direction::kFuture;
    }
  }
  return p;
}

std::vector<WeekdayList> RewriteWeekdayLists(std::string* text) {
  static const std::vector<std::string> kDays = Words({"일", "월", "화", "수", "목", "금", "토"});
  static const std::string kDot = Cp949("·"), kYoil = Cp949("요일"), kYol = Cp949("욜"),
                           kMada = Cp949("마다"), kEvery = Cp949("매주");
  std::vector<WeekdayList> lists;
  std::string& t = *text;
  // The lead bytes of the weekday syllables: most bytes are none of them.
  static const std::array<bool, 256> kLead = [] {
    std::array<bool, 256> lead{};
    for (const std::string& d : kDays) lead[static_cast<unsigned char>(d[0])] = true;
    return lead;
  }();
  const auto weekdayAt = [&](size_t i) -> int32_t {
    if (i + 1 >= t.size() || !kLead[static_cast<unsigned char>(t[i])]) return -1;
    for (int32_t d = 0; d < 7; ++d) {
      const std::string& day = kDays[static_cast<size_t>(d)];
      if (t[i] == day[0] && t[i + 1] == day[1]) return d;
    }
    return -1;
  };
  const auto at = [&](size_t i, const std::string& w) { return t.compare(i, w.size(), w) == 0; };
  for (size_t i = 0; i + 1 < t.size();) {
    if (!IsLead(t[i])) {
      ++i;
      continue;
    }
    if (weekdayAt(i) < 0) {
      i += 2;
      continue;
    }
    // A run of weekday syllables, each after a separator or none.
    std::vector<int32_t> days;
    size_t end = i, j = i;
    bool everyLast = false;  // the last one already rewritten as weekly (금요일마다)
    while (j + 1 < t.size()) {
      if (!days.empty() && j > end && at(j, kEvery) && weekdayAt(j + kEvery.size()) >= 0) {
        days.push_back(weekdayAt(j + kEvery.size()));
        end = j + kEvery.size() + 2;
        everyLast = true;
        break;
      }
      const int32_t d = weekdayAt(j);
      if (d < 0) break;
      days.push_back(d);
      end = j += 2;
      size_t k = j;
      while (k < t.size() && t[k] == ' ') ++k;
      if (k < t.size() && (t[k] == ',' || t[k] == '/')) {
        ++k;
      } else if (at(k, kDot)) {
        k += kDot.size();
      } else if (k > j) {
        break;  // a blank alone ends the list
      }
      while (k < t.size() && t[k] == ' ') ++k;
      j = k;
    }
    if (days.size() < 2) {
      i += 2;
      continue;
    }
    // What makes it a weekly list: 매주 before it, or 마다 after it.
    size_t before = i;
    while (before > 0 && t[before - 1] == ' ') --before;
    const bool every = before >= kEvery.size() && at(before - kEvery.size(), kEvery);
    size_t after = end;
    if (at(after, kYoil)) {
      after += kYoil.size();
    } else if (at(after, kYol)) {
      after += kYol.size();
    }
    const bool each = !everyLast && at(after, kMada);
    if (!every && !each && !everyLast) {
      i = end;
      continue;
    }
    const int32_t last = days.back();
    WeekdayList list;
    list.begin = static_cast<int32_t>(i);
    days.pop_back();
    for (int32_t d : days) {
      if (d != last) list.others.push_back(d);
    }
    const size_t stop = each ? after + kMada.size() : after;
    std::string rewritten(stop - i, ' ');
    if (each || everyLast) rewritten.replace(0, kEvery.size(), kEvery);
    rewritten.replace(rewritten.size() - 4, 2, kDays[static_cast<size_t>(last)]);
    rewritten.replace(rewritten.size() - 2, 2, kYol);
    t.replace(i, stop - i, rewritten);
    list.end = static_cast<int32_t>(stop);
    lists.push_back(std::move(list));
    i = stop;
  }
  return lists;
}

void RewriteFromWithEseo(std::string* text) {
  static const std::string kEseo = Cp949("에서"), kFrom = Cp949("부터"), kUntil = Cp949("까지"),
                           kBetween = Cp949("사이");
  static const std::vector<std::string> kUnits = Words({"년", "월", "일", "시", "분"});
  std::string& t = *text;
  const auto at = [&](size_t i, const std::string& w) { return t.compare(i, w.size(), w) == 0; };
  const auto unitAt = [&](size_t i) {
    for (const std::string& u : kUnits) {
      if (at(i, u)) return true;
    }
    return false;
  };
  const auto blanks = [&](size_t i) {
    while (i < t.size() && t[i] == ' ') ++i;
    return i;
  };
  // A number and its unit at i: the byte after them, or npos.
  const auto numberAndUnit = [&](size_t i) -> size_t {
    size_t j = i;
    while (j < t.size() && IsDigit(t[j])) ++j;
    if (j == i) return std::string::npos;
    j = blanks(j);  // a replaced unit stands apart (5 시까지)
    return unitAt(j) ? j + 2 : std::string::npos;
  };
  for (size_t i = t.find(kEseo); i != std::string::npos; i = t.find(kEseo, i + 1)) {
    if (i < 3 || !unitAt(i - 2) || !IsDigit(t[i - 3])) continue;
    size_t j = i + kEseo.size();
    bool ended = false;
    for (int groups = 0; groups < 3 && !ended; ++groups) {
      const size_t after = numberAndUnit(blanks(j));
      if (after == std::string::npos) break;
      j = after;
      ended = at(j, kUntil) || at(blanks(j), kUntil) || at(blanks(j), kBetween);
    }
    if (ended) t.replace(i, kEseo.size(), kFrom);
  }
}

namespace {

// Whether the character at byte `at` (a lead byte) is a Hangul syllable of
// CP949: the common ones (lead 0xB0..0xC8) and the extended ones (a trail
// byte below 0xA1).
bool HangulAt(std::string_view t, size_t at) {
  if (at + 1 >= t.size()) return false;
  const auto lead = static_cast<unsigned char>(t[at]);
  const auto trail = static_cast<unsigned char>(t[at + 1]);
  if (lead >= 0xB0 && lead <= 0xC8 && trail >= 0xA1) return true;
  return lead >= 0x81 && lead <= 0xC6 && trail < 0xA1;
}

// A token the tagger makes itself (a number, blanks, a separator) rather
// than one of the dictionary.
bool TaggerMade(const RETTAGS* t) {
  const char c = t->text != nullptr ? t->text[0] : '\0';
  return c == ' ' || IsDigit(c) || c == ':' || c == '.' || c == '/' || c == '-' || c == '~';
}

}  // namespace

std::vector<Replaced> ReplacedRegions(const retTypeBBT* hits) {
  std::vector<Replaced> out;
  int64_t shift = 0;
  for (const retTypeBBT* h = hits; h != nullptr && h != ETI_BBT_PREFIX; h = h->next) {
    const size_t key = std::strlen(h->text);
    const size_t value = std::strlen(h->value);
    const int64_t begin = h->startPos + shift + 1;  // after the space written before it
    Replaced r;
    r.begin = static_cast<int32_t>(begin);
    r.end = static_cast<int32_t>(begin + static_cast<int64_t>(value));
    const size_t last = key >= 2 && static_cast<unsigned char>(h->text[key - 2]) >= 0x80 ? 2 : 1;
    r.keepsEnd = key >= last && value >= last &&
                 std::memcmp(h->text + key - last, h->value + value - last, last) == 0;
    out.push_back(r);
    shift += static_cast<int64_t>(1 + value) - static_cast<int64_t>(key);
  }
  return out;
}

RETTAGS* DropTokensInsideWords(RETTAGS* tokens, std::string_view text,
                               const std::vector<std::string_view>& particles,
                               const WordIndex* index, const std::vector<Replaced>& replaced,
                               std::vector<const RETTAGS*>* dropped) {
  const size_t n = text.size();
  // A text of hardly a blank (chat) is read as it is written.
  size_t blanks = 0, chars = 0;
  for (size_t i = 0; i < n; ++chars) {
    if (text[i] == ' ') ++blanks;
    i += IsLead(text[i]) ? 2 : 1;
  }
  if (chars == 0 || blanks * 100 < chars * 8) return tokens;
  // What each byte is: a token's end, a character's start, the start of a
  // token that is not a counter (counters start no word of time: 내일배움 is
  // not 내일 and 배).
  enum : uint8_t { kEnd = 1, kCharStart = 2, kTimeStart = 4 };
  std::vector<uint8_t> at(n + 1, 0);
  for (const RETTAGS* t = tokens; t != nullptr; t = t->next) {
    const size_t b = static_cast<size_t>(std::max(t->startPos, 0));
    const size_t e = std::min(n, b + static_cast<size_t>(std::max(t->length, 0)));
    if (b < n && std::strcmp(t->attrs->name, "Counter") != 0) at[b] |= kTimeStart;
    at[e] |= kEnd;
  }
  for (size_t i = 0; i < n; i += IsLead(text[i]) ? 2 : 1) at[i] |= kCharStart;
  std::unique_ptr<WordIndex> ownIndex;
  if (index == nullptr) {
    ownIndex = std::make_unique<WordIndex>(particles);
    index = ownIndex.get();
  }
  // The longest particle of the list at byte p; 0 for none.
  const auto particleAt = [&](size_t p) {
    size_t best = 0;
    if (p >= n) return best;
    for (const uint32_t k : index->Candidates(static_cast<unsigned char>(text[p]))) {
      const std::string_view w = particles[k];
      if (w.size() > best && text.compare(p, w.size(), w) == 0) best = w.size();
    }
    return best;
  };
  const auto rightBoundary = [&](size_t e) {
    for (int k = 0; k < 4; ++k) {
      if (e >= n || !HangulAt(text, e) || (at[e] & kTimeStart) != 0) return true;
      const size_t p = particleAt(e);
      if (p == 0) return false;
      e += p;
    }
    return false;
  };
  const auto leftBoundary = [&](size_t b) {
    if (b == 0 || (at[b] & kEnd) != 0) return true;
    size_t prev = b - 1;
    while (prev > 0 && (at[prev] & kCharStart) == 0) --prev;
    if (!HangulAt(text, prev)) return true;
    for (const uint32_t k : index->Endings(static_cast<unsigned char>(text[b - 1]))) {
      const std::string_view w = particles[k];
      if (b >= w.size() && text.compare(b - w.size(), w.size(), w) == 0) return true;
    }
    return false;
  };
  // Each replaced region is judged once, as the word the text had there:
  // its end against what follows, its start against what stood before the
  // space written before it.
  std::vector<int8_t> regionKept(replaced.size(), -1);
  const auto regionOf = [&](size_t b) -> int32_t {
    const auto it = std::upper_bound(
        replaced.begin(), replaced.end(), static_cast<int32_t>(b),
        [](int32_t at, const Replaced& r) { return at < r.begin; });
    if (it == replaced.begin()) return -1;
    const auto k = static_cast<int32_t>(it - replaced.begin() - 1);
    return static_cast<int32_t>(b) < replaced[static_cast<size_t>(k)].end ? k : -1;
  };
  // A value that ends in a blank or a mark, or as its key did (이달 말에 is
  // keyed with its particle), ends at a boundary of its own.
  const auto endsWord = [&](const Replaced& r) {
    if (r.end <= r.begin || r.keepsEnd) return true;
    size_t last = static_cast<size_t>(r.end) - 1;
    while (last > static_cast<size_t>(r.begin) && (at[last] & kCharStart) == 0) --last;
    return !HangulAt(text, last);
  };
  const auto regionBoundary = [&](int32_t k) {
    int8_t& kept = regionKept[static_cast<size_t>(k)];
    if (kept < 0) {
      const Replaced& r = replaced[static_cast<size_t>(k)];
      const int32_t rb = r.begin, re = r.end;
      const size_t before = static_cast<size_t>(std::max(rb - 1, 0));
      const bool afterDigit = rb > 0 && IsDigit(text[static_cast<size_t>(rb) - 1]);
      const bool right = endsWord(r) || rightBoundary(static_cast<size_t>(re));
      kept = (afterDigit || IsDigit(text[static_cast<size_t>(rb)]) || (right && leftBoundary(before)))
                 ? 1
                 : 0;
    }
    return kept == 1;
  };
  RETTAGS* head = nullptr;
  RETTAGS** link = &head;
  for (RETTAGS* t = tokens; t != nullptr;) {
    RETTAGS* next = t->next;
    const size_t b = static_cast<size_t>(std::max(t->startPos, 0));
    const size_t e = std::min(n, b + static_cast<size_t>(std::max(t->length, 0)));
    const bool afterDigits = b > 0 && IsDigit(text[b - 1]);
    const int32_t region = regionOf(b);
    const bool inRegion =
        region >= 0 && static_cast<int32_t>(e) <= replaced[static_cast<size_t>(region)].end;
    if (TaggerMade(t) || (inRegion ? regionBoundary(region)
                                   : afterDigits || (rightBoundary(e) && leftBoundary(b)))) {
      *link = t;
      link = &t->next;
    } else if (dropped != nullptr) {
      dropped->push_back(t);
    }
    t = next;
  }
  *link = nullptr;
  return head;
}

// Whether the bytes [b, e) lie inside a quote of their sentence: on exit
// [*open, *close) are the bytes between its marks.  Straight quotes pair up
// from the start of the sentence; a curly or angled mark opens or closes
// its kind (news mix '...’).
bool QuotedAround(std::string_view t, size_t b, size_t e, size_t* open, size_t* close) {
  static const std::vector<std::string> kOpen = Words({"《", "「", "『", "“", "‘", "〈"});
  static const std::vector<std::string> kClose = Words({"》", "」", "』", "”", "’", "〉"});
  // The sentence's start.
  size_t start = b;
  while (start > 0) {
    const char c = t[start - 1];
    if (c == '\n' || c == '!' || c == '?' || (c == '.' && (start < 2 || !IsDigit(t[start - 2])))) break;
    --start;
  }
  // The mark of each quote open at b, by kind: 0 straight single, 1 straight
  // double, 2 angled, 3 the others; where its text begins.
  size_t opened[4];
  bool isOpen[4] = {false, false, false, false};
  const auto kindOf = [&](size_t p, size_t* width, bool* opens) -> int {
    const char c = t[p];
    *width = 1;
    if (c == '\'') return *opens = !isOpen[0], 0;
    if (c == '"') return *opens = !isOpen[1], 1;
    if (c == '<' || c == '>') return *opens = c == '<', 2;
    if (IsLead(c) && p + 1 < t.size()) {
      *width = 2;
      const std::string_view two = t.substr(p, 2);
      if (AnyEquals(two, kOpen)) return *opens = true, two == kOpen[4] ? 0 : two == kOpen[3] ? 1 : 3;
      if (AnyEquals(two, kClose)) return *opens = false, two == kClose[4] ? 0 : two == kClose[3] ? 1 : 3;
    }
    return -1;
  };
  for (size_t p = start; p < b;) {
    size_t width = 1;
    bool opens = false;
    const int kind = kindOf(p, &width, &opens);
    if (kind >= 0) {
      isOpen[kind] = opens;
      if (opens) opened[kind] = p + width;
    }
    p += IsLead(t[p]) ? 2 : 1;
  }
  for (int kind = 0; kind < 4; ++kind) {
    if (!isOpen[kind]) continue;
    for (size_t p = e; p < t.size();) {
      const char c = t[p];
      if (c == '\n' || c == '!' || c == '?') break;
      size_t width = 1;
      bool opens = false;
      if (kindOf(p, &width, &opens) == kind && !opens) {
        *open = opened[kind];
        *close = p;
        return true;
      }
      p += IsLead(c) ? 2 : 1;
    }
  }
  return false;
}

const char* NoDate(std::string_view t, int32_t begin, int32_t end,
                   const std::vector<std::string_view>& particles) {
  const auto b = static_cast<size_t>(std::max(begin, 0));
  const auto e = std::min(t.size(), static_cast<size_t>(std::max(end, 0)));
  if (b >= e) return nullptr;
  const auto isParticleAt = [&](size_t p) {
    for (const std::string_view w : particles) {
      if (!w.empty() && t.compare(p, w.size(), w) == 0) return w.size();
    }
    return size_t{0};
  };
  // Three numbers of one digit with dots (4.4.4): a rating, no date.
  if (e - b == 5 && IsDigit(t[b]) && t[b + 1] == '.' && IsDigit(t[b + 2]) && t[b + 3] == '.') {
    return "three numbers of one digit: a rating";
  }
  // A number continued by a measure, a counter or a percent sign.
  if (IsDigit(t[e - 1]) && e < t.size()) {
    if (t[e] == '%') return "a number with a percent sign";
    if (HangulAt(t, e) && isParticleAt(e) == 0) return "a number that a measure or counter continues";
  }
  // A number after a name in Latin letters (iOS 7.1, Android 4.4).
  if (IsDigit(t[b])) {
    size_t p = b;
    while (p > 0 && t[p - 1] == ' ') --p;
    if (p > 0 && ((t[p - 1] >= 'A' && t[p - 1] <= 'Z') || (t[p - 1] >= 'a' && t[p - 1] <= 'z'))) {
      return "a number after a name in Latin letters";
    }
  }
  // A word of time (not a number) inside a short quote that holds more
  // than it: a title ('월요일의 고양이', <수요일의 고백>).  Quoted speech is
  // longer, and a date in a title is written with its numbers.
  if (!IsDigit(t[b])) {
    size_t open = 0, close = 0;
    if (QuotedAround(t, b, e, &open, &close) && close - open <= 40) {
      size_t q = e;
      while (q < close) {
        while (q < close && t[q] == ' ') ++q;
        const size_t n = isParticleAt(q);
        if (n == 0) break;
        q += n;
      }
      size_t r = open;
      while (r < b && t[r] == ' ') ++r;
      if (q < close || r < b) return "a part of a title in quotes";
    }
  }
  return nullptr;
}

int32_t ReaderText::CountBase(int32_t at, const std::vector<Earlier>& before, bool back,
                              bool deadline, bool* after, bool* joined, std::string* why) const {
  int32_t k = Base(at, before, after, joined, why);
  if (k < 0 && back && deadline) {
    for (int32_t j = static_cast<int32_t>(before.size()) - 1; j >= 0; --j) {
      const Earlier& e = before[static_cast<size_t>(j)];
      if (e.endOnly || e.derived || e.place.sentence < 0) continue;
      k = j;
      *why = "a deadline that counts back: before the latest expression before it";
      break;
    }
  }
  if (k < 0 || !back) return k;
  const int32_t start = before[static_cast<size_t>(k)].spanStart;
  return start >= 0 ? start : k;
}

int32_t ReaderText::Base(int32_t at, const std::vector<Earlier>& before, bool* after,
                         bool* joined, std::string* why) const {
  *after = false;
  *joined = false;
  if (before.empty()) {
    *why = "counts from the reference: nothing comes before it";
    return -1;
  }
  const int32_t sentence = SentenceOf(at);
  // Only the latest expressions are looked at, so that a long text costs in
  // proportion to its length.
  constexpr int32_t kLookBack = 32;
  const int32_t oldest = std::max(0, static_cast<int32_t>(before.size()) - kLookBack);
  // The latest expression before that ends no span (what a text talks
  // about: an event, not a deadline), else the latest of all.
  const auto latestEvent = [&]() {
    for (int32_t k = static_cast<int32_t>(before.size()) - 1; k >= oldest; --k) {
      const Earlier& e = before[static_cast<size_t>(k)];
      if (!e.endOnly && !e.derived) return k;
    }
    return static_cast<int32_t>(before.size()) - 1;
  };

  int32_t wordBegin = 0;
  std::string_view w = WordBefore(at, &wordBegin);
  // Joined to the expression right before: only blanks, or a word such as
  // 바로, between the two.
  // (Not a start: the end of a span of two counts counts as its start does.)
  const Placement& last = before.back().place;
  if (last.end >= 0 && last.sentence == sentence && !before.back().opensSpan) {
    int32_t gapEnd = at;
    if (!w.empty() && AnyEquals(w, ThroughWords()) && wordBegin >= last.end) gapEnd = wordBegin;
    if (Blank(last.end, gapEnd)) {
      *why = "counts from the expression it follows";
      *joined = true;
      return static_cast<int32_t>(before.size()) - 1;
    }
  }
  if (w.empty() || SentenceOf(wordBegin) != sentence) {
    *why = "counts from the reference: it opens its sentence";
    return -1;
  }
  if (AnyEquals(w, BackWords())) {
    *why = "counts from the expression it points back to";
    return latestEvent();
  }
  // After or before an event: the event is the word before that.
  if (AnyEquals(w, AroundWords())) {
    *after = AnyEquals(w, AfterWords());
    int32_t b = 0;
    w = WordBefore(wordBegin, &b);
    wordBegin = b;
    if (w.empty() || SentenceOf(wordBegin) != sentence) {
      *why = "counts from the reference";
      return -1;
    }
  }
  for (const std::string& from : FromEnds()) {
    if (EndsWith(w, from) && w.size() > from.size()) {
      w.remove_suffix(from.size());
      break;
    }
  }
  if (!EventNoun(w)) {
    *why = "counts from the reference: no event is named before it";
    return -1;
  }
  // The event's name, without the day it is the day of (출고일: 출고).
  std::string_view stem = w;
  if (stem.size() >= 6 && AnyEquals(LastChar(stem), DayEnds())) stem.remove_suffix(2);
  // Its latest earlier mention with an expression in its sentence, the
  // expression that stands right after the name first (체크인 12/24), then
  // the nearest; a mention followed by a count that leans on it (방문 하루
  // 전) names no date of its own.
  const Placement& first = before[static_cast<size_t>(oldest)].place;
  const int32_t scanFrom =
      first.begin >= 0 ? sentenceStarts_[static_cast<size_t>(std::max(first.sentence, 0))] : 0;
  if (stem.size() >= 4) {
    for (int32_t i = wordBegin - static_cast<int32_t>(stem.size()); i >= scanFrom; --i) {
      if (text_.compare(static_cast<size_t>(i), stem.size(), stem) != 0) continue;
      if (i > 0 && !IsBlank(text_[static_cast<size_t>(i - 1)]) &&
          !(text_[static_cast<size_t>(i - 1)] == '(' || text_[static_cast<size_t>(i - 1)] == '[' ||
            text_[static_cast<size_t>(i - 1)] == ',' || text_[static_cast<size_t>(i - 1)] == '.')) {
        continue;  // inside a longer word (조직검사)
      }
      // Inside a two-byte character: a match must start on a character.
      bool aligned = true;
      for (int32_t j = i - 1; j >= 0 && IsLead(text_[static_cast<size_t>(j)]); --j) aligned = !aligned;
      if (!aligned) continue;
      const int32_t s = SentenceOf(i);
      int32_t best = -1;
      int32_t bestDistance = 0;
      for (int32_t k = oldest; k < static_cast<int32_t>(before.size()); ++k) {
        const Placement& p = before[static_cast<size_t>(k)].place;
        if (p.sentence != s || p.begin < 0 || before[static_cast<size_t>(k)].derived) continue;
        const int32_t distance = p.begin >= i ? p.begin - i : i - p.end;
        if (best < 0 || distance < bestDistance) {
          best = k;
          bestDistance = distance;
        }
      }
      if (best < 0) continue;
      *why = "counts from the expression of its event, named before";
      return best;
    }
  }
  *why = "counts from the latest expression before it: it names an event";
  return latestEvent();
}

}  // namespace eti
