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

Status Extractor::OpenDefault(std::unique_ptr<Extractor>* out, const std::string& settingsFile) {
  if (settingsFile.empty()) return Open(DefaultDictionaries(), out);
  const ekr_dictionaries d = DefaultDictionaries();
  const auto text = [](const ekr_blob& b) {
    return std::string(static_cast<const char*>(b.data), b.size);
  };
  CompiledSet set;
  set.replace = text(d.replacements);
  set.tags = text(d.tags);
  set.patterns = text(d.patterns);
  set.units = text(d.unit_sequences);
  set.words = text(d.words);
  return OpenSet(std::move(set), settingsFile, out);
}

}  // namespace eti::session

// Defined here rather than with the other C functions, so that the engine
// (which the dictionary compiler links) does not depend on the data the
// compiler makes.
extern "C" ekr_status ekr_open_default(ekr_extractor** out) {
  const ekr_dictionaries d = eti::session::DefaultDictionaries();
  return ekr_open(&d, out);
}

extern "C" ekr_status ekr_open_with_settings(const char* dir, const char* settings,
                                             ekr_extractor** out) {
  const std::string file = settings != nullptr ? settings : "";
  if (dir == nullptr) {
    return eti::session::OpenForC(out, [&](std::unique_ptr<eti::session::Extractor>* impl) {
      return eti::session::Extractor::OpenDefault(impl, file);
    });
  }
  return eti::session::OpenForC(out, [&](std::unique_ptr<eti::session::Extractor>* impl) {
    return eti::session::Extractor::OpenDir(dir, impl, file);
  });
}
