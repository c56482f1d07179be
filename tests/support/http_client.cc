#include "support/http_client.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace eti::testing {

HttpConnection::HttpConnection(uint16_t port) {
  fd_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd_ < 0) return;
  sockaddr_in a{};
  a.sin_family = AF_INET;
  a.sin_port = htons(port);
  a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(fd_, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0) {
    close(fd_);
    fd_ = -1;
    return;
  }
  const int one = 1;
  setsockopt(fd_, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
}

HttpConnection::~HttpConnection() {
  if (fd_ >= 0) close(fd_);
}

bool HttpConnection::Send(const std::string& bytes) {
  size_t at = 0;
  while (fd_ >= 0 && at < bytes.size()) {
    const ssize_t n = send(fd_, bytes.data() + at, bytes.size() - at, MSG_NOSIGNAL);
    if (n <= 0) return false;
    at += static_cast<size_t>(n);
  }
  return fd_ >= 0;
}

namespace {

// Reads what is there into *buffer, waiting up to `timeoutMs`; false on
// EOF, an error or the timeout.
bool Fill(int fd, std::string* buffer, int timeoutMs) {
  pollfd p{fd, POLLIN, 0};
  if (poll(&p, 1, timeoutMs) <= 0) return false;
  char chunk[16384];
  const ssize_t n = read(fd, chunk, sizeof chunk);  // a socket or the server's pipe
  if (n <= 0) return false;
  buffer->append(chunk, static_cast<size_t>(n));
  return true;
}

}  // namespace

bool HttpConnection::Read(HttpReply* reply, bool head, int timeoutMs) {
  *reply = HttpReply();
  size_t end;
  while ((end = buffer_.find("\r\n\r\n")) == std::string::npos) {
    if (!Fill(fd_, &buffer_, timeoutMs)) return false;
  }
  std::istringstream header(buffer_.substr(0, end));
  buffer_.erase(0, end + 4);
  std::string line;
  std::getline(header, line);
  if (line.size() < 12 || line.compare(0, 5, "HTTP/") != 0) return false;
  reply->status = std::atoi(line.c_str() + 9);
  while (std::getline(header, line)) {
    const size_t colon = line.find(':');
    if (colon == std::string::npos) continue;
    std::string name = line.substr(0, colon);
    for (char& c : name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    const size_t v = line.find_first_not_of(' ', colon + 1);
    reply->headers[name] = v == std::string::npos ? "" : line.substr(v, line.find_last_not_of('\r') - v + 1);
  }
  const auto length = reply->headers.find("content-length");
  const size_t n = head || length == reply->headers.end() ? 0 : std::stoul(length->second);
  while (buffer_.size() < n) {
    if (!Fill(fd_, &buffer_, timeoutMs)) return false;
  }
  reply->body = buffer_.substr(0, n);
  buffer_.erase(0, n);
  return true;
}

bool HttpConnection::ClosedWithin(int timeoutMs) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  while (std::chrono::steady_clock::now() < deadline) {
    pollfd p{fd_, POLLIN, 0};
    if (poll(&p, 1, 50) > 0) {
      char c[512];
      const ssize_t n = recv(fd_, c, sizeof c, 0);
      if (n <= 0) return true;
    }
  }
  return false;
}

HttpReply HttpConnection::Post(const std::string& path, const std::string& body,
                               const std::string& contentType) {
  std::string request = "POST " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\n";
  if (!contentType.empty()) request += "Content-Type: " + contentType + "\r\n";
  request += "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
  HttpReply reply;
  if (!Send(request) || !Read(&reply)) reply.status = -1;
  return reply;
}

HttpReply HttpConnection::Get(const std::string& path) {
  HttpReply reply;
  if (!Send("GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n") || !Read(&reply)) reply.status = -1;
  return reply;
}

ServerProcess::ServerProcess(const std::string& binary, const std::vector<std::string>& args) {
  int pipeFds[2];
  if (pipe2(pipeFds, O_CLOEXEC) != 0) return;
  pid_ = fork();
  if (pid_ == 0) {
    dup2(pipeFds[1], STDOUT_FILENO);
    std::vector<std::string> all = {binary, "--port", "0"};
    all.insert(all.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (std::string& a : all) argv.push_back(a.data());
    argv.push_back(nullptr);
    execv(binary.c_str(), argv.data());
    _exit(127);
  }
  close(pipeFds[1]);
  out_ = pipeFds[0];
  // "... listening on http://127.0.0.1:PORT (...)"
  std::string text;
  size_t newline;
  while ((newline = text.find('\n')) == std::string::npos) {
    if (!Fill(out_, &text, 60000)) return;
  }
  const size_t colon = text.rfind(':', text.find(" (") );
  port_ = static_cast<uint16_t>(std::atoi(text.c_str() + colon + 1));
  rest_ = text.substr(newline + 1);
}

std::string ServerProcess::Output() {
  while (Fill(out_, &rest_, 200)) {
  }
  return rest_;
}

int ServerProcess::Stop(double* seconds) {
  if (pid_ <= 0) return -1;
  const auto start = std::chrono::steady_clock::now();
  kill(pid_, SIGTERM);
  int status = 0;
  waitpid(pid_, &status, 0);
  pid_ = -1;
  if (seconds != nullptr) {
    *seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

ServerProcess::~ServerProcess() {
  if (pid_ > 0) Stop(nullptr);
  if (out_ >= 0) close(out_);
}

}  // namespace eti::testing
