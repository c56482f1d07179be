#include "dict/file_util.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>
#include <vector>

namespace eti {

bool ReadFile(const std::string& path, std::string* out, std::string* error) {
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    *error = path + ": cannot open: " + std::strerror(errno);
    return false;
  }
  std::ostringstream buf;
  buf << in.rdbuf();
  if (in.bad()) {
    *error = path + ": read error";
    return false;
  }
  *out = buf.str();
  return true;
}

bool WriteFileAtomically(const std::string& path, std::string_view data, std::string* error) {
  std::vector<char> tmp(path.begin(), path.end());
  const std::string suffix = ".tmp.XXXXXX";
  tmp.insert(tmp.end(), suffix.begin(), suffix.end());
  tmp.push_back('\0');
  const int fd = mkstemp(tmp.data());
  if (fd < 0) {
    *error = path + ": cannot create: " + std::strerror(errno);
    return false;
  }
  size_t done = 0;
  while (done < data.size()) {
    const ssize_t n = write(fd, data.data() + done, data.size() - done);
    if (n < 0) {
      if (errno == EINTR) continue;
      *error = path + ": write error: " + std::strerror(errno);
      close(fd);
      unlink(tmp.data());
      return false;
    }
    done += static_cast<size_t>(n);
  }
  fchmod(fd, 0644);
  if (close(fd) != 0 || std::rename(tmp.data(), path.c_str()) != 0) {
    *error = path + ": cannot write: " + std::strerror(errno);
    unlink(tmp.data());
    return false;
  }
  return true;
}

std::vector<std::string> ListFiles(const std::string& dir, std::string_view suffix) {
  std::vector<std::string> files;
  if (DIR* d = opendir(dir.c_str())) {
    while (dirent* e = readdir(d)) {
      const std::string name = e->d_name;
      if (name.size() > suffix.size() &&
          name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0) {
        files.push_back(name);
      }
    }
    closedir(d);
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace eti
