// Pattern search.  Until the tag-sequence search lands, the tokens are
// consumed and nothing is found.
#include "extractor_kr.h"

extern "C" DTINFO* ExtAndComp(RETTAGS* tokens, const char* /*text*/,
                              ETS_CONTEXT* /*context*/) {
  Free_RETTAGS(tokens);
  return nullptr;
}
