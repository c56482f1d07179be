// A plain HTTP/1.1 client over a socket of 127.0.0.1, and a server process
// started and stopped by a test: enough to speak to the time service the
// way its clients do, and to misbehave the way slow or idle clients do.
#ifndef EXTRACTOR_KR_TESTS_SUPPORT_HTTP_CLIENT_H_
#define EXTRACTOR_KR_TESTS_SUPPORT_HTTP_CLIENT_H_

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace eti::testing {

struct HttpReply {
  int status = 0;
  std::map<std::string, std::string> headers;  // names in lower case
  std::string body;
};

class HttpConnection {
 public:
  explicit HttpConnection(uint16_t port);
  ~HttpConnection();
  HttpConnection(const HttpConnection&) = delete;
  HttpConnection& operator=(const HttpConnection&) = delete;

  bool connected() const { return fd_ >= 0; }

  // Writes bytes as they are; false when the connection is gone.
  bool Send(const std::string& bytes);

  // Reads one response (a body of its Content-Length; none for HEAD);
  // false on a closed connection or after `timeoutMs` without a byte.
  bool Read(HttpReply* reply, bool head = false, int timeoutMs = 20000);

  // Whether the server closed the connection within `timeoutMs`.
  bool ClosedWithin(int timeoutMs);

  // A request with a form body, on this connection kept alive.
  HttpReply Post(const std::string& path, const std::string& body,
                 const std::string& contentType = "application/x-www-form-urlencoded");
  HttpReply Get(const std::string& path);

 private:
  int fd_ = -1;
  std::string buffer_;
};

// The server binary started with its arguments and "--port 0", the port read
// from the line it prints once it listens.
class ServerProcess {
 public:
  ServerProcess(const std::string& binary, const std::vector<std::string>& args);
  ~ServerProcess();

  uint16_t port() const { return port_; }
  pid_t pid() const { return pid_; }
  // The lines it wrote to standard output after the first.
  std::string Output();

  // Sends SIGTERM and waits; the exit status and the seconds it took.
  int Stop(double* seconds);

 private:
  pid_t pid_ = -1;
  int out_ = -1;
  uint16_t port_ = 0;
  std::string rest_;
};

}  // namespace eti::testing

#endif  // EXTRACTOR_KR_TESTS_SUPPORT_HTTP_CLIENT_H_
