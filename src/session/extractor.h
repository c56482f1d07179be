// The session API behind <extractor_kr.h>: an extractor holds a dictionary
// set loaded and checked once; every extraction runs the engine's pipeline
// and remainder text over it and maps the answer back onto the UTF-8 text
// it was given.  The C functions (c_api.cc) are thin wrappers; the
// bindings and the tools use this layer directly to get the problem of a
// failed call in words.
#ifndef EXTRACTOR_KR_SESSION_EXTRACTOR_H_
#define EXTRACTOR_KR_SESSION_EXTRACTOR_H_

#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "calendar/rules.h"
#include "dict/btrie.h"
#include "dict/source_set.h"
#include "driver/engine.h"
#include "extractor_kr.h"

namespace eti::session {

// An enum of the C API as the int a C caller stored, which C++ may not load
// as the enum when it names no value.
template <typename Enum>
int AsInt(const Enum& e) {
  int v = 0;
  static_assert(sizeof v == sizeof e, "the enums of the C API are ints");
  std::memcpy(&v, &e, sizeof v);
  return v;
}


// A status and, for anything but EKR_OK, what went wrong and where
// ("tags.bin: node 12: label offset 900 outside the pool of 800 bytes").
struct Status {
  ekr_status code = EKR_OK;
  std::string detail;

  bool ok() const { return code == EKR_OK; }
  static Status Error(ekr_status code, std::string detail) { return {code, std::move(detail)}; }
};

// The answer of one extraction.
struct Results {
  std::vector<ekr_result> items;
  std::string content;
};

// The file names of a dictionary directory, in the order of the fields of
// ekr_dictionaries.
extern const char* const kDictionaryFiles[6];

// YYYYMMDDhhmmss with F's for the fields a moment leaves open: the time
// string the whole-call entry writes for it.
std::string TimeString(const ekr_moment& m);

// The set compiled into the library (static data, never freed).
ekr_dictionaries DefaultDictionaries();

// The options of ekr_options_init: the reader rules, the future, the
// reader's own years.
ekr_options DefaultOptions();

// The options under which ekr_extract reads: the whole call's rules.
ekr_options WholeCallOptions();

// The problem with options ("" when they are sound): a size that no
// ekr_options_init wrote, an unknown rule set or preference, a window upside
// down or outside the rules' years, the whole call's rules with anything
// but their own.
std::string OptionsProblem(const ekr_options& o);

// The rules of sound options (OptionsProblem gave "").
ReadingRules RulesOf(const ekr_options& o);

// The years a rule set (an ekr_rules as an int) reads and keeps, and the
// years its references may lie in; false for an unknown rule set.
bool RulesYears(int rules, int32_t* first, int32_t* last);
bool ReferenceYears(int rules, int32_t* first, int32_t* last);

class Extractor {
 public:
  // Loads and checks a set; copies what it keeps.
  static Status Open(const ekr_dictionaries& d, std::unique_ptr<Extractor>* out);
  // Opens a directory: the six compiled files (kDictionaryFiles) when
  // tags.bin is there, otherwise its sources (settings.txt, words.txt and
  // each trie as NAME.txt and NAME-*.txt), compiled in memory and keeping
  // where each key was written.  With `settingsFile`, that file's text
  // replaces the set's settings.
  static Status OpenDir(const std::string& dir, std::unique_ptr<Extractor>* out,
                        const std::string& settingsFile = "");
  // The set compiled into the library, with the settings of `settingsFile`
  // when one is given.
  static Status OpenDefault(std::unique_ptr<Extractor>* out, const std::string& settingsFile = "");

  ~Extractor() = default;
  Extractor(const Extractor&) = delete;
  Extractor& operator=(const Extractor&) = delete;

  // The expressions of a UTF-8 text against a reference time (twelve digits
  // YYYYMMDDhhmm), under the whole call's rules or under `options`.  Safe
  // to call from many threads at once.
  Status Extract(std::string_view text, std::string_view reference, Results* out) const;
  Status Extract(std::string_view text, std::string_view reference, const ekr_options& options,
                 Results* out) const;

  // The same extraction, with what each stage made of the text, as one
  // JSON object (the replacements that fired, the tokens, the patterns
  // found and dropped, the records as found, compounded and resolved, what
  // the result loop did, the results and the content).
  Status Explain(std::string_view text, std::string_view reference, const ekr_options& options,
                 std::string* json) const;

  // The six dictionaries as they were opened, for the whole-call entry.
  ekr_dictionaries Dictionaries() const;

 private:
  Extractor() = default;
  // Opens a compiled set, its settings replaced by `settingsFile`'s text
  // when one is given, keeping the origins of its keys.
  static Status OpenSet(CompiledSet&& set, const std::string& settingsFile,
                        std::unique_ptr<Extractor>* out);

  // The six parts as opened (settings, the four tries, the word list).
  std::string blobs_[6];
  std::unique_ptr<BTrie, TrieDeleter> tries_[4];
  std::unique_ptr<ChainIndex> indexes_[4];
  std::string wordText_;
  WordList words_;  // views into wordText_
  std::unique_ptr<WordIndex> wordIndex_;
  LoadedDictionaries dicts_;
  // Where each key of the four tries was written ("replace.txt:12"), for
  // a set compiled from its sources; empty otherwise.
  std::unordered_map<std::string, std::string> origins_[4];

  // The origin of a key of trie k (0 replacements .. 3 unit sequences), ""
  // when unknown.
  std::string OriginOf(int k, const std::string& key) const {
    const auto it = origins_[k].find(key);
    return it == origins_[k].end() ? std::string() : it->second;
  }
};

// Opens an extractor for a C caller: the status of `open`, its detail kept
// for ekr_last_error, running out of memory as EKR_ERROR_MEMORY.
ekr_status OpenForC(ekr_extractor** out,
                    const std::function<Status(std::unique_ptr<Extractor>*)>& open);

}  // namespace eti::session

// The opaque types of the C API.
struct ekr_extractor {
  std::unique_ptr<eti::session::Extractor> impl;
};
struct ekr_results {
  eti::session::Results impl;
};

#endif  // EXTRACTOR_KR_SESSION_EXTRACTOR_H_
