// What the reader rules read of the normalised text around the records:
// where its sentences end, which word stands before an expression, and
// which earlier expression a count or a bare time is tied to.  The whole
// call's rules read none of it: an expression there leans on the one
// before it, whatever stands between them.
#ifndef EXTRACTOR_KR_RESOLVE_READER_H_
#define EXTRACTOR_KR_RESOLVE_READER_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "extractor_kr/stages.h"
#include "interpret/marks.h"

namespace eti {

class WordIndex;

// Which way a word before an expression sends it: 지난 8일 is the 8th that
// has passed, 오는 5일 the one to come.
enum class Direction { kNone, kPast, kFuture };

// A count that the text ties to an earlier expression (방문 3시간 전,
// 출고일 전날): it is counted from that expression once it is resolved.
struct Tie {
  int32_t base = -1;    // the number of the expression it counts from; -1 for none
  bool after = false;   // 만기 후 한 달 이내: a window that opens at the base
  bool joined = false;  // 크리스마스 전날: the two are one expression
  // The signed offsets of the count, ETI_UNSET where it has none.
  int32_t year = ETI_UNSET, month = ETI_UNSET, day = ETI_UNSET, week = ETI_UNSET,
          hour = ETI_UNSET, minute = ETI_UNSET, second = ETI_UNSET;
};

// Where an expression stands in the normalised text.
struct Placement {
  int32_t begin = -1, end = -1;  // bytes of the normalised text; -1 when unknown
  int32_t sentence = -1;
  Direction direction = Direction::kNone;
  Tie tie;
  // The date a count right after it counts from, and no result of its own
  // (크리스마스 in 크리스마스 전날).
  bool absorbed = false;
  // A weekly expression of several weekdays (매주 월·수·금): the weekdays
  // besides the one it was read as (0 Sunday .. 6 Saturday), and, once
  // resolved, the first time of each as a time string.
  std::vector<int32_t> alsoWeekdays;
  std::vector<std::string> alsoStarts;
};

// Several weekdays of a weekly expression, in the normalised text: bytes
// [begin, end), and the weekdays (0 Sunday .. 6 Saturday) besides the one
// the text now reads.
struct WeekdayList {
  int32_t begin = 0, end = 0;
  std::vector<int32_t> others;
};

// Rewrites each list of weekdays of a weekly expression (매주 월·수·금, 매주
// 화목, 월수금마다, 화, 목요일마다) into the same number of bytes that read
// as one weekly weekday, the list's last (매주 and blanks, then 금욜), so that
// the tags and patterns read it; returns where each list was and the
// weekdays left out, for their results to be made beside it.
std::vector<WeekdayList> RewriteWeekdayLists(std::string* text);

// Rewrites 에서 after a number and its unit as 부터 (the same number of bytes)
// where an end follows it: a number and its unit, perhaps more of them, then
// 까지 or 사이 (1600년에서 1603년까지, 3시에서 5시 사이).  Elsewhere 에서 says
// where or what changes (5월에서 6월로 연기) and stays.
void RewriteFromWithEseo(std::string* text);

// Takes out of the tagger's tokens those that stand inside a longer word: a
// dictionary word (a time word, a unit, a counter) that the next character
// continues (오늘날, 시월애, 정오표, 청년내일저축: neither a blank, a mark or a
// digit, nor the start of another token, nor a particle of `particles` (the
// word list) that a boundary or a token follows), or that the character
// before it begins (압구정: neither a token's end nor a particle).  A unit
// right after its digits (3시회의) and the tokens of a text written with
// hardly a blank (chat: 오늘야근이라늦어) are left as they are.  Returns the
// tokens kept, in order; `dropped` receives those taken out.
//
// A replacement's value is judged as one word where the text had its key:
// its tokens stay or go together (주말농장: the weekend that 주말 was
// rewritten to is inside a word).  `replaced` holds the bytes of each value
// in the text (after the space a replacement writes before it); `index`,
// the set's index of `particles`, may be NULL (one is then made).
struct Replaced {
  int32_t begin = 0, end = 0;
  // The value ends as its key does (이달 말에 -> ...까지에): the key was
  // written with what follows it, so it ends at a boundary.
  bool keepsEnd = false;
};
RETTAGS* DropTokensInsideWords(RETTAGS* tokens, std::string_view text,
                               const std::vector<std::string_view>& particles,
                               const WordIndex* index, const std::vector<Replaced>& replaced,
                               std::vector<const RETTAGS*>* dropped);

// Where the values of applied replacements stand in the rewritten text, in
// order.
std::vector<Replaced> ReplacedRegions(const retTypeBBT* hits);

// Why a found expression at bytes [begin, end) of the text is no date, or
// NULL when it is one: a number that a measure or a counter continues (1/2컵,
// 9.8%), a number after a name in Latin letters (iOS 7.1), or a part of a
// title in quotes (<수요일의 고백>, '정오의 편지').
const char* NoDate(std::string_view text, int32_t begin, int32_t end,
                   const std::vector<std::string_view>& particles);

// An expression before a count, as the count's base may be chosen among
// them.
struct Earlier {
  Placement place;
  bool endOnly = false;  // it ends a span, with no start of its own (a deadline)
  bool derived = false;  // it was itself counted from another expression
  int32_t spanStart = -1;  // the index of the start of the span it closes, if any
  bool opensSpan = false;  // it starts a span (부터, or ~ before what ends it)
};

class ReaderText {
 public:
  ReaderText(const char* text, int32_t length);

  // The number of the sentence that byte `at` lies in.  A sentence ends
  // after . ! ? (a dot not between two digits: 2.5 and 2024.5.6 go on) and
  // at a line break.
  int32_t SentenceOf(int32_t at) const;

  // Where the bytes that `covered` marks stand.
  Placement Place(const Marks& covered) const;
  Placement Place(int32_t begin, int32_t end) const;

  // The base of a count that begins at byte `at` under the reader rules,
  // among the expressions before it (`before`, in text order): the index of
  // the expression it is tied to, or -1 for the reference.  A count is tied
  // to the expression right before it (only blanks, or a word such as 바로
  // between: 크리스마스 전날, 설 바로 다음다음날), to the expression of the
  // event it names (방문 3시간 전, 체크인 3일 전까지, 출고일 전날: the latest
  // earlier mention of that word with an expression in its sentence, or the
  // latest earlier expression that ends no span), or to the latest earlier
  // expression when it points back (그 전날, 그다음 날); otherwise it counts
  // from the reference (한 달 전에 보낸 견적서).  *why says which.
  // A count back from a span counts from its start (그 전날: the day before
  // a trip), a count on from its end.  A deadline that counts back (하루
  // 전까지) is before something to come, never a day gone: with nothing named
  // it counts from the latest expression before it that ends no span.
  int32_t CountBase(int32_t at, const std::vector<Earlier>& before, bool back, bool deadline,
                    bool* after, bool* joined, std::string* why) const;

  // Whether only blanks stand between the bytes `from` and `to` of one
  // sentence: what the reader rules let join into one expression.
  bool Joins(int32_t from, int32_t to) const {
    return from <= to && SentenceOf(from) == SentenceOf(to) && Blank(from, to);
  }

  std::string_view text() const { return text_; }

 private:
  // CountBase, without the span start for a count back.
  int32_t Base(int32_t at, const std::vector<Earlier>& before, bool* after, bool* joined,
               std::string* why) const;
  // The bytes [from, to) hold only blanks.
  bool Blank(int32_t from, int32_t to) const;
  // The word (a run of non-blank bytes) that ends at or before byte `at`,
  // blanks skipped; empty at a sentence start.
  std::string_view WordBefore(int32_t at, int32_t* wordBegin) const;

  std::string_view text_;
  std::vector<int32_t> sentenceStarts_;
};

}  // namespace eti

#endif  // EXTRACTOR_KR_RESOLVE_READER_H_
