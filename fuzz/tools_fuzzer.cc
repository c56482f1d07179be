// The input parsing of the tools: the command-line tool's text and JSON
// lines, and the dictionary compiler's sources.  Malformed input must get
// a message, never a crash; a source that compiles must also read back as
// the same entries.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "cli/cli.h"
#include "dictc/consistency.h"
#include "session/cp949.h"
#include "dict/source.h"
#include "dict/trie_format.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const int mode = data[0] % 8;
  const std::string in(reinterpret_cast<const char*>(data) + 1, size - 1);
  using namespace eti;
  using namespace eti::tools;
  switch (mode) {
    case 0:
    case 1: {  // text lines, or JSON lines
      std::vector<std::string> args = {"--dict", ETI_BUILT_DICT_DIR, "--ref", "202405151030"};
      if (mode == 1) args.push_back("--jsonl");
      std::istringstream input(in);
      std::ostringstream out, err;
      const int status = RunCli(args, input, out, err);
      if (status == 1 && err.str().empty()) std::abort();  // a failure must say why
      break;
    }
    case 2:
    case 3:
    case 4:
    case 5: {  // a trie source of each kind: what compiles reads back the same
      const DictKind kinds[] = {DictKind::kReplace, DictKind::kTag, DictKind::kPattern,
                                DictKind::kUnit};
      std::vector<SourceError> errors;
      const auto entries = ReadTrieSource(in, "fuzz.txt", kinds[mode - 2], &errors);
      for (const SourceError& e : errors) {
        if (e.message.empty() || e.line < 1) std::abort();
      }
      if (!errors.empty()) break;
      std::vector<TrieEntry> back;
      std::string error;
      if (!ReadTrieBlob(BuildTrieBlob(TrieEntries(entries)), &back, &error)) std::abort();
      if (back.size() != entries.size()) std::abort();
      break;
    }
    case 6: {  // a word list, and its text read back
      std::vector<SourceError> errors;
      const auto words = ReadWordSource(in, "words.txt", &errors);
      std::string utf8;
      eti::ConvertError bad;
      if (errors.empty() && !eti::Cp949ToUtf8(WordListText(words), &utf8, &bad)) std::abort();
      break;
    }
    default: {  // a dictionary set: the input cut in three
      const size_t a = in.size() / 3, b = 2 * in.size() / 3;
      CheckDictionarySet({{"tags.txt", in.substr(0, a)}}, {{"patterns.txt", in.substr(a, b - a)}},
                         {{"units.txt", in.substr(b)}});
      CheckReplacements({{"replace.txt", in}});
      break;
    }
  }
  return 0;
}
