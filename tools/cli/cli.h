// extractor-kr, the command-line tool: UTF-8 texts in, the found date and
// time expressions out as JSON (or a table), with the bundled dictionaries
// or the caller's.
#ifndef EXTRACTOR_KR_TOOLS_CLI_CLI_H_
#define EXTRACTOR_KR_TOOLS_CLI_CLI_H_

#include <istream>
#include <ostream>
#include <string>
#include <vector>

namespace eti::tools {

// Runs the tool with its arguments (without the program name), reading texts
// from `in` when none are given.  Returns the exit status: 0, 1 when some
// text could not be handled, 2 for bad usage or unusable dictionaries.
int RunCli(const std::vector<std::string>& args, std::istream& in, std::ostream& out,
           std::ostream& err);

}  // namespace eti::tools

#endif  // EXTRACTOR_KR_TOOLS_CLI_CLI_H_
