#include "server/duckling.h"

#include <date/date.h>
#include <date/tz.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <exception>
#include <nlohmann/json.hpp>
#include <set>

#include "common/form.h"
#include "common/reading_options.h"
#include "common/json_text.h"
#include "extractor_kr.hpp"

namespace eti::server {
namespace {

using Json = nlohmann::ordered_json;
using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;

constexpr const char* kJson = "application/json";
constexpr const char* kPlain = "text/plain; charset=utf-8";

// Any invalid UTF-8 a client sent and an answer echoes becomes U+FFFD
// rather than an exception.
std::string Dump(const Json& j) {
  return j.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Response JsonError(int status, const std::string& message) {
  return {status, kJson, Dump(Json{{"error", message}}) + "\n"};
}

const std::string* Get(const Fields& fields, std::string_view name) {
  for (const auto& [k, v] : fields) {
    if (k == name) return &v;
  }
  return nullptr;
}

// A field that is there and not empty: clients send empty values for
// what they leave to the server.
const std::string* Given(const Fields& fields, std::string_view name) {
  const std::string* v = Get(fields, name);
  return v != nullptr && !v->empty() ? v : nullptr;
}

std::string Lower(std::string_view s) {
  std::string out(s);
  for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return out;
}

std::string_view Trim(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t')) s.remove_suffix(1);
  return s;
}

// The language of a locale such as ko_KR, ko-KR or ko.
std::string Language(std::string_view locale) {
  return Lower(locale.substr(0, locale.find_first_of("_-")));
}

// Milliseconds since the epoch, strictly an integer, within years 1..9999.
bool ReadMillis(const std::string& s, int64_t* out) {
  size_t at = s[0] == '-' ? 1 : 0;
  if (at == s.size() || s.size() - at > 15) return false;
  int64_t v = 0;
  for (; at < s.size(); ++at) {
    if (s[at] < '0' || s[at] > '9') return false;
    v = v * 10 + (s[at] - '0');
  }
  *out = s[0] == '-' ? -v : v;
  return *out >= -62135596800000 && *out <= 253402300799999;
}

// The dimensions entity parsers know; a request naming only others wants
// none of ours.
const std::set<std::string>& KnownDims() {
  static const std::set<std::string> dims = {
      "amount-of-money", "credit-card-number", "distance", "duration", "email",
      "number",          "ordinal",            "phone-number", "quantity", "temperature",
      "time",            "url",                "volume"};
  return dims;
}

// Whether `dims` asks for times: missing, null, empty or only unknown
// names mean every dimension.
bool WantsTime(const std::string* dims, std::string* problem) {
  if (dims == nullptr) return true;
  const Json j = Json::parse(*dims, nullptr, false);
  if (j.is_discarded() || !(j.is_array() || j.is_null())) {
    *problem = "dims: not a JSON list of dimension names";
    return false;
  }
  bool known = false, time = false;
  for (const Json& d : j.is_null() ? Json::array() : j) {
    if (!d.is_string()) {
      *problem = "dims: not a JSON list of dimension names";
      return false;
    }
    const std::string name = d.get<std::string>();
    known |= KnownDims().count(name) != 0;
    time |= name == "time";
  }
  return time || !known;
}

enum class Grain { kYear, kMonth, kWeek, kDay, kHour, kMinute, kSecond };

const char* GrainName(Grain g) {
  static const char* const names[] = {"year", "month", "week", "day", "hour", "minute", "second"};
  return names[static_cast<int>(g)];
}

// The finest field a moment gives.
Grain GrainOf(const ekr_moment& m) {
  if (m.hour >= 0) {
    if (m.second > 0) return Grain::kSecond;
    return m.minute > 0 ? Grain::kMinute : Grain::kHour;
  }
  if (m.day >= 0) return Grain::kDay;
  return m.month >= 0 ? Grain::kMonth : Grain::kYear;
}

int64_t FloorDiv(int64_t a, int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }

// The wall-clock time of a moment, open fields at their first value and
// fields outside their ranges carried; false outside years 1..9999.
bool LocalTime(const ekr_moment& m, date::local_seconds* out) {
  const int64_t month0 = m.month < 0 ? 0 : int64_t{m.month} - 1;
  const int64_t year = m.year + FloorDiv(month0, 12);
  if (year < 1 || year > 9999) return false;
  const unsigned month = static_cast<unsigned>(month0 - 12 * FloorDiv(month0, 12)) + 1;
  const date::local_days first{date::year{static_cast<int>(year)} / date::month{month} / 1};
  const auto field = [](int32_t v) { return v < 0 ? int64_t{0} : int64_t{v}; };
  const date::local_seconds t = first + date::days{(m.day < 0 ? 1 : int64_t{m.day}) - 1} +
                                hours{field(m.hour)} + minutes{field(m.minute)} +
                                seconds{field(m.second)};
  const int y = static_cast<int>(date::year_month_day{date::floor<date::days>(t)}.year());
  if (y < 1 || y > 9999) return false;
  *out = t;
  return true;
}

// The start of the unit of `grain` that holds `t`.
date::local_seconds StartOf(date::local_seconds t, Grain g) {
  const date::local_days day = date::floor<date::days>(t);
  const date::year_month_day ymd{day};
  switch (g) {
    case Grain::kYear:
      return date::local_days{ymd.year() / 1 / 1};
    case Grain::kMonth:
      return date::local_days{ymd.year() / ymd.month() / 1};
    case Grain::kWeek:
      return day - date::days{(date::weekday{day}.iso_encoding() - 1)};
    case Grain::kDay:
      return day;
    case Grain::kHour:
      return date::floor<hours>(t);
    case Grain::kMinute:
      return date::floor<minutes>(t);
    case Grain::kSecond:
      break;
  }
  return t;
}

// The start of the unit after the one of `grain` that holds `t`: the
// exclusive end of an interval.
date::local_seconds NextStart(date::local_seconds t, Grain g) {
  const date::local_seconds s = StartOf(t, g);
  const date::year_month_day ymd{date::floor<date::days>(s)};
  switch (g) {
    case Grain::kYear:
      return date::local_days{ymd + date::years{1}};
    case Grain::kMonth:
      return date::local_days{ymd + date::months{1}};
    case Grain::kWeek:
      return s + date::days{7};
    case Grain::kDay:
      return s + date::days{1};
    case Grain::kHour:
      return s + hours{1};
    case Grain::kMinute:
      return s + minutes{1};
    case Grain::kSecond:
      break;
  }
  return s + seconds{1};
}

void AppendDigits(int64_t v, int width, std::string* out) {
  char buf[8];
  for (int k = width - 1; k >= 0; --k, v /= 10) buf[k] = static_cast<char>('0' + v % 10);
  out->append(buf, static_cast<size_t>(width));
}

// "2013-02-13T15:00:00.000+09:00", quoted: the wall-clock time in the
// zone, with the zone's offset at that moment.  A time the zone skips (a
// clock set forward) is read with the offset before the skip, so it lands
// as far after the skip as it was after the skip's start (02:30 on a night
// whose 02:00 became 03:00 is 03:30); a time the zone repeats is the
// earlier.
void AppendIso(const date::time_zone* zone, date::local_seconds t, std::string* out) {
  const date::sys_seconds instant{t.time_since_epoch() - zone->get_info(t).first.offset};
  const int64_t offset = zone->get_info(instant).offset.count();
  const date::local_seconds shown{instant.time_since_epoch() + seconds(offset)};
  const date::local_days day = date::floor<date::days>(shown);
  const date::year_month_day ymd{day};
  const int64_t inDay = (shown - day).count();
  const int64_t off = offset < 0 ? -offset : offset;
  out->push_back('"');
  AppendDigits(static_cast<int>(ymd.year()), 4, out);
  out->push_back('-');
  AppendDigits(static_cast<unsigned>(ymd.month()), 2, out);
  out->push_back('-');
  AppendDigits(static_cast<unsigned>(ymd.day()), 2, out);
  out->push_back('T');
  AppendDigits(inDay / 3600, 2, out);
  out->push_back(':');
  AppendDigits(inDay / 60 % 60, 2, out);
  out->push_back(':');
  AppendDigits(inDay % 60, 2, out);
  out->append(".000");
  out->push_back(offset < 0 ? '-' : '+');
  AppendDigits(off / 3600, 2, out);
  out->push_back(':');
  AppendDigits(off / 60 % 60, 2, out);
  out->push_back('"');
}

// A JSON string of valid UTF-8.
// A whole year, month or week the text named without a day ("2025년",
// "12월", "다음 주"): the grain of both ends of the span.
bool WholePeriod(const ekr_result& e, date::local_seconds from, date::local_seconds to,
                 Grain* grain) {
  if (e.start.has_date || e.end.has_date || e.start.hour >= 0 || e.end.hour >= 0) return false;
  const date::local_days a = date::floor<date::days>(from), b = date::floor<date::days>(to);
  const date::year_month_day s{a}, t{b};
  const date::local_days nextDay = b + date::days{1};
  const bool endsMonth = date::year_month_day{nextDay}.day() == date::day{1};
  if (s.month() == date::January && s.day() == date::day{1} && t.year() >= s.year() &&
      t.month() == date::December && t.day() == date::day{31}) {
    *grain = Grain::kYear;
  } else if (s.day() == date::day{1} && endsMonth && b >= a) {
    *grain = Grain::kMonth;
  } else if (date::weekday{a} == date::Monday && b - a == date::days{6}) {
    *grain = Grain::kWeek;
  } else {
    return false;
  }
  return true;
}

// The period after which a repeated expression comes back, as an ISO 8601
// duration: every other week (격주) is P14D.  Empty for no repetition.
std::string CyclePeriod(ekr_cycle c, int32_t interval) {
  const int32_t n = interval > 0 ? interval : 1;
  switch (c) {
    case EKR_CYCLE_DAY:
      return "P" + std::to_string(n) + "D";
    case EKR_CYCLE_WEEK:
      return "P" + std::to_string(7 * n) + "D";
    case EKR_CYCLE_MONTH:
      return "P" + std::to_string(n) + "M";
    case EKR_CYCLE_YEAR:
      return "P" + std::to_string(n) + "Y";
    case EKR_CYCLE_NONE:
      break;
  }
  return {};
}

bool IsOpen(const ekr_moment& m) { return m.year < 0; }

// {"value":...,"grain":...}
void AppendPoint(const date::time_zone* zone, date::local_seconds t, Grain g, std::string* out) {
  out->append("{\"value\":");
  AppendIso(zone, t, out);
  out->append(",\"grain\":\"").append(GrainName(g)).append("\"}");
}

// The entity of a result, appended to `out`; false (and nothing appended)
// when a moment lies outside years 1..9999.
bool AppendEntity(const ekr_result& e, bool lunar, std::string_view body,
                  const date::time_zone* zone, std::string* out) {
  // The value's fields, written once and repeated in "values".
  std::string fields;
  if (!e.is_span) {
    date::local_seconds t;
    if (!LocalTime(e.start, &t)) return false;
    const Grain g = GrainOf(e.start);
    fields = "\"type\":\"value\",\"value\":";
    AppendIso(zone, StartOf(t, g), &fields);
    fields.append(",\"grain\":\"").append(GrainName(g)).append("\"");
  } else {
    date::local_seconds from{}, to{};
    const bool hasFrom = !IsOpen(e.start), hasTo = !IsOpen(e.end);
    if (!hasFrom && !hasTo) return false;
    if ((hasFrom && !LocalTime(e.start, &from)) || (hasTo && !LocalTime(e.end, &to))) {
      return false;
    }
    Grain fromGrain = hasFrom ? GrainOf(e.start) : Grain::kDay;
    Grain toGrain = hasTo ? GrainOf(e.end) : Grain::kDay;
    Grain period;
    if (hasFrom && hasTo && WholePeriod(e, from, to, &period)) fromGrain = toGrain = period;
    const date::local_seconds end = hasTo ? NextStart(to, toGrain) : to;
    if (hasTo && date::year_month_day{date::floor<date::days>(end)}.year() > date::year{9999}) {
      return false;
    }
    fields = "\"type\":\"interval\"";
    if (hasFrom) {
      fields.append(",\"from\":");
      AppendPoint(zone, StartOf(from, fromGrain), fromGrain, &fields);
    }
    if (hasTo) {
      fields.append(",\"to\":");
      AppendPoint(zone, end, toGrain, &fields);
    }
  }
  out->append("{\"body\":");
  tools::AppendJsonString(body, out);
  out->append(",\"start\":").append(std::to_string(e.begin_char));
  out->append(",\"end\":").append(std::to_string(e.end_char));
  out->append(",\"dim\":\"time\",\"latent\":false,\"value\":{");
  out->append(fields).append(",\"values\":[{").append(fields).append("}]");
  const std::string cycle = CyclePeriod(e.cycle, e.cycle_interval);
  if (!cycle.empty()) out->append(",\"cycle\":\"").append(cycle).append("\"");
  if (lunar) out->append(",\"lunar\":true");
  out->append("}}");
  return true;
}

}  // namespace

const date::time_zone* FindZone(std::string_view name) {
  try {
    return date::locate_zone(name);
  } catch (const std::exception&) {
    return nullptr;
  }
}

Service::Service(const ekr_extractor* ex, const date::time_zone* defaultZone)
    : ex_(ex), zone_(defaultZone) {}

Response Service::Handle(const Request& r, std::chrono::system_clock::time_point now) const {
  try {
    const std::string_view path = r.path;
    if (path == "/") return {200, kPlain, "quack!"};
    if (path == "/targets" || path == "/targets/") {
      if (r.method != "GET" && r.method != "HEAD") return JsonError(404, "no such path: " + r.method + " " + r.path);
      return {200, kJson, "{\"ko_KR\":[\"time\"]}"};
    }
    if ((path == "/parse" || path == "/parse/") && r.method == "POST") return Parse(r, now);
    return JsonError(404, "no such path: " + r.method + " " + r.path);
  } catch (const std::bad_alloc&) {
    return JsonError(500, "out of memory");
  } catch (const std::exception& e) {
    return JsonError(500, std::string("internal error: ") + e.what());
  }
}

Response Service::Parse(const Request& r, std::chrono::system_clock::time_point now) const {
  if (r.body.size() > kMaxBody) {
    return JsonError(413, "body of " + std::to_string(r.body.size()) + " bytes, more than " +
                              std::to_string(kMaxBody));
  }
  constexpr std::string_view kForm = "application/x-www-form-urlencoded";
  const std::string media = r.contentType == kForm ? std::string(kForm)
                            : Lower(Trim(std::string_view(r.contentType).substr(0, r.contentType.find(';'))));
  if (!media.empty() && media != kForm) {
    return JsonError(400, "Content-Type \"" + r.contentType +
                              "\": the body must be application/x-www-form-urlencoded");
  }
  Fields fields;
  std::string problem;
  if (!tools::DecodeForm(r.body, &fields, &problem)) return JsonError(400, "body: " + problem);
  for (const auto& [name, value] : r.query) {
    std::string n, v;
    if (!tools::DecodeComponent(name, &n) || !tools::DecodeComponent(value, &v)) {
      return JsonError(400, "query: malformed percent-encoding in \"" + name.substr(0, 64) + "\"");
    }
    fields.emplace_back(std::move(n), std::move(v));
  }

  const std::string* text = Get(fields, "text");
  if (text == nullptr) return {422, kPlain, "Need a 'text' parameter to parse"};

  if (const std::string* locale = Given(fields, "locale")) {
    if (Language(*locale) != "ko") {
      return JsonError(400, "locale \"" + *locale + "\": this server reads Korean (ko_KR) only");
    }
  } else if (const std::string* lang = Given(fields, "lang")) {
    if (Language(*lang) != "ko") {
      return JsonError(400, "lang \"" + *lang + "\": this server reads Korean (ko) only");
    }
  }

  const date::time_zone* zone = zone_;
  if (const std::string* tz = Given(fields, "tz")) {
    zone = *tz == zone_->name() ? zone_ : FindZone(*tz);
    if (zone == nullptr) return JsonError(400, "tz \"" + *tz + "\": no such time zone");
  }

  // In seconds: the clock's own nanoseconds would not reach year 9999.
  date::sys_seconds refInstant = date::floor<seconds>(now);
  if (const std::string* reftime = Given(fields, "reftime")) {
    int64_t ms = 0;
    if (!ReadMillis(*reftime, &ms)) {
      return JsonError(400, "reftime \"" + *reftime +
                                "\": not an integer count of milliseconds since 1970 in years 1..9999");
    }
    refInstant = date::sys_seconds(seconds(FloorDiv(ms, 1000)));
  }

  ekr_options reading = tools::DefaultReading();
  if (const std::string* rules = Given(fields, "rules")) {
    if (!tools::ParseRules(*rules, &reading.rules)) {
      return JsonError(400, "rules \"" + *rules + "\": not " + tools::RulesNames());
    }
  }
  if (const std::string* prefer = Given(fields, "prefer")) {
    if (!tools::ParsePrefer(*prefer, &reading.prefer)) {
      return JsonError(400, "prefer \"" + *prefer + "\": not " + tools::PreferNames());
    }
  }
  if (const std::string* years = Given(fields, "years")) {
    const std::string bad = tools::ParseYears(*years, &reading);
    if (!bad.empty()) return JsonError(400, "years: " + bad);
  }
  {
    const std::string bad = tools::OptionsProblem(reading);
    if (!bad.empty()) return JsonError(400, bad);
  }

  const bool time = WantsTime(Given(fields, "dims"), &problem);
  if (!problem.empty()) return JsonError(400, problem);

  // The reference: the wall clock of the zone at that instant.
  const date::local_seconds local = zone->to_local(refInstant);
  const date::local_days day = date::floor<date::days>(local);
  const date::year_month_day ymd{day};
  const int64_t inDay = (local - day).count();
  const int year = static_cast<int>(ymd.year());
  if (year < 0 || year > 9999) return JsonError(400, "reftime: outside years 0..9999 in that zone");
  std::string ref;
  AppendDigits(year, 4, &ref);
  AppendDigits(static_cast<unsigned>(ymd.month()), 2, &ref);
  AppendDigits(static_cast<unsigned>(ymd.day()), 2, &ref);
  AppendDigits(inDay / 3600, 2, &ref);
  AppendDigits(inDay / 60 % 60, 2, &ref);

  // Only other dimensions asked for: nothing of ours to find.
  if (!time) return {200, kJson, "[]"};

  ekr_results* raw = nullptr;
  const ekr_status s =
      ekr_extract_with(ex_, text->data(), text->size(), ref.c_str(), &reading, &raw);
  const ekr::Results results(raw);
  switch (s) {
    case EKR_OK:
      break;
    case EKR_ERROR_REFERENCE:
      return JsonError(400, std::string("reftime: ") + ekr_last_error());
    case EKR_ERROR_TEXT:
      return JsonError(400, std::string("text: ") + ekr_last_error());
    case EKR_ERROR_MEMORY:
      return JsonError(500, "out of memory");
    default:
      return JsonError(400, ekr_last_error());
  }
  const auto item = [&results](size_t k) -> const ekr_result& {
    return *ekr_results_at(results.get(), k);
  };
  std::vector<size_t> order;
  for (size_t k = 0; k < ekr_results_count(results.get()); ++k) {
    const ekr_result& e = item(k);
    if (e.begin_byte >= 0 && e.end_byte >= e.begin_byte) order.push_back(k);
  }
  std::stable_sort(order.begin(), order.end(), [&item](size_t a, size_t b) {
    const ekr_result &x = item(a), &y = item(b);
    return x.begin_char != y.begin_char ? x.begin_char < y.begin_char : x.end_char < y.end_char;
  });
  std::string answer = "[";
  for (const size_t k : order) {
    const ekr_result& e = item(k);
    const std::string_view body =
        std::string_view(*text).substr(static_cast<size_t>(e.begin_byte),
                                       static_cast<size_t>(e.end_byte - e.begin_byte));
    if (answer.size() > 1) answer.push_back(',');
    if (!AppendEntity(e, e.lunar != 0, body, zone, &answer) && answer.back() == ',') {
      answer.pop_back();
    }
  }
  answer.push_back(']');
  return {200, kJson, std::move(answer)};
}

}  // namespace eti::server
