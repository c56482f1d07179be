/*
 * extractor-kr: date and time expressions in Korean text.
 *
 *   ekr_extractor* ex;
 *   ekr_options o;
 *   ekr_results* r;
 *   if (ekr_open_default(&ex) != EKR_OK) ...
 *   ekr_options_init(&o);                          // the reader rules
 *   if (ekr_extract_with(ex, text, strlen(text), "202405151030", &o, &r) == EKR_OK) {
 *     for (size_t i = 0; i < ekr_results_count(r); ++i) {
 *       const ekr_result* e = ekr_results_at(r, i);   // e->start.year ...
 *     }
 *     ekr_results_free(r);
 *   }
 *   ekr_close(ex);
 *
 * Open once, extract many.  Opening loads and checks the dictionaries once;
 * an extractor is immutable afterwards, so any number of threads may call
 * ekr_extract_with on one extractor at the same time.  A call keeps nothing
 * between calls.
 *
 * Text.  Texts are UTF-8, given with their length in bytes (no terminator
 * needed).  A character the dictionaries cannot hold (an emoji, a rare
 * Hanja, another script) is read as a separator that joins no expression;
 * positions still count the text as given.
 *
 * Ownership.  The extractor belongs to the caller of ekr_open* and is freed
 * with ekr_close; the results of a call belong to its caller and are freed
 * with ekr_results_free.  Pointers obtained from a results object
 * (ekr_results_at, ekr_results_content) live as long as it does.  Blobs,
 * paths, texts and references passed in stay the caller's: the library
 * copies what it keeps.
 *
 * Errors.  Every function that can fail returns a status and writes its out
 * parameter only on EKR_OK (*out is set to NULL otherwise).  Nothing found
 * is EKR_OK with no results.  ekr_status_text names a status in words, and
 * ekr_last_error says what went wrong and where.
 *
 * Rules.  ekr_extract reads by the whole call's rules, exactly as the native
 * method does; ekr_extract_with reads by the options given, by default the
 * reader rules (ekr_rules below), which suit texts with several dates.
 *
 * The whole-call entry of the native method (ETI_Main) and every stage of
 * the engine are declared in <extractor_kr/stages.h>, for tests and expert
 * callers.
 */
#ifndef EXTRACTOR_KR_H_
#define EXTRACTOR_KR_H_

#include <stddef.h>
#include <stdint.h>

#ifndef EKR_EXPORT
#if defined(_WIN32)
#define EKR_EXPORT
#else
#define EKR_EXPORT __attribute__((visibility("default")))
#endif
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Checked dictionaries; immutable; share it across threads. */
typedef struct ekr_extractor ekr_extractor;

/* The answer of one call. */
typedef struct ekr_results ekr_results;

typedef enum ekr_status {
  EKR_OK = 0,
  EKR_ERROR_ARGUMENT = 1,   /* a NULL where none is allowed */
  EKR_ERROR_DICTIONARY = 2, /* a blob that is truncated, malformed or shorter
                               than its header claims */
  EKR_ERROR_REFERENCE = 3,  /* not twelve digits YYYYMMDDhhmm, or outside
                               the years of the rules (ekr_reference_years),
                               months 1..12, days 1..31, hours 0..24,
                               minutes 0..60 */
  EKR_ERROR_TEXT = 4,       /* invalid UTF-8, a NUL inside the text, or a
                               text longer than the library reads */
  EKR_ERROR_IO = 5,         /* a dictionary file that cannot be read */
  EKR_ERROR_MEMORY = 6      /* memory ran out */
} ekr_status;

/* Bytes and their length. */
typedef struct ekr_blob {
  const void* data;
  size_t size;
} ekr_blob;

/* The six dictionaries of a set, as the dictionary compiler writes them:
 * the settings text (settings.txt), the replacement, tag, pattern and
 * unit-sequence tries (replace.bin, tags.bin, patterns.bin, units.bin) and
 * the word list (words.dic).  The settings and the word list may be empty
 * ({NULL, 0}); a trie holds at least its 8-byte header. */
typedef struct ekr_dictionaries {
  ekr_blob settings, replacements, tags, patterns, unit_sequences, words;
} ekr_dictionaries;

/* The bundled Korean set, compiled into the library: needs no files. */
EKR_EXPORT ekr_status ekr_open_default(ekr_extractor** out);

/* A directory of a set: the compiled files settings.txt, replace.bin,
 * tags.bin, patterns.bin, units.bin and words.dic, or, without tags.bin,
 * the readable sources settings.txt, words.txt and each trie as NAME.txt
 * and NAME-*.txt (replace, tags, patterns, units), compiled on opening.
 * EKR_ERROR_IO when a file cannot be read; EKR_ERROR_DICTIONARY when a
 * source is wrong (ekr_last_error gives "file:line: problem", one a line).
 * A set opened from sources remembers where each key was written, which
 * ekr_explain shows. */
EKR_EXPORT ekr_status ekr_open_dir(const char* dir, ekr_extractor** out);

/* As ekr_open_dir (dir NULL: the bundled set), with the settings text of
 * the file `settings` in place of the set's own (settings NULL: the set's
 * own). */
EKR_EXPORT ekr_status ekr_open_with_settings(const char* dir, const char* settings,
                                             ekr_extractor** out);

/* Dictionaries given as blobs; copies what it keeps, so the blobs may be
 * freed as soon as it returns. */
EKR_EXPORT ekr_status ekr_open(const ekr_dictionaries* d, ekr_extractor** out);

/* Frees an extractor.  NULL is a no-op.  No call may be using it. */
EKR_EXPORT void ekr_close(ekr_extractor* ex);

/* The six dictionaries an extractor was opened with (sources compiled,
 * settings replaced), as the whole-call entry takes them; they belong to
 * the extractor and live as long as it does. */
EKR_EXPORT ekr_status ekr_dictionaries_of(const ekr_extractor* ex, ekr_dictionaries* out);

/* The status in words ("ok", "invalid text" ...); never NULL. */
EKR_EXPORT const char* ekr_status_text(ekr_status s);

/* A moment as the text gave it, completed against the reference time.
 * Every field lies in its range (month 1..12, day 1..the month's length,
 * hour 0..23, minute and second 0..59) or is -1; an expression whose moment
 * the calendar cannot place (a count that reaches before the years the rules
 * read) gives no result at all. */
typedef struct ekr_moment {
  /* -1 where the text left the field open; all -1 for an open end. */
  int32_t year, month, day, hour, minute, second;
  /* Whether the text gave a date, a time, a morning or afternoon. */
  uint8_t has_date, has_time, has_ampm;
} ekr_moment;

typedef enum ekr_cycle {
  EKR_CYCLE_NONE = 0,
  EKR_CYCLE_DAY = 1,
  EKR_CYCLE_WEEK = 2,
  EKR_CYCLE_MONTH = 3,
  EKR_CYCLE_YEAR = 4
} ekr_cycle;

/* One expression found.  Fields are only ever added at the end; `size`
 * says how many bytes of the record this library fills. */
typedef struct ekr_result {
  uint32_t size;                   /* sizeof(ekr_result) of this library */
  uint8_t is_span;                 /* 0: one moment (end equals start), 1: a span */
  uint8_t lunar;                   /* 1: the text gave the date on the lunar calendar */
  ekr_moment start, end;
  ekr_cycle cycle;                 /* how it repeats */
  int32_t cycle_interval;          /* every how many cycles: 1, or 2 for every other week
                                      (격주); 0 when it does not repeat */
  int32_t begin_byte, end_byte;    /* UTF-8 byte offsets into the text given; -1 when there is no position */
  int32_t begin_char, end_char;    /* the same in code points */
  int32_t begin_utf16, end_utf16;  /* the same in UTF-16 code units */
} ekr_result;

/* Finds the expressions of text[0..length) (UTF-8) against a reference
 * time, twelve digits YYYYMMDDhhmm in Korea (UTC+9), by the whole call's
 * rules: the answer of the native method, exactly.  text may be NULL when
 * length is 0.  On EKR_OK *out holds the results, in text order. */
EKR_EXPORT ekr_status ekr_extract(const ekr_extractor* ex, const char* text, size_t length,
                                  const char* reference, ekr_results** out);

/* The two rule sets of the one engine. */
typedef enum ekr_rules {
  /* For people reading texts with several dates (notices, mail, messages,
   * news): each expression is read on its own terms.  It takes a year, a
   * week, a day or a half of the day only from the expression it is joined
   * to (the other end of its span, the date before its time, "3일 뒤인
   * 토요일"), never from an unrelated one before it nor across the end of
   * a sentence; a count counts from the reference; a weekday written with
   * a date chooses the year where the two agree; "지난 8일", "오는 5일" go
   * the way their word says; written years are read in every year of the
   * calendar (1000..2999, proleptic Gregorian).  The default. */
  EKR_RULES_READER = 0,
  /* The native method's rules, exactly: made for one short message about
   * one event, where a later expression leans on the one before it.
   * Written years 2000..2030 (two-digit years up to 30), results up to
   * 2035, references in 1970..2043, the future preferred. */
  EKR_RULES_WHOLE_CALL = 1
} ekr_rules;

/* Where an open date or time falls: a bare day, weekday, month and day, or
 * hour, which the text does not place before or after the reference. */
typedef enum ekr_prefer {
  EKR_PREFER_FUTURE = 0, /* the nearest moment not before the reference, for
                            messages about what is to come */
  EKR_PREFER_PAST = 1    /* the latest moment not after it, for reports and
                            archives: at Friday 2024-05-24 10:30, "19일" is
                            2024-05-19, "수요일" 2024-05-22, "금요일" today,
                            "11시" 23:00 of the day before, "12월" December
                            2023.  Words that say their direction keep it
                            ("내일", "다음 주 금요일", "지난 금요일"), and the
                            end of a span follows its start.  Reader rules
                            only. */
} ekr_prefer;

/* How a text is read.  Set it up with ekr_options_init, then change what
 * you need. */
typedef struct ekr_options {
  uint32_t size;    /* sizeof(ekr_options), as ekr_options_init sets it */
  ekr_rules rules;
  ekr_prefer prefer;
  /* The years that written years are read in, that results may reach and
   * that references may lie in: a window inside the rules' own years
   * (ekr_rules_years); 0 and 0 for the rules' own.  A two-digit year ("97년",
   * "'97") falls in the century that puts it nearest the reference (the
   * earlier on a tie; the one inside the window when only one is).  The
   * whole call's rules take only their own window. */
  int32_t min_year, max_year;
} ekr_options;

/* The reader rules, the future preferred, the rules' own years. */
EKR_EXPORT void ekr_options_init(ekr_options* o);

/* EKR_OK when options are sound; EKR_ERROR_ARGUMENT (ekr_last_error says
 * why) for an unknown rule set or preference, a window upside down or
 * outside the rules' years, or the whole call's rules with anything but
 * their own. */
EKR_EXPORT ekr_status ekr_options_check(const ekr_options* o);

/* ekr_extract under options.  EKR_ERROR_ARGUMENT for NULL or unsound
 * options; EKR_ERROR_REFERENCE for a reference outside the years the
 * options allow (ekr_reference_years).  Under EKR_RULES_WHOLE_CALL it
 * answers exactly as ekr_extract. */
EKR_EXPORT ekr_status ekr_extract_with(const ekr_extractor* ex, const char* text, size_t length,
                                       const char* reference, const ekr_options* o,
                                       ekr_results** out);

/* ekr_extract_with, telling what each stage made of the text: one JSON
 * object (UTF-8, NUL-terminated, allocated with malloc: free it with free)
 * with the replacements that fired (with the source file and line of each
 * when the set was opened from its sources), the normalised text, the
 * tokens with their tags, the patterns found and the ones dropped with the
 * reason, the records as found, compounded and resolved (with what each
 * took from another), what became of each, the results and the content.
 * For people who write dictionaries and hunt wrong answers; the results are
 * those of ekr_extract_with. */
EKR_EXPORT ekr_status ekr_explain(const ekr_extractor* ex, const char* text, size_t length,
                                  const char* reference, const ekr_options* o, char** json);

/* The name of a rule set ("reader", "whole-call") or of a preference
 * ("future", "past"); NULL for a value that names none. */
EKR_EXPORT const char* ekr_rules_name(ekr_rules rules);
EKR_EXPORT const char* ekr_prefer_name(ekr_prefer prefer);

/* The years a rule set reads written years in and keeps results of (reader:
 * 1000..2999; whole call: 2000..2035), and the years its references may lie
 * in (reader: the same; whole call: 1970..2043).  EKR_ERROR_ARGUMENT for an
 * unknown rule set or a NULL out parameter. */
EKR_EXPORT ekr_status ekr_rules_years(ekr_rules rules, int32_t* first, int32_t* last);
EKR_EXPORT ekr_status ekr_reference_years(ekr_rules rules, int32_t* first, int32_t* last);

/* What went wrong in the last call on this thread that returned an error,
 * in words with where ("reference 196912312359 is outside years
 * 1970..2043", "tags.bin: node 12: ..."); "" when none has.  The text
 * stays until the next failing call on the same thread. */
EKR_EXPORT const char* ekr_last_error(void);

/* The library's version, "MAJOR.MINOR.PATCH". */
EKR_EXPORT const char* ekr_version(void);

/* The number of results; 0 for NULL. */
EKR_EXPORT size_t ekr_results_count(const ekr_results* r);

/* Result i; NULL past the end. */
EKR_EXPORT const ekr_result* ekr_results_at(const ekr_results* r, size_t i);

/* The text without its expressions, without a word tied to one (a particle
 * such as 에 or 까지 right after it) and, once anything was found, without
 * its commas: UTF-8, NUL-terminated, given once per call. */
EKR_EXPORT const char* ekr_results_content(const ekr_results* r);

/* Frees the results.  NULL is a no-op. */
EKR_EXPORT void ekr_results_free(ekr_results* r);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* EXTRACTOR_KR_H_ */
