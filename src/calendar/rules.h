// The reading rules of a run.  The engine has two rule sets: the whole
// call's, made for one short message about one event, and the reader's,
// for texts with several dates.  They differ in which written years are
// read, which results are kept, which references are accepted, which
// calendar counts, where an open date or time falls, and what a later
// expression may take from an earlier one.  The session chooses the rules
// of a run, and its choice reaches the stages through the run's thread, so
// that every exported stage keeps the whole call's rules when called on its
// own.
#ifndef EXTRACTOR_KR_CALENDAR_RULES_H_
#define EXTRACTOR_KR_CALENDAR_RULES_H_

#include <cstdint>

namespace eti {

struct ReadingRules {
  // The whole call's rules when false: written years 2000..2030 (two-digit
  // years up to 30, with the settings' century), results up to 2035,
  // references in 1970..2043, the calendar arithmetic of its own (no leap
  // days before 1970), the future preferred, and each expression leaning on
  // the one before it.  The reader's when true: written years in [minYear,
  // maxYear] (two-digit years in the century that puts them nearest the
  // reference), results outside it dropped, references inside it accepted,
  // every date of kFirstYear..kLastYear counted on the Gregorian calendar,
  // and each expression read on its own terms.
  bool reader = false;
  int32_t minYear = kWholeCallMin, maxYear = kWholeCallMax;
  // An open date or time falls on the latest moment not after the
  // reference that the text allows, instead of the nearest one not before
  // (reader rules only).
  bool past = false;

  // The whole call's years, and the years of its references.
  static constexpr int32_t kWholeCallMin = 2000, kWholeCallMax = 2035;
  static constexpr int32_t kWholeCallFirstReference = 1970, kWholeCallLastReference = 2043;
  // The reader's calendar: every window lies inside these years.
  static constexpr int32_t kFirstYear = 1000, kLastYear = 2999;
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
