// The reading rules of a run: which written years are read, which results
// are kept, which references are accepted, which calendar counts, and where
// an open date or time falls.  The whole call has one set of rules; the
// session lets its caller choose others, and its choice reaches the stages
// through the run's thread, so that every exported stage keeps the whole
// call's rules when called on its own.
#ifndef EXTRACTOR_KR_CALENDAR_RULES_H_
#define EXTRACTOR_KR_CALENDAR_RULES_H_

#include <cstdint>

namespace eti {

struct ReadingRules {
  // The whole call's years: written years 2000..2030 (two-digit years up
  // to 30, with the settings' century), results up to 2035, references in
  // 1970..2043, and the calendar arithmetic of its own (no leap days before
  // 1970).  Otherwise written years in [minYear, maxYear] are read
  // (two-digit years in the century that puts them nearest the reference),
  // results outside it dropped, references inside it accepted, and every
  // date of 1900..2099 counted on the Gregorian calendar.
  bool wholeCallYears = true;
  int32_t minYear = 2000, maxYear = 2035;
  // An open date or time falls on the latest moment not after the
  // reference that the text allows, instead of the nearest one not before.
  bool past = false;

  // The window of the whole call's years.
  static constexpr int32_t kWholeCallMin = 2000, kWholeCallMax = 2035;
  // Any other window lies inside these years.
  static constexpr int32_t kFirstYear = 1900, kLastYear = 2099;
};

// The rules of the run on this thread; the whole call's outside a run.
const ReadingRules& CurrentRules();

// Sets the rules of this thread for its lifetime.
class ScopedReadingRules {
 public:
  explicit ScopedReadingRules(const ReadingRules& rules);
  ~ScopedReadingRules();
  ScopedReadingRules(const ScopedReadingRules&) = delete;
  ScopedReadingRules& operator=(const ScopedReadingRules&) = delete;

 private:
  const ReadingRules rules_;
  const ReadingRules* previous_;
};

// A two-digit year (0..99) in the century that puts it nearest to
// `refYear` (the earlier on a tie), kept inside the rules' window when one
// of the two centuries lies in it; years of more digits stand as written.
int32_t ExpandYear(int32_t year, int32_t refYear, const ReadingRules& rules);

}  // namespace eti

#endif  // EXTRACTOR_KR_CALENDAR_RULES_H_
