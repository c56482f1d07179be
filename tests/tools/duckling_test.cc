// The time service's requests and answers in process, as a Duckling client
// sees them: routes, form decoding, every field and its errors, and the
// entities of typical texts, written out by hand, in zones with and without
// daylight saving.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
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

const Service& TheService() {
  static const ekr::Extractor ex = [] {
    ekr::Extractor e = ekr::OpenDefault();
    if (e == nullptr) std::abort();
    return e;
  }();
  static const Service service(ex.get(), FindZone("Asia/Seoul"));
  return service;
}

Response Call(const std::string& method, const std::string& path, const std::string& body,
              const std::string& contentType = "application/x-www-form-urlencoded",
              Fields query = {}) {
  Request r{method, path, std::move(query), contentType, body};
  return TheService().Handle(
      r, std::chrono::system_clock::time_point(std::chrono::milliseconds(kFriday)));
}

Response Parse(const Pairs& fields) { return Call("POST", "/parse", tools::FormEncode(fields)); }

// The answer to `text` at `reftime` (Friday by default), with more fields.
json Answer(const std::string& text, const Pairs& more = {}, int64_t reftime = kFriday) {
  Pairs fields = {{"text", text}, {"reftime", std::to_string(reftime)}};
  fields.insert(fields.end(), more.begin(), more.end());
  const Response r = Parse(fields);
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
  json value = answer[0]["value"];
  json itself = value;
  for (const char* extra : {"values", "cycle", "lunar"}) itself.erase(extra);
  EXPECT_EQ(value["values"], json::array({itself})) << text;
  value.erase("values");
  return value;
}

TEST(Form, PlusAndPercentTwentyAreSpaces) {
  const struct {
    const char* form;
    Fields want;
  } cases[] = {
      {"text=%EB%82%B4%EC%9D%BC+3%EC%8B%9C&locale=ko_KR",
       {{"text", "내일 3시"}, {"locale", "ko_KR"}}},
      {"text=a%20b+c", {{"text", "a b c"}}},
      {"a&&b=&=c&text", {{"a", ""}, {"b", ""}, {"", "c"}, {"text", ""}}},
      {"x=1=2", {{"x", "1=2"}}},
      {"%41%2b=%2B", {{"A+", "+"}}},
      {"", {}},
  };
  for (const auto& c : cases) {
    Fields got;
    std::string problem;
    EXPECT_TRUE(tools::DecodeForm(c.form, &got, &problem)) << c.form;
    EXPECT_EQ(got, c.want) << c.form;
  }
  for (const char* bad : {"text=%", "text=%4", "text=%G1", "%zz=1"}) {
    Fields got;
    std::string problem;
    EXPECT_FALSE(tools::DecodeForm(bad, &got, &problem)) << bad;
    EXPECT_NE(problem.find("percent"), std::string::npos) << bad;
  }
}

TEST(Service, RoutesStatusesAndErrors) {
  const std::string ok = tools::FormEncode({{"text", "내일"}});
  const struct {
    const char* method;
    const char* path;
    std::string body;
    const char* contentType;
    int status;
    const char* contains;
  } cases[] = {
      {"GET", "/", "", "", 200, "quack!"},
      {"POST", "/", "text=x", "", 200, "quack!"},
      {"DELETE", "/", "", "", 200, "quack!"},
      {"GET", "/targets", "", "", 200, "{\"ko_KR\":[\"time\"]}"},
      {"HEAD", "/targets/", "", "", 200, "{\"ko_KR\":[\"time\"]}"},
      {"POST", "/targets", "", "", 404, "no such path: POST /targets"},
      {"GET", "/parse", "", "", 404, "no such path: GET /parse"},
      {"GET", "/nothing", "", "", 404, "/nothing"},
      {"POST", "/parse", ok, "application/x-www-form-urlencoded", 200, "\"body\":\"내일\""},
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
      {"POST", "/parse", "text=x&tz=Mars%2FOlympus", "", 400,
       "tz \\\"Mars/Olympus\\\": no such time zone"},
      {"POST", "/parse", "text=x&tz=..%2F..%2Fetc%2Fpasswd", "", 400, "no such time zone"},
      {"POST", "/parse", "text=x&reftime=1.5e12", "", 400,
       "reftime \\\"1.5e12\\\": not an integer count of milliseconds"},
      {"POST", "/parse", "text=x&reftime=99999999999999999999", "", 400, "reftime"},
      {"POST", "/parse", "text=x&reftime=253402300800000", "", 400, "reftime"},  // year 10000
      {"POST", "/parse", "text=x&reftime=0", "", 200, "[]"},
      {"POST", "/parse", "text=x&reftime=-1000", "", 200, "[]"},  // 08:59 in Korea
      {"POST", "/parse", "text=x&reftime=-40000000&rules=whole-call", "", 400,
       "reftime: reference 196912312153"},
      {"POST", "/parse", "text=x&reftime=2500000000000&rules=whole-call", "", 400,
       "reftime: reference 2049"},
      {"POST", "/parse", "text=x&dims=time", "", 400, "dims: not a JSON list of dimension names"},
      {"POST", "/parse", "text=x&dims=%5B1%5D", "", 400, "dims"},
      {"POST", "/parse", "text=x&rules=strict", "", 400, "rules \\\"strict\\\": not reader or whole-call"},
      {"POST", "/parse", "text=x&prefer=later", "", 400, "prefer \\\"later\\\": not future or past"},
      {"POST", "/parse", "text=x&years=1800-1900", "", 400, "years"},
      {"POST", "/parse", "text=x&periods=intervals", "", 400,
       "periods \\\"intervals\\\": not value or interval"},
      {"POST", "/parse", "text=x&periods=", "", 200, "[]"},
  };
  for (const auto& c : cases) {
    const Response r = Call(c.method, c.path, c.body, c.contentType);
    EXPECT_EQ(r.status, c.status) << c.method << " " << c.path << " " << c.body;
    EXPECT_NE(r.body.find(c.contains), std::string::npos)
        << c.method << " " << c.path << " " << c.body << " -> " << r.body;
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
  const Response q = Call("POST", "/parse", "", "", {{"text", "내일"}});
  EXPECT_NE(q.body.find("\"body\":\"내일\""), std::string::npos) << q.body;
  const Response first =
      Call("POST", "/parse", "text=%EB%AA%A8%EB%A0%88&text=x", "", {{"text", "내일"}});
  EXPECT_NE(first.body.find("\"body\":\"모레\""), std::string::npos) << first.body;
}

TEST(Service, AnErrorQuotingBytesThatAreNotUtf8IsStillJson) {
  const struct {
    std::string locale;
    std::string quoted;  // as the message quotes it
  } cases[] = {
      {"\xFF\xFE", "\xEF\xBF\xBD\xEF\xBF\xBD"},
      {"en\xC3", "en\xEF\xBF\xBD"},                      // cut short
      {"\xED\xA0\x80x", "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBDx"},  // a surrogate
      {"\xC0\xAF", "\xEF\xBF\xBD\xEF\xBF\xBD"},          // an overlong '/'
      {"일본어", "일본어"},
  };
  for (const auto& c : cases) {
    const Response r = Parse({{"text", "x"}, {"locale", c.locale}});
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
      {{}, 1},
      {{{"dims", "[]"}}, 1},
      {{{"dims", "null"}}, 1},
      {{{"dims", "[\"time\"]"}}, 1},
      {{{"dims", "[\"time\",\"number\"]"}}, 1},
      {{{"dims", "[\"number\",\"duration\"]"}}, 0},
      {{{"dims", "[\"no-such-dimension\"]"}}, 1},
      {{{"locale", "ko_KR"}}, 1},
      {{{"locale", "ko-KR"}}, 1},
      {{{"locale", "ko_KO"}}, 1},
      {{{"locale", "KO"}}, 1},
      {{{"lang", "ko"}}, 1},
      {{{"locale", "ko_KR"}, {"lang", "en"}}, 1},  // lang only counts without a locale
      {{{"latent", "true"}}, 1},
      {{{"latent", "false"}}, 1},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Answer("내일 오후 3시에 봐", c.extra).size(), c.entities) << json(c.extra).dump();
  }
}

// A whole week, month, quarter or year named without a day, under both ways
// of writing it: the whole answer as a client reads it.
TEST(Service, WholePeriodsAreOneValueUnlessIntervalsAreAskedFor) {
  const struct {
    const char* text;
    const char* byDefault;
    const char* intervals;  // periods=interval
  } cases[] = {
      {"12월",
       R"([{"body":"12월","start":0,"end":3,"dim":"time","latent":false,"value":{
            "type":"value","value":"2024-12-01T00:00:00.000+09:00","grain":"month",
            "values":[{"type":"value","value":"2024-12-01T00:00:00.000+09:00","grain":"month"}]}}])",
       R"([{"body":"12월","start":0,"end":3,"dim":"time","latent":false,"value":{
            "type":"interval",
            "from":{"value":"2024-12-01T00:00:00.000+09:00","grain":"month"},
            "to":{"value":"2025-01-01T00:00:00.000+09:00","grain":"month"},
            "values":[{"type":"interval",
                       "from":{"value":"2024-12-01T00:00:00.000+09:00","grain":"month"},
                       "to":{"value":"2025-01-01T00:00:00.000+09:00","grain":"month"}}]}}])"},
      {"다음 주에 보자",
       R"([{"body":"다음 주","start":0,"end":4,"dim":"time","latent":false,"value":{
            "type":"value","value":"2024-05-27T00:00:00.000+09:00","grain":"week",
            "values":[{"type":"value","value":"2024-05-27T00:00:00.000+09:00","grain":"week"}]}}])",
       R"([{"body":"다음 주","start":0,"end":4,"dim":"time","latent":false,"value":{
            "type":"interval",
            "from":{"value":"2024-05-27T00:00:00.000+09:00","grain":"week"},
            "to":{"value":"2024-06-03T00:00:00.000+09:00","grain":"week"},
            "values":[{"type":"interval",
                       "from":{"value":"2024-05-27T00:00:00.000+09:00","grain":"week"},
                       "to":{"value":"2024-06-03T00:00:00.000+09:00","grain":"week"}}]}}])"},
      {"3분기 실적",
       R"([{"body":"3분기","start":0,"end":3,"dim":"time","latent":false,"value":{
            "type":"value","value":"2024-07-01T00:00:00.000+09:00","grain":"quarter",
            "values":[{"type":"value","value":"2024-07-01T00:00:00.000+09:00","grain":"quarter"}]}}])",
       R"([{"body":"3분기","start":0,"end":3,"dim":"time","latent":false,"value":{
            "type":"interval",
            "from":{"value":"2024-07-01T00:00:00.000+09:00","grain":"month"},
            "to":{"value":"2024-10-01T00:00:00.000+09:00","grain":"month"},
            "values":[{"type":"interval",
                       "from":{"value":"2024-07-01T00:00:00.000+09:00","grain":"month"},
                       "to":{"value":"2024-10-01T00:00:00.000+09:00","grain":"month"}}]}}])"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Answer(c.text), json::parse(c.byDefault)) << c.text;
    EXPECT_EQ(Answer(c.text, {{"periods", "value"}}), json::parse(c.byDefault)) << c.text;
    EXPECT_EQ(Answer(c.text, {{"periods", "interval"}}), json::parse(c.intervals)) << c.text;
  }
}

TEST(Service, PeriodsAndSpansUnderBothWaysOfWritingPeriods) {
  const struct {
    const char* text;
    const char* byDefault;  // the value, without "values"
    const char* intervals;  // with periods=interval; nullptr: the same as by default
  } cases[] = {
      {"이번 주", R"({"type":"value","value":"2024-05-20T00:00:00.000+09:00","grain":"week"})",
       R"({"type":"interval","from":{"value":"2024-05-20T00:00:00.000+09:00","grain":"week"},
                             "to":{"value":"2024-05-27T00:00:00.000+09:00","grain":"week"}})"},
      {"이번 달", R"({"type":"value","value":"2024-05-01T00:00:00.000+09:00","grain":"month"})",
       R"({"type":"interval","from":{"value":"2024-05-01T00:00:00.000+09:00","grain":"month"},
                             "to":{"value":"2024-06-01T00:00:00.000+09:00","grain":"month"}})"},
      {"2025년 3월", R"({"type":"value","value":"2025-03-01T00:00:00.000+09:00","grain":"month"})",
       R"({"type":"interval","from":{"value":"2025-03-01T00:00:00.000+09:00","grain":"month"},
                             "to":{"value":"2025-04-01T00:00:00.000+09:00","grain":"month"}})"},
      {"올해", R"({"type":"value","value":"2024-01-01T00:00:00.000+09:00","grain":"year"})",
       R"({"type":"interval","from":{"value":"2024-01-01T00:00:00.000+09:00","grain":"year"},
                             "to":{"value":"2025-01-01T00:00:00.000+09:00","grain":"year"}})"},
      {"2025년", R"({"type":"value","value":"2025-01-01T00:00:00.000+09:00","grain":"year"})",
       R"({"type":"interval","from":{"value":"2025-01-01T00:00:00.000+09:00","grain":"year"},
                             "to":{"value":"2026-01-01T00:00:00.000+09:00","grain":"year"}})"},
      {"내년 1분기", R"({"type":"value","value":"2025-01-01T00:00:00.000+09:00","grain":"quarter"})",
       R"({"type":"interval","from":{"value":"2025-01-01T00:00:00.000+09:00","grain":"month"},
                             "to":{"value":"2025-04-01T00:00:00.000+09:00","grain":"month"}})"},
      {"4분기", R"({"type":"value","value":"2024-10-01T00:00:00.000+09:00","grain":"quarter"})",
       R"({"type":"interval","from":{"value":"2024-10-01T00:00:00.000+09:00","grain":"month"},
                             "to":{"value":"2025-01-01T00:00:00.000+09:00","grain":"month"}})"},
      // Several periods stay an interval in their grain.
      {"12월부터 2월까지",
       R"({"type":"interval","from":{"value":"2024-12-01T00:00:00.000+09:00","grain":"month"},
                             "to":{"value":"2025-03-01T00:00:00.000+09:00","grain":"month"}})",
       nullptr},
      {"상반기",
       R"({"type":"interval","from":{"value":"2024-01-01T00:00:00.000+09:00","grain":"month"},
                             "to":{"value":"2024-07-01T00:00:00.000+09:00","grain":"month"}})",
       nullptr},
      {"2024년부터 2025년까지",
       R"({"type":"interval","from":{"value":"2024-01-01T00:00:00.000+09:00","grain":"year"},
                             "to":{"value":"2026-01-01T00:00:00.000+09:00","grain":"year"}})",
       nullptr},
      // A day given makes it a span of days, even over a whole week or month.
      {"5월 27일부터 6월 2일까지",
       R"({"type":"interval","from":{"value":"2024-05-27T00:00:00.000+09:00","grain":"day"},
                             "to":{"value":"2024-06-03T00:00:00.000+09:00","grain":"day"}})",
       nullptr},
      {"6월 1일부터 6월 30일까지",
       R"({"type":"interval","from":{"value":"2024-06-01T00:00:00.000+09:00","grain":"day"},
                             "to":{"value":"2024-07-01T00:00:00.000+09:00","grain":"day"}})",
       nullptr},
      {"12월 초",
       R"({"type":"interval","from":{"value":"2024-12-01T00:00:00.000+09:00","grain":"day"},
                             "to":{"value":"2024-12-11T00:00:00.000+09:00","grain":"day"}})",
       nullptr},
      {"이번 주말",
       R"({"type":"interval","from":{"value":"2024-05-25T00:00:00.000+09:00","grain":"day"},
                             "to":{"value":"2024-05-27T00:00:00.000+09:00","grain":"day"}})",
       nullptr},
      {"7월 13일부터 15일까지",
       R"({"type":"interval","from":{"value":"2024-07-13T00:00:00.000+09:00","grain":"day"},
                             "to":{"value":"2024-07-16T00:00:00.000+09:00","grain":"day"}})",
       nullptr},
      {"오후 3시부터 5시까지",
       R"({"type":"interval","from":{"value":"2024-05-24T15:00:00.000+09:00","grain":"hour"},
                             "to":{"value":"2024-05-24T18:00:00.000+09:00","grain":"hour"}})",
       nullptr},
      {"3시 30분부터 4시 45분까지",
       R"({"type":"interval","from":{"value":"2024-05-24T15:30:00.000+09:00","grain":"minute"},
                             "to":{"value":"2024-05-24T16:46:00.000+09:00","grain":"minute"}})",
       nullptr},
      // Open ends are counted in days, a month's end too.
      {"금요일까지", R"({"type":"interval","to":{"value":"2024-06-01T00:00:00.000+09:00","grain":"day"}})",
       nullptr},
      {"12월까지", R"({"type":"interval","to":{"value":"2025-01-01T00:00:00.000+09:00","grain":"day"}})",
       nullptr},
      {"내일부터", R"({"type":"interval","from":{"value":"2024-05-25T00:00:00.000+09:00","grain":"day"}})",
       nullptr},
      {"다음 달부터",
       R"({"type":"interval","from":{"value":"2024-06-01T00:00:00.000+09:00","grain":"day"}})",
       nullptr},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(OnlyValue(c.text), json::parse(c.byDefault)) << c.text;
    EXPECT_EQ(OnlyValue(c.text, {{"periods", "interval"}}),
              json::parse(c.intervals != nullptr ? c.intervals : c.byDefault))
        << c.text << " (periods=interval)";
  }
}

// A moment's grain is the finest field the text gave: 00:00 from "12시" is
// an hour, and a day without a time a day.
TEST(Service, MomentsInTheGrainTheTextGave) {
  const struct {
    const char* text;
    const char* want;
  } cases[] = {
      {"내일 오후 3시", R"({"type":"value","value":"2024-05-25T15:00:00.000+09:00","grain":"hour"})"},
      {"오늘밤 12시", R"({"type":"value","value":"2024-05-25T00:00:00.000+09:00","grain":"hour"})"},
      {"내일 오후 3시 30분",
       R"({"type":"value","value":"2024-05-25T15:30:00.000+09:00","grain":"minute"})"},
      {"10분 뒤", R"({"type":"value","value":"2024-05-24T10:40:00.000+09:00","grain":"minute"})"},
      {"30초 후", R"({"type":"value","value":"2024-05-24T10:30:30.000+09:00","grain":"second"})"},
      // Below the hour the values give the grain: 10:30 and 30 minutes is 11:00.
      {"30분 뒤", R"({"type":"value","value":"2024-05-24T11:00:00.000+09:00","grain":"hour"})"},
      {"내일", R"({"type":"value","value":"2024-05-25T00:00:00.000+09:00","grain":"day"})"},
      {"3일 뒤", R"({"type":"value","value":"2024-05-27T00:00:00.000+09:00","grain":"day"})"},
      {"다음 주 화요일", R"({"type":"value","value":"2024-05-28T00:00:00.000+09:00","grain":"day"})"},
      {"연말", R"({"type":"value","value":"2024-12-31T00:00:00.000+09:00","grain":"day"})"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(OnlyValue(c.text), json::parse(c.want)) << c.text;
    // How periods are written changes no moment.
    EXPECT_EQ(OnlyValue(c.text, {{"periods", "interval"}}), json::parse(c.want)) << c.text;
  }
}

TEST(Service, CyclesAndLunarDatesAsExtras) {
  const struct {
    const char* text;
    const char* want;
  } cases[] = {
      {"매주 월요일",
       R"({"type":"value","value":"2024-05-27T00:00:00.000+09:00","grain":"day","cycle":"P7D"})"},
      {"격주 화요일",
       R"({"type":"value","value":"2024-05-28T00:00:00.000+09:00","grain":"day","cycle":"P14D"})"},
      {"매주 월요일 10시",
       R"({"type":"value","value":"2024-05-27T10:00:00.000+09:00","grain":"hour","cycle":"P7D"})"},
      {"매일 아침 9시",
       R"({"type":"value","value":"2024-05-25T09:00:00.000+09:00","grain":"hour","cycle":"P1D"})"},
      {"매월 1일",
       R"({"type":"value","value":"2024-06-01T00:00:00.000+09:00","grain":"day","cycle":"P1M"})"},
      {"매년 3월 1일",
       R"({"type":"value","value":"2025-03-01T00:00:00.000+09:00","grain":"day","cycle":"P1Y"})"},
      {"음력 8월 15일",
       R"({"type":"value","value":"2024-09-17T00:00:00.000+09:00","grain":"day","lunar":true})"},
      {"추석", R"({"type":"value","value":"2024-09-17T00:00:00.000+09:00","grain":"day","lunar":true})"},
      {"설날", R"({"type":"value","value":"2025-01-29T00:00:00.000+09:00","grain":"day","lunar":true})"},
      {"단오", R"({"type":"value","value":"2024-06-10T00:00:00.000+09:00","grain":"day","lunar":true})"},
      {"칠석", R"({"type":"value","value":"2024-08-10T00:00:00.000+09:00","grain":"day","lunar":true})"},
      {"정월 대보름",
       R"({"type":"value","value":"2025-02-12T00:00:00.000+09:00","grain":"day","lunar":true})"},
      {"설악산 가는 날은 내일",
       R"({"type":"value","value":"2024-05-25T00:00:00.000+09:00","grain":"day"})"},
  };
  for (const auto& c : cases) EXPECT_EQ(OnlyValue(c.text), json::parse(c.want)) << c.text;
}

TEST(Service, ReadingOptionsAsFields) {
  const struct {
    const char* text;
    Pairs fields;
    const char* want;
  } cases[] = {
      {"19일 개봉", {}, R"({"type":"value","value":"2024-06-19T00:00:00.000+09:00","grain":"day"})"},
      {"19일 개봉", {{"prefer", "past"}},
       R"({"type":"value","value":"2024-05-19T00:00:00.000+09:00","grain":"day"})"},
      {"1997년 10월", {{"years", "1900-2099"}},
       R"({"type":"value","value":"1997-10-01T00:00:00.000+09:00","grain":"month"})"},
      {"1997년 10월", {{"years", "1900-2099"}, {"periods", "interval"}},
       R"({"type":"interval","from":{"value":"1997-10-01T00:00:00.000+09:00","grain":"month"},
                             "to":{"value":"1997-11-01T00:00:00.000+09:00","grain":"month"}})"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(OnlyValue(c.text, c.fields), json::parse(c.want)) << c.text << json(c.fields).dump();
  }
}

json Every(const char* value, const char* period) {
  json v = json::parse(value);
  v["cycle"] = period;
  return v;
}

// Texts with several dates, under the server's default rules, against what a
// reader acts on (Wednesday 2026-11-25 15:00 in Korea).
TEST(Service, TextsWithSeveralDatesAreReadAsAReaderReadsThem) {
  constexpr int64_t kWednesday = 1795586400000;
  const auto moment = [](const char* value, const char* grain) {
    return json{{"type", "value"}, {"value", value}, {"grain", grain}};
  };
  const auto until = [](const char* to) {
    return json{{"type", "interval"}, {"to", {{"value", to}, {"grain", "day"}}}};
  };
  const struct {
    const char* text;
    std::vector<std::pair<const char*, json>> want;  // bodies and values, among the answer
  } cases[] = {
      {"2027년 봄학기 수강신청은 12월 2일부터 12월 9일까지입니다.",
       {{"12월 2일부터 12월 9일까지",
         json::parse(R"({"type":"interval",
                         "from":{"value":"2026-12-02T00:00:00.000+09:00","grain":"day"},
                         "to":{"value":"2026-12-10T00:00:00.000+09:00","grain":"day"}})")}}},
      {"방학은 1월 5일부터 2월 27일까지입니다. 신청서는 12월 11일까지 내 주세요.",
       {{"1월 5일부터 2월 27일까지",
         json::parse(R"({"type":"interval",
                         "from":{"value":"2027-01-05T00:00:00.000+09:00","grain":"day"},
                         "to":{"value":"2027-02-28T00:00:00.000+09:00","grain":"day"}})")},
        {"12월 11일까지", until("2026-12-12T00:00:00.000+09:00")}}},
      {"3분기 결산은 11월 30일 월요일 오후 5시까지 제출",
       {{"11월 30일 월요일 오후 5시까지",
         json::parse(R"({"type":"interval",
                         "to":{"value":"2026-11-30T18:00:00.000+09:00","grain":"hour"}})")}}},
      {"세미나는 다다음 주 수요일이고 자료는 금요일까지 보내 주세요",
       {{"다다음 주 수요일", moment("2026-12-09T00:00:00.000+09:00", "day")},
        {"금요일까지", until("2026-11-28T00:00:00.000+09:00")}}},
      {"다음 달부터 요금이 바뀝니다. 이번 달 말까지 납부하세요.",
       {{"다음 달부터",
         json::parse(R"({"type":"interval",
                         "from":{"value":"2026-12-01T00:00:00.000+09:00","grain":"day"}})")},
        {"이번 달 말까지", until("2026-12-01T00:00:00.000+09:00")}}},
      {"내일 오후 3시 미팅. 그리고 한 달 전에 보낸 견적서 확인 부탁",
       {{"내일 오후 3시", moment("2026-11-26T15:00:00.000+09:00", "hour")},
        {"한 달 전", moment("2026-10-25T00:00:00.000+09:00", "day")}}},
      {"오늘밤 12시 오픈이래. 알람은 11시 40분",
       {{"오늘밤 12시", moment("2026-11-26T00:00:00.000+09:00", "hour")},
        {"11시 40분", moment("2026-11-25T23:40:00.000+09:00", "minute")}}},
      {"매주 월,수,금 아침 7시 수영",
       {{"매주 월,수,금 아침 7시",
         Every(R"({"type":"value","value":"2026-11-27T07:00:00.000+09:00","grain":"hour"})", "P7D")},
        {"매주 월,수,금 아침 7시",
         Every(R"({"type":"value","value":"2026-11-30T07:00:00.000+09:00","grain":"hour"})", "P7D")},
        {"매주 월,수,금 아침 7시",
         Every(R"({"type":"value","value":"2026-12-02T07:00:00.000+09:00","grain":"hour"})", "P7D")}}},
      {"격주 화요일 스터디 / 목요일마다 독서모임",
       {{"격주 화요일",
         Every(R"({"type":"value","value":"2026-12-01T00:00:00.000+09:00","grain":"day"})", "P14D")},
        {"목요일마다",
         Every(R"({"type":"value","value":"2026-11-26T00:00:00.000+09:00","grain":"day"})", "P7D")}}},
      {"이십 일 후에 전역 / 삼십 분 후에 보자",
       {{"이십 일 후", moment("2026-12-15T00:00:00.000+09:00", "day")},
        {"삼십 분 후", moment("2026-11-25T15:30:00.000+09:00", "minute")}}},
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
    const char* reader;
  } cases[] = {
      {"5103032시간 전에 끝났어",
       R"({"type":"value","value":"1432-03-21T02:30:00.000+08:27","grain":"minute"})"},
      {"100000일 전", R"({"type":"value","value":"1740-07-30T00:00:00.000+08:27","grain":"day"})"},
      {"3000개월 전", R"({"type":"value","value":"1764-05-15T00:00:00.000+08:27","grain":"day"})"},
      {"2000000시간 전",
       R"({"type":"value","value":"1786-03-18T02:30:00.000+08:27","grain":"minute"})"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(OnlyValue(c.text, {}, k2014), json::parse(c.reader)) << c.text;
    EXPECT_EQ(OnlyValue(c.text, {{"prefer", "past"}}, k2014), json::parse(c.reader)) << c.text;
    EXPECT_EQ(Answer(c.text, {{"rules", "whole-call"}}, k2014), json::array()) << c.text;
  }
}

TEST(Service, ZonesWithAndWithoutDaylightSaving) {
  // Saturday 2024-03-09 12:00 in New York (EST, -05:00); clocks go from
  // 02:00 to 03:00 on Sunday the 10th, and back on 3 November.
  constexpr int64_t kBeforeSpring = 1710003600000;
  constexpr int64_t kBeforeAutumn = 1730563200000;  // Saturday 2024-11-02 12:00 EDT
  const struct {
    const char* text;
    const char* tz;
    int64_t reftime;
    const char* want;
  } cases[] = {
      {"오늘 오후 3시", "America/New_York", kBeforeSpring,
       R"({"type":"value","value":"2024-03-09T15:00:00.000-05:00","grain":"hour"})"},
      {"내일 오후 3시", "America/New_York", kBeforeSpring,
       R"({"type":"value","value":"2024-03-10T15:00:00.000-04:00","grain":"hour"})"},
      // Skipped by the clocks: as far after the skip as it was after 02:00.
      {"내일 새벽 2시 30분", "America/New_York", kBeforeSpring,
       R"({"type":"value","value":"2024-03-10T03:30:00.000-04:00","grain":"minute"})"},
      {"오늘부터 내일까지", "America/New_York", kBeforeSpring,
       R"({"type":"interval","from":{"value":"2024-03-09T00:00:00.000-05:00","grain":"day"},
                             "to":{"value":"2024-03-11T00:00:00.000-04:00","grain":"day"}})"},
      // A week that the change falls in starts and ends on different offsets.
      {"이번 주", "America/New_York", kBeforeAutumn,
       R"({"type":"value","value":"2024-10-28T00:00:00.000-04:00","grain":"week"})"},
      // 01:30 on the 3rd comes twice: the earlier.
      {"내일 새벽 1시 30분", "America/New_York", kBeforeAutumn,
       R"({"type":"value","value":"2024-11-03T01:30:00.000-04:00","grain":"minute"})"},
      {"모레 오후 3시", "America/New_York", kBeforeAutumn,
       R"({"type":"value","value":"2024-11-04T15:00:00.000-05:00","grain":"hour"})"},
      // The reference is read on the zone's clock: 23:30 UTC is already
      // the next morning in Seoul.
      {"내일", "UTC", 1716593400000,
       R"({"type":"value","value":"2024-05-25T00:00:00.000+00:00","grain":"day"})"},
      {"내일", "Asia/Seoul", 1716593400000,
       R"({"type":"value","value":"2024-05-26T00:00:00.000+09:00","grain":"day"})"},
      {"내일 오후 3시", "Asia/Kolkata", kFriday,
       R"({"type":"value","value":"2024-05-25T15:00:00.000+05:30","grain":"hour"})"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(OnlyValue(c.text, {{"tz", c.tz}}, c.reftime), json::parse(c.want))
        << c.text << " in " << c.tz;
  }
  EXPECT_EQ(OnlyValue("이번 주", {{"tz", "America/New_York"}, {"periods", "interval"}},
                      kBeforeAutumn),
            json::parse(R"({"type":"interval",
                            "from":{"value":"2024-10-28T00:00:00.000-04:00","grain":"week"},
                            "to":{"value":"2024-11-04T00:00:00.000-05:00","grain":"week"}})"));
}

TEST(Service, EntitiesSliceTheTextInCodePoints) {
  const std::string text = "🎉 내일 오후 3시에 봐 👍🏽 다음 주 화요일 10시";
  const json answer = Answer(text);
  ASSERT_EQ(answer.size(), 2u) << answer.dump();
  const struct {
    const char* body;
    int start, end;
  } want[] = {
      {"내일 오후 3시", 2, 10},
      {"다음 주 화요일 10시", 17, 29},  // the thumb and its skin tone are two
  };
  for (size_t k = 0; k < 2; ++k) {
    const json& e = answer[k];
    EXPECT_EQ(e["body"], want[k].body);
    EXPECT_EQ(e["start"], want[k].start);
    EXPECT_EQ(e["end"], want[k].end);
    EXPECT_EQ(e["dim"], "time");
    EXPECT_EQ(e["latent"], false);
    EXPECT_EQ(e.size(), 6u);
  }
}

}  // namespace
}  // namespace eti::server
