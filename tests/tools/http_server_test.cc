// The HTTP side of the time service in process, with handlers of the
// test's own over real sockets of 127.0.0.1: what reaches a handler (the
// query decoded as a form is), the body limit and the 413 a client sees
// however it sends its body (sent whole: server_test.cc), and a handler that
// throws.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "server/http_server.h"
#include "support/http_client.h"

namespace eti::server {
namespace {

using testing::HttpConnection;
using testing::HttpReply;

// A server of the test's own: it answers what it was given, throws on
// /throw, and throws something that is no exception class on /int.
class Echo : public ::testing::Test {
 protected:
  void SetUp() override {
    ServerOptions o;
    o.port = 0;
    o.threads = 2;
    std::string problem;
    server_ = HttpServer::Start(
        o,
        [](const Request& r) -> Response {
          if (r.path == "/throw") throw std::runtime_error("the handler failed");
          if (r.path == "/int") throw 7;
          std::string query;
          for (const auto& [k, v] : r.query) query += "[" + k + "=" + v + "]";
          return {200, "text/plain",
                  r.method + " " + r.path + " " + query + " " + r.contentType + " " +
                      std::to_string(r.body.size())};
        },
        &problem);
    ASSERT_NE(server_, nullptr) << problem;
  }

  uint16_t port() const { return server_->port(); }

  std::unique_ptr<HttpServer> server_;
};

TEST_F(Echo, WhatReachesTheHandler) {
  HttpConnection conn(port());
  const struct {
    std::string request;
    int status;
    std::string body;
  } cases[] = {
      {"GET /a/b?x=1&y=%EB%82%B4+%2B HTTP/1.1\r\nHost: h\r\n\r\n", 200,
       "GET /a/b [x=1][y=내 +]  0"},
      {"POST /p HTTP/1.1\r\nHost: h\r\nContent-Type: application/x-www-form-urlencoded\r\n"
       "Content-Length: 5\r\n\r\nabcde",
       200, "POST /p  application/x-www-form-urlencoded 5"},
      {"POST /p HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked\r\n\r\n"
       "3\r\nabc\r\n2\r\nde\r\n0\r\n\r\n",
       200, "POST /p   5"},
      {"GET /p?text=%E HTTP/1.1\r\nHost: h\r\n\r\n", 400,
       "{\"error\":\"query: malformed percent-encoding in \\\"text\\\"\"}\n"},
  };
  for (const auto& c : cases) {
    HttpReply reply;
    ASSERT_TRUE(conn.Send(c.request) && conn.Read(&reply)) << c.request;
    EXPECT_EQ(reply.status, c.status) << c.request;
    EXPECT_EQ(reply.body, c.body) << c.request;
  }
}

TEST_F(Echo, ABodyOfTheLimitIsReadAndOneByteMoreIsNot) {
  HttpConnection c(port());
  const HttpReply full = c.Post("/p", std::string(kMaxBody, 'a'), "");
  EXPECT_EQ(full.status, 200);
  EXPECT_EQ(full.body, "POST /p   " + std::to_string(kMaxBody));
  HttpConnection d(port());
  const HttpReply over = d.Post("/p", std::string(kMaxBody + 1, 'a'), "");
  EXPECT_EQ(over.status, 413);
  EXPECT_EQ(over.body, "{\"error\":\"body: more than 1048576 bytes\"}\n");
  EXPECT_EQ(over.headers.at("content-type"), "application/json");
}

TEST_F(Echo, AClientThatWaitsToSendIsRefusedBeforeItSends) {
  HttpConnection c(port());
  ASSERT_TRUE(c.Send("POST /p HTTP/1.1\r\nHost: h\r\nExpect: 100-continue\r\nContent-Length: " +
                     std::to_string(size_t{2} << 20) + "\r\n\r\n"));
  HttpReply reply;
  ASSERT_TRUE(c.Read(&reply, false, 5000));
  EXPECT_EQ(reply.status, 413);
  EXPECT_TRUE(c.ClosedWithin(5000));
  // One within the limit is told to go on, and served.
  HttpConnection d(port());
  ASSERT_TRUE(d.Send("POST /p HTTP/1.1\r\nHost: h\r\nExpect: 100-continue\r\n"
                     "Content-Length: 3\r\n\r\n"));
  ASSERT_TRUE(d.Read(&reply, false, 5000));
  EXPECT_EQ(reply.status, 100);
  ASSERT_TRUE(d.Send("abc"));
  ASSERT_TRUE(d.Read(&reply, false, 5000));
  EXPECT_EQ(reply.status, 200);
  EXPECT_EQ(reply.body, "POST /p   3");
}

TEST_F(Echo, BodiesPastWhatIsWorthReadingAreNotRead) {
  // Announced: refused at once.
  HttpConnection announced(port());
  ASSERT_TRUE(announced.Send("POST /p HTTP/1.1\r\nHost: h\r\nContent-Length: " +
                             std::to_string(kMaxDrained + 1) + "\r\n\r\n"));
  HttpReply reply;
  ASSERT_TRUE(announced.Read(&reply, false, 5000));
  EXPECT_EQ(reply.status, 413);
  // In chunks: answered 413 once they end, closed once they go past the bound.
  const std::string chunk(64 * 1024, 'a');
  const std::string head = "POST /p HTTP/1.1\r\nHost: h\r\nTransfer-Encoding: chunked\r\n\r\n";
  std::string body;
  for (int k = 0; k < 17; ++k) body += "10000\r\n" + chunk + "\r\n";
  HttpConnection ending(port());
  ASSERT_TRUE(ending.Send(head + body + "0\r\n\r\n"));
  ASSERT_TRUE(ending.Read(&reply));
  EXPECT_EQ(reply.status, 413);
  HttpConnection endless(port());
  bool sent = endless.Send(head);
  const size_t chunks = kMaxDrained / chunk.size() + 16;
  for (size_t k = 0; sent && k < chunks; ++k) sent = endless.Send("10000\r\n" + chunk + "\r\n");
  EXPECT_TRUE(!sent || endless.ClosedWithin(5000));
}

TEST_F(Echo, AHandlerThatThrowsIsAnswered500AndTheServerGoesOn) {
  for (const char* path : {"/throw", "/int"}) {
    HttpConnection c(port());
    const HttpReply reply = c.Get(path);
    EXPECT_EQ(reply.status, 500) << path;
    EXPECT_EQ(reply.body, "{\"error\":\"internal error\"}\n") << path;
  }
  HttpConnection after(port());
  EXPECT_EQ(after.Get("/fine").status, 200);
}

}  // namespace
}  // namespace eti::server
