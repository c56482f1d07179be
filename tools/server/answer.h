// The time service's answers as JSON text: the entities of a text, as
// Duckling's clients read them, and the one-line errors.  Written with the
// tools' one JSON string writer; nothing here knows the engine or HTTP.
#ifndef EXTRACTOR_KR_TOOLS_SERVER_ANSWER_H_
#define EXTRACTOR_KR_TOOLS_SERVER_ANSWER_H_

#include <date/date.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace eti::server {

enum class Grain { kSecond, kMinute, kHour, kDay, kWeek, kMonth, kQuarter, kYear };

// "second" ... "year", as Duckling names its grains.
const char* GrainName(Grain g);

// An instant as the clock of a zone shows it, with the grain it is given in.
struct Point {
  date::local_seconds wall;        // the zone's wall-clock time
  std::chrono::seconds offset{0};  // the zone's offset from UTC at that instant
  Grain grain = Grain::kDay;
};

// A time entity: one value, or an interval with at least one end whose `to`
// is exclusive.
struct Entity {
  std::string_view body;       // the text it was read from
  int64_t start = 0, end = 0;  // in code points
  std::optional<Point> value;  // set: {"type":"value"}; empty: an interval
  std::optional<Point> from, to;
  std::string cycle;  // how often it comes back, an ISO 8601 duration; "" for never
  bool lunar = false;
};

// The JSON array of the entities, in the order given: Duckling's keys, with
// "values" holding the value itself, and "cycle" and "lunar" where they apply.
std::string EntitiesJson(const std::vector<Entity>& entities);

// {"error":MESSAGE} and a newline.  Messages quote what clients sent, so
// bytes that are not UTF-8 are written as U+FFFD to keep the answer JSON.
std::string ErrorJson(std::string_view message);

}  // namespace eti::server

#endif  // EXTRACTOR_KR_TOOLS_SERVER_ANSWER_H_
