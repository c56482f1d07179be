// The extraction pipeline ETS.  Its stages (normalisation, tagging, pattern
// search, compounding, restoration) plug in here; until they do, a run
// finds nothing.
#include <cstdlib>

#include "extractor_kr.h"

extern "C" {

RESULT_ETS* ETS(const char* /*text*/, const char* /*refTime*/,
                const char* /*settings*/, const void* /*a2*/,
                const void* /*a3*/, const void* /*a4*/, const void* /*a5*/,
                int32_t* /*overallType*/) {
  return nullptr;
}

void FreeRESULT_ETS(RESULT_ETS* list) {
  while (list != nullptr) {
    RESULT_ETS* next = list->next;
    std::free(list->marks);
    std::free(list);
    list = next;
  }
}

}  // extern "C"
