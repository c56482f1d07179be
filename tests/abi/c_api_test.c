/* The public headers compile as C, and a C program links the shared library
 * and calls through it. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "extractor_kr.h"
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
  DTINFO* ref = ConvStrToDTINFO("202405151030");
  char when[15];
  int32_t date[3] = {2014, 13, 1};
  int32_t time[3] = {10, 0, 0};
  char* revalidated = dateTimeRevalidate(date, time);
  ETI_TM tm;

  CHECK(sizeof(ETI_TM) == 9 * sizeof(int32_t));
  CHECK(ETI_Main("hello", &results, "202405151030", "", empty_blob, empty_blob,
                 empty_blob, empty_blob, "") == 0);
  CHECK(results == NULL);
  ETI_FreeTypedResults(results);
  CHECK(ETI_Main("hello", &results, "204401010000", "", empty_blob, empty_blob,
                 empty_blob, empty_blob, "") == -1);
  CHECK(ref != NULL && DT2Char(ref, when) == 1 && strcmp(when, "20240515103000") == 0);
  CHECK(ref->weekday == 3 && ref->spanKind == ETI_UNSET);
  CHECK(Free_DTINFO(ref) == 1);
  CHECK(strcmp(revalidated, "20150101100000") == 0);
  free(revalidated);
  memset(&tm, 0, sizeof tm);
  tm.tm_year = 124;
  tm.tm_mday = 1;
  CHECK(date2Sec(&tm) == 1704034800);
  CHECK(LastDayOfMonth(2100, 2) == 28 && DepthOfSeq("NUM*YUnit") == 2);
  CHECK(charIndex("a\xB3\xBB" "b", 3) == 2);

  /* The session API from C: a lunar date is flagged and given as the solar
   * day, under both rule sets; the same day written on the solar calendar
   * is not flagged. */
  {
    static const struct {
      const char* text;
      int lunar;
    } cases[] = {{"음력 8월 15일", 1}, {"추석", 1}, {"9월 17일", 0}};
    ekr_extractor* ex = NULL;
    CHECK(ekr_open_default(&ex) == EKR_OK);
    for (int rules = 0; rules < 2; ++rules) {
      ekr_options o;
      ekr_options_init(&o);
      o.rules = rules == 0 ? EKR_RULES_READER : EKR_RULES_WHOLE_CALL;
      for (size_t k = 0; k < sizeof cases / sizeof cases[0]; ++k) {
        ekr_results* r = NULL;
        CHECK(ekr_extract_with(ex, cases[k].text, strlen(cases[k].text), "202405151030", &o, &r) ==
              EKR_OK);
        CHECK(ekr_results_count(r) == 1);
        const ekr_result* e = ekr_results_at(r, 0);
        CHECK(e != NULL && e->lunar == cases[k].lunar);
        CHECK(e != NULL && e->start.year == 2024 && e->start.month == 9 && e->start.day == 17);
        ekr_results_free(r);
      }
    }
    ekr_close(ex);
  }

  if (failures == 0) printf("c_api_test: ok\n");
  return failures == 0 ? 0 : 1;
}
