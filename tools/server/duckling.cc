#include "server/duckling.h"

#include <date/date.h>
#include <date/tz.h>

#include <cctype>
#include <cstdint>
#include <exception>
#include <new>
#include <nlohmann/json.hpp>
#include <set>
#include <string>

#include "common/form.h"
#include "common/reading_options.h"
#include "extractor_kr.hpp"
#include "server/answer.h"
#include "server/entities.h"

namespace eti::server {
namespace {

using std::chrono::seconds;

constexpr const char* kJson = "application/json";
constexpr const char* kPlain = "text/plain; charset=utf-8";
constexpr std::string_view kForm = "application/x-www-form-urlencoded";

Response JsonError(int status, std::string_view message) {
  return {status, kJson, ErrorJson(message)};
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

// --- The fields of a request, each read and checked: "" or the problem. ---

// The body's fields, then the query's: the first of a name counts.
std::string ReadFields(const Request& r, Fields* out) {
  const std::string_view type = r.contentType;
  const std::string media =
      type == kForm ? std::string(kForm) : Lower(Trim(type.substr(0, type.find(';'))));
  if (!media.empty() && media != kForm) {
    return "Content-Type \"" + r.contentType + "\": the body must be " + std::string(kForm);
  }
  std::string problem;
  if (!tools::DecodeForm(r.body, out, &problem)) return "body: " + problem;
  out->insert(out->end(), r.query.begin(), r.query.end());
  return {};
}

// The language of a locale such as ko_KR, ko-KR or ko.
std::string Language(std::string_view locale) {
  return Lower(locale.substr(0, locale.find_first_of("_-")));
}

// Korean, or no language named: `lang` counts only without a `locale`.
std::string CheckLanguage(const Fields& fields) {
  if (const std::string* locale = Given(fields, "locale")) {
    if (Language(*locale) != "ko") {
      return "locale \"" + *locale + "\": this server reads Korean (ko_KR) only";
    }
  } else if (const std::string* lang = Given(fields, "lang")) {
    if (Language(*lang) != "ko") {
      return "lang \"" + *lang + "\": this server reads Korean (ko) only";
    }
  }
  return {};
}

std::string ReadZone(const Fields& fields, const date::time_zone* fallback,
                     const date::time_zone** out) {
  *out = fallback;
  if (const std::string* tz = Given(fields, "tz")) {
    *out = *tz == fallback->name() ? fallback : FindZone(*tz);
    if (*out == nullptr) return "tz \"" + *tz + "\": no such time zone";
  }
  return {};
}

int64_t FloorDiv(int64_t a, int64_t b) { return a / b - ((a % b != 0) && ((a < 0) != (b < 0))); }

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

// The instant of `reftime`, `now` without one; in seconds, since the
// clock's own nanoseconds would not reach year 9999.
std::string ReadReference(const Fields& fields, std::chrono::system_clock::time_point now,
                          date::sys_seconds* out) {
  *out = date::floor<seconds>(now);
  if (const std::string* reftime = Given(fields, "reftime")) {
    int64_t ms = 0;
    if (!ReadMillis(*reftime, &ms)) {
      return "reftime \"" + *reftime +
             "\": not an integer count of milliseconds since 1970 in years 1..9999";
    }
    *out = date::sys_seconds(seconds(FloorDiv(ms, 1000)));
  }
  return {};
}

// The engine's reading options: rules, prefer and years.
std::string ReadReading(const Fields& fields, ekr_options* out) {
  *out = tools::DefaultReading();
  if (const std::string* rules = Given(fields, "rules")) {
    if (!tools::ParseRules(*rules, &out->rules)) {
      return "rules \"" + *rules + "\": not " + tools::RulesNames();
    }
  }
  if (const std::string* prefer = Given(fields, "prefer")) {
    if (!tools::ParsePrefer(*prefer, &out->prefer)) {
      return "prefer \"" + *prefer + "\": not " + tools::PreferNames();
    }
  }
  if (const std::string* years = Given(fields, "years")) {
    const std::string bad = tools::ParseYears(*years, out);
    if (!bad.empty()) return "years: " + bad;
  }
  return tools::OptionsProblem(*out);
}

// How whole periods are written: `periods=value` (the default) or
// `periods=interval`.
std::string ReadPeriods(const Fields& fields, Periods* out) {
  *out = Periods::kValue;
  if (const std::string* periods = Given(fields, "periods")) {
    if (*periods == "interval") {
      *out = Periods::kInterval;
    } else if (*periods != "value") {
      return "periods \"" + *periods + "\": not value or interval";
    }
  }
  return {};
}

// The dimensions Duckling knows; a request naming only others wants none
// of ours.
const std::set<std::string>& KnownDims() {
  static const std::set<std::string> dims = {
      "amount-of-money", "credit-card-number", "distance", "duration", "email",
      "number",          "ordinal",            "phone-number", "quantity", "temperature",
      "time",            "url",                "volume"};
  return dims;
}

// Whether `dims` asks for times: missing, null, empty or only unknown
// names mean every dimension.
std::string ReadDims(const Fields& fields, bool* time) {
  *time = true;
  const std::string* dims = Given(fields, "dims");
  if (dims == nullptr) return {};
  const nlohmann::json j = nlohmann::json::parse(*dims, nullptr, false);
  const std::string bad = "dims: not a JSON list of dimension names";
  if (j.is_discarded() || !(j.is_array() || j.is_null())) return bad;
  bool known = false, asked = false;
  for (const nlohmann::json& d : j.is_null() ? nlohmann::json::array() : j) {
    if (!d.is_string()) return bad;
    const std::string name = d.get<std::string>();
    known |= KnownDims().count(name) != 0;
    asked |= name == "time";
  }
  *time = asked || !known;
  return {};
}

// What a /parse request asks.  `latent` is accepted and changes nothing:
// no entity this server finds is latent.
struct Ask {
  const std::string* text = nullptr;
  const date::time_zone* zone = nullptr;
  date::sys_seconds reference;
  ekr_options reading{};
  bool time = true;
  Periods periods = Periods::kValue;
};

std::string ReadAsk(const Fields& fields, const date::time_zone* defaultZone,
                    std::chrono::system_clock::time_point now, Ask* out) {
  out->text = Get(fields, "text");
  std::string problem = CheckLanguage(fields);
  if (problem.empty()) problem = ReadZone(fields, defaultZone, &out->zone);
  if (problem.empty()) problem = ReadReference(fields, now, &out->reference);
  if (problem.empty()) problem = ReadReading(fields, &out->reading);
  if (problem.empty()) problem = ReadDims(fields, &out->time);
  if (problem.empty()) problem = ReadPeriods(fields, &out->periods);
  return problem;
}

void AppendDigits(int64_t v, int width, std::string* out) {
  char buf[8];
  for (int k = width - 1; k >= 0; --k, v /= 10) buf[k] = static_cast<char>('0' + v % 10);
  out->append(buf, static_cast<size_t>(width));
}

// The engine's reference, YYYYMMDDhhmm: the instant on the zone's clock.
// False outside years 0..9999 on that clock.
bool ReferenceDigits(const date::time_zone* zone, date::sys_seconds instant, std::string* out) {
  const date::local_seconds local = zone->to_local(instant);
  const date::local_days day = date::floor<date::days>(local);
  const date::year_month_day ymd{day};
  const int64_t inDay = (local - day).count();
  const int year = static_cast<int>(ymd.year());
  if (year < 0 || year > 9999) return false;
  out->clear();
  AppendDigits(year, 4, out);
  AppendDigits(static_cast<unsigned>(ymd.month()), 2, out);
  AppendDigits(static_cast<unsigned>(ymd.day()), 2, out);
  AppendDigits(inDay / 3600, 2, out);
  AppendDigits(inDay / 60 % 60, 2, out);
  return true;
}

// The engine's answer on the text into *out; an error response otherwise.
std::optional<Response> Extract(const ekr_extractor* ex, const Ask& ask, const std::string& ref,
                                ekr::Results* out) {
  switch (ekr::Extract(ex, *ask.text, ref.c_str(), ask.reading, out)) {
    case EKR_OK:
      return std::nullopt;
    case EKR_ERROR_REFERENCE:
      return JsonError(400, std::string("reftime: ") + ekr_last_error());
    case EKR_ERROR_TEXT:
      return JsonError(400, std::string("text: ") + ekr_last_error());
    case EKR_ERROR_MEMORY:
      return JsonError(500, "out of memory");
    default:
      return JsonError(400, ekr_last_error());
  }
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
    const bool get = r.method == "GET" || r.method == "HEAD";
    if ((path == "/targets" || path == "/targets/") && get) {
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
  Fields fields;
  std::string problem = ReadFields(r, &fields);
  if (!problem.empty()) return JsonError(400, problem);
  // Duckling's own words, as its clients expect them.
  if (Get(fields, "text") == nullptr) return {422, kPlain, "Need a 'text' parameter to parse"};
  Ask ask;
  problem = ReadAsk(fields, zone_, now, &ask);
  if (!problem.empty()) return JsonError(400, problem);
  std::string ref;
  if (!ReferenceDigits(ask.zone, ask.reference, &ref)) {
    return JsonError(400, "reftime: outside years 0..9999 in that zone");
  }
  // Only other dimensions asked for: nothing of ours to find.
  if (!ask.time) return {200, kJson, "[]"};
  ekr::Results results;
  if (std::optional<Response> error = Extract(ex_, ask, ref, &results)) return *error;
  return {200, kJson, EntitiesJson(ToEntities(results.get(), *ask.text, ask.zone, ask.periods))};
}

}  // namespace eti::server
