// The bundled Korean set, compiled from dicts/ko at build time and carried
// by the library as data (the generated default_dictionaries_data.cc), so
// that an extractor can be opened with no files at all.
#include <cstddef>

#include "session/extractor.h"

namespace eti::session {

#define ETI_DEFAULT_PART(name)                     \
  extern const unsigned char kDefault##name[];     \
  extern const size_t kDefault##name##Size;
ETI_DEFAULT_PART(Settings)
ETI_DEFAULT_PART(Replacements)
ETI_DEFAULT_PART(Tags)
ETI_DEFAULT_PART(Patterns)
ETI_DEFAULT_PART(UnitSequences)
ETI_DEFAULT_PART(Words)
#undef ETI_DEFAULT_PART

ekr_dictionaries DefaultDictionaries() {
  return {
      {kDefaultSettings, kDefaultSettingsSize},
      {kDefaultReplacements, kDefaultReplacementsSize},
      {kDefaultTags, kDefaultTagsSize},
      {kDefaultPatterns, kDefaultPatternsSize},
      {kDefaultUnitSequences, kDefaultUnitSequencesSize},
      {kDefaultWords, kDefaultWordsSize},
  };
}

Status Extractor::OpenDefault(std::unique_ptr<Extractor>* out) {
  return Open(DefaultDictionaries(), out);
}

}  // namespace eti::session

// Defined here rather than with the other C functions, so that the engine
// (which the dictionary compiler links) does not depend on the data the
// compiler makes.
extern "C" ekr_status ekr_open_default(ekr_extractor** out) {
  const ekr_dictionaries d = eti::session::DefaultDictionaries();
  return ekr_open(&d, out);
}
