/* The public header compiles as C, and a C program links the shared library
 * and calls through it. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "extractor_kr/stages.h"

static int failures = 0;

#define CHECK(cond)                                              \
  do {                                                           \
    if (!(cond)) {                                               \
      fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__,     \
              __LINE__, #cond);                                  \
      ++failures;                                                \
    }                                                            \
  } while (0)

int main(void) {
  static const char empty_blob[9] = {0};
  TYPED_RESULT* results = NULL;
  DTINFO* ref;
  char when[15];
  int32_t date[3] = {2014, 13, 1};
  int32_t time[3] = {10, 0, 0};
  char* revalidated;
  ETI_TM tm;

  CHECK(sizeof(ETI_TM) == 9 * sizeof(int32_t));
  CHECK(ETI_Main("hello", &results, "202405151030", "", empty_blob, empty_blob,
                 empty_blob, empty_blob, "") == 0);
  CHECK(results == NULL);
  ETI_FreeTypedResults(results);
  CHECK(ETI_Main("hello", &results, "204401010000", "", empty_blob, empty_blob,
                 empty_blob, empty_blob, "") == -1);

  ref = ConvStrToDTINFO("202405151030");
  CHECK(ref != NULL);
  CHECK(DT2Char(ref, when) == 1);
  CHECK(strcmp(when, "20240515103000") == 0);
  CHECK(ref->weekday == 3);
  CHECK(ref->spanKind == ETI_UNSET);
  CHECK(Free_DTINFO(ref) == 1);

  revalidated = dateTimeRevalidate(date, time);
  CHECK(strcmp(revalidated, "20150101100000") == 0);
  free(revalidated);

  memset(&tm, 0, sizeof tm);
  tm.tm_year = 124;
  tm.tm_mday = 1;
  CHECK(date2Sec(&tm) == 1704034800);
  CHECK(LastDayOfMonth(2100, 2) == 28);
  CHECK(DepthOfSeq("NUM*YUnit") == 2);
  CHECK(charIndex("a\xB3\xBB" "b", 3) == 2);

  if (failures == 0) printf("c_api_test: ok\n");
  return failures == 0 ? 0 : 1;
}
