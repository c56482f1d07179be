// The engine behind every way in.  The whole-call entry (ETI_Main, ETS,
// getOthers) loads a dictionary set for each call; the session API loads it
// once when an extractor is opened.  Both then run the same pipeline and
// the same remainder text over a loaded set.
#ifndef EXTRACTOR_KR_DRIVER_ENGINE_H_
#define EXTRACTOR_KR_DRIVER_ENGINE_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "dict/btrie.h"
#include "dict/chain_index.h"
#include "extractor_kr/stages.h"
#include "interpret/marks.h"

namespace eti {

// The words of a word list, in list order (views into its text).
using WordList = std::vector<std::string_view>;

// The lines of a word list text as the line word list reads them: pieces
// of at most 1023 bytes ending at a line feed, without their trailing line
// feeds and carriage returns; blank lines are kept as empty words.
WordList SplitWordList(const char* text);

// The words of a list that can fit at a byte, by that byte: those that
// begin with it and the empty ones, in list order; and the words that end
// with a byte (never the empty ones).  Built once for a set.
class WordIndex {
 public:
  explicit WordIndex(const WordList& words);
  const std::vector<uint32_t>& Candidates(unsigned char lead) const { return byLead_[lead]; }
  const std::vector<uint32_t>& Endings(unsigned char last) const { return byLast_[last]; }

 private:
  std::vector<uint32_t> byLead_[256];
  std::vector<uint32_t> byLast_[256];
};

// A dictionary set ready for runs: the four tries loaded and checked, the
// settings text read, the word list split into its lines.  The pointers are
// not owned; nothing in a run writes through them, so one set may serve
// many runs on many threads at once.
struct LoadedDictionaries {
  const BTrie* replacements = nullptr;
  const BTrie* tags = nullptr;
  const BTrie* patterns = nullptr;
  const BTrie* unitSequences = nullptr;
  int32_t defaultAmPm[13] = {0};  // per hour 0..12: 0 none, 1 AM, 2 PM
  int32_t defaultCentury = 0;
  const WordList* words = nullptr;
  const WordIndex* wordIndex = nullptr;  // may be NULL: the words are then scanned
  // Chain indexes of the four tries (replacements, tags, patterns, unit
  // sequences), each NULL where the tries are scanned.
  const ChainIndex* indexes[4] = {nullptr, nullptr, nullptr, nullptr};
};

// The set a whole call hands in, read for that call: the tries checked and
// read where they lie (copied only when their integers are not aligned),
// the settings and the word list read.  The blobs must outlive it.
class CallDictionaries {
 public:
  CallDictionaries(const char* settings, const void* replacements, const void* tags,
                   const void* patterns, const void* unitSequences, const char* words);
  CallDictionaries(const CallDictionaries&) = delete;
  CallDictionaries& operator=(const CallDictionaries&) = delete;

  const LoadedDictionaries& get() const { return d_; }
  const WordList& words() const { return words_; }

 private:
  CallTrie tries_[4];
  std::unique_ptr<ChainIndex> indexes_[4];
  WordList words_;
  LoadedDictionaries d_;
};

// One result of a run: the fields of a pipeline result, and what it covers
// of the input text as runs of 1 (node.marks and node.next stay NULL).
struct Found {
  RESULT_ETS node;
  Marks marks;
  // Whether the start or the end was read on the lunar calendar (which the
  // exported record does not carry).
  bool lunar = false;
};

// Whether the whole-call entry accepts a reference time: years 1970..2043,
// months 1..12, days 1..31, hours 0..24, minutes 0..60, read from the first
// twelve characters as the entry reads them.
bool AcceptReference(const char* refTime);

// Reads a settings text into `d` (hours and century, both cleared first).
void ReadSettings(const char* settings, LoadedDictionaries* d);

// ETS over a loaded set and a text of `length` bytes: the pipeline's
// results in order, with *overallType written as ETS writes it.  Memory and
// time grow with the text and its expressions, never with their product.
std::vector<Found> RunPipeline(const char* text, int32_t length, const char* refTime,
                               const LoadedDictionaries& d, int32_t* overallType);

// The pipeline's results as the exported list, each with its per-byte marks
// over the `length` bytes of the input.
RESULT_ETS* ResultList(const std::vector<Found>& found, int32_t length);

// Removal map of the remainder text, one character per byte of `text`:
// '0' kept, '1' removed as part of an expression or of a listed word right
// after one, byte value 1 a removed comma.  With no results every byte is
// kept (commas too).
std::string RemovalMap(const char* text, int32_t length, const std::vector<Found>& found,
                       const WordList& words, const WordIndex* index = nullptr);

// The second half of the removal map: `map` holds '1' at every byte an
// expression covers and '0' elsewhere; removes the listed word right after
// each removed stretch and, when anything was found, every comma.
void RemoveFollowingWordsAndCommas(const char* text, const WordList& words,
                                   const WordIndex* index, std::string* map);

// The bytes of `text` that `map` keeps, as a new heap text.
char* KeptText(const char* text, const std::string& map);

// The repetition string of a result: 00010000000000 yearly ...
// 00000001000000 daily, 00000000000000 for none.
const char* CycleOf(const RESULT_ETS& r);

// The byte positions a result's marks cover: the first marked byte and one
// past the last, both -1 when nothing is marked.
void MarkedBytes(const RESULT_ETS& r, int32_t textLength, int32_t* begin, int32_t* end);
void MarkedBytes(const Found& f, int32_t* begin, int32_t* end);

// The typed results of a run over `text` (content left NULL), or NULL.
TYPED_RESULT* TypedResults(const std::vector<Found>& found, const char* text);

// charIndex for many byte positions of one text in one walk: each *p
// becomes charIndex(text, *p).
void CharIndexes(const char* text, std::vector<int32_t*> positions);

}  // namespace eti

#endif  // EXTRACTOR_KR_DRIVER_ENGINE_H_
