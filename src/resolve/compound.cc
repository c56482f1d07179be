// Compounding.  Until it lands, every found record stands alone.
#include "extractor_kr.h"
#include "interpret/dtinfo.h"

extern "C" DTINFO* CompoundDTInfo(DTINFO* /*list*/, DTINFO* /*reference*/,
                                  int32_t /*textLength*/, const char* /*text*/) {
  return eti::NewDTINFO();
}
