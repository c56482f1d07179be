// dictc, the dictionary compiler: readable UTF-8 sources in, the blobs and
// word lists that the library loads out.
#ifndef EXTRACTOR_KR_TOOLS_DICTC_DICTC_H_
#define EXTRACTOR_KR_TOOLS_DICTC_DICTC_H_

#include <ostream>
#include <string>
#include <vector>

namespace eti::tools {

// Runs dictc with its arguments (without the program name); writes results
// to `out` and messages to `err`; returns the exit status.
int RunDictc(const std::vector<std::string>& args, std::ostream& out, std::ostream& err);

}  // namespace eti::tools

#endif  // EXTRACTOR_KR_TOOLS_DICTC_DICTC_H_
