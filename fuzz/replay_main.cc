// Runs files (or every file of directories) through a fuzz target once:
// the regression inputs, in builds without the fuzzing engine.
#include <dirent.h>
#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

void Collect(const std::string& path, std::vector<std::string>* files) {
  struct stat st;
  if (stat(path.c_str(), &st) != 0) return;
  if (!S_ISDIR(st.st_mode)) {
    files->push_back(path);
    return;
  }
  if (DIR* d = opendir(path.c_str())) {
    while (dirent* e = readdir(d)) {
      const std::string name = e->d_name;
      if (name != "." && name != ".." && name[0] != '.') Collect(path + "/" + name, files);
    }
    closedir(d);
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::string> files;
  for (int k = 1; k < argc; ++k) Collect(argv[k], &files);
  for (const std::string& f : files) {
    std::ifstream in(f, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    const std::string s = bytes.str();
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(s.data()), s.size());
  }
  std::printf("replayed %zu inputs\n", files.size());
  return 0;
}
