// Writes the seed inputs of the fuzz targets, made from the development
// corpus and the bundled dictionary sources, into the directory given:
// call/ (one whole call per corpus sentence), blob/ (the sentences over
// empty tries), tools/ (text lines, JSON lines and dictionary sources),
// session/ (each sentence through the session API, with the bundled set and
// with one edit of it), and texts.txt (every corpus text, one per line, for the leak check).
#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "common/case_file.h"
#include "dict/file_util.h"
#include "common/form.h"
#include "session/cp949.h"
#include "fuzz_dicts.h"

namespace {

void Write(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

std::string Read(const std::string& path) {
  std::string text, error;
  eti::ReadFile(path, &text, &error);
  return text;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: make_seeds OUTDIR\n");
    return 2;
  }
  const std::string out = argv[1];
  for (const char* sub : {"", "/call", "/blob", "/tools", "/session", "/server"}) mkdir((out + sub).c_str(), 0755);

  const std::string corpus = std::string(ETI_SOURCE_DIR) + "/corpus/ko";
  std::string texts, jsonl;
  int n = 0;
  std::vector<eti::SourceError> errors;
  for (const std::string& f : eti::ListFiles(corpus, ".tsv")) {
    for (const auto& c : eti::tools::ParseCaseFile(Read(corpus + "/" + f), f, &errors)) {
      const std::string cp949 = eti::Cp949(c.text);
      const std::string id = std::to_string(n++);
      Write(out + "/call/" + id, eti::fuzz::CallInput(c.ref, cp949));
      Write(out + "/blob/" + id,
            std::string(1, static_cast<char>(std::min<size_t>(cp949.size(), 255))) + cp949);
      const std::string ref = (c.ref + "000000000000").substr(0, 12);
      Write(out + "/session/" + id, std::string(1, '\0') + ref + c.text);
      if (n % 4 == 1) {
        // Reading options: the past preferred, 1900..2099 or 2000..2035.
        Write(out + "/session/options-" + id,
              std::string(1, '\2') + ref + (n % 8 == 1 ? std::string("\1\5\xCC", 3)
                                                        : std::string("\1\x69\x8C", 3)) +
                  c.text);
      }
      if (n % 16 == 0) {
        // One edit: a byte of the tag trie's pool set to a space.
        Write(out + "/session/edited-" + id,
              std::string(1, '\1') + ref + std::string("\1\2\0\x40\x01\0 ", 7) + c.text);
      }
      if (n % 4 == 2) {
        // A POST /parse of the sentence, with one of the optional fields.
        static const char* const extra[] = {"", "&tz=America%2FNew_York", "&dims=%5B%22time%22%5D",
                                            "&prefer=past&years=1900-2099"};
        Write(out + "/server/" + id, std::string("\1\0\1text=", 8) + eti::tools::FormEncode(c.text) +
                                         "&locale=ko_KR&reftime=1716514200000" + extra[n / 4 % 4]);
      }
      texts += c.text + "\n";
      std::string quoted;
      for (char ch : c.text) quoted += ch == '"' ? std::string("\\\"") : std::string(1, ch);
      jsonl += "{\"text\": \"" + quoted + "\", \"ref\": \"" + c.ref + "\"}\n";
    }
  }
  Write(out + "/server/health", std::string("\0\2\0", 3));
  Write(out + "/server/targets", std::string("\0\3\0", 3));
  Write(out + "/server/query", std::string("\1\0\0", 3) + "locale=ko" + std::string(1, '\0') +
                                   "text=%EB%82%B4%EC%9D%BC+3%EC%8B%9C");
  Write(out + "/texts.txt", texts);
  Write(out + "/tools/lines", std::string(1, '\0') + texts);
  Write(out + "/tools/jsonl", std::string(1, '\1') + jsonl);
  const std::string dicts = std::string(ETI_SOURCE_DIR) + "/dicts/ko/";
  const char* sources[] = {"replace.txt", "tags.txt", "patterns.txt", "units.txt"};
  for (int k = 0; k < 4; ++k) {
    Write(out + "/tools/source" + std::to_string(k),
          std::string(1, static_cast<char>(2 + k)) + Read(dicts + sources[k]));
  }
  Write(out + "/tools/words", std::string(1, '\6') + Read(dicts + "words.txt"));
  Write(out + "/tools/set", std::string(1, '\7') + Read(dicts + "tags.txt") +
                                Read(dicts + "patterns.txt") + Read(dicts + "units.txt"));
  std::printf("%d corpus sentences made seeds in %s\n", n, out.c_str());
  return 0;
}
