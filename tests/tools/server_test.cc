// The time service as its clients meet it: the server binary started on a
// free port of 127.0.0.1, spoken to over HTTP, stopped with SIGTERM.  The
// corpus answers are checked against the library's own results turned into
// entities here, by the C library's calendar rather than the server's.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <ctime>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "common/case_file.h"
#include "dict/file_util.h"
#include "common/form.h"
#include "extractor_kr.hpp"
#include "support/http_client.h"
#include "support/session.h"

namespace eti::testing {
namespace {

using nlohmann::json;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr size_t kStride = 4;  // every fourth sentence for the threads under the sanitizers
#else
constexpr size_t kStride = 1;
#endif

struct Sentence {
  std::string text, ref;
};

const std::vector<Sentence>& Corpus() {
  static const std::vector<Sentence> all = [] {
    std::vector<Sentence> out;
    for (const std::string& f :
         eti::ListFiles(std::string(ETI_SOURCE_DIR) + "/corpus/ko", ".tsv")) {
      for (const Case& c : ReadCases("corpus/ko/" + f)) out.push_back({c.text, c.ref});
    }
    return out;
  }();
  return all;
}

// Milliseconds since the epoch of a reference YYYYMMDDhhmm in Korea.
int64_t KoreanMillis(const std::string& ref) {
  std::tm t{};
  t.tm_year = std::stoi(ref.substr(0, 4)) - 1900;
  t.tm_mon = std::stoi(ref.substr(4, 2)) - 1;
  t.tm_mday = std::stoi(ref.substr(6, 2));
  t.tm_hour = std::stoi(ref.substr(8, 2));
  t.tm_min = std::stoi(ref.substr(10, 2));
  return (static_cast<int64_t>(timegm(&t)) - 9 * 3600) * 1000;
}

// --- The entities of a result in Korea, by the C library's calendar. ---

// Korean wall clock held as a UTC count, fields carried by timegm.
std::time_t WallClock(const ekr_moment& m) {
  std::tm t{};
  t.tm_year = m.year - 1900;
  t.tm_mon = (m.month < 0 ? 1 : m.month) - 1;
  t.tm_mday = m.day < 0 ? 1 : m.day;
  t.tm_hour = m.hour < 0 ? 0 : m.hour;
  t.tm_min = m.minute < 0 ? 0 : m.minute;
  t.tm_sec = m.second < 0 ? 0 : m.second;
  return timegm(&t);
}

std::tm Fields(std::time_t t) {
  std::tm f{};
  gmtime_r(&t, &f);
  return f;
}

std::string GrainOf(const ekr_moment& m) {
  if (m.hour >= 0) return m.second > 0 ? "second" : m.minute > 0 ? "minute" : "hour";
  return m.day >= 0 ? "day" : m.month >= 0 ? "month" : "year";
}

// The start of the grain's unit holding t, or of the unit after it.
std::time_t UnitStart(std::time_t t, const std::string& grain, bool next) {
  std::tm f = Fields(t);
  const int step = next ? 1 : 0;
  if (grain == "second") {
    f.tm_sec += step;
  } else if (grain == "minute") {
    f.tm_sec = 0, f.tm_min += step;
  } else if (grain == "hour") {
    f.tm_sec = f.tm_min = 0, f.tm_hour += step;
  } else {
    f.tm_sec = f.tm_min = f.tm_hour = 0;
    if (grain == "day") f.tm_mday += step;
    if (grain == "week") f.tm_mday += -((f.tm_wday + 6) % 7) + 7 * step;
    if (grain == "month") f.tm_mday = 1, f.tm_mon += step;
    if (grain == "year") f.tm_mday = 1, f.tm_mon = 0, f.tm_year += step;
  }
  return timegm(&f);
}

std::string Korean(std::time_t t) {
  const std::tm f = Fields(t);
  char buf[40];
  std::strftime(buf, sizeof buf, "%Y-%m-%dT%H:%M:%S.000+09:00", &f);
  return buf;
}

json Expected(const std::string& text, const ekr_result& e, bool lunar) {
  json value;
  if (!e.is_span) {
    const std::string g = GrainOf(e.start);
    value = {{"type", "value"}, {"value", Korean(UnitStart(WallClock(e.start), g, false))},
             {"grain", g}};
  } else {
    const bool from = e.start.year >= 0, to = e.end.year >= 0;
    std::string gf = from ? GrainOf(e.start) : "", gt = to ? GrainOf(e.end) : "";
    if (from && to && !e.start.has_date && !e.end.has_date && e.start.hour < 0 && e.end.hour < 0) {
      const std::time_t a = WallClock(e.start), b = WallClock(e.end);
      const std::tm s = Fields(a), t = Fields(b), after = Fields(b + 86400);
      if (s.tm_yday == 0 && t.tm_mon == 11 && t.tm_mday == 31 && s.tm_year <= t.tm_year) {
        gf = gt = "year";
      } else if (s.tm_mday == 1 && after.tm_mday == 1 && b >= a) {
        gf = gt = "month";
      } else if (s.tm_wday == 1 && b - a == 6 * 86400) {
        gf = gt = "week";
      }
    }
    value = {{"type", "interval"}};
    if (from) {
      value["from"] = {{"value", Korean(UnitStart(WallClock(e.start), gf, false))}, {"grain", gf}};
    }
    if (to) value["to"] = {{"value", Korean(UnitStart(WallClock(e.end), gt, true))}, {"grain", gt}};
  }
  value["values"] = json::array({value});
  const char* cycles[] = {nullptr, "P1D", "P7D", "P1M", "P1Y"};
  if (e.cycle != EKR_CYCLE_NONE) value["cycle"] = cycles[e.cycle];
  const std::string body = text.substr(static_cast<size_t>(e.begin_byte),
                                       static_cast<size_t>(e.end_byte - e.begin_byte));
  if (lunar) value["lunar"] = true;
  return {{"body", body}, {"start", e.begin_char}, {"end", e.end_char},
          {"dim", "time"}, {"latent", false},      {"value", value}};
}

json LibraryAnswer(const Sentence& s) {
  static const ekr::Extractor ex = [] {
    ekr::Extractor e = ekr::OpenDefault();
    if (e == nullptr) std::abort();
    return e;
  }();
  ekr_options o;
  ekr_options_init(&o);
  ekr::Results r;
  EXPECT_EQ(ekr::Extract(ex.get(), s.text, s.ref.c_str(), o, &r), EKR_OK) << s.text;
  json answer = json::array();
  for (const ekr_result& e : ekr::Items(r.get())) answer.push_back(Expected(s.text, e, e.lunar != 0));
  return answer;
}

std::string ParseBody(const Sentence& s) {
  return tools::FormEncode({{"text", s.text},
                     {"locale", "ko_KR"},
                     {"tz", "Asia/Seoul"},
                     {"reftime", std::to_string(KoreanMillis(s.ref))}});
}

ServerProcess& SharedServer() {
  static ServerProcess server(ETI_SERVER_PATH, {"--threads", "2"});
  return server;
}

TEST(Server, EveryCorpusSentenceGivesTheLibrarysAnswer) {
  ASSERT_NE(SharedServer().port(), 0);
  HttpConnection c(SharedServer().port());
  ASSERT_TRUE(c.connected());
  ASSERT_GT(Corpus().size(), 800u);
  size_t withEntities = 0;
  for (const Sentence& s : Corpus()) {
    const HttpReply reply = c.Post("/parse", ParseBody(s));
    ASSERT_EQ(reply.status, 200) << s.text << " -> " << reply.body;
    EXPECT_EQ(reply.headers.at("content-type"), "application/json");
    const json got = json::parse(reply.body);
    EXPECT_EQ(got, LibraryAnswer(s)) << s.text;
    withEntities += !got.empty();
  }
  EXPECT_GT(withEntities, 400u);
}

TEST(Server, EightClientsAgreeWithOne) {
  std::vector<std::string> alone;
  {
    HttpConnection c(SharedServer().port());
    for (size_t k = 0; k < Corpus().size(); k += kStride) {
      alone.push_back(c.Post("/parse", ParseBody(Corpus()[k])).body);
    }
  }
  std::vector<int> wrong(8, 0);
  std::vector<std::thread> clients;
  for (int t = 0; t < 8; ++t) {
    clients.emplace_back([t, &alone, &wrong] {
      HttpConnection c(SharedServer().port());
      // Each client starts at a different sentence and goes round.
      for (size_t i = 0; i < alone.size(); ++i) {
        const size_t j = (i + static_cast<size_t>(t) * alone.size() / 8) % alone.size();
        const HttpReply r = c.Post("/parse", ParseBody(Corpus()[j * kStride]));
        wrong[t] += r.status != 200 || r.body != alone[j];
      }
    });
  }
  for (std::thread& t : clients) t.join();
  for (int t = 0; t < 8; ++t) EXPECT_EQ(wrong[t], 0) << "client " << t;
}

TEST(Server, HealthTargetsAndErrorsOverHttp) {
  HttpConnection c(SharedServer().port());
  const HttpReply quack = c.Get("/");
  EXPECT_EQ(quack.status, 200);
  EXPECT_EQ(quack.body, "quack!");
  EXPECT_EQ(c.Post("/", "").body, "quack!");
  const HttpReply targets = c.Get("/targets");
  EXPECT_EQ(targets.status, 200);
  EXPECT_EQ(json::parse(targets.body), json::parse(R"({"ko_KR":["time"]})"));
  EXPECT_EQ(c.Get("/nothing").status, 404);
  EXPECT_EQ(c.Get("/parse").status, 404);
  const HttpReply missing = c.Post("/parse", "locale=ko_KR");
  EXPECT_EQ(missing.status, 422);
  EXPECT_EQ(missing.body, "Need a 'text' parameter to parse");
  EXPECT_EQ(c.Post("/parse", "text=%ED%95").status, 400);
  EXPECT_EQ(c.Post("/parse", "text=x&tz=Nowhere").status, 400);
  // The connection is still good after the errors.
  EXPECT_EQ(c.Post("/parse/", "text=%EB%82%B4%EC%9D%BC").status, 200);
  // The query string counts as form fields; '+' is a space there too.
  const HttpReply query = c.Post("/parse?text=%EB%82%B4%EC%9D%BC+3%EC%8B%9C", "", "");
  EXPECT_EQ(json::parse(query.body)[0]["body"], "내일 3시");

  // A body announced too long is refused unread; one sent in chunks once
  // it ends.
  HttpConnection big(SharedServer().port());
  ASSERT_TRUE(big.Send("POST /parse HTTP/1.1\r\nHost: x\r\nContent-Length: 2000000\r\n\r\n"));
  HttpReply tooLong;
  ASSERT_TRUE(big.Read(&tooLong));
  EXPECT_EQ(tooLong.status, 413);
  HttpConnection chunked(SharedServer().port());
  std::string request = "POST /parse HTTP/1.1\r\nHost: x\r\nTransfer-Encoding: chunked\r\n\r\n";
  const std::string chunk(64 * 1024, 'a');
  for (int k = 0; k < 17; ++k) request += "10000\r\n" + chunk + "\r\n";
  ASSERT_TRUE(chunked.Send(request + "0\r\n\r\n"));
  HttpReply chunkedReply;
  ASSERT_TRUE(chunked.Read(&chunkedReply));
  EXPECT_EQ(chunkedReply.status, 413);
  // Chunks that go on and on are not read forever.
  HttpConnection endless(SharedServer().port());
  bool sent = endless.Send(request);
  for (int k = 0; sent && k < 100; ++k) sent = endless.Send("10000\r\n" + chunk + "\r\n");
  EXPECT_TRUE(!sent || endless.ClosedWithin(5000));
}

TEST(Server, IdleAndSlowClientsHoldNoWorker) {
  // One worker thread, connections closed after a second without traffic.
  ServerProcess server(ETI_SERVER_PATH, {"--threads", "1", "--timeout", "1"});
  ASSERT_NE(server.port(), 0);
  rlimit files{};
  getrlimit(RLIMIT_NOFILE, &files);
  files.rlim_cur = files.rlim_max;
  setrlimit(RLIMIT_NOFILE, &files);
  const size_t idle = std::min<size_t>(3000, files.rlim_cur > 200 ? files.rlim_cur - 200 : 0);
  std::vector<std::unique_ptr<HttpConnection>> open;
  for (size_t k = 0; k < idle; ++k) {
    open.push_back(std::make_unique<HttpConnection>(server.port()));
    ASSERT_TRUE(open.back()->connected()) << k;
  }
  HttpConnection slow(server.port());
  ASSERT_TRUE(slow.Send("POST /parse HTTP/1.1\r\nHost: x\r\nContent-Length: 100\r\n\r\ntext="));
  // A new client is served while all of them wait.
  HttpConnection fresh(server.port());
  const HttpReply reply = fresh.Post("/parse", "text=%EB%82%B4%EC%9D%BC");
  EXPECT_EQ(reply.status, 200);
  EXPECT_NE(reply.body.find("내일"), std::string::npos);
  // The slow one, and the idle ones, are closed after the timeout.
  EXPECT_TRUE(slow.ClosedWithin(5000));
  EXPECT_TRUE(open.front()->ClosedWithin(5000));
  EXPECT_GE(idle, 1000u) << "the test could not open a thousand connections";
}

TEST(Server, SigtermLetsARequestInFlightFinishAndStops) {
  ServerProcess server(ETI_SERVER_PATH, {"--access-log"});
  ASSERT_NE(server.port(), 0);
  HttpConnection idle(server.port());
  ASSERT_EQ(idle.Get("/").status, 200);  // then kept open, idle
  HttpConnection inFlight(server.port());
  const std::string body = "text=%EB%82%B4%EC%9D%BC&reftime=1716514200000";
  ASSERT_TRUE(inFlight.Send("POST /parse HTTP/1.1\r\nHost: x\r\nContent-Type: "
                            "application/x-www-form-urlencoded\r\nContent-Length: " +
                            std::to_string(body.size()) + "\r\n\r\n" + body.substr(0, 10)));
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  const auto start = std::chrono::steady_clock::now();
  kill(server.pid(), SIGTERM);
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  ASSERT_TRUE(inFlight.Send(body.substr(10)));
  HttpReply reply;
  ASSERT_TRUE(inFlight.Read(&reply));
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(json::parse(reply.body)[0]["value"]["value"], "2024-05-25T00:00:00.000+09:00");
  // New connections are no longer taken.
  HttpConnection late(server.port());
  EXPECT_FALSE(late.connected());
  const std::string log = server.Output();
  double seconds = 0;
  EXPECT_EQ(server.Stop(&seconds), 0);
  seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  EXPECT_LT(seconds, 2.0);
  // A line per request answered: when, who, what, status, bytes, seconds.
  EXPECT_NE(log.find("127.0.0.1 \"GET /\" 200 6 "), std::string::npos) << log;
  EXPECT_NE(log.find("127.0.0.1 \"POST /parse\" 200 "), std::string::npos) << log;
}

TEST(Server, BadOptionsStopItWithStatusTwo) {
  const struct {
    std::vector<std::string> args;
  } cases[] = {
      {{"--tz", "Mars/Olympus"}},
      {{"--threads", "0"}},
      {{"--dict", "/nonexistent"}},
      {{"--port", "70000"}},
      {{"--host", "no.such.host.invalid"}},
      {{"--frobnicate"}},
  };
  for (const auto& c : cases) {
    const pid_t pid = fork();
    if (pid == 0) {
      std::vector<std::string> all = {ETI_SERVER_PATH};
      all.insert(all.end(), c.args.begin(), c.args.end());
      std::vector<char*> argv;
      for (std::string& a : all) argv.push_back(a.data());
      argv.push_back(nullptr);
      const int null = open("/dev/null", O_WRONLY);
      dup2(null, STDOUT_FILENO);
      dup2(null, STDERR_FILENO);
      execv(argv[0], argv.data());
      _exit(127);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 2) << c.args[0] << " " << status;
  }
}

// Last: the server the tests above shared stops cleanly (under the
// sanitizers, with nothing to report).
TEST(Server, TheSharedServerStopsWithStatusZero) {
  double seconds = 0;
  EXPECT_EQ(SharedServer().Stop(&seconds), 0);
}

}  // namespace
}  // namespace eti::testing
