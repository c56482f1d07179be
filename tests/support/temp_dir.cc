#include "support/temp_dir.h"

#include <dirent.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

#include "dict/file_util.h"

namespace eti::testing {

TempDir::TempDir() {
  char tmpl[] = "/tmp/extractor_kr_test.XXXXXX";
  if (mkdtemp(tmpl) == nullptr) ADD_FAILURE() << "cannot make a temporary directory";
  dir_ = tmpl;
}

TempDir::~TempDir() {
  for (const std::string& f : Files()) unlink(Path(f).c_str());
  rmdir(dir_.c_str());
}

void TempDir::Write(const std::string& name, const std::string& bytes) const {
  std::ofstream(Path(name), std::ios::binary) << bytes;
}

std::string TempDir::Read(const std::string& name) const {
  std::string text, error;
  eti::ReadFile(Path(name), &text, &error);
  return text;
}

std::vector<std::string> TempDir::Files() const {
  std::vector<std::string> names;
  if (DIR* d = opendir(dir_.c_str())) {
    while (dirent* e = readdir(d)) {
      const std::string n = e->d_name;
      if (n != "." && n != "..") names.push_back(n);
    }
    closedir(d);
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace eti::testing
