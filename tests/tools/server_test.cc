// The time service as its clients meet it: the server binary started on a
// free port of 127.0.0.1, spoken to over HTTP, stopped with SIGTERM.  The
// corpus answers are checked for what holds of every answer (the entities'
// shape, that each is a slice of the text, one for each expression the
// library finds); the values of typical texts are in duckling_test.cc.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <ctime>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "common/case_file.h"
#include "dict/file_util.h"
#include "common/form.h"
#include "extractor_kr.hpp"
#include "server/http_server.h"
#include "support/http_client.h"
#include "support/session.h"
#include "support/code_points.h"

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
  const auto at = [&](size_t from, size_t n) { return std::stoi(ref.substr(from, n)); };
  std::tm t{};
  t.tm_year = at(0, 4) - 1900, t.tm_mon = at(4, 2) - 1, t.tm_mday = at(6, 2);
  t.tm_hour = at(8, 2), t.tm_min = at(10, 2);
  return (static_cast<int64_t>(timegm(&t)) - 9 * 3600) * 1000;
}

// The library's own answer: the bodies of its results with a position,
// ordered by position.
std::vector<std::string> LibraryBodies(const Sentence& s) {
  static const ekr::Extractor ex = ekr::OpenDefault();
  ekr_options o;
  ekr_options_init(&o);
  ekr::Results r;
  EXPECT_EQ(ekr::Extract(ex.get(), s.text, s.ref.c_str(), o, &r), EKR_OK) << s.text;
  std::vector<const ekr_result*> found;
  for (const ekr_result& e : ekr::Items(r.get())) {
    if (e.begin_byte >= 0) found.push_back(&e);
  }
  std::stable_sort(found.begin(), found.end(), [](const ekr_result* a, const ekr_result* b) {
    return a->begin_char != b->begin_char ? a->begin_char < b->begin_char
                                          : a->end_char < b->end_char;
  });
  std::vector<std::string> bodies;
  for (const ekr_result* e : found) {
    bodies.push_back(s.text.substr(static_cast<size_t>(e->begin_byte),
                                   static_cast<size_t>(e->end_byte - e->begin_byte)));
  }
  return bodies;
}

// Whether `s` has the shape of `pattern`, where '9' stands for any digit.
bool Shaped(const std::string& s, std::string_view pattern) {
  if (s.size() != pattern.size()) return false;
  for (size_t k = 0; k < s.size(); ++k) {
    if (pattern[k] == '9' ? s[k] < '0' || s[k] > '9' : s[k] != pattern[k]) return false;
  }
  return true;
}

bool IsPeriodGrain(const json& grain) {
  return grain == "week" || grain == "month" || grain == "quarter" || grain == "year";
}

// An instant as Duckling writes it, in Korea: "2024-05-16T15:00:00.000+09:00"
// in a grain it names.
bool KoreanInstant(const json& p) {
  return p.is_object() && p.size() == 2 && p["value"].is_string() &&
         Shaped(p["value"].get<std::string>(), "9999-99-99T99:99:99.000+09:00") &&
         (IsPeriodGrain(p["grain"]) || p["grain"] == "day" || p["grain"] == "hour" ||
          p["grain"] == "minute" || p["grain"] == "second");
}

// What every answer holds, whatever the text: entities in order of
// position, each a slice of the text, a value or an interval of instants,
// "values" holding the value itself.
void CheckShape(const Sentence& s, const json& answer) {
  const std::vector<std::string> points = CodePoints(s.text);
  int64_t last = -1;
  for (const json& e : answer) {
    ASSERT_EQ(e.size(), 6u) << s.text << ": " << e.dump();
    EXPECT_TRUE(e["dim"] == "time" && e["latent"] == false) << e.dump();
    const int64_t start = e["start"], end = e["end"];
    ASSERT_TRUE(last <= start && start < end && end <= static_cast<int64_t>(points.size()))
        << s.text << ": " << e.dump();
    last = start;
    std::string slice;
    for (int64_t k = start; k < end; ++k) slice += points[static_cast<size_t>(k)];
    EXPECT_EQ(e["body"], slice) << s.text;
    const json& v = e["value"];
    json itself = v;
    for (const char* extra : {"values", "cycle", "lunar"}) itself.erase(extra);
    EXPECT_EQ(v["values"], json::array({itself})) << s.text;
    if (v["type"] == "value") {
      EXPECT_TRUE(KoreanInstant({{"value", v["value"]}, {"grain", v["grain"]}})) << v.dump();
    } else {
      ASSERT_EQ(v["type"], "interval") << v.dump();
      EXPECT_TRUE(v.contains("from") || v.contains("to")) << v.dump();
      for (const char* end : {"from", "to"}) {
        EXPECT_TRUE(!v.contains(end) || KoreanInstant(v[end])) << v.dump();
      }
      if (v.contains("from") && v.contains("to")) {
        EXPECT_LT(v["from"]["value"].get<std::string>(), v["to"]["value"].get<std::string>()) << v.dump();
      }
    }
    const std::string cycle = v.value("cycle", "P9D");
    EXPECT_TRUE(Shaped(cycle, "P9D") || Shaped(cycle, "P99D") || Shaped(cycle, "P9M") ||
                Shaped(cycle, "P9Y"))
        << cycle;
    EXPECT_EQ(v.value("lunar", true), true);
  }
}

std::string ParseBody(const Sentence& s, const char* periods = nullptr) {
  tools::FormFields fields = {{"text", s.text},
                              {"locale", "ko_KR"},
                              {"tz", "Asia/Seoul"},
                              {"reftime", std::to_string(KoreanMillis(s.ref))}};
  if (periods != nullptr) fields.emplace_back("periods", periods);
  return tools::FormEncode(fields);
}

ServerProcess& SharedServer() {
  static ServerProcess server(ETI_SERVER_PATH, {"--threads", "2"});
  return server;
}

// Every corpus sentence, under both ways of writing whole periods: an
// entity for each expression the library finds, in the shape Duckling's
// clients read, and the two ways differing only where a single whole
// period is one value or an interval from that value.
TEST(Server, EveryCorpusSentenceIsAnsweredInDucklingsShape) {
  ASSERT_NE(SharedServer().port(), 0);
  HttpConnection c(SharedServer().port());
  ASSERT_TRUE(c.connected());
  ASSERT_GT(Corpus().size(), 800u);
  size_t withEntities = 0, periods = 0;
  for (const Sentence& s : Corpus()) {
    const HttpReply reply = c.Post("/parse", ParseBody(s));
    ASSERT_EQ(reply.status, 200) << s.text << " -> " << reply.body;
    EXPECT_EQ(reply.headers.at("content-type"), "application/json");
    const json got = json::parse(reply.body);
    CheckShape(s, got);
    std::vector<std::string> bodies;
    for (const json& e : got) bodies.push_back(e["body"]);
    EXPECT_EQ(bodies, LibraryBodies(s)) << s.text;
    withEntities += !got.empty();

    const HttpReply intervals = c.Post("/parse", ParseBody(s, "interval"));
    ASSERT_EQ(intervals.status, 200) << s.text << " -> " << intervals.body;
    const json other = json::parse(intervals.body);
    CheckShape(s, other);
    ASSERT_EQ(other.size(), got.size()) << s.text;
    for (size_t k = 0; k < got.size(); ++k) {
      json a = got[k], b = other[k];
      const json va = a["value"], vb = b["value"];
      a.erase("value"), b.erase("value");
      EXPECT_EQ(a, b) << s.text;
      EXPECT_EQ(va.value("cycle", ""), vb.value("cycle", "")) << s.text;
      EXPECT_EQ(va.value("lunar", false), vb.value("lunar", false)) << s.text;
      // Asked for intervals, no week or quarter is a single value.
      EXPECT_FALSE(vb["type"] == "value" && (vb["grain"] == "week" || vb["grain"] == "quarter"))
          << s.text << ": " << vb.dump();
      if (va == vb) continue;
      ++periods;
      EXPECT_EQ(va["type"], "value") << s.text;
      EXPECT_TRUE(IsPeriodGrain(va["grain"])) << s.text << ": " << va.dump();
      EXPECT_EQ(vb["type"], "interval") << s.text;
      ASSERT_TRUE(vb.contains("from") && vb.contains("to")) << s.text << ": " << vb.dump();
      EXPECT_EQ(vb["from"]["value"], va["value"]) << s.text;
    }
  }
  EXPECT_GT(withEntities, 400u);
  EXPECT_GT(periods, 10u) << "the corpus should name whole weeks, months and years";
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

// The routes and fields themselves are checked in process (duckling_test.cc);
// over HTTP, errors keep the connection and the query string is read too.
TEST(Server, ErrorsAndQueriesOverHttp) {
  HttpConnection c(SharedServer().port());
  EXPECT_EQ(c.Get("/").body, "quack!");
  const HttpReply missing = c.Post("/parse", "locale=ko_KR");
  EXPECT_EQ(missing.status, 422);
  EXPECT_EQ(missing.body, "Need a 'text' parameter to parse");
  EXPECT_EQ(c.Post("/parse", "text=%ED%95").status, 400);
  EXPECT_EQ(c.Get("/nothing").status, 404);
  // The connection is still good after the errors; '+' is a space in a query.
  const HttpReply query = c.Post("/parse?text=%EB%82%B4%EC%9D%BC+3%EC%8B%9C", "", "");
  EXPECT_EQ(json::parse(query.body)[0]["body"], "내일 3시");
  const HttpReply badQuery = c.Post("/parse?text=%E", "", "");
  EXPECT_EQ(badQuery.status, 400);
  EXPECT_EQ(json::parse(badQuery.body)["error"], "query: malformed percent-encoding in \"text\"");
  const HttpReply months = c.Post("/parse?periods=interval", "text=12%EC%9B%94");
  EXPECT_EQ(json::parse(months.body)[0]["value"]["type"], "interval");
}

// A client that writes its whole body before it reads its answer (as
// Python's urllib does, without "Expect: 100-continue") gets the 413, not
// a connection closed under it.
TEST(Server, ABodyOverTheLimitSentWholeIsAnswered413) {
  for (const size_t size : {server::kMaxBody + 1, size_t{2} << 20, server::kMaxDrained}) {
    HttpConnection c(SharedServer().port());
    const std::string body = "text=" + std::string(size - 5, 'a');
    ASSERT_TRUE(c.Send("POST /parse HTTP/1.1\r\nHost: x\r\nContent-Type: "
                       "application/x-www-form-urlencoded\r\nContent-Length: " +
                       std::to_string(body.size()) + "\r\n\r\n"));
    // Time for the server to have read the headers before the body comes.
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    ASSERT_TRUE(c.Send(body)) << "the server closed the connection before the body was sent";
    HttpReply reply;
    ASSERT_TRUE(c.Read(&reply));
    EXPECT_EQ(reply.status, 413) << size;
    EXPECT_EQ(reply.headers.count("connection") ? reply.headers.at("connection") : "", "close");
    EXPECT_EQ(json::parse(reply.body)["error"], "body: more than 1048576 bytes");
    EXPECT_TRUE(c.ClosedWithin(5000)) << size;
  }
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
  const std::vector<std::vector<std::string>> cases = {
      {"--tz", "Mars/Olympus"}, {"--threads", "0"}, {"--dict", "/nonexistent"},
      {"--port", "70000"}, {"--host", "no.such.host.invalid"}, {"--frobnicate"},
  };
  for (std::vector<std::string> args : cases) {
    args.insert(args.begin(), ETI_SERVER_PATH);
    std::vector<char*> argv;
    for (std::string& a : args) argv.push_back(a.data());
    argv.push_back(nullptr);
    const pid_t pid = fork();
    if (pid == 0) {
      const int null = open("/dev/null", O_WRONLY);
      dup2(null, STDOUT_FILENO);
      dup2(null, STDERR_FILENO);
      execv(argv[0], argv.data());
      _exit(127);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 2) << args[1] << " " << status;
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
