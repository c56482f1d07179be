#include "server/http_server.h"

#include <arpa/inet.h>
#include <microhttpd.h>
#include <netdb.h>
#include <netinet/in.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <thread>

namespace eti::server {

namespace {

// What a request has gathered between the library's calls.
struct Pending {
  std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
  std::string body;
  size_t received = 0;
  bool tooLarge = false;
  bool answered = false;
  int status = 0;
  size_t bytes = 0;
  std::string method, path;
};

// Leaves the path and query as sent: the service decodes them itself, the
// same way as a form ('+' a space too).
size_t KeepEscaped(void*, MHD_Connection*, char* s) { return std::strlen(s); }

MHD_Result AddQueryField(void* cls, MHD_ValueKind, const char* key, const char* value) {
  static_cast<Fields*>(cls)->emplace_back(key != nullptr ? key : "", value != nullptr ? value : "");
  return MHD_YES;
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

}  // namespace

struct HttpServer::Calls {
  static MHD_Result Send(MHD_Connection* c, const Response& r, Pending* p) {
    MHD_Response* response = MHD_create_response_from_buffer(
        r.body.size(), const_cast<char*>(r.body.data()), MHD_RESPMEM_MUST_COPY);
    if (response == nullptr) return MHD_NO;
    MHD_add_response_header(response, MHD_HTTP_HEADER_CONTENT_TYPE, r.contentType.c_str());
    const MHD_Result queued = MHD_queue_response(c, static_cast<unsigned>(r.status), response);
    MHD_destroy_response(response);
    p->answered = true;
    p->status = r.status;
    p->bytes = r.body.size();
    return queued;
  }

  static Response TooLarge() {
    return {413, "application/json",
            "{\"error\":\"body: more than " + std::to_string(kMaxBody) + " bytes\"}\n"};
  }

  static MHD_Result Access(void* cls, MHD_Connection* c, const char* url, const char* method,
                           const char*, const char* upload, size_t* uploadSize, void** state) {
    auto* self = static_cast<HttpServer*>(cls);
    auto* p = static_cast<Pending*>(*state);
    if (p == nullptr) {
      p = new Pending;
      p->method = method;
      p->path = url;
      *state = p;
      self->inFlight_.fetch_add(1);
      // A body announced too long is refused before it is read.
      const char* length =
          MHD_lookup_connection_value(c, MHD_HEADER_KIND, MHD_HTTP_HEADER_CONTENT_LENGTH);
      if (length != nullptr && std::strtoull(length, nullptr, 10) > kMaxBody) {
        p->tooLarge = true;
        return Send(c, TooLarge(), p);
      }
      return MHD_YES;
    }
    if (*uploadSize != 0) {
      const size_t n = *uploadSize;
      *uploadSize = 0;
      p->received += n;
      if (!p->tooLarge && p->received <= kMaxBody) {
        p->body.append(upload, n);
        return MHD_YES;
      }
      // Past the limit the rest is read and dropped, to answer 413 at its
      // end (the library takes no answer in the middle of a body); a body
      // sent in chunks need never end, so past four times the limit the
      // connection is closed instead.
      if (!p->tooLarge) std::string().swap(p->body);
      p->tooLarge = true;
      return p->received <= 4 * kMaxBody ? MHD_YES : MHD_NO;
    }
    if (p->answered) return MHD_YES;
    if (p->tooLarge) return Send(c, TooLarge(), p);
    Request request;
    request.method = method;
    request.path = url;
    MHD_get_connection_values(c, MHD_GET_ARGUMENT_KIND, &AddQueryField, &request.query);
    const char* type = MHD_lookup_connection_value(c, MHD_HEADER_KIND, MHD_HTTP_HEADER_CONTENT_TYPE);
    if (type != nullptr) request.contentType = type;
    request.body = std::move(p->body);
    return Send(c, self->handler_(request), p);
  }

  static void Completed(void* cls, MHD_Connection* c, void** state, MHD_RequestTerminationCode) {
    auto* self = static_cast<HttpServer*>(cls);
    auto* p = static_cast<Pending*>(*state);
    if (p == nullptr) return;
    *state = nullptr;
    if (self->accessLog_) {
      const double seconds =
          std::chrono::duration<double>(std::chrono::steady_clock::now() - p->start).count();
      const std::time_t now = std::time(nullptr);
      std::tm utc{};
      gmtime_r(&now, &utc);
      char when[32];
      std::strftime(when, sizeof when, "%Y-%m-%dT%H:%M:%SZ", &utc);
      char line[512];
      const int n = std::snprintf(line, sizeof line, "%s %s \"%s %.200s\" %d %zu %.6f\n", when,
                                  ClientAddress(c).c_str(), p->method.c_str(), p->path.c_str(),
                                  p->status, p->bytes, seconds);
      // One write per line, so that the lines of the pool's threads never
      // interleave.
      if (n > 0) {
        const ssize_t written = write(STDOUT_FILENO, line, static_cast<size_t>(std::min(n, 511)));
        (void)written;
      }
    }
    delete p;
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

  // As many connections as descriptors allow: thousands of idle ones must
  // not shut out the rest.
  rlimit files{};
  if (getrlimit(RLIMIT_NOFILE, &files) == 0 && files.rlim_cur < files.rlim_max) {
    files.rlim_cur = files.rlim_max;
    setrlimit(RLIMIT_NOFILE, &files);
    getrlimit(RLIMIT_NOFILE, &files);
  }
  const unsigned limit = static_cast<unsigned>(
      std::max<rlim_t>(16, std::min<rlim_t>(files.rlim_cur, 1 << 20) - 64));

  std::unique_ptr<HttpServer> server(new HttpServer(std::move(handler), o.accessLog));
  unsigned flags = MHD_USE_EPOLL_INTERNAL_THREAD | MHD_USE_ITC;
  if (v6) flags |= MHD_USE_IPv6;
  errno = 0;
  server->daemon_ = MHD_start_daemon(
      flags, o.port, nullptr, nullptr, &Calls::Access, server.get(),
      MHD_OPTION_THREAD_POOL_SIZE, std::max(1u, o.threads),
      MHD_OPTION_CONNECTION_TIMEOUT, std::max(1u, o.timeoutSeconds),
      MHD_OPTION_CONNECTION_LIMIT, limit,
      MHD_OPTION_NOTIFY_COMPLETED, &Calls::Completed, server.get(),
      MHD_OPTION_UNESCAPE_CALLBACK, &KeepEscaped, nullptr,
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
