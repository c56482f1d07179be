// The bundled dictionaries, compiled once from their sources, for the
// fuzz targets and the seed maker.
#ifndef EXTRACTOR_KR_FUZZ_FUZZ_DICTS_H_
#define EXTRACTOR_KR_FUZZ_FUZZ_DICTS_H_

#include <string>

namespace eti::fuzz {

struct DictSet {
  // In call order: settings, replacement, tag, pattern and unit tries, words.
  std::string parts[6];
};

// dicts/ko of the source tree, compiled (aborts if the sources are missing).
const DictSet& DefaultDicts();

// The layout of a call input, shared by the call fuzzer and the seed maker:
//   byte 0       unused flags
//   bytes 1..12  the reference time
//   byte 13      length L of a settings text that replaces the default one
//                (0: keep the default)
//   L bytes      that settings text
//   byte         number M of byte edits of the dictionaries
//   M x 5 bytes  edit: dictionary index (mod 6), offset (3 bytes, mod its
//                size), new byte; a trie's 8-byte header is never edited,
//                so every blob keeps its honest size
//   the rest     the text
std::string CallInput(const std::string& ref, const std::string& text);

}  // namespace eti::fuzz

#endif  // EXTRACTOR_KR_FUZZ_FUZZ_DICTS_H_
