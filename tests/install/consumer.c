/* A program of someone who installed the library: it includes only
 * <extractor_kr.h> and links the installed copy. */
#include <stdio.h>
#include <string.h>

#include <extractor_kr.h>

int main(void) {
  const char* text = "내일 오후 3시에 강남역에서 만나요";
  ekr_extractor* ex = NULL;
  ekr_results* r = NULL;
  ekr_status s = ekr_open_default(&ex);
  if (s != EKR_OK) {
    fprintf(stderr, "open: %s\n", ekr_status_text(s));
    return 1;
  }
  s = ekr_extract(ex, text, strlen(text), "202405151030", &r);
  if (s != EKR_OK || ekr_results_count(r) != 1) {
    fprintf(stderr, "extract: %s\n", ekr_status_text(s));
    return 1;
  }
  const ekr_result* e = ekr_results_at(r, 0);
  printf("%04d-%02d-%02d %02d:%02d [%d, %d) %s\n", e->start.year, e->start.month, e->start.day,
         e->start.hour, e->start.minute, e->begin_char, e->end_char, ekr_results_content(r));
  ekr_results_free(r);
  ekr_close(ex);
  return 0;
}
