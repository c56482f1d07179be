// Readable forms of tokens and records for table-driven tests.
#ifndef EXTRACTOR_KR_TESTS_SUPPORT_RECORDS_H_
#define EXTRACTOR_KR_TESTS_SUPPORT_RECORDS_H_

#include <string>
#include <vector>

#include "extractor_kr/stages.h"
#include "support/dict_builder.h"

namespace eti::testing {

// A record built field by field: {{kYear, 2024}, {kRel, 0}}.
using Fields = std::vector<std::pair<int32_t DTINFO::*, int32_t>>;
constexpr auto kYear = &DTINFO::year;
constexpr auto kMonth = &DTINFO::month;
constexpr auto kDay = &DTINFO::day;
constexpr auto kWeek = &DTINFO::week;
constexpr auto kWeekday = &DTINFO::weekday;
constexpr auto kHour = &DTINFO::hour;
constexpr auto kMinute = &DTINFO::minute;
constexpr auto kRel = &DTINFO::relKind;
constexpr auto kAmPm = &DTINFO::ampm;
constexpr auto kDayNight = &DTINFO::dayNight;
constexpr auto kEnd = &DTINFO::periodEnd;
constexpr auto kDuration = &DTINFO::duration;
constexpr auto kSpan = &DTINFO::spanKind;

// A new record with every field unset but `fields`.
DTINFO* MakeRecord(const Fields& fields);

// Records linked in order into one list; the head.
DTINFO* Chain(const std::vector<DTINFO*>& records);

// The set fields of a record, in field order: "year=2024 month=5 ampm=1".
std::string Dump(const DTINFO* record);

// Every record of a list, joined by " | "; "NULL" for none.  Frees it.
std::string DumpList(DTINFO* list);

// The tokens of a text as pattern search reads them: tagged by the real
// tagger with a compiled tag source, one reading through the overlapping
// tokens (the longest at each place, then on after it), spaces left out, as
// an array of token records.
class Tokens {
 public:
  Tokens(const std::string& tagSource, const std::string& textUtf8);
  ~Tokens();
  Tokens(const Tokens&) = delete;
  Tokens& operator=(const Tokens&) = delete;

  RETTAGS* data() { return path_.data(); }
  int32_t size() const { return static_cast<int32_t>(path_.size()); }

 private:
  RETTAGS* all_ = nullptr;
  std::vector<RETTAGS> path_;
};

}  // namespace eti::testing

#endif  // EXTRACTOR_KR_TESTS_SUPPORT_RECORDS_H_
