// What the stages made of one text, for whoever wants to see why an answer
// is what it is (extractor-kr --explain).  A run that is traced hands a
// Trace to its thread; each stage looks for one and, when there is one,
// notes what it did.  Untraced runs pay one thread-local read per stage
// and never build anything, and a traced run takes the same decisions as
// an untraced one: the trace is only ever written, never read, by the
// stages.
#ifndef EXTRACTOR_KR_DRIVER_TRACE_H_
#define EXTRACTOR_KR_DRIVER_TRACE_H_

#include <cstdint>
#include <string>
#include <vector>

#include "extractor_kr/stages.h"
#include "interpret/marks.h"

namespace eti {

struct Trace {
  // A replacement that fired: where in the input text, what it matched and
  // what it wrote (bytes of the engine's text).
  struct Replacement {
    int32_t at = 0;
    std::string key, value;
  };
  // A token of the tagger: its bytes in the normalised text and its tags as
  // written in the tag trie ("NUM[3]", "DayW").
  struct Token {
    int32_t at = 0, length = 0;
    std::vector<std::string> tags;
  };
  // A pattern found at a place of a reading, and what became of it.
  struct Match {
    int32_t begin = 0, end = 0;  // bytes of the normalised text
    std::string pattern;         // the '*'-joined tag names
    std::string outcome;         // "a record", or why none
  };
  // A record at one stage, with the bytes of the normalised text it covers
  // and what the stage did with it.
  struct Record {
    DTINFO fields{};  // copied; its marks and link are left out
    int32_t begin = -1, end = -1;
    std::string note;
  };

  std::string input;  // the text as the engine read it
  std::vector<Replacement> replacements;
  std::string normalised;
  std::vector<Token> tokens;
  std::vector<Match> matches;
  std::vector<Record> found, compounded, resolved;
  // What the result loop did: spans joined, records dropped, and why.
  std::vector<std::string> results;
  // What compounding and resolution said of each compound, by its number,
  // before the records are copied into `compounded` and `resolved`.
  std::vector<std::string> compoundNotes, resolveNotes;

  // Adds a note on compound k to `notes`.
  static void Note(std::vector<std::string>* notes, size_t k, const std::string& note);
  // A record as the stage left it.
  static Record Of(const DTINFO& r, const Marks* marks, std::string note);
};

// The trace of the run on this thread, or NULL when it is not traced.
Trace* ActiveTrace();

// Traces the runs of this thread into `trace` for its lifetime.
class ScopedTrace {
 public:
  explicit ScopedTrace(Trace* trace);
  ~ScopedTrace();
  ScopedTrace(const ScopedTrace&) = delete;
  ScopedTrace& operator=(const ScopedTrace&) = delete;

 private:
  Trace* previous_;
};

}  // namespace eti

#endif  // EXTRACTOR_KR_DRIVER_TRACE_H_
