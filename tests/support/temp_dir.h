// A temporary directory for tests that write files, removed with its files
// when the test ends.
#ifndef EXTRACTOR_KR_TESTS_SUPPORT_TEMP_DIR_H_
#define EXTRACTOR_KR_TESTS_SUPPORT_TEMP_DIR_H_

#include <string>
#include <vector>

namespace eti::testing {

class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  const std::string& path() const { return dir_; }
  std::string Path(const std::string& name) const { return dir_ + "/" + name; }
  void Write(const std::string& name, const std::string& bytes) const;
  std::string Read(const std::string& name) const;  // "" when missing
  std::vector<std::string> Files() const;           // sorted names

 private:
  std::string dir_;
};

}  // namespace eti::testing

#endif  // EXTRACTOR_KR_TESTS_SUPPORT_TEMP_DIR_H_
