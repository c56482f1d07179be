// The remainder text: what is left of the input once its expressions are
// taken out.  Until the word list and the marks of real results are read
// here, the content is empty.
#include <cstdlib>

#include "extractor_kr.h"

extern "C" char* getOthers(const char* /*text*/, const RESULT_ETS* /*list*/,
                           const char* /*wordList*/) {
  auto* empty = static_cast<char*>(std::malloc(1));
  empty[0] = '\0';
  return empty;
}
