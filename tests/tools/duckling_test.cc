// The time service's requests and answers in process, as a Duckling client
// sees them: routes, form decoding, every field and its errors, and the
// entities of typical texts, in zones with and without daylight saving.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "common/form.h"
#include "extractor_kr.hpp"
#include "server/duckling.h"

namespace eti::server {
namespace {

using nlohmann::json;
using Pairs = std::vector<std::pair<std::string, std::string>>;

// Friday 2024-05-24 10:30 in Korea.
constexpr int64_t kFriday = 1716514200000;

Response Call(const std::string& method, const std::string& path, const std::string& body,
              const std::string& contentType = "", Fields query = {}) {
  static const ekr::Extractor ex = ekr::OpenDefault();
  static const Service service(ex.get(), FindZone("Asia/Seoul"));
  Request r{method, path, std::move(query), contentType, body};
  return service.Handle(r, std::chrono::system_clock::time_point(std::chrono::milliseconds(kFriday)));
}

// The answer to `text` at `reftime`, with more fields.
json Answer(const std::string& text, const Pairs& more = {}, int64_t reftime = kFriday) {
  Pairs fields = {{"text", text}, {"reftime", std::to_string(reftime)}};
  fields.insert(fields.end(), more.begin(), more.end());
  const Response r = Call("POST", "/parse", tools::FormEncode(fields),
                          "application/x-www-form-urlencoded");
  EXPECT_EQ(r.status, 200) << text << " -> " << r.body;
  EXPECT_EQ(r.contentType, "application/json");
  const json answer = json::parse(r.body, nullptr, false);
  EXPECT_TRUE(answer.is_array()) << text << " -> " << r.body;
  return answer.is_array() ? answer : json::array();
}

// The value of the only entity of a text, without "values" once it is
// checked to hold the value itself (without the extras).
json OnlyValue(const std::string& text, const Pairs& more = {}, int64_t reftime = kFriday) {
  const json answer = Answer(text, more, reftime);
  EXPECT_EQ(answer.size(), 1u) << text << " -> " << answer.dump();
  if (answer.size() != 1) return json();
  json value = answer[0]["value"], itself = value;
  for (const char* extra : {"values", "cycle", "lunar"}) itself.erase(extra);
  EXPECT_EQ(value["values"], json::array({itself})) << text;
  value.erase("values");
  return value;
}

// An instant as Duckling writes it, from "2024-05-20", "2024-05-25T15:30",
// "2024-05-24T10:30:30" or "2024-03-10T15:00-04:00" (Korea's offset unless
// one is given).
std::string At(const std::string& t) {
  const size_t zone = t.size() > 11 ? t.find_first_of("+-", 11) : std::string::npos;
  std::string clock = t.size() > 10 ? t.substr(11, zone - 11) : "00:00";
  if (clock.size() == 5) clock += ":00";
  return t.substr(0, 10) + "T" + clock + ".000" + (zone == std::string::npos ? "+09:00" : t.substr(zone));
}
json V(const std::string& at, const char* grain) {
  return {{"type", "value"}, {"value", At(at)}, {"grain", grain}};
}
// An interval in one grain; nullptr for an open end.
json I(const char* from, const char* to, const char* grain) {
  json v = {{"type", "interval"}};
  if (from != nullptr) v["from"] = {{"value", At(from)}, {"grain", grain}};
  if (to != nullptr) v["to"] = {{"value", At(to)}, {"grain", grain}};
  return v;
}
json With(json v, const char* key, const json& extra) {
  v[key] = extra;
  return v;
}

TEST(Form, PlusAndPercentTwentyAreSpaces) {
  const struct {
    const char* form;
    Fields want;
  } cases[] = {
      {"text=%EB%82%B4%EC%9D%BC+3%EC%8B%9C&locale=ko_KR", {{"text", "내일 3시"}, {"locale", "ko_KR"}}},
      {"text=a%20b+c", {{"text", "a b c"}}},
      {"a&&b=&=c&text", {{"a", ""}, {"b", ""}, {"", "c"}, {"text", ""}}},
      {"x=1=2", {{"x", "1=2"}}},
      {"%41%2b=%2B", {{"A+", "+"}}},
  };
  std::string problem;
  for (const auto& c : cases) {
    Fields got;
    EXPECT_TRUE(tools::DecodeForm(c.form, &got, &problem)) << c.form;
    EXPECT_EQ(got, c.want) << c.form;
  }
  for (const char* bad : {"text=%", "text=%4", "text=%G1", "%zz=1"}) {
    Fields got;
    EXPECT_FALSE(tools::DecodeForm(bad, &got, &problem)) << bad;
    EXPECT_NE(problem.find("percent"), std::string::npos) << bad;
  }
}

TEST(Service, RoutesStatusesAndErrors) {
  const std::string ok = tools::FormEncode({{"text", "내일"}});
  const char* form = "application/x-www-form-urlencoded";
  const struct {
    const char* method;
    const char* path;
    std::string body;
    const char* contentType;
    int status;
    const char* contains;
  } cases[] = {
      {"GET", "/", "", "", 200, "quack!"},
      {"GET", "/targets", "", "", 200, "{\"ko_KR\":[\"time\"]}"},
      {"HEAD", "/targets/", "", "", 200, "{\"ko_KR\":[\"time\"]}"},
      {"POST", "/targets", "", "", 404, "no such path: POST /targets"},
      {"GET", "/parse", "", "", 404, "no such path: GET /parse"},
      {"POST", "/parse", ok, form, 200, "\"body\":\"내일\""},
      {"POST", "/parse/", ok, "application/x-www-form-urlencoded; charset=UTF-8", 200, "내일"},
      {"POST", "/parse", ok, "", 200, "내일"},
      {"POST", "/parse", ok, "Application/X-WWW-Form-Urlencoded ; charset=utf-8", 200, "내일"},
      {"POST", "/parse", "{\"text\":\"내일\"}", "application/json", 400,
       "Content-Type \\\"application/json\\\": the body must be application/x-www-form-urlencoded"},
      {"POST", "/parse", "locale=ko_KR", "", 422, "Need a 'text' parameter to parse"},
      {"POST", "/parse", "text=", "", 200, "[]"},
      {"POST", "/parse", "text=%E3%80", "", 400, "text: malformed UTF-8"},
      {"POST", "/parse", "text=a%00b", "", 400, "text: NUL"},
      {"POST", "/parse", "text=%2", "", 400, "body: malformed percent-encoding"},
      {"POST", "/parse", "text=x&locale=en_US", "", 400,
       "locale \\\"en_US\\\": this server reads Korean (ko_KR) only"},
      {"POST", "/parse", "text=x&lang=EN", "", 400, "lang \\\"EN\\\": this server reads Korean"},
      {"POST", "/parse", "text=x&tz=Mars%2FOlympus", "", 400, "tz \\\"Mars/Olympus\\\": no such time zone"},
      {"POST", "/parse", "text=x&tz=..%2F..%2Fetc%2Fpasswd", "", 400, "no such time zone"},
      {"POST", "/parse", "text=x&reftime=1.5e12", "", 400,
       "reftime \\\"1.5e12\\\": not an integer count of milliseconds"},
      {"POST", "/parse", "text=x&reftime=253402300800000", "", 400, "reftime"},  // year 10000
      {"POST", "/parse", "text=x&reftime=-1000", "", 200, "[]"},  // 08:59 in Korea
      {"POST", "/parse", "text=x&reftime=-40000000&rules=whole-call", "", 400,
       "reftime: reference 196912312153"},
      {"POST", "/parse", "text=x&reftime=2500000000000&rules=whole-call", "", 400,
       "reftime: reference 2049"},
      {"POST", "/parse", "text=x&dims=time", "", 400, "dims: not a JSON list of dimension names"},
      {"POST", "/parse", "text=x&rules=strict", "", 400, "rules \\\"strict\\\": not reader or whole-call"},
      {"POST", "/parse", "text=x&prefer=later", "", 400, "prefer \\\"later\\\": not future or past"},
      {"POST", "/parse", "text=x&years=1800-1900", "", 400, "years"},
      {"POST", "/parse", "text=x&periods=intervals", "", 400,
       "periods \\\"intervals\\\": not value or interval"},
      {"POST", "/parse", "text=x&periods=", "", 200, "[]"},
  };
  for (const auto& c : cases) {
    const Response r = Call(c.method, c.path, c.body, c.contentType);
    const std::string what = std::string(c.method) + " " + c.path + " " + c.body + " -> " + r.body;
    EXPECT_EQ(r.status, c.status) << what;
    EXPECT_NE(r.body.find(c.contains), std::string::npos) << what;
    if (r.status == 400 || r.status == 404) {
      EXPECT_EQ(r.contentType, "application/json");
      EXPECT_EQ(r.body.find('\n'), r.body.size() - 1) << "one line: " << r.body;
      EXPECT_TRUE(json::parse(r.body)["error"].is_string()) << r.body;
    }
    if (r.status == 422) {
      EXPECT_EQ(r.contentType, "text/plain; charset=utf-8");
    }
  }
  // Query fields count as form fields; the first of a name counts, the
  // body's before the query's.
  EXPECT_NE(Call("POST", "/parse", "", "", {{"text", "내일"}}).body.find("\"body\":\"내일\""),
            std::string::npos);
  const Response first = Call("POST", "/parse", "text=%EB%AA%A8%EB%A0%88&text=x", "", {{"text", "내일"}});
  EXPECT_NE(first.body.find("\"body\":\"모레\""), std::string::npos) << first.body;
}

TEST(Service, AnErrorQuotingBytesThatAreNotUtf8IsStillJson) {
  const struct {
    std::string locale, quoted;  // as the message quotes it
  } cases[] = {
      {"\xFF\xFE", "\xEF\xBF\xBD\xEF\xBF\xBD"},
      {"en\xC3", "en\xEF\xBF\xBD"},                                // cut short
      {"\xED\xA0\x80x", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBDx"},  // a surrogate
      {"\xC0\xAF", "\xEF\xBF\xBD\xEF\xBF\xBD"},                    // an overlong '/'
      {"일본어", "일본어"},
  };
  for (const auto& c : cases) {
    const Response r = Call("POST", "/parse", tools::FormEncode({{"text", "x"}, {"locale", c.locale}}));
    ASSERT_EQ(r.status, 400);
    const json error = json::parse(r.body, nullptr, false);
    ASSERT_FALSE(error.is_discarded()) << r.body;
    EXPECT_EQ(error["error"], "locale \"" + c.quoted + "\": this server reads Korean (ko_KR) only");
  }
}

TEST(Service, DimensionsLocalesAndLatent) {
  const struct {
    Pairs extra;
    size_t entities;
  } cases[] = {
      {{}, 1}, {{{"dims", "[]"}}, 1}, {{{"dims", "null"}}, 1}, {{{"dims", "[\"time\",\"number\"]"}}, 1},
      {{{"dims", "[\"number\",\"duration\"]"}}, 0}, {{{"dims", "[\"no-such-dimension\"]"}}, 1},
      {{{"locale", "ko-KR"}}, 1}, {{{"locale", "KO"}}, 1}, {{{"lang", "ko"}}, 1},
      {{{"locale", "ko_KR"}, {"lang", "en"}}, 1},  // lang only counts without a locale
      {{{"latent", "true"}}, 1}, {{{"latent", "false"}}, 1},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Answer("내일 오후 3시에 봐", c.extra).size(), c.entities) << json(c.extra).dump();
  }
}

// A whole week, month, quarter or year named without a day is one value by
// default and an interval when asked for; spans and open ends are intervals
// either way.
TEST(Service, PeriodsAndSpansUnderBothWaysOfWritingPeriods) {
  const struct {
    const char* text;
    json byDefault, intervals;  // null: the same as by default
  } cases[] = {
      {"이번 주", V("2024-05-20", "week"), I("2024-05-20", "2024-05-27", "week")},
      {"다음 주에 보자", V("2024-05-27", "week"), I("2024-05-27", "2024-06-03", "week")},
      {"12월", V("2024-12-01", "month"), I("2024-12-01", "2025-01-01", "month")},
      {"2025년", V("2025-01-01", "year"), I("2025-01-01", "2026-01-01", "year")},
      // A quarter as an interval is one of months.
      {"3분기 실적", V("2024-07-01", "quarter"), I("2024-07-01", "2024-10-01", "month")},
      // Several periods stay an interval in their grain.
      {"12월부터 2월까지", I("2024-12-01", "2025-03-01", "month"), nullptr},
      {"상반기", I("2024-01-01", "2024-07-01", "month"), nullptr},
      {"2024년부터 2025년까지", I("2024-01-01", "2026-01-01", "year"), nullptr},
      // A day given makes it a span of days, even over a whole week or month.
      {"5월 27일부터 6월 2일까지", I("2024-05-27", "2024-06-03", "day"), nullptr},
      {"12월 초", I("2024-12-01", "2024-12-11", "day"), nullptr},
      {"이번 주말", I("2024-05-25", "2024-05-27", "day"), nullptr},
      {"오후 3시부터 5시까지", I("2024-05-24T15:00", "2024-05-24T18:00", "hour"), nullptr},
      {"3시 30분부터 4시 45분까지", I("2024-05-24T15:30", "2024-05-24T16:46", "minute"), nullptr},
      // Open ends are counted in days, a month's end too.
      {"금요일까지", I(nullptr, "2024-06-01", "day"), nullptr},
      {"12월까지", I(nullptr, "2025-01-01", "day"), nullptr},
      {"내일부터", I("2024-05-25", nullptr, "day"), nullptr},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(OnlyValue(c.text), c.byDefault) << c.text;
    EXPECT_EQ(OnlyValue(c.text, {{"periods", "value"}}), c.byDefault) << c.text;
    EXPECT_EQ(OnlyValue(c.text, {{"periods", "interval"}}), c.intervals.is_null() ? c.byDefault : c.intervals)
        << c.text << " (periods=interval)";
  }
}

// A moment's grain is the finest field the text gave: 00:00 from "12시" is
// an hour, and a day without a time a day; how periods are written changes
// no moment.
TEST(Service, MomentsInTheGrainTheTextGave) {
  const struct {
    const char* text;
    json want;
  } cases[] = {
      {"내일 오후 3시", V("2024-05-25T15:00", "hour")},
      {"오늘밤 12시", V("2024-05-25T00:00", "hour")},
      {"내일 오후 3시 30분", V("2024-05-25T15:30", "minute")},
      {"10분 뒤", V("2024-05-24T10:40", "minute")},
      {"30초 후", V("2024-05-24T10:30:30", "second")},
      // Below the hour the values give the grain: 10:30 and 30 minutes is 11:00.
      {"30분 뒤", V("2024-05-24T11:00", "hour")},
      {"다음 주 화요일", V("2024-05-28", "day")},
      {"연말", V("2024-12-31", "day")},
      {"설악산 가는 날은 내일", V("2024-05-25", "day")},
      // Cycles and lunar dates as extras.
      {"매주 월요일", With(V("2024-05-27", "day"), "cycle", "P7D")},
      {"격주 화요일", With(V("2024-05-28", "day"), "cycle", "P14D")},
      {"매일 아침 9시", With(V("2024-05-25T09:00", "hour"), "cycle", "P1D")},
      {"매월 1일", With(V("2024-06-01", "day"), "cycle", "P1M")},
      {"매년 3월 1일", With(V("2025-03-01", "day"), "cycle", "P1Y")},
      {"음력 8월 15일", With(V("2024-09-17", "day"), "lunar", true)},
      {"추석", With(V("2024-09-17", "day"), "lunar", true)},
      {"정월 대보름", With(V("2025-02-12", "day"), "lunar", true)},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(OnlyValue(c.text), c.want) << c.text;
    EXPECT_EQ(OnlyValue(c.text, {{"periods", "interval"}}), c.want) << c.text;
  }
}

TEST(Service, ReadingOptionsAsFields) {
  EXPECT_EQ(OnlyValue("19일 개봉"), V("2024-06-19", "day"));
  EXPECT_EQ(OnlyValue("19일 개봉", {{"prefer", "past"}}), V("2024-05-19", "day"));
  EXPECT_EQ(OnlyValue("1997년 10월", {{"years", "1900-2099"}}), V("1997-10-01", "month"));
  EXPECT_EQ(OnlyValue("1997년 10월", {{"years", "1900-2099"}, {"periods", "interval"}}),
            I("1997-10-01", "1997-11-01", "month"));
}

// Texts with several dates, under the server's default rules, against what a
// reader acts on (Wednesday 2026-11-25 15:00 in Korea).
TEST(Service, TextsWithSeveralDatesAreReadAsAReaderReadsThem) {
  constexpr int64_t kWednesday = 1795586400000;
  const json weekly = With(V("2026-11-27T07:00", "hour"), "cycle", "P7D");
  const struct {
    const char* text;
    std::vector<std::pair<const char*, json>> want;  // bodies and values, among the answer
  } cases[] = {
      {"2027년 봄학기 수강신청은 12월 2일부터 12월 9일까지입니다.",
       {{"12월 2일부터 12월 9일까지", I("2026-12-02", "2026-12-10", "day")}}},
      {"방학은 1월 5일부터 2월 27일까지입니다. 신청서는 12월 11일까지 내 주세요.",
       {{"1월 5일부터 2월 27일까지", I("2027-01-05", "2027-02-28", "day")},
        {"12월 11일까지", I(nullptr, "2026-12-12", "day")}}},
      {"3분기 결산은 11월 30일 월요일 오후 5시까지 제출",
       {{"11월 30일 월요일 오후 5시까지", I(nullptr, "2026-11-30T18:00", "hour")}}},
      {"세미나는 다다음 주 수요일이고 자료는 금요일까지 보내 주세요",
       {{"다다음 주 수요일", V("2026-12-09", "day")}, {"금요일까지", I(nullptr, "2026-11-28", "day")}}},
      {"다음 달부터 요금이 바뀝니다. 이번 달 말까지 납부하세요.",
       {{"다음 달부터", I("2026-12-01", nullptr, "day")},
        {"이번 달 말까지", I(nullptr, "2026-12-01", "day")}}},
      {"내일 오후 3시 미팅. 그리고 한 달 전에 보낸 견적서 확인 부탁",
       {{"내일 오후 3시", V("2026-11-26T15:00", "hour")}, {"한 달 전", V("2026-10-25", "day")}}},
      {"오늘밤 12시 오픈이래. 알람은 11시 40분",
       {{"오늘밤 12시", V("2026-11-26T00:00", "hour")}, {"11시 40분", V("2026-11-25T23:40", "minute")}}},
      {"매주 월,수,금 아침 7시 수영",
       {{"매주 월,수,금 아침 7시", weekly},
        {"매주 월,수,금 아침 7시", With(V("2026-11-30T07:00", "hour"), "cycle", "P7D")},
        {"매주 월,수,금 아침 7시", With(V("2026-12-02T07:00", "hour"), "cycle", "P7D")}}},
      {"격주 화요일 스터디 / 목요일마다 독서모임",
       {{"격주 화요일", With(V("2026-12-01", "day"), "cycle", "P14D")},
        {"목요일마다", With(V("2026-11-26", "day"), "cycle", "P7D")}}},
      {"이십 일 후에 전역 / 삼십 분 후에 보자",
       {{"이십 일 후", V("2026-12-15", "day")}, {"삼십 분 후", V("2026-11-25T15:30", "minute")}}},
  };
  for (const auto& c : cases) {
    std::vector<json> got;
    for (const json& e : Answer(c.text, {}, kWednesday)) {
      json value = e["value"];
      value.erase("values");
      got.push_back({{"body", e["body"]}, {"value", value}});
    }
    for (const auto& [body, value] : c.want) {
      const json want = {{"body", body}, {"value", value}};
      EXPECT_NE(std::find(got.begin(), got.end(), want), got.end())
          << c.text << "\nwants " << want.dump() << "\ngot " << json(got).dump();
    }
  }
}

// Counts that reach before 1970: a moment the calendar has, or nothing; the
// server writes no date the engine did not give.
TEST(Service, CountsPastTheCalendarGiveRealMomentsOrNothing) {
  constexpr int64_t k2014 = 1400117400000;  // 2014-05-15 10:30 in Korea
  const struct {
    const char* text;
    json reader;
  } cases[] = {
      {"5103032시간 전에 끝났어", V("1432-03-21T02:30+08:27", "minute")},
      {"100000일 전", V("1740-07-30T00:00+08:27", "day")},
      {"3000개월 전", V("1764-05-15T00:00+08:27", "day")},
      {"2000000시간 전", V("1786-03-18T02:30+08:27", "minute")},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(OnlyValue(c.text, {}, k2014), c.reader) << c.text;
    EXPECT_EQ(OnlyValue(c.text, {{"prefer", "past"}}, k2014), c.reader) << c.text;
    EXPECT_EQ(Answer(c.text, {{"rules", "whole-call"}}, k2014), json::array()) << c.text;
  }
}

TEST(Service, ZonesWithAndWithoutDaylightSaving) {
  // Saturday 2024-03-09 12:00 in New York (EST, -05:00); clocks go from
  // 02:00 to 03:00 on Sunday the 10th, and back on 3 November.
  constexpr int64_t kBeforeSpring = 1710003600000;
  constexpr int64_t kBeforeAutumn = 1730563200000;  // Saturday 2024-11-02 12:00 EDT
  const char* ny = "America/New_York";
  const struct {
    const char* text;
    const char* tz;
    int64_t reftime;
    Pairs more;
    json want;
  } cases[] = {
      {"오늘 오후 3시", ny, kBeforeSpring, {}, V("2024-03-09T15:00-05:00", "hour")},
      {"내일 오후 3시", ny, kBeforeSpring, {}, V("2024-03-10T15:00-04:00", "hour")},
      // Skipped by the clocks: as far after the skip as it was after 02:00.
      {"내일 새벽 2시 30분", ny, kBeforeSpring, {}, V("2024-03-10T03:30-04:00", "minute")},
      {"오늘부터 내일까지", ny, kBeforeSpring, {},
       I("2024-03-09T00:00-05:00", "2024-03-11T00:00-04:00", "day")},
      // A week that the change falls in starts and ends on different offsets.
      {"이번 주", ny, kBeforeAutumn, {}, V("2024-10-28T00:00-04:00", "week")},
      {"이번 주", ny, kBeforeAutumn, {{"periods", "interval"}},
       I("2024-10-28T00:00-04:00", "2024-11-04T00:00-05:00", "week")},
      // 01:30 on the 3rd comes twice: the earlier.
      {"내일 새벽 1시 30분", ny, kBeforeAutumn, {}, V("2024-11-03T01:30-04:00", "minute")},
      {"모레 오후 3시", ny, kBeforeAutumn, {}, V("2024-11-04T15:00-05:00", "hour")},
      // The reference is read on the zone's clock: 23:30 UTC is already
      // the next morning in Seoul.
      {"내일", "UTC", 1716593400000, {}, V("2024-05-25T00:00+00:00", "day")},
      {"내일", "Asia/Seoul", 1716593400000, {}, V("2024-05-26", "day")},
      {"내일 오후 3시", "Asia/Kolkata", kFriday, {}, V("2024-05-25T15:00+05:30", "hour")},
  };
  for (const auto& c : cases) {
    Pairs fields = c.more;
    fields.emplace_back("tz", c.tz);
    EXPECT_EQ(OnlyValue(c.text, fields, c.reftime), c.want) << c.text << " in " << c.tz;
  }
}

TEST(Service, EntitiesSliceTheTextInCodePoints) {
  const json answer = Answer("🎉 내일 오후 3시에 봐 👍🏽 다음 주 화요일 10시");
  // The thumb and its skin tone are two code points.
  EXPECT_EQ(answer, json::parse(R"([
      {"body":"내일 오후 3시","start":2,"end":10,"dim":"time","latent":false,"value":{
       "type":"value","value":"2024-05-25T15:00:00.000+09:00","grain":"hour",
       "values":[{"type":"value","value":"2024-05-25T15:00:00.000+09:00","grain":"hour"}]}},
      {"body":"다음 주 화요일 10시","start":17,"end":29,"dim":"time","latent":false,"value":{
       "type":"value","value":"2024-05-28T10:00:00.000+09:00","grain":"hour",
       "values":[{"type":"value","value":"2024-05-28T10:00:00.000+09:00","grain":"hour"}]}}])"));
}

}  // namespace
}  // namespace eti::server
