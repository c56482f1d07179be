// dictc commands:
//   compile --kind KIND SOURCE... OUTPUT  trie sources -> blob
//   words SOURCE OUTPUT                   word list source -> CP949 word list
//   dump BLOB                             blob -> sorted UTF-8 source on stdout
//   check TAGS PATTERNS UNITS [REPLACE...] consistency of a dictionary set
//   check DIR [--words LIST]...           the same for a source directory,
//                                         and its word traps over the lists
//   traps DIR --words LIST... [--without FILE]...
//                                         the guards that close the traps
// Bad input gets "file:line: problem" for every problem found, exit status
// 1 and no output file.
#include "dictc/dictc.h"

#include <algorithm>

#include <sys/stat.h>

#include "dictc/consistency.h"
#include "dict/source.h"
#include "dict/file_util.h"
#include "dict/source_set.h"
#include "dictc/traps.h"
#include "dict/trie_format.h"
#include "session/cp949.h"

namespace eti::tools {
namespace {

constexpr char kUsage[] =
    "usage: dictc compile --kind replace|tag|pattern|unit SOURCE... OUTPUT\n"
    "       dictc words SOURCE OUTPUT\n"
    "       dictc dump BLOB\n"
    "       dictc check TAGS PATTERNS UNITS [REPLACE...]\n"
    "       dictc check DIR [--words LIST]...\n"
    "       dictc traps DIR --words LIST... [--without FILE]...\n"
    "A source directory holds settings.txt, words.txt and the tries replace, tags,\n"
    "patterns and units, each NAME.txt and any NAME-*.txt.  A LIST holds common\n"
    "words, one a line, or is a hunspell dictionary (/usr/share/hunspell/ko.dic).\n";

int Usage(std::ostream& err, const std::string& problem) {
  err << "dictc: " << problem << "\n" << kUsage;
  return 2;
}

bool Report(const std::vector<SourceError>& errors, std::ostream& err) {
  for (const SourceError& e : errors) err << e.Format() << "\n";
  return errors.empty();
}

int Compile(const std::vector<std::string>& args, std::ostream& err) {
  // compile --kind KIND SOURCE... OUTPUT
  if (args.size() < 5 || args[1] != "--kind") {
    return Usage(err, "compile needs --kind KIND SOURCE... OUTPUT");
  }
  DictKind kind;
  if (!ParseDictKind(args[2], &kind)) return Usage(err, "unknown kind \"" + args[2] + "\"");
  const std::string& output = args.back();
  std::vector<SourceError> errors;
  const auto files =
      ReadSourceFiles(std::vector<std::string>(args.begin() + 3, args.end() - 1), &errors);
  const std::vector<SourceEntry> entries = ReadTrieSources(files, kind, &errors);
  if (!Report(errors, err)) return 1;
  std::string error;
  if (!WriteFileAtomically(output, CompileTrie(entries, kind), &error)) {
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

bool IsDirectory(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// A source directory with its options: --words LIST (repeatable) and,
// where allowed, --without FILE (a source file of the directory left out).
struct DirArgs {
  std::string dir;
  std::vector<std::string> wordLists, without;
};

bool ParseDirArgs(const std::vector<std::string>& args, bool allowWithout, DirArgs* d,
                  std::string* problem) {
  d->dir = args[1];
  for (size_t i = 2; i < args.size(); i += 2) {
    const bool words = args[i] == "--words", without = allowWithout && args[i] == "--without";
    if ((!words && !without) || i + 1 >= args.size()) {
      *problem = "unexpected \"" + args[i] + "\" (options: --words LIST" +
                 std::string(allowWithout ? ", --without FILE" : "") + ")";
      return false;
    }
    (words ? d->wordLists : d->without).push_back(args[i + 1]);
  }
  return true;
}

// The trie sources of a directory, less the files named by --without.
Sources DirSources(const DirArgs& d, const char* base, std::vector<SourceError>* errors) {
  std::vector<std::string> paths;
  for (const std::string& p : TrieSourceFiles(d.dir, base)) {
    const std::string name = p.substr(p.rfind('/') + 1);
    if (std::find(d.without.begin(), d.without.end(), name) == d.without.end()) {
      paths.push_back(p);
    }
  }
  return ReadSourceFiles(paths, errors);
}

// The traps of a directory's set over its --words lists.
bool DirTraps(const DirArgs& d, std::vector<Trap>* traps, std::ostream& err) {
  std::vector<SourceError> errors;
  const Sources replace = DirSources(d, "replace", &errors), tags = DirSources(d, "tags", &errors);
  const auto replaceEntries = ReadTrieSources(replace, DictKind::kReplace, &errors);
  const auto tagEntries = ReadTrieSources(tags, DictKind::kTag, &errors);
  const CompiledSet set = CompileSourceDir(d.dir, &errors, d.without);
  std::vector<std::string> words;
  for (const std::string& list : d.wordLists) {
    std::string error;
    if (!ReadCommonWords(list, &words, &error)) errors.push_back({list, 0, error});
  }
  if (!Report(errors, err)) return false;
  std::string error;
  if (!FindTraps(set, replaceEntries, tagEntries, words, traps, &error)) {
    err << "dictc: " << d.dir << ": " << error << "\n";
    return false;
  }
  return true;
}

int CheckDir(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  DirArgs d;
  std::string problem;
  if (!ParseDirArgs(args, false, &d, &problem)) return Usage(err, "check " + problem);
  std::vector<SourceError> errors;
  const Sources tags = DirSources(d, "tags", &errors), patterns = DirSources(d, "patterns", &errors),
                units = DirSources(d, "units", &errors), replace = DirSources(d, "replace", &errors);
  for (const auto& more : {CheckDictionarySet(tags, patterns, units), CheckReplacements(replace),
                           CheckTagsAgainstReplacements(tags, replace)}) {
    errors.insert(errors.end(), more.begin(), more.end());
  }
  if (!Report(errors, err)) return 1;
  std::vector<Trap> traps;
  if (!d.wordLists.empty()) {
    if (!DirTraps(d, &traps, err)) return 1;
    for (const Trap& t : traps) {
      err << d.dir << ": common word \"" << t.word << "\" in \"" << t.context
          << "\": the expression \"" << t.expression
          << "\" reaches into or out of it; guard it with \"" << t.guardKey
          << "\" (dicts/ko/generate.py writes such guards)\n";
    }
    if (!traps.empty()) return 1;
  }
  out << "consistent: " << d.dir;
  if (!d.wordLists.empty()) out << ", no word traps";
  out << "\n";
  return 0;
}

int Traps(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  DirArgs d;
  std::string problem;
  if (args.size() < 2 || !ParseDirArgs(args, true, &d, &problem)) {
    return Usage(err, "traps " + (problem.empty() ? "needs DIR --words LIST..." : problem));
  }
  if (d.wordLists.empty()) return Usage(err, "traps needs at least one --words LIST");
  std::vector<Trap> traps;
  if (!DirTraps(d, &traps, err)) return 1;
  for (const Trap& t : traps) {
    out << t.guardKey << "\t" << t.guardValue << "\t" << t.word << "\t" << t.context << "\t"
        << t.expression << "\n";
  }
  return 0;
}

int Check(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (args.size() >= 2 && IsDirectory(args[1])) return CheckDir(args, out, err);
  if (args.size() < 4) return Usage(err, "check needs TAGS PATTERNS UNITS [REPLACE...] or DIR");
  std::vector<SourceError> errors;
  Sources files = ReadSourceFiles(std::vector<std::string>(args.begin() + 1, args.end()), &errors);
  if (!Report(errors, err)) return 1;
  const Sources tags = {files[0]}, patterns = {files[1]}, units = {files[2]};
  const Sources replace(files.begin() + 3, files.end());
  errors = CheckDictionarySet(tags, patterns, units);
  if (!replace.empty()) {
    for (const auto& more : {CheckReplacements(replace), CheckTagsAgainstReplacements(tags, replace)}) {
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
  if (command == "traps") return Traps(args, out, err);
  if (command == "--help" || command == "-h") {
    out << kUsage;
    return 0;
  }
  return Usage(err, "unknown command \"" + command + "\"");
}

}  // namespace eti::tools
