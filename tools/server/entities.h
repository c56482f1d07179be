// What the engine found, as Duckling's time entities: a moment is a value
// in the grain of the finest field the text gave, a span an interval whose
// end is exclusive, and a whole week, month, quarter or year named without a
// day one value in that grain.
#ifndef EXTRACTOR_KR_TOOLS_SERVER_ENTITIES_H_
#define EXTRACTOR_KR_TOOLS_SERVER_ENTITIES_H_

#include <string_view>
#include <vector>

#include "extractor_kr.h"
#include "server/answer.h"

namespace date {
class time_zone;
}

namespace eti::server {

// How a whole week, month, quarter or year named without a day ("다음 주",
// "12월", "3분기", "2025년") is written.
enum class Periods {
  // One value, its first instant, with grain "week", "month", "quarter" or
  // "year": what Duckling writes, and all that clients reading value.value
  // and value.grain (nlp.js) understand.
  kValue,
  // An interval from its first instant to the next period's, both ends in
  // the period's grain (a quarter in months).
  kInterval,
};

// The entities of `results`, a call's answer on `text`, on the clock of
// `zone`, ordered by position.  A result without a position, or with an
// instant outside years 1..9999, gives none.
std::vector<Entity> ToEntities(const ekr_results* results, std::string_view text,
                               const date::time_zone* zone, Periods periods);

}  // namespace eti::server

#endif  // EXTRACTOR_KR_TOOLS_SERVER_ENTITIES_H_
