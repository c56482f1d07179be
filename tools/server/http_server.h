// The HTTP side of the time service: a pool of threads that each wait on
// many connections at once (an idle or slow connection holds no thread),
// bodies read up to a limit, every connection closed after a time without
// traffic, and a stop that lets the requests in flight finish first.
#ifndef EXTRACTOR_KR_TOOLS_SERVER_HTTP_SERVER_H_
#define EXTRACTOR_KR_TOOLS_SERVER_HTTP_SERVER_H_

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "server/duckling.h"

struct MHD_Daemon;

namespace eti::server {

struct ServerOptions {
  std::string host = "127.0.0.1";  // an address, or a name that resolves to one
  uint16_t port = 8000;            // 0: any free port
  unsigned threads = 2;
  unsigned timeoutSeconds = 10;  // a connection without traffic this long is closed
  bool accessLog = false;        // a line per request on standard output
};

class HttpServer {
 public:
  using Handler = std::function<Response(const Request&)>;

  // Listens and serves until Stop; nullptr, with the problem in words, when
  // it cannot listen.  The handler is called from the pool's threads.
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

  // Called by the HTTP library's callbacks.
  struct Calls;

 private:
  HttpServer(Handler handler, bool accessLog) : handler_(std::move(handler)), accessLog_(accessLog) {}

  Handler handler_;
  const bool accessLog_;
  MHD_Daemon* daemon_ = nullptr;
  uint16_t port_ = 0;
  std::atomic<int> inFlight_{0};
};

}  // namespace eti::server

#endif  // EXTRACTOR_KR_TOOLS_SERVER_HTTP_SERVER_H_
