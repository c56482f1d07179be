/*
 * extractor-kr: the whole-call entry and the stages of the engine.
 *
 * Most callers want <extractor_kr.h>: open an extractor once, pass UTF-8,
 * get results with positions and a status.  This header is for tests and
 * expert callers who drive the engine the way the native method does, or
 * stage by stage.  Every record and every function below is part of the
 * library's ABI; field order and widths are fixed.
 *
 * Text.  Texts are NUL-terminated bytes in the double-byte Korean encoding
 * (CP949 / EUC-KR): a byte below 0x80 is one character, a byte of 0x80 or
 * above opens a two-byte character.  Positions inside the pipeline are byte
 * offsets into the normalised work text; positions in the output are
 * character indexes into the input text.
 *
 * Absence.  Every 32-bit field of a DTINFO record and every attribute value
 * that was not given holds ETI_UNSET (four bytes of 0x0A).  Zero is always a
 * real value (hour 0, Sunday, AM, solar, absolute).
 *
 * Ownership.  Every list belongs to whoever holds its head and is freed node
 * by node through the function named beside its record:
 *   TYPED_RESULT  the caller of ETI_Main frees each node's `content`, then
 *                 the node (ETI_FreeTypedResults does both);
 *   DTINFO        Free_DTINFO (also frees each record's compoundMarks);
 * Every buffer the library hands over is allocated with malloc and is freed
 * with free.  Blobs and texts passed in stay the caller's; the library keeps
 * no pointer to them after a call returns.
 *
 * NULL.  Functions that take a list accept NULL as the empty list.
 *
 * Threads.  The library keeps no state between calls and takes no lock.  The
 * calendar conversion record behind sec2Date is per thread, so calls may run
 * on several threads at once.
 */
#ifndef EXTRACTOR_KR_STAGES_H_
#define EXTRACTOR_KR_STAGES_H_

#include <stdint.h>

#ifndef ETI_EXPORT
#if defined(_WIN32)
#define ETI_EXPORT
#else
#define ETI_EXPORT __attribute__((visibility("default")))
#endif
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* The absence value of every 32-bit DTINFO field and attribute value. */
#define ETI_UNSET 0x0A0A0A0A

/* ------------------------------------------------------------------------ */
/* Calendar                                                                  */
/* ------------------------------------------------------------------------ */

/* Broken-down time: nine signed 32-bit fields in the POSIX order.  Month is
 * 0-based, year counts from 1900, weekday 0 is Sunday, yday 0 is 1 January,
 * isdst is always written as 0.  Wall-clock time in Korea (UTC+9). */
typedef struct ETI_TM {
  int32_t tm_sec;
  int32_t tm_min;
  int32_t tm_hour;
  int32_t tm_mday;
  int32_t tm_mon;
  int32_t tm_year;
  int32_t tm_wday;
  int32_t tm_yday;
  int32_t tm_isdst;
} ETI_TM;

/* Normalises *tm in place (day 0, hour 24, minute -10 ... roll over into the
 * neighbouring fields; weekday and day of year are filled) and returns the
 * UTC seconds count of that Korean wall-clock time.  -1 means the date could
 * not be formed.  Month fields of 12 or more count as one whole year. */
ETI_EXPORT int64_t date2Sec(ETI_TM* tm);

/* Converts an unshifted wall-clock seconds count (seconds since 1970-01-01
 * 00:00:00 of the wall clock) into a broken-down time.  The returned record
 * belongs to the calling thread and stays valid until its next call. */
ETI_EXPORT ETI_TM* sec2Date(const int64_t* seconds);

/* Days in month (1..12) of year, or -1. */
ETI_EXPORT int32_t LastDayOfMonth(int32_t year, int32_t month);

/* Day of month of `weekday` (1 = Monday .. 7 = Sunday; 0 = the Sunday before
 * the week's Monday) in Monday-based week n of the month, or, for
 * n = 10000, the last such weekday of the month.  The result may lie outside
 * the month; -1 when the date cannot be formed. */
ETI_EXPORT int32_t DayOfRelWeekday(int32_t year, int32_t month, int32_t n,
                                   int32_t weekday);

/* Day of month of the Sunday that opens Sunday-based week n (1-based); may
 * be below 1.  0 when the date cannot be formed. */
ETI_EXPORT int32_t FindFirstDayOfWeek(int32_t year, int32_t month, int32_t n);

/* Converts a lunar date (Korean lunisolar calendar, years 1881..2100; earlier
 * years count as 1881, later ones as 2100) to the Gregorian calendar in
 * place.  isLeap = 1 asks for the leap month of that number.  Days past a
 * month's end run on into the next.  Always 1. */
ETI_EXPORT int32_t Lunar2Solar(int32_t* year, int32_t* month, int32_t* day, uint8_t isLeap);

/* 1 for a Gregorian leap year, else 0. */
ETI_EXPORT int32_t Mi_IsYunYear(int32_t year);

/* Days of a Gregorian month; 0 for a month outside 1..12. */
ETI_EXPORT int32_t Mi_HowManyDays(int32_t year, int32_t month);

/* ------------------------------------------------------------------------ */
/* Date-time record                                                          */
/* ------------------------------------------------------------------------ */

typedef struct DTINFO {
  /* One int per byte of the normalised text, 1 where the byte belongs to the
   * expression.  Owned by the record; unset while its low 32 bits equal
   * ETI_UNSET. */
  int32_t* compoundMarks;
  int32_t seqBegin; /* start of the match (byte position once returned) */
  int32_t seqEnd;   /* one past its end */
  int32_t year;     /* absolute year, or an offset when relative */
  int32_t month;
  int32_t day;
  int32_t week;     /* week of the month 1..5; 10000 = the last */
  int32_t weekday;  /* 0 = Sunday .. 6 = Saturday */
  int32_t hour;     /* 0..24 */
  int32_t minute;
  int32_t second;
  int32_t spanKind; /* 1 = a whole period; the next six are its offsets */
  int32_t spanYear;
  int32_t spanMonth;
  int32_t spanDays;
  int32_t spanReserved1; /* hours */
  int32_t spanReserved2; /* minutes */
  int32_t spanReserved3; /* seconds */
  int32_t duration; /* 1 a duration, or the "Duration" tag's value (1 start,
                       2 end, 3 a start that the next record may close) */
  int32_t relKind;  /* 0 absolute, 1 relative, 2 after, -2 before, 5 ... */
  int32_t repeatYear;
  int32_t repeatMonth;
  int32_t repeatWeek;
  int32_t repeatDay;
  int32_t repeatHour;
  int32_t ampm;      /* 0 AM, 1 PM */
  int32_t dayNight;  /* 0 day, 1 night */
  int32_t lunar;     /* 1 lunar, 0 solar */
  int32_t periodEnd; /* 1 end of the period, 0 its beginning */
  uint8_t hasDate;
  uint8_t hasTime;
  uint8_t hasAmPm;
  struct DTINFO* next;
} DTINFO;

/* Frees every record of the list and each set compoundMarks.  Returns 1, or
 * 0 for a NULL head. */
ETI_EXPORT int32_t Free_DTINFO(DTINFO* head);

/* Links the non-NULL entries of records[0..count) into one list, hands
 * relValue to the records before positionIndex (back to the first absolute
 * one) and writes durationValue into every record.  Returns the head or
 * NULL. */
ETI_EXPORT DTINFO* SetFlagsToDTInfo(DTINFO** records, int32_t count,
                                    int32_t relValue, int32_t positionIndex,
                                    int32_t durationValue);

/* 0 when every record of the list passes the range checks, 1 as soon as one
 * fails; 0 for NULL. */
ETI_EXPORT int32_t ValidateAbsolDT(const DTINFO* head);

/* Items in a '*'-joined unit sequence: 1 + the number of '*'; -1 for NULL. */
ETI_EXPORT int32_t DepthOfSeq(const char* text);

/* ------------------------------------------------------------------------ */
/* Time strings: 14 characters YYYYMMDDhhmmss, unknown fields as F's.        */
/* ------------------------------------------------------------------------ */

/* New record of a 12-digit (YYYYMMDDhhmm) or 14-digit reference time, or
 * NULL.  Free it with Free_DTINFO. */
ETI_EXPORT DTINFO* ConvStrToDTINFO(const char* text);

/* Writes the time string of `record` into out[15].  1, or 0 for NULL. */
ETI_EXPORT int32_t DT2Char(const DTINFO* record, char* out);

/* Normalises date[3] = {year, month, day} and time[3] = {hour, minute,
 * second} (ETI_UNSET fields stay unset) and returns their time string in a
 * new 15-byte buffer that the caller frees.  A time of 00:00:00 reads as no
 * time. */
ETI_EXPORT char* dateTimeRevalidate(int32_t* date, int32_t* time);

/* ------------------------------------------------------------------------ */
/* Trie dictionaries                                                         */
/* ------------------------------------------------------------------------ */

/* A loaded trie.  Blob layout (32-bit little-endian integers): nodeCount N,
 * poolSize S, then N sibling indexes, N first-child indexes (0xFFFFFFFF =
 * none), N signed label offsets into the pool, and the S-byte pool.  At a
 * node's offset stand its label and, right after the label's NUL, its value
 * (empty for a node where no entry ends).  The four pointers point into one
 * block owned through `sibling`. */
typedef struct BTrie {
  int32_t* sibling;
  int32_t* child;
  int32_t* labelOffset;
  char* pool;
} BTrie;

/* One search hit. */
typedef struct retTypeBBT {
  int32_t startPos;  /* the text position the caller passed with the search */
  char* text;        /* copy of the matched key bytes */
  char* value;       /* copy of the entry's value */
  struct retTypeBBT* next;
} retTypeBBT;

/* What ETI_searchBTrie returns when no entry was found but the key ran out
 * inside the trie (it is a prefix of longer keys).  Test for it, as for
 * NULL, before following a result. */
#define ETI_BBT_PREFIX ((retTypeBBT*)(intptr_t)-1)

/* A new empty trie in *out: 0, or 1 when out of memory (*out is NULL). */
ETI_EXPORT int32_t ETI_initEmptyBTrie(BTrie** out);

/* Loads a private copy of `blob` into `trie`: 0 on success; 1 when the blob
 * is NULL or malformed (indexes outside the node table, labels outside the
 * pool or without a NUL inside it, links that form a cycle) or memory runs
 * out, leaving a trie that finds nothing.  The blob need not outlive the
 * call; the caller guarantees that it holds the bytes its header claims. */
ETI_EXPORT int32_t ETI_loadBTrie(BTrie* trie, const void* blob);

/* Frees the trie's block and the handle. */
ETI_EXPORT void ETI_freeBTrie(BTrie* trie);

/* The first node of the sibling chain starting at `node` whose label is a
 * prefix of `key` (an empty label fits any key): its index, with *valueOut
 * pointing at its value; -1 when none fits. */
ETI_EXPORT int32_t searchBBT(const BTrie* trie, const char* key, int32_t node,
                             const char** valueOut);

/* Walks `key` down from *node.  mode 1: the longest entry that is a prefix
 * of the key (one record, *matchLen its length); mode 2: every such entry,
 * longest first; any other mode: an entry only once the whole key was
 * walked.  NULL when nothing was found; ETI_BBT_PREFIX when the whole key
 * was walked without reaching an entry, in which case *node is set to the
 * first child of the last node so that a caller may go on with more key.
 * Every record's startPos is `startPos`. */
ETI_EXPORT retTypeBBT* ETI_searchBTrie(const BTrie* trie, const char* key,
                                       int32_t mode, int32_t startPos,
                                       int32_t* matchLen, int32_t* node);

/* Every longest hit in `text`, in text order: searched at every byte
 * (everyByte != 0) or at the start and after every '*' (everyByte == 0, for
 * '*'-joined unit sequences).  After ETI_BBT_PREFIX the next search starts
 * below the root where the last one stopped. */
ETI_EXPORT retTypeBBT* ETI_getFullDic(const char* text, const BTrie* trie,
                                      int32_t everyByte);

/* Frees every node of *list with its strings; *list is left as it was.
 * Returns 0. */
ETI_EXPORT int32_t ETI_free_retTypeBBT(retTypeBBT** list);

/* ------------------------------------------------------------------------ */
/* Line word list                                                            */
/* ------------------------------------------------------------------------ */

typedef struct DicHanddle {
  char** words;  /* one entry per line, without its line feeds and CRs */
  int32_t count;
} DicHanddle;

/* A new empty word list in *handle: 1, or 0 when out of memory. */
ETI_EXPORT int32_t InitDicHanddle(DicHanddle** handle);

/* Fills an initialised word list from a NUL-terminated text, one word per
 * line, in line order (lines of 1024 bytes or more come out in pieces;
 * blank lines are kept as empty words).  1, or 0 when out of memory. */
ETI_EXPORT int32_t MakeDic(DicHanddle** handle, const char* text);

/* Frees the word list and its entries: 1, or 0 when *handle is NULL. */
ETI_EXPORT int32_t FreeDicHanddle(DicHanddle** handle);

/* ------------------------------------------------------------------------ */
/* Settings                                                                  */
/* ------------------------------------------------------------------------ */

/* The per-call context of the pipeline. */
typedef struct ETS_CONTEXT {
  BTrie* patternTrie;
  BTrie* unitSeqTrie;
  DTINFO* reference;
  int32_t defaultAmPm[13]; /* per hour 0..12: 0 none, 1 AM, 2 PM */
  int32_t defaultCentury;  /* added to years of 99 or less */
} ETS_CONTEXT;

/* Copies one line of `source` (its line feed kept) into line[capacity] and
 * returns a pointer to the line's terminating NUL; NULL (line empty) when
 * capacity < 2 or the source is at its end. */
ETI_EXPORT char* getLineS(char* line, int32_t capacity, const char* source);

/* Reads the settings text into the context's defaultAmPm and
 * defaultCentury; other fields are left alone.  Lines: "DEFAULTTIME n"
 * clears the first n hours and opens the hour section, after which "h am"
 * or "h pm" (0 <= h <= 12) set an hour's default; "DEFAULTCENTURY c"; '#'
 * starts a comment. */
ETI_EXPORT void SettingDefaultTime(ETS_CONTEXT* context, const char* settings);

/* ------------------------------------------------------------------------ */
/* Normalisation and tagging                                                 */
/* ------------------------------------------------------------------------ */

/* Rewrites `text` in place with the replacement trie: a final line feed is
 * cut, then every longest key found (leftmost wins where two overlap) is
 * replaced by a space and its value.  `text` must have room for ten times
 * its length; replacements that would not fit are not applied.  Returns the
 * applied hits (startPos = position in the text as it was), to be freed with
 * ETI_free_retTypeBBT. */
ETI_EXPORT retTypeBBT* ChangeStrDate(char* text, const void* replacementTrie);

/* Drops every hit that starts inside an earlier kept one; returns the list. */
ETI_EXPORT retTypeBBT* removeDuplicatedBBTResult(retTypeBBT* hits);

/* Splices the hits' replacements into `text` (room for ten times its
 * length); returns the number of hits applied. */
ETI_EXPORT int32_t ReplaceMatchStr(retTypeBBT* hits, char* text);

/* One tag attribute of a token. */
typedef struct TAGATTR {
  char name[64];  /* NUL-terminated tag name */
  int32_t value;  /* its argument, ETI_UNSET when the entry had none */
  struct TAGATTR* next;
} TAGATTR;

/* One token of the tagger. */
typedef struct RETTAGS {
  int32_t startPos;  /* byte offset in the analysed text */
  char* text;        /* copy of the token's bytes */
  int32_t length;    /* byte length of text */
  TAGATTR* attrs;    /* at least one */
  struct RETTAGS* next;
} RETTAGS;

/* Tags a text: every run of 1..8 digits ("NUM"), run of spaces ("SP"),
 * separator (':' "T_SEP", '.' and '/' "D_SEP", '-' and '~' "Dur" 3) and every
 * tag-trie entry starting at a character (all of them, longest first)
 * becomes a token.  Returns the tokens in scan order, NULL for none; free
 * them with Free_RETTAGS. */
ETI_EXPORT RETTAGS* StackFinder(const char* text, const void* tagTrie);

/* The scan of StackFinder over a loaded trie. */
ETI_EXPORT RETTAGS* GetTypeFromBBT(const char* text, const BTrie* trie);

/* Recognisers of the scan: each makes its token at `at` (the text at byte
 * *pos) and leaves *pos on the last byte it consumed; NULL when the byte is
 * not theirs (a run of nine or more digits makes no token, but *pos still
 * moves to its last digit). */
ETI_EXPORT RETTAGS* SepAutomata(const char* at, int32_t* pos);
ETI_EXPORT RETTAGS* NumberAutomata(const char* at, int32_t* pos);
ETI_EXPORT RETTAGS* SpaceAutomata(const char* at, int32_t* pos);

/* The token of one tag-trie hit: attributes parsed from the value
 * ("NAME" or "NAME[INT]", comma-separated; the last entry is the head). */
ETI_EXPORT RETTAGS* MakeTagStruct(const retTypeBBT* hit);

/* Frees a token, its attributes and every token after it. */
ETI_EXPORT void Free_RETTAGS(RETTAGS* token);

/* ------------------------------------------------------------------------ */
/* Interpretation of matched units                                           */
/* ------------------------------------------------------------------------ */

/* The records of one pattern match: the match's unit sequence (match->text,
 * '*'-joined tag names) is cut into units by the unit-sequence trie, each
 * unit's tokens (from `tokens`, an array of `count` token records) go to the
 * handler named by the unit, the marker units "Position", "SetRelFlag" and
 * "Duration" are applied, and the records are linked and validated.  NULL
 * when the sequence cannot be cut, no unit made a record, or validation
 * fails.  Free the list with Free_DTINFO.  May rewrite hyphen tokens of a
 * numeric date in place. */
ETI_EXPORT DTINFO* CalDTStr(const BTrie* unitSeqTrie, RETTAGS* tokens,
                            int32_t count, const retTypeBBT* match);

/* The units that tile a '*'-joined sequence exactly (hits of the unit
 * trie at its start and after each '*'), or NULL. */
ETI_EXPORT retTypeBBT* SearchTagSeq(const BTrie* unitSeqTrie, const char* text);

/* Unit handlers: one new record from tokens[first..end), whose k-th token
 * is read with the k-th item of unitSeq ("NUM*Hour"); NULL when a token has
 * no attribute of its item's name. */
ETI_EXPORT DTINFO* Cal_YUnit(RETTAGS* tokens, int32_t first, int32_t end, const char* unitSeq);
ETI_EXPORT DTINFO* Cal_MUnit(RETTAGS* tokens, int32_t first, int32_t end, const char* unitSeq);
ETI_EXPORT DTINFO* Cal_WUnit(RETTAGS* tokens, int32_t first, int32_t end, const char* unitSeq);
ETI_EXPORT DTINFO* Cal_WeekDayUnit(RETTAGS* tokens, int32_t first, int32_t end,
                                   const char* unitSeq);
ETI_EXPORT DTINFO* Cal_DUnit(RETTAGS* tokens, int32_t first, int32_t end, const char* unitSeq);
ETI_EXPORT DTINFO* Cal_hUnit(RETTAGS* tokens, int32_t first, int32_t end, const char* unitSeq);
ETI_EXPORT DTINFO* Cal_mUnit(RETTAGS* tokens, int32_t first, int32_t end, const char* unitSeq);
ETI_EXPORT DTINFO* Cal_sUnit(RETTAGS* tokens, int32_t first, int32_t end, const char* unitSeq);
ETI_EXPORT DTINFO* Cal_rYUnit(RETTAGS* tokens, int32_t first, int32_t end, const char* unitSeq);
ETI_EXPORT DTINFO* Cal_rMUnit(RETTAGS* tokens, int32_t first, int32_t end, const char* unitSeq);
ETI_EXPORT DTINFO* Cal_rDUnit(RETTAGS* tokens, int32_t first, int32_t end, const char* unitSeq);
ETI_EXPORT DTINFO* Cal_rHUnit(RETTAGS* tokens, int32_t first, int32_t end, const char* unitSeq);
ETI_EXPORT DTINFO* Cal_pDUnit(RETTAGS* tokens, int32_t first, int32_t end, const char* unitSeq);

/* Marker handlers: one token (end == first + 1) carrying "AM", "Morning" or
 * "PM"; "Day" or "Night"; "LUN_CAL" or "SOL_CAL". */
ETI_EXPORT DTINFO* Cal_AMPMUnit(RETTAGS* tokens, int32_t first, int32_t end);
ETI_EXPORT DTINFO* Cal_DayNight(RETTAGS* tokens, int32_t first, int32_t end);
ETI_EXPORT DTINFO* Cal_Lunar(RETTAGS* tokens, int32_t first, int32_t end);

/* Numeric forms: a date written NUM D_SEP NUM [D_SEP NUM] (hyphens of a
 * five-token date are rewritten in place to '/' D_SEP), a time written
 * NUM T_SEP NUM [T_SEP NUM]. */
ETI_EXPORT DTINFO* Cal_DSEP(RETTAGS* tokens, int32_t first, int32_t end);
ETI_EXPORT DTINFO* Cal_TSEP(RETTAGS* tokens, int32_t first, int32_t end);

/* Folds the records of one match (consumed) into one new record against the
 * reference: absolute fields merged, offsets accumulated, AM/PM settled by
 * day/night words, beginnings and ends of periods made concrete, bare weeks,
 * months and years made whole periods, offsets applied or kept. */
ETI_EXPORT DTINFO* AnalColSeq(DTINFO* list, const DTINFO* reference);

/* ------------------------------------------------------------------------ */
/* Pipeline results                                                          */
/* ------------------------------------------------------------------------ */

/* One result of the pipeline. */
typedef struct RESULT_ETS {
  int32_t* marks;         /* one int per input byte: 1 = in the expression */
  uint8_t startFlags[3];  /* has date, has time, has AM/PM */
  uint8_t endFlags[3];
  char startTime[15];
  uint8_t repeatFlags[5]; /* year, month, week, day, hour */
  uint8_t spanFlag;       /* 0 a point, 1 a span */
  char endTime[15];       /* all zero for a point */
  struct RESULT_ETS* next;
} RESULT_ETS;

/* One element of the output. */
typedef struct TYPED_RESULT {
  char* content;              /* the text without its expressions */
  uint8_t inputInformStart[3];
  uint8_t inputInformEnd[3];
  char countryCode[2];        /* "KR", no terminator */
  char startTime[15];
  char endTime[15];
  char cycle[15];             /* 00010000000000 yearly ... 00000001000000 daily */
  int32_t resultType;         /* 1 a point, 2 a span */
  int32_t beginIndex;         /* character index of the first byte, or -1 */
  int32_t endIndex;           /* one past the last, or -1 */
  struct TYPED_RESULT* next;
} TYPED_RESULT;

/* Frees a RESULT_ETS list: each node's marks, then the node. */
ETI_EXPORT void FreeRESULT_ETS(RESULT_ETS* list);

/* The extraction pipeline over one text: returns the results (NULL when
 * nothing was found) and writes the overall type of the found expressions
 * to *overallType (left alone when nothing was found).  Arguments as for
 * ETI_Main; refTime must already have been checked. */
ETI_EXPORT RESULT_ETS* ETS(const char* text, const char* refTime,
                           const char* settings, const void* a2,
                           const void* a3, const void* a4, const void* a5,
                           int32_t* overallType);

/* The content of a text: the text without the bytes that a result marks,
 * without a word of the word list that directly follows such a stretch, and
 * without its commas (all of them, once anything was found).  New heap text
 * that the caller frees; NULL when the word list cannot be loaded (which
 * happens only when memory runs out).  Only the first listed word that fits
 * is taken, and an empty line stops the search at its place. */
ETI_EXPORT char* getOthers(const char* text, const RESULT_ETS* list,
                           const char* wordList);

/* A new map of `length` characters: '1' where some result marks the byte,
 * '0' elsewhere.  NULL for a NULL list or a negative length. */
ETI_EXPORT char* ConvRES2char(const RESULT_ETS* list, int32_t length);

/* One result chosen from a non-empty list (the first, or the end of the
 * first run of spans), as a new node whose start time has its unknown
 * fields completed; its marks pointer is the chosen node's own, so free only
 * the node. */
ETI_EXPORT RESULT_ETS* SelectResult(const RESULT_ETS* list);

/* Overall type of a found chain: 1 when a time is absolute, 3 or 10 when
 * times are relative (without or with dates), 4 or 5 for dates only. */
ETI_EXPORT int32_t GetDTtype(const DTINFO* list);

/* New array of n entries: 1 where a[k] or b[k] is 1, else 0. */
ETI_EXPORT int32_t* combineMarks(const int32_t* a, const int32_t* b, int32_t n);

/* Pattern search over the tagger's tokens, which it frees: the found
 * expressions as a DTINFO list in text order, with byte positions and marks
 * over `text`; NULL for none.  Each stretch of text covered by tokens is
 * read in its best reading: one token per place, one attribute per token,
 * the longest patterns taken greedily from the left, the reading that
 * covers the most bytes winning (the first found on ties). */
ETI_EXPORT DTINFO* ExtAndComp(RETTAGS* tokens, const char* text,
                              ETS_CONTEXT* context);

/* The best reading of the covered bytes [from, to), given the `pathLen`
 * tokens chosen before them in `path`: the found records with byte
 * positions, or NULL.  `chains[p]` holds the tokens that start at byte p,
 * linked through their next fields. */
ETI_EXPORT DTINFO* SearchSubSeq(const int32_t* coverage, int32_t from, int32_t to,
                                RETTAGS** chains, RETTAGS** path, int32_t pathLen,
                                ETS_CONTEXT* context);

/* Matches patterns greedily from the left along one path of `count` tokens:
 * the records found, with seqBegin/seqEnd as token indexes; *consumed
 * receives the index where matching stopped (count when it ran through). */
ETI_EXPORT DTINFO* FindTS(RETTAGS** path, int32_t count, int32_t* consumed,
                          ETS_CONTEXT* context);

/* Folds neighbouring records of the found list into compound records (a
 * new list, never NULL); the found list is left to the caller. */
ETI_EXPORT DTINFO* CompoundDTInfo(DTINFO* list, DTINFO* reference,
                                  int32_t textLength, const char* text);

/* Resolves every compound against the reference time in place; returns the
 * head, or NULL when a date could not be formed (the caller frees the
 * list). */
ETI_EXPORT DTINFO* RestoreTime(DTINFO* list, DTINFO* reference,
                               ETS_CONTEXT* context);

/* Runs one extraction.  `refTime` is twelve digits YYYYMMDDhhmm; settings is
 * the settings text, a2..a5 the replacement, tag, pattern and unit-sequence
 * trie blobs, a6 the word list text.  Returns 0 after a run, with *results
 * the new list (NULL when nothing was found), or -1 when the reference time
 * is rejected (year 1970..2043, month 1..12, day 1..31, hour 0..24, minute
 * 0..60), leaving *results as it was.  Every result carries the same
 * content (see getOthers); should the word list fail to load for want of
 * memory, the content is computed without it, and failing that is empty. */
ETI_EXPORT int32_t ETI_Main(const char* text, TYPED_RESULT** results,
                            const char* refTime, const char* settings,
                            const void* a2, const void* a3, const void* a4,
                            const void* a5, const char* a6);

/* Frees a TYPED_RESULT list: each node's content, then the node. */
ETI_EXPORT void ETI_FreeTypedResults(TYPED_RESULT* list);

/* The JSON array the native method answers with for a TYPED_RESULT list, in
 * the text's CP949 bytes (malloc'd; "[]" for an empty list). */
ETI_EXPORT char* ETI_ResultsJson(const TYPED_RESULT* list);

/* Typed copy of a RESULT_ETS list (content left NULL), or NULL. */
ETI_EXPORT TYPED_RESULT* newType(const RESULT_ETS* list, const char* text,
                                 int32_t textLength);

/* Character index of byte position bytePos of `text`: every byte of 0x80 or
 * above opens a two-byte character.  0 maps to 0, -1 to -1. */
ETI_EXPORT int32_t charIndex(const char* text, int32_t bytePos);

/* ------------------------------------------------------------------------ */
/* Compounding and restoration                                               */
/* ------------------------------------------------------------------------ */

/* 1 when partial record P cannot join compound K (they say the same thing
 * twice, a compound with a time takes nothing more, or something other than
 * blanks stands between them in `text`), else 0. */
ETI_EXPORT int32_t CheckCollision(const DTINFO* compound, const DTINFO* partial,
                                  const char* text);

/* A new empty compound (relKind 0, n zeroed marks) linked behind `current`;
 * *head becomes `current` when it was NULL. */
ETI_EXPORT DTINFO* NewDTnfo(DTINFO** head, DTINFO* current, int32_t n);

/* Converts a lunar record's year, month and day to the Gregorian calendar
 * (never the leap month).  Returns what Lunar2Solar returns. */
ETI_EXPORT int32_t ChangeLunarDate(DTINFO* record, const ETS_CONTEXT* context);

/* Normalises a record through the calendar: the default century added to a
 * year of 99 or less, the date (and, unless mode is -1, the time, with PM
 * hours moved past noon) carried into range, week of the month and weekday
 * filled.  Returns the record, or NULL when the date cannot be formed. */
ETI_EXPORT DTINFO* ModifyDTInfo(DTINFO* record, int32_t mode, const ETS_CONTEXT* context);

/* ------------------------------------------------------------------------ */
/* Content extraction over marked-up texts (not used by ETI_Main)            */
/* ------------------------------------------------------------------------ */

/* The content of a text whose expressions are tagged <D> <T> <L> <C>: tags
 * stripped, the entries of "rem_words.dic" in `dictionaryDir` applied,
 * spaces tidied.  New text that the caller frees; NULL when the file cannot
 * be opened, memory runs out or the text is 1024 bytes or longer. */
ETI_EXPORT char* ExtractContent(const char* taggedText,
                                const char* dictionaryDir);

/* Writes `src` without its eight tags into `dst` (as large as src): 1, or 0
 * (dst empty) for a text of 1024 bytes or more. */
ETI_EXPORT int32_t RemoveDTTag(const char* src, char* dst);

/* Wraps every run of '1' in `mask` around the text in <T> ... </T> and adds
 * one trailing space.  New text that the caller frees; NULL when the two
 * differ in length or the text is 1024 bytes or longer. */
ETI_EXPORT char* ConvertData(const char* text, const char* mask);

/* Removes every <T> ... </T> span of a tagged text together with the first
 * listed particle (a word list text) that follows it, into `out` (as large
 * as the text).  1, or 0 when the particle list cannot be built or the text
 * is 1024 bytes or longer. */
ETI_EXPORT int32_t RemoveDTwithJosa(const char* taggedText, char* out,
                                    const char* particleList);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* EXTRACTOR_KR_STAGES_H_ */
