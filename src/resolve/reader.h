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

// Which way a word before an expression sends it: 지난 8일 is the 8th that
// has passed, 오는 5일 the one to come.
enum class Direction { kNone, kPast, kFuture };

// Where an expression stands in the normalised text.
struct Placement {
  int32_t begin = -1, end = -1;  // bytes of the normalised text; -1 when unknown
  int32_t sentence = -1;
  Direction direction = Direction::kNone;
};

// An expression before a count, as the count's base may be chosen among
// them.
struct Earlier {
  Placement place;
  bool endOnly = false;  // it ends a span, with no start of its own (a deadline)
  bool derived = false;  // it was itself counted from another expression
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
  int32_t CountBase(int32_t at, const std::vector<Earlier>& before, std::string* why) const;

  std::string_view text() const { return text_; }

 private:
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
