#include "calendar/rules.h"

#include <cstdlib>

namespace eti {
namespace {

const ReadingRules kWholeCall;
thread_local const ReadingRules* tl_rules = nullptr;

}  // namespace

const ReadingRules& CurrentRules() { return tl_rules != nullptr ? *tl_rules : kWholeCall; }

ScopedReadingRules::ScopedReadingRules(const ReadingRules& rules)
    : rules_(rules), previous_(tl_rules) {
  tl_rules = &rules_;
}

ScopedReadingRules::~ScopedReadingRules() { tl_rules = previous_; }

int32_t ExpandYear(int32_t year, int32_t refYear, const ReadingRules& rules) {
  if (year < 0 || year > 99) return year;
  const int32_t earlier = 1900 + year, later = 2000 + year;
  const bool earlierIn = earlier >= rules.minYear && earlier <= rules.maxYear;
  const bool laterIn = later >= rules.minYear && later <= rules.maxYear;
  if (earlierIn != laterIn) return earlierIn ? earlier : later;
  return std::abs(refYear - earlier) <= std::abs(later - refYear) ? earlier : later;
}

}  // namespace eti
