#include "server/http_server.h"

#include <arpa/inet.h>
#include <microhttpd.h>
#include <netdb.h>
#include <netinet/in.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <new>
#include <thread>

#include "server/answer.h"

namespace eti::server {

bool DecodeQuery(const Fields& sent, Fields* out, std::string* problem) {
  out->clear();
  for (const auto& [name, value] : sent) {
    std::string n, v;
    if (!tools::DecodeComponent(name, &n) || !tools::DecodeComponent(value, &v)) {
      *problem = "malformed percent-encoding in \"" + name.substr(0, 64) + "\"";
      return false;
    }
    out->emplace_back(std::move(n), std::move(v));
  }
  return true;
}

BodyFate FateOfBody(size_t bytes) {
  if (bytes <= kMaxBody) return BodyFate::kRead;
  return bytes <= kMaxDrained ? BodyFate::kDropped : BodyFate::kRefused;
}

namespace {

constexpr const char* kJson = "application/json";

// What a request has gathered between the library's calls.
struct Pending {
  std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
  std::string body;
  size_t received = 0;
  bool dropping = false;  // the body is over the limit: read on, keep nothing
  bool answered = false;
  int status = 0;
  size_t bytes = 0;
  std::string method, path;
};

Response TooLarge() {
  return {413, kJson, ErrorJson("body: more than " + std::to_string(kMaxBody) + " bytes")};
}

// The library's callbacks are C: nothing may be thrown through them.

// Leaves the path and query as sent: DecodeQuery decodes the query as a
// form, failing on a malformed escape rather than passing it on.
size_t KeepEscaped(void*, MHD_Connection*, char* s) noexcept { return std::strlen(s); }
using Unescape = size_t (*)(void*, MHD_Connection*, char*);

struct QueryPairs {
  Fields fields;
  bool failed = false;
};

MHD_Result AddQueryPair(void* cls, MHD_ValueKind, const char* key, const char* value) noexcept {
  auto* q = static_cast<QueryPairs*>(cls);
  try {
    q->fields.emplace_back(key != nullptr ? key : "", value != nullptr ? value : "");
    return MHD_YES;
  } catch (...) {
    q->failed = true;
    return MHD_NO;
  }
}

std::string ClientAddress(MHD_Connection* c) {
  const MHD_ConnectionInfo* info = MHD_get_connection_info(c, MHD_CONNECTION_INFO_CLIENT_ADDRESS);
  char buf[INET6_ADDRSTRLEN] = "-";
  if (info != nullptr && info->client_addr != nullptr) {
    const sockaddr* a = info->client_addr;
    if (a->sa_family == AF_INET) {
      inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in*>(a)->sin_addr, buf, sizeof buf);
    } else if (a->sa_family == AF_INET6) {
      inet_ntop(AF_INET6, &reinterpret_cast<const sockaddr_in6*>(a)->sin6_addr, buf, sizeof buf);
    }
  }
  return buf;
}

// Whether the client waits for "100 Continue" before it sends its body.
bool WaitsToSend(MHD_Connection* c) {
  const char* expect = MHD_lookup_connection_value(c, MHD_HEADER_KIND, MHD_HTTP_HEADER_EXPECT);
  return expect != nullptr && strcasecmp(expect, "100-continue") == 0;
}

// Queues the response; `close` ends the connection after it.
MHD_Result Send(MHD_Connection* c, const Response& r, Pending* p, bool close = false) {
  MHD_Response* response = MHD_create_response_from_buffer(
      r.body.size(), const_cast<char*>(r.body.data()), MHD_RESPMEM_MUST_COPY);
  if (response == nullptr) return MHD_NO;
  MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, r.contentType.c_str());
  if (close) MHD_add_response_header(response, MHD_HTTP_HEADER_CONNECTION, "close");
  const MHD_Result queued = MHD_queue_response(c, static_cast<unsigned>(r.status), response);
  MHD_destroy_response(response);
  if (queued == MHD_YES) {
    p->answered = true;
    p->status = r.status;
    p->bytes = r.body.size();
  }
  return queued;
}

void WriteAccessLine(MHD_Connection* c, const Pending& p) {
  const double seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - p.start).count();
  const std::time_t now = std::time(nullptr);
  std::tm utc{};
  gmtime_r(&now, &utc);
  char when[32];
  std::strftime(when, sizeof when, "%Y-%m-%dT%H:%M:%SZ", &utc);
  char line[512];
  const int n = std::snprintf(line, sizeof line, "%s %s \"%s %.200s\" %d %zu %.6f\n", when,
                              ClientAddress(c).c_str(), p.method.c_str(), p.path.c_str(),
                              p.status, p.bytes, seconds);
  // One write per line, so that the lines of the pool's threads never
  // interleave.
  if (n > 0) {
    const ssize_t written = write(STDOUT_FILENO, line, static_cast<size_t>(std::min(n, 511)));
    (void)written;
  }
}

}  // namespace

struct HttpServer::Calls {
  // The headers are in: a body announced over the limit is answered at
  // once when the client has not sent it yet, or will send more than is
  // worth reading; otherwise read and dropped first.
  static MHD_Result Begin(HttpServer* self, MHD_Connection* c, const char* url,
                          const char* method, void** state) {
    auto owned = std::make_unique<Pending>();
    owned->method = method;
    owned->path = url;
    Pending* p = owned.release();
    *state = p;
    self->inFlight_.fetch_add(1);
    const char* length =
        MHD_lookup_connection_value(c, MHD_HEADER_KIND, MHD_HTTP_HEADER_CONTENT_LENGTH);
    if (length == nullptr) return MHD_YES;
    const BodyFate fate = FateOfBody(std::strtoull(length, nullptr, 10));
    p->dropping = fate != BodyFate::kRead;
    if (fate == BodyFate::kRefused || (fate == BodyFate::kDropped && WaitsToSend(c))) {
      return Send(c, TooLarge(), p, true);
    }
    return MHD_YES;
  }

  static MHD_Result Receive(Pending* p, const char* upload, size_t* uploadSize) {
    const size_t n = *uploadSize;
    *uploadSize = 0;
    p->received += n;
    switch (FateOfBody(p->received)) {
      case BodyFate::kRead:
        if (!p->dropping) p->body.append(upload, n);
        return MHD_YES;
      case BodyFate::kDropped:
        if (!p->dropping) std::string().swap(p->body);
        p->dropping = true;
        return MHD_YES;
      case BodyFate::kRefused:
        break;
    }
    return MHD_NO;
  }

  static MHD_Result Answer(HttpServer* self, MHD_Connection* c, const char* url,
                           const char* method, Pending* p) {
    if (p->answered) return MHD_YES;
    if (p->dropping) return Send(c, TooLarge(), p, true);
    Request request;
    request.method = method;
    request.path = url;
    QueryPairs sent;
    MHD_get_connection_values(c, MHD_GET_ARGUMENT_KIND, &AddQueryPair, &sent);
    if (sent.failed) throw std::bad_alloc();
    std::string problem;
    if (!DecodeQuery(sent.fields, &request.query, &problem)) {
      return Send(c, {400, kJson, ErrorJson("query: " + problem)}, p);
    }
    const char* type =
        MHD_lookup_connection_value(c, MHD_HEADER_KIND, MHD_HTTP_HEADER_CONTENT_TYPE);
    if (type != nullptr) request.contentType = type;
    request.body = std::move(p->body);
    return Send(c, self->handler_(request), p);
  }

  static MHD_Result Access(void* cls, MHD_Connection* c, const char* url, const char* method,
                           const char*, const char* upload, size_t* uploadSize,
                           void** state) noexcept {
    auto* self = static_cast<HttpServer*>(cls);
    auto* p = static_cast<Pending*>(*state);
    try {
      if (p == nullptr) return Begin(self, c, url, method, state);
      if (*uploadSize != 0) return Receive(p, upload, uploadSize);
      return Answer(self, c, url, method, p);
    } catch (...) {
      // Answered 500 when the request can still be answered; otherwise the
      // connection is closed.
      if (p == nullptr || p->answered) return MHD_NO;
      try {
        return Send(c, {500, kJson, ErrorJson("internal error")}, p, true);
      } catch (...) {
        return MHD_NO;
      }
    }
  }

  static void Completed(void* cls, MHD_Connection* c, void** state,
                        MHD_RequestTerminationCode) noexcept {
    auto* self = static_cast<HttpServer*>(cls);
    const std::unique_ptr<Pending> p(static_cast<Pending*>(*state));
    if (p == nullptr) return;
    *state = nullptr;
    if (self->accessLog_) {
      try {
        WriteAccessLine(c, *p);
      } catch (...) {
        // A line lost, the server unharmed.
      }
    }
    self->inFlight_.fetch_sub(1);
  }
};

std::unique_ptr<HttpServer> HttpServer::Start(const ServerOptions& o, Handler handler,
                                              std::string* problem) {
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_PASSIVE;
  addrinfo* found = nullptr;
  const int looked = getaddrinfo(o.host.c_str(), nullptr, &hints, &found);
  if (looked != 0 || found == nullptr) {
    *problem = "--host " + o.host + ": " + gai_strerror(looked);
    return nullptr;
  }
  sockaddr_storage address{};
  std::memcpy(&address, found->ai_addr, std::min<size_t>(found->ai_addrlen, sizeof address));
  freeaddrinfo(found);
  const bool v6 = address.ss_family == AF_INET6;
  if (v6) {
    reinterpret_cast<sockaddr_in6*>(&address)->sin6_port = htons(o.port);
  } else {
    reinterpret_cast<sockaddr_in*>(&address)->sin_port = htons(o.port);
  }

  std::unique_ptr<HttpServer> server(new HttpServer(std::move(handler), o.accessLog));
  unsigned flags = MHD_USE_EPOLL_INTERNAL_THREAD | MHD_USE_ITC;
  if (v6) flags |= MHD_USE_IPv6;
  errno = 0;
  server->daemon_ = MHD_start_daemon(
      flags, o.port, nullptr, nullptr, static_cast<MHD_AccessHandlerCallback>(&Calls::Access),
      server.get(),
      MHD_OPTION_THREAD_POOL_SIZE, std::max(1u, o.threads),
      MHD_OPTION_CONNECTION_TIMEOUT, std::max(1u, o.timeoutSeconds),
      MHD_OPTION_CONNECTION_LIMIT, std::max(1u, o.maxConnections),
      MHD_OPTION_NOTIFY_COMPLETED, static_cast<MHD_RequestCompletedCallback>(&Calls::Completed),
      server.get(),
      MHD_OPTION_UNESCAPE_CALLBACK, static_cast<Unescape>(&KeepEscaped), nullptr,
      MHD_OPTION_SOCK_ADDR, reinterpret_cast<sockaddr*>(&address),
      MHD_OPTION_LISTENING_ADDRESS_REUSE, 1u,
      MHD_OPTION_END);
  if (server->daemon_ == nullptr) {
    *problem = "cannot listen on " + o.host + " port " + std::to_string(o.port) +
               (errno != 0 ? std::string(": ") + std::strerror(errno) : std::string());
    return nullptr;
  }
  const MHD_DaemonInfo* bound = MHD_get_daemon_info(server->daemon_, MHD_DAEMON_INFO_BIND_PORT);
  server->port_ = bound != nullptr ? bound->port : o.port;
  return server;
}

void HttpServer::Stop(std::chrono::milliseconds grace) {
  if (daemon_ == nullptr) return;
  // New connections are refused at once rather than left to wait.
  const int listening = MHD_quiesce_daemon(daemon_);
  if (listening >= 0) close(listening);
  const auto deadline = std::chrono::steady_clock::now() + grace;
  while (inFlight_.load() > 0 && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  MHD_stop_daemon(daemon_);
  daemon_ = nullptr;
}

HttpServer::~HttpServer() { Stop(std::chrono::milliseconds(0)); }

}  // namespace eti::server
