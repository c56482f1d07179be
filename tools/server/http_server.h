// The HTTP side of the time service: a pool of threads that each wait on
// many connections at once (an idle or slow connection holds no thread),
// bodies read up to a limit, every connection closed after a time without
// traffic, and a stop that lets the requests in flight finish first.  It
// knows nothing of times: a handler turns each Request into a Response.
#ifndef EXTRACTOR_KR_TOOLS_SERVER_HTTP_SERVER_H_
#define EXTRACTOR_KR_TOOLS_SERVER_HTTP_SERVER_H_

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "common/form.h"

struct MHD_Daemon;

namespace eti::server {

// The largest request body served; a longer one is answered 413.
constexpr size_t kMaxBody = size_t{1} << 20;

// How much of a body over kMaxBody is still read, and dropped, before the
// 413 goes out.  A client that sends its whole body before it reads
// (without "Expect: 100-continue", as Python's urllib does) would otherwise
// meet a closed connection instead of the answer.  Past this the
// connection is closed unanswered: a body sent in chunks need never end.
constexpr size_t kMaxDrained = size_t{16} << 20;

using Fields = tools::FormFields;

struct Request {
  std::string method;       // "GET", "POST", ...
  std::string path;         // as sent, without the query
  Fields query;             // the query's pairs, decoded as a form's ('+' a space too)
  std::string contentType;  // the Content-Type header; "" when absent
  std::string body;         // at most kMaxBody bytes
};

struct Response {
  int status = 200;
  std::string contentType;
  std::string body;
};

// The pairs of a query as sent into *out, each side decoded as a form's;
// false, with the problem in words, for a malformed percent-encoding.
bool DecodeQuery(const Fields& sent, Fields* out, std::string* problem);

// What becomes of a body once `bytes` of it are announced or read.
enum class BodyFate {
  kRead,     // within kMaxBody: kept for the handler
  kDropped,  // over kMaxBody: read and dropped, then answered 413
  kRefused,  // over kMaxDrained: not read on; the connection is closed
};
BodyFate FateOfBody(size_t bytes);

struct ServerOptions {
  std::string host = "127.0.0.1";  // an address, or a name that resolves to one
  uint16_t port = 8000;            // 0: any free port
  unsigned threads = 2;
  unsigned timeoutSeconds = 10;    // a connection without traffic this long is closed
  unsigned maxConnections = 1000;  // open at once; more wait to be accepted
  bool accessLog = false;          // a line per request on standard output
};

class HttpServer {
 public:
  // Called from the pool's threads, on any number at once.  An exception
  // it throws is answered 500.
  using Handler = std::function<Response(const Request&)>;

  // Listens and serves until Stop; nullptr, with the problem in words, when
  // it cannot listen.
  static std::unique_ptr<HttpServer> Start(const ServerOptions& o, Handler handler,
                                           std::string* problem);
  ~HttpServer();
  HttpServer(const HttpServer&) = delete;
  HttpServer& operator=(const HttpServer&) = delete;

  // The port it listens on.
  uint16_t port() const { return port_; }

  // Stops taking connections, lets the requests in flight finish for up
  // to `grace`, then closes every connection.
  void Stop(std::chrono::milliseconds grace);

  // The HTTP library's callbacks.
  struct Calls;

 private:
  HttpServer(Handler handler, bool accessLog)
      : handler_(std::move(handler)), accessLog_(accessLog) {}

  Handler handler_;
  const bool accessLog_;
  MHD_Daemon* daemon_ = nullptr;
  uint16_t port_ = 0;
  std::atomic<int> inFlight_{0};
};

}  // namespace eti::server

#endif  // EXTRACTOR_KR_TOOLS_SERVER_HTTP_SERVER_H_
