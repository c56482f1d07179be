// extractor-kr-server: the Korean time service on HTTP, answering the
// requests of the common entity-parser API (POST /parse).
#include <CLI/CLI.hpp>

#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <memory>
#include <pthread.h>
#include <sstream>
#include <string>
#include <thread>

#include "server/duckling.h"
#include "server/http_server.h"
#include "extractor_kr.hpp"

namespace {

using eti::server::HttpServer;
using eti::server::Request;
using eti::server::Response;
using eti::server::ServerOptions;
using eti::server::Service;

int Fail(const std::string& message) {
  std::cerr << "extractor-kr-server: " << message << "\n";
  return 2;
}

// Raises the process's limit on open descriptors as far as it may go, so
// that thousands of idle connections do not shut out the rest.  Returns the
// connections that leaves room for, keeping a few descriptors for the rest
// of the process.
unsigned RaiseDescriptorLimit() {
  rlimit files{};
  if (getrlimit(RLIMIT_NOFILE, &files) != 0) return 1000;
  if (files.rlim_cur < files.rlim_max) {
    files.rlim_cur = files.rlim_max;
    setrlimit(RLIMIT_NOFILE, &files);
    getrlimit(RLIMIT_NOFILE, &files);
  }
  const rlim_t n = std::min<rlim_t>(files.rlim_cur, 1 << 20);
  return static_cast<unsigned>(n > 80 ? n - 64 : 16);
}

}  // namespace

int main(int argc, char** argv) {
  ServerOptions o;
  o.threads = std::max(1u, std::thread::hardware_concurrency());
  std::string tz = "Asia/Seoul", dictDir;
  CLI::App app(
      "A Korean time service on HTTP: POST /parse with a form (text, locale, tz, reftime, dims,\n"
      "rules, prefer, years, periods) answers a JSON array of the time entities of the text;\n"
      "GET / answers quack!, GET /targets the locales and dimensions served.",
      "extractor-kr-server");
  app.add_option("--host", o.host, "address to listen on")->capture_default_str();
  app.add_option("--port", o.port, "port to listen on (0: any free one)")->capture_default_str();
  app.add_option("--threads", o.threads, "worker threads")
      ->check(CLI::Range(1u, 1024u))
      ->capture_default_str();
  app.add_option("--tz", tz, "time zone of a request that names none")->capture_default_str();
  app.add_option("--dict", dictDir,
                 "dictionaries: compiled (tags.bin ...) or sources (tags.txt ...); default: "
                 "the set built into the library");
  app.add_option("--timeout", o.timeoutSeconds,
                 "seconds a connection may stay without traffic before it is closed")
      ->check(CLI::Range(1u, 3600u))
      ->capture_default_str();
  app.add_flag("--access-log", o.accessLog, "a line per request on standard output");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    // --help is answered with status 0; bad usage, as in the other tools, 2.
    return app.exit(e) == 0 ? 0 : 2;
  }

  const date::time_zone* zone = eti::server::FindZone(tz);
  if (zone == nullptr) return Fail("--tz " + tz + ": no such time zone");

  const ekr::Extractor ex =
      dictDir.empty() ? ekr::OpenDefault() : ekr::Open(dictDir.c_str());
  if (ex == nullptr) {
    std::istringstream lines(ekr_last_error());
    std::string line;
    while (std::getline(lines, line)) std::cerr << "extractor-kr-server: --dict: " << line << "\n";
    return 2;
  }
  const Service service(ex.get(), zone);
  o.maxConnections = RaiseDescriptorLimit();

  // The pool's threads inherit a mask without these signals, so that only
  // this thread takes them.
  sigset_t stop;
  sigemptyset(&stop);
  sigaddset(&stop, SIGINT);
  sigaddset(&stop, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &stop, nullptr);
  std::signal(SIGPIPE, SIG_IGN);

  std::string problem;
  const std::unique_ptr<HttpServer> server = HttpServer::Start(
      o, [&service](const Request& r) { return service.Handle(r, std::chrono::system_clock::now()); },
      &problem);
  if (server == nullptr) return Fail(problem);
  const bool v6 = o.host.find(':') != std::string::npos;
  std::printf("extractor-kr-server: listening on http://%s%s%s:%u (%u threads, default zone %s)\n",
              v6 ? "[" : "", o.host.c_str(), v6 ? "]" : "", server->port(), o.threads, tz.c_str());
  std::fflush(stdout);

  int signal = 0;
  sigwait(&stop, &signal);
  std::fprintf(stderr, "extractor-kr-server: %s, stopping\n", signal == SIGINT ? "SIGINT" : "SIGTERM");
  // Requests in flight get a second and a half; the rest is closed.
  server->Stop(std::chrono::milliseconds(1500));
  return 0;
}
