// dictc commands:
//   compile --kind KIND SOURCE OUTPUT   trie source -> blob
//   words SOURCE OUTPUT                 word list source -> CP949 word list
//   dump BLOB                           blob -> sorted UTF-8 source on stdout
//   check TAGS PATTERNS UNITS [REPLACE] consistency of a dictionary set
// Bad input gets "file:line: problem" for every problem found, exit status
// 1 and no output file.
#include "dictc/dictc.h"

#include <algorithm>

#include "common/consistency.h"
#include "session/cp949.h"
#include "common/dict_source.h"
#include "common/file_util.h"
#include "common/trie_format.h"

namespace eti::tools {
namespace {

constexpr char kUsage[] =
    "usage: dictc compile --kind replace|tag|pattern|unit SOURCE OUTPUT\n"
    "       dictc words SOURCE OUTPUT\n"
    "       dictc dump BLOB\n"
    "       dictc check TAGS PATTERNS UNITS [REPLACE]\n";

int Usage(std::ostream& err, const std::string& problem) {
  err << "dictc: " << problem << "\n" << kUsage;
  return 2;
}

bool Report(const std::vector<SourceError>& errors, std::ostream& err) {
  for (const SourceError& e : errors) err << e.Format() << "\n";
  return errors.empty();
}

int Compile(const std::vector<std::string>& args, std::ostream& err) {
  // compile --kind KIND SOURCE OUTPUT
  if (args.size() != 5 || args[1] != "--kind") return Usage(err, "compile needs --kind KIND SOURCE OUTPUT");
  DictKind kind;
  if (!ParseDictKind(args[2], &kind)) return Usage(err, "unknown kind \"" + args[2] + "\"");
  const std::string& source = args[3];
  const std::string& output = args[4];
  std::string text, error;
  if (!ReadFile(source, &text, &error)) {
    err << "dictc: " << error << "\n";
    return 1;
  }
  std::vector<SourceError> errors;
  const std::vector<SourceEntry> entries = ReadTrieSource(text, source, kind, &errors);
  if (!Report(errors, err)) return 1;
  if (!WriteFileAtomically(output, BuildTrieBlob(TrieEntries(entries)), &error)) {
    err << "dictc: " << error << "\n";
    return 1;
  }
  return 0;
}

int Words(const std::vector<std::string>& args, std::ostream& err) {
  if (args.size() != 3) return Usage(err, "words needs SOURCE OUTPUT");
  std::string text, error;
  if (!ReadFile(args[1], &text, &error)) {
    err << "dictc: " << error << "\n";
    return 1;
  }
  std::vector<SourceError> errors;
  const std::vector<std::string> words = ReadWordSource(text, args[1], &errors);
  if (!Report(errors, err)) return 1;
  if (!WriteFileAtomically(args[2], WordListText(words), &error)) {
    err << "dictc: " << error << "\n";
    return 1;
  }
  return 0;
}

int Dump(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (args.size() != 2) return Usage(err, "dump needs BLOB");
  std::string blob, error;
  if (!ReadFile(args[1], &blob, &error)) {
    err << "dictc: " << error << "\n";
    return 1;
  }
  std::vector<TrieEntry> entries;
  if (!ReadTrieBlob(blob, &entries, &error)) {
    err << args[1] << ": " << error << "\n";
    return 1;
  }
  std::vector<std::pair<std::string, std::string>> lines;
  for (const TrieEntry& e : entries) {
    std::string key, value;
    ConvertError bad;
    if (!Cp949ToUtf8(e.key, &key, &bad) || !Cp949ToUtf8(e.value, &value, &bad)) {
      err << args[1] << ": entry is not CP949 text: " << bad.message << "\n";
      return 1;
    }
    lines.emplace_back(std::move(key), std::move(value));
  }
  std::sort(lines.begin(), lines.end());
  for (const auto& [key, value] : lines) out << key << '\t' << value << '\n';
  return 0;
}

int Check(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (args.size() != 4 && args.size() != 5) {
    return Usage(err, "check needs TAGS PATTERNS UNITS [REPLACE]");
  }
  std::vector<SourceFile> files(args.size() - 1);
  for (size_t k = 0; k < files.size(); ++k) {
    std::string error;
    files[k].name = args[k + 1];
    if (!ReadFile(files[k].name, &files[k].text, &error)) {
      err << "dictc: " << error << "\n";
      return 1;
    }
  }
  std::vector<SourceError> errors = CheckDictionarySet(files[0], files[1], files[2]);
  if (files.size() == 4) {
    for (const auto& more : {CheckReplacements(files[3]),
                             CheckTagsAgainstReplacements(files[0], files[3])}) {
      errors.insert(errors.end(), more.begin(), more.end());
    }
  }
  if (!Report(errors, err)) return 1;
  out << "consistent:";
  for (const SourceFile& f : files) out << " " << f.name;
  out << "\n";
  return 0;
}

}  // namespace

int RunDictc(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (args.empty()) return Usage(err, "no command");
  const std::string& command = args[0];
  if (command == "compile") return Compile(args, err);
  if (command == "words") return Words(args, err);
  if (command == "dump") return Dump(args, out, err);
  if (command == "check") return Check(args, out, err);
  if (command == "--help" || command == "-h") {
    out << kUsage;
    return 0;
  }
  return Usage(err, "unknown command \"" + command + "\"");
}

}  // namespace eti::tools
