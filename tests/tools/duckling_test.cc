// The time service's requests and answers, in process: routes, form
// decoding, every field and its errors, and the entities of typical texts
// in zones with and without daylight saving.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "common/form.h"
#include "server/duckling.h"
#include "extractor_kr.hpp"

namespace eti::server {
namespace {

using nlohmann::json;

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
  return TheService().Handle(r, std::chrono::system_clock::time_point(std::chrono::milliseconds(kFriday)));
}

Response Parse(const std::vector<std::pair<std::string, std::string>>& fields) {
  return Call("POST", "/parse", tools::FormEncode(fields));
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
      {"POST", "/targets", "", "", 404, "no such path"},
      {"GET", "/parse", "", "", 404, "no such path: GET /parse"},
      {"GET", "/nothing", "", "", 404, "/nothing"},
      {"POST", "/parse", ok, "application/x-www-form-urlencoded", 200, "\"body\":\"내일\""},
      {"POST", "/parse/", ok, "application/x-www-form-urlencoded; charset=UTF-8", 200, "내일"},
      {"POST", "/parse", ok, "", 200, "내일"},
      {"POST", "/parse", ok, "Application/X-WWW-Form-Urlencoded ; charset=utf-8", 200, "내일"},
      {"POST", "/parse", "{\"text\":\"내일\"}", "application/json", 400, "Content-Type"},
      {"POST", "/parse", "locale=ko_KR", "", 422, "Need a 'text' parameter to parse"},
      {"POST", "/parse", "text=%E3%80", "", 400, "text: malformed UTF-8"},
      {"POST", "/parse", "text=a%00b", "", 400, "text: NUL"},
      {"POST", "/parse", "text=%2", "", 400, "body: malformed percent-encoding"},
      {"POST", "/parse", "text=x&locale=en_US", "", 400, "locale \\\"en_US\\\""},
      {"POST", "/parse", "text=x&lang=EN", "", 400, "lang \\\"EN\\\""},
      {"POST", "/parse", "text=x&tz=Mars%2FOlympus", "", 400, "tz \\\"Mars/Olympus\\\""},
      {"POST", "/parse", "text=x&tz=..%2F..%2Fetc%2Fpasswd", "", 400, "no such time zone"},
      {"POST", "/parse", "text=x&reftime=1.5e12", "", 400, "reftime"},
      {"POST", "/parse", "text=x&reftime=99999999999999999999", "", 400, "reftime"},
      {"POST", "/parse", "text=x&reftime=0", "", 200, "[]"},
      {"POST", "/parse", "text=x&reftime=-1000", "", 200, "[]"},  // 08:59 in Korea
      {"POST", "/parse", "text=x&reftime=-40000000&rules=whole-call", "", 400, "reftime: reference 196912312153"},
      {"POST", "/parse", "text=x&reftime=2500000000000&rules=whole-call", "", 400, "reftime: reference 2049"},
      {"POST", "/parse", "text=x&dims=time", "", 400, "dims"},
      {"POST", "/parse", "text=x&dims=%5B1%5D", "", 400, "dims"},
      {"POST", "/parse", "text=x&prefer=later", "", 400, "prefer"},
      {"POST", "/parse", "text=x&years=1800-1900", "", 400, "years"},
      {"POST", "/parse", std::string(kMaxBody + 1, 'a'), "", 413, "more than"},
  };
  for (const auto& c : cases) {
    const Response r = Call(c.method, c.path, c.body, c.contentType);
    EXPECT_EQ(r.status, c.status) << c.method << " " << c.path << " " << c.body.substr(0, 60);
    EXPECT_NE(r.body.find(c.contains), std::string::npos)
        << c.method << " " << c.path << " " << c.body.substr(0, 60) << " -> " << r.body;
    if (r.status == 400 || r.status == 404 || r.status == 413) {
      EXPECT_EQ(r.contentType, "application/json");
      EXPECT_EQ(r.body.find('\n'), r.body.size() - 1) << "one line: " << r.body;
      EXPECT_TRUE(json::parse(r.body)["error"].is_string()) << r.body;
    }
  }
  // Query fields count as form fields; the first of a name counts, the
  // body's before the query's.
  const Response q = Call("POST", "/parse", "", "", {{"text", "%EB%82%B4%EC%9D%BC"}});
  EXPECT_NE(q.body.find("\"body\":\"내일\""), std::string::npos) << q.body;
  const Response first = Call("POST", "/parse", "text=%EB%AA%A8%EB%A0%88&text=x", "",
                              {{"text", "%EB%82%B4%EC%9D%BC"}});
  EXPECT_NE(first.body.find("\"body\":\"모레\""), std::string::npos) << first.body;
}

TEST(Service, DimensionsAndLocales) {
  const struct {
    std::vector<std::pair<std::string, std::string>> extra;
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
  };
  for (const auto& c : cases) {
    auto fields = c.extra;
    fields.insert(fields.begin(), {"text", "내일 오후 3시에 봐"});
    const Response r = Parse(fields);
    ASSERT_EQ(r.status, 200) << r.body;
    EXPECT_EQ(json::parse(r.body).size(), c.entities) << fields.back().second;
  }
}

// The value of the only entity of a text, at Friday 2024-05-24 10:30 in
// Korea (or `reftime` in `tz`).
json OnlyValue(const std::string& text, const std::string& tz = "Asia/Seoul",
               int64_t reftime = kFriday, const std::vector<std::pair<std::string, std::string>>& more = {}) {
  auto fields = more;
  fields.insert(fields.end(), {{"text", text}, {"tz", tz}, {"reftime", std::to_string(reftime)}});
  const Response r = Parse(fields);
  const json answer = json::parse(r.body);
  EXPECT_EQ(answer.size(), 1u) << text << " -> " << r.body;
  if (answer.size() != 1) return json();
  json value = answer[0]["value"];
  EXPECT_EQ(value["values"], json::array({[&] {
              json v = value;
              v.erase("values");
              v.erase("cycle");
              v.erase("lunar");
              return v;
            }()}))
      << text;
  value.erase("values");
  return value;
}

json Moment(const char* value, const char* grain) {
  return {{"type", "value"}, {"value", value}, {"grain", grain}};
}

json Interval(const char* from, const char* fromGrain, const char* to, const char* toGrain) {
  json v = {{"type", "interval"}};
  if (from != nullptr) v["from"] = {{"value", from}, {"grain", fromGrain}};
  if (to != nullptr) v["to"] = {{"value", to}, {"grain", toGrain}};
  return v;
}

TEST(Service, MomentsSpansAndTheirGrains) {
  const struct {
    const char* text;
    json want;
  } cases[] = {
      {"내일 오후 3시", Moment("2024-05-25T15:00:00.000+09:00", "hour")},
      {"내일 오후 3시 30분", Moment("2024-05-25T15:30:00.000+09:00", "minute")},
      {"내일", Moment("2024-05-25T00:00:00.000+09:00", "day")},
      {"7월 13일부터 15일까지",
       Interval("2024-07-13T00:00:00.000+09:00", "day", "2024-07-16T00:00:00.000+09:00", "day")},
      {"오후 3시부터 5시까지",
       Interval("2024-05-24T15:00:00.000+09:00", "hour", "2024-05-24T18:00:00.000+09:00", "hour")},
      {"3시 30분부터 4시 45분까지",
       Interval("2024-05-24T15:30:00.000+09:00", "minute", "2024-05-24T16:46:00.000+09:00",
                "minute")},
      {"금요일까지", Interval(nullptr, nullptr, "2024-06-01T00:00:00.000+09:00", "day")},
      {"내일부터", Interval("2024-05-25T00:00:00.000+09:00", "day", nullptr, nullptr)},
      {"12월", Interval("2024-12-01T00:00:00.000+09:00", "month", "2025-01-01T00:00:00.000+09:00",
                       "month")},
      {"2025년", Interval("2025-01-01T00:00:00.000+09:00", "year", "2026-01-01T00:00:00.000+09:00",
                         "year")},
      {"다음 주", Interval("2024-05-27T00:00:00.000+09:00", "week", "2024-06-03T00:00:00.000+09:00",
                         "week")},
      {"12월부터 2월까지",
       Interval("2024-12-01T00:00:00.000+09:00", "month", "2025-03-01T00:00:00.000+09:00",
                "month")},
      {"이번 주말", Interval("2024-05-25T00:00:00.000+09:00", "day", "2024-05-27T00:00:00.000+09:00",
                           "day")},
  };
  for (const auto& c : cases) EXPECT_EQ(OnlyValue(c.text), c.want) << c.text;

  json weekly = Moment("2024-05-27T10:00:00.000+09:00", "hour");
  weekly["cycle"] = "P7D";
  EXPECT_EQ(OnlyValue("매주 월요일 10시"), weekly);
  json chuseok = Moment("2024-09-17T00:00:00.000+09:00", "day");
  chuseok["lunar"] = true;
  EXPECT_EQ(OnlyValue("추석"), chuseok);
  EXPECT_EQ(OnlyValue("음력 8월 15일"), chuseok);
  for (const char* lunarDay : {"단오", "칠석", "정월 대보름", "설날"}) {
    EXPECT_EQ(OnlyValue(lunarDay).value("lunar", false), true) << lunarDay;
  }
  EXPECT_FALSE(OnlyValue("설악산 가는 날은 내일").contains("lunar"));
  EXPECT_EQ(OnlyValue("2024년부터 2025년까지"),
            Interval("2024-01-01T00:00:00.000+09:00", "year", "2026-01-01T00:00:00.000+09:00",
                     "year"));
  // Reading options as fields.
  EXPECT_EQ(OnlyValue("19일 개봉", "Asia/Seoul", kFriday, {{"prefer", "past"}}),
            Moment("2024-05-19T00:00:00.000+09:00", "day"));
  EXPECT_EQ(OnlyValue("1997년 10월", "Asia/Seoul", kFriday, {{"years", "1900-2099"}}),
            Interval("1997-10-01T00:00:00.000+09:00", "month", "1997-11-01T00:00:00.000+09:00",
                     "month"));
}

json Every(json value, const char* period) {
  value["cycle"] = period;
  return value;
}

// Texts with several dates, under the server's default rules, against what a
// reader acts on (Wednesday 2026-11-25 15:00 in Korea).
TEST(Service, TextsWithSeveralDatesAreReadAsAReaderReadsThem) {
  constexpr int64_t kWednesday = 1795586400000;
  const struct {
    const char* text;
    std::vector<std::pair<const char*, json>> want;  // bodies and values, among the answer
  } cases[] = {
      {"2027년 봄학기 수강신청은 12월 2일부터 12월 9일까지입니다.",
       {{"12월 2일부터 12월 9일까지",
         Interval("2026-12-02T00:00:00.000+09:00", "day", "2026-12-10T00:00:00.000+09:00", "day")}}},
      {"방학은 1월 5일부터 2월 27일까지입니다. 신청서는 12월 11일까지 내 주세요.",
       {{"1월 5일부터 2월 27일까지",
         Interval("2027-01-05T00:00:00.000+09:00", "day", "2027-02-28T00:00:00.000+09:00", "day")},
        {"12월 11일까지", Interval(nullptr, nullptr, "2026-12-12T00:00:00.000+09:00", "day")}}},
      {"3분기 결산은 11월 30일 월요일 오후 5시까지 제출",
       {{"11월 30일 월요일 오후 5시까지",
         Interval(nullptr, nullptr, "2026-11-30T18:00:00.000+09:00", "hour")}}},
      {"세미나는 다다음 주 수요일이고 자료는 금요일까지 보내 주세요",
       {{"다다음 주 수요일", Moment("2026-12-09T00:00:00.000+09:00", "day")},
        {"금요일까지", Interval(nullptr, nullptr, "2026-11-28T00:00:00.000+09:00", "day")}}},
      {"다음 달부터 요금이 바뀝니다. 이번 달 말까지 납부하세요.",
       {{"다음 달부터", Interval("2026-12-01T00:00:00.000+09:00", "day", nullptr, nullptr)},
        {"이번 달 말까지", Interval(nullptr, nullptr, "2026-12-01T00:00:00.000+09:00", "day")}}},
      {"내일 오후 3시 미팅. 그리고 한 달 전에 보낸 견적서 확인 부탁",
       {{"내일 오후 3시", Moment("2026-11-26T15:00:00.000+09:00", "hour")},
        {"한 달 전", Moment("2026-10-25T00:00:00.000+09:00", "day")}}},
      {"오늘밤 12시 오픈이래. 알람은 11시 40분",
       {{"오늘밤 12시", Moment("2026-11-26T00:00:00.000+09:00", "hour")},
        {"11시 40분", Moment("2026-11-25T23:40:00.000+09:00", "minute")}}},
      {"매주 월,수,금 아침 7시 수영",
       {{"매주 월,수,금 아침 7시", Every(Moment("2026-11-27T07:00:00.000+09:00", "hour"), "P7D")},
        {"매주 월,수,금 아침 7시", Every(Moment("2026-11-30T07:00:00.000+09:00", "hour"), "P7D")},
        {"매주 월,수,금 아침 7시", Every(Moment("2026-12-02T07:00:00.000+09:00", "hour"), "P7D")}}},
      {"격주 화요일 스터디 / 목요일마다 독서모임",
       {{"격주 화요일", Every(Moment("2026-12-01T00:00:00.000+09:00", "day"), "P14D")},
        {"목요일마다", Every(Moment("2026-11-26T00:00:00.000+09:00", "day"), "P7D")}}},
      {"이십 일 후에 전역 / 삼십 분 후에 보자",
       {{"이십 일 후", Moment("2026-12-15T00:00:00.000+09:00", "day")},
        {"삼십 분 후", Moment("2026-11-25T15:30:00.000+09:00", "minute")}}},
  };
  for (const auto& c : cases) {
    const Response r = Parse({{"text", c.text}, {"reftime", std::to_string(kWednesday)}});
    ASSERT_EQ(r.status, 200) << r.body;
    std::vector<json> got;
    for (const json& e : json::parse(r.body)) {
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
      {"5103032시간 전에 끝났어", Moment("1432-03-21T02:30:00.000+08:27", "minute")},
      {"100000일 전", Moment("1740-07-30T00:00:00.000+08:27", "day")},
      {"3000개월 전", Moment("1764-05-15T00:00:00.000+08:27", "day")},
      {"2000000시간 전", Moment("1786-03-18T02:30:00.000+08:27", "minute")},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(OnlyValue(c.text, "Asia/Seoul", k2014), c.reader) << c.text;
    EXPECT_EQ(OnlyValue(c.text, "Asia/Seoul", k2014, {{"prefer", "past"}}), c.reader) << c.text;
    const Response whole = Parse({{"text", c.text},
                                  {"reftime", std::to_string(k2014)},
                                  {"rules", "whole-call"}});
    EXPECT_EQ(whole.body, "[]") << c.text;
  }
}

TEST(Service, ZonesWithAndWithoutDaylightSaving) {
  // Saturday 2024-03-09 12:00 in New York (EST, -05:00); clocks go from
  // 02:00 to 03:00 on Sunday the 10th, and back on 3 November.
  const int64_t beforeSpring = 1710003600000;
  const struct {
    const char* text;
    const char* tz;
    int64_t reftime;
    json want;
  } cases[] = {
      {"오늘 오후 3시", "America/New_York", beforeSpring,
       Moment("2024-03-09T15:00:00.000-05:00", "hour")},
      {"내일 오후 3시", "America/New_York", beforeSpring,
       Moment("2024-03-10T15:00:00.000-04:00", "hour")},
      {"내일 새벽 2시 30분", "America/New_York", beforeSpring,  // skipped by the clocks
       Moment("2024-03-10T03:30:00.000-04:00", "minute")},
      {"오늘부터 내일까지", "America/New_York", beforeSpring,
       Interval("2024-03-09T00:00:00.000-05:00", "day", "2024-03-11T00:00:00.000-04:00", "day")},
      // Saturday 2024-11-02 12:00 EDT; 01:30 on the 3rd comes twice.
      {"내일 새벽 1시 30분", "America/New_York", 1730563200000,
       Moment("2024-11-03T01:30:00.000-04:00", "minute")},
      {"모레 오후 3시", "America/New_York", 1730563200000,
       Moment("2024-11-04T15:00:00.000-05:00", "hour")},
      // The reference is read on the zone's clock: 23:30 UTC is already
      // the next morning in Seoul.
      {"내일", "UTC", 1716593400000, Moment("2024-05-25T00:00:00.000+00:00", "day")},
      {"내일", "Asia/Seoul", 1716593400000, Moment("2024-05-26T00:00:00.000+09:00", "day")},
      {"내일 오후 3시", "Asia/Kolkata", kFriday, Moment("2024-05-25T15:00:00.000+05:30", "hour")},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(OnlyValue(c.text, c.tz, c.reftime), c.want) << c.text << " in " << c.tz;
  }
}

TEST(Service, EntitiesSliceTheTextInCodePoints) {
  const std::string text = "🎉 내일 오후 3시에 봐 👍🏽 다음 주 화요일 10시";
  const Response r = Parse({{"text", text}, {"reftime", std::to_string(kFriday)}});
  const json answer = json::parse(r.body);
  ASSERT_EQ(answer.size(), 2u) << r.body;
  const std::u32string points = [&] {
    std::u32string out;
    for (size_t i = 0; i < text.size();) {
      const unsigned char b = static_cast<unsigned char>(text[i]);
      const int n = b < 0x80 ? 1 : b < 0xE0 ? 2 : b < 0xF0 ? 3 : 4;
      char32_t cp = n == 1 ? b : b & (0xFF >> (n + 1));
      for (int k = 1; k < n; ++k) cp = cp << 6 | (static_cast<unsigned char>(text[i + k]) & 0x3F);
      out.push_back(cp);
      i += static_cast<size_t>(n);
    }
    return out;
  }();
  const char* bodies[] = {"내일 오후 3시", "다음 주 화요일 10시"};
  for (size_t k = 0; k < 2; ++k) {
    const json& e = answer[k];
    EXPECT_EQ(e["body"], bodies[k]);
    EXPECT_EQ(e["dim"], "time");
    EXPECT_EQ(e["latent"], false);
    EXPECT_EQ(e.size(), 6u);
    const size_t start = e["start"], end = e["end"];
    std::string sliced;
    for (size_t i = start; i < end; ++i) {
      const char32_t cp = points[i];
      if (cp < 0x80) {
        sliced.push_back(static_cast<char>(cp));
      } else {  // Hangul: three bytes
        sliced.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        sliced.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        sliced.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
      }
    }
    EXPECT_EQ(sliced, bodies[k]);
  }
  EXPECT_EQ(answer[0]["start"], 2);
  EXPECT_EQ(answer[1]["start"], 17);  // the thumb and its skin tone are two
}

}  // namespace
}  // namespace eti::server
