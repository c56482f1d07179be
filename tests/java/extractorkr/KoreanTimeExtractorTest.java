package extractorkr;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.nio.charset.Charset;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.time.LocalDate;
import java.time.LocalDateTime;
import java.time.Period;
import java.time.format.DateTimeFormatter;
import java.util.ArrayList;
import java.util.List;
import java.util.Locale;
import java.util.OptionalInt;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import java.util.stream.Collectors;
import java.util.stream.Stream;
import org.junit.jupiter.api.AfterAll;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.function.Executable;
import org.junit.jupiter.api.io.TempDir;
import zelk.tarn.tm.wisp.service.entity.ExtractorKr;

/**
 * The Java library against the jar alone: positions in UTF-16 units, java.time values, the same
 * answers as the whole-call JNI method, threads, and every exception it documents.
 */
class KoreanTimeExtractorTest {
  private static final LocalDateTime REF = LocalDateTime.of(2024, 5, 15, 10, 30);
  private static final Path DICTS = Paths.get(System.getProperty("extractorkr.test.dicts"));
  private static final Path CORPUS = Paths.get(System.getProperty("extractorkr.test.corpus"));
  private static final ExtractOptions READER = ExtractOptions.defaults();
  private static final ExtractOptions WHOLE = ExtractOptions.defaults().wholeCall();
  private static KoreanTimeExtractor extractor;

  @BeforeAll
  static void open() {
    extractor = KoreanTimeExtractor.openDefault();
  }

  @AfterAll
  static void close() {
    extractor.close();
  }

  private static List<TimeExpression> found(String text, LocalDateTime ref, ExtractOptions o) {
    return extractor.extract(text, ref, o).expressions();
  }

  private static TimeExpression only(String text, LocalDateTime ref, ExtractOptions o) {
    List<TimeExpression> found = found(text, ref, o);
    assertEquals(1, found.size(), text + " " + o + " -> " + found);
    return found.get(0);
  }

  private static TimeExpression only(String text) {
    return only(text, REF, READER);
  }

  /** The corpus lines: reference, text, ... */
  private static List<String[]> corpus() throws Exception {
    List<String[]> lines = new ArrayList<>();
    try (Stream<Path> s = Files.list(CORPUS)) {
      for (Path p : s.filter(p -> p.toString().endsWith(".tsv")).sorted().collect(Collectors.toList())) {
        for (String line : Files.readAllLines(p)) {
          if (!line.isEmpty() && !line.startsWith("#")) lines.add(line.split("\t", -1));
        }
      }
    }
    return lines;
  }

  @Test
  void positionsAreUtf16IndexesIntoTheStringGiven() {
    String[][] cases = {
      // text, the expression it holds
      {"🎉 내일 오후 3시에 봐", "내일 오후 3시"},
      {"𠀀𠀀 5월 20일에 회의", "5월 20일"},
      {"내일😀3시에 봐요", "내일😀3시"}, // read as if the emoji were a blank
      {"\uD800 내일 오후 3시", "내일 오후 3시"}, // an unpaired surrogate is a character too
      {"\uDC00\uD800 내일 오후 3시\uDC00", "내일 오후 3시"}, // a pair the wrong way round
      {"\uDBFF\uDBFF😀 내일 오후 3시 \uD83D", "내일 오후 3시"},
      {"👍🏽🇰🇷 다음 주 화요일 10시 회의", "다음 주 화요일 10시"},
    };
    for (String[] c : cases) {
      TimeExpression t = only(c[0]);
      assertEquals(c[1], c[0].substring(t.beginIndex(), t.endIndex()), c[0]);
      assertEquals(c[1], t.text(), c[0]);
    }
    assertEquals(3, only("🎉 내일 오후 3시에 봐").beginIndex());
    assertEquals("🎉    봐", extractor.extract("🎉 내일 오후 3시에 봐", REF).content());
    // A lone surrogate comes back in the content as U+FFFD, in its place.
    assertEquals("\uFFFD    봐", extractor.extract("\uDC00 내일 오후 3시에 봐", REF).content());
  }

  @Test
  void spansOpenEndsCyclesAndPartialDates() {
    TimeExpression span = only("7월 13일부터 15일까지 휴가");
    assertTrue(span.isSpan() && span.hasDate() && !span.hasTime());
    assertEquals(LocalDate.of(2024, 7, 13), span.start().date().orElseThrow());
    assertEquals(LocalDate.of(2024, 7, 15), span.end().date().orElseThrow());
    assertEquals(OptionalInt.empty(), span.start().hour());
    assertFalse(span.start().toLocalDateTime().isPresent());

    TimeExpression until = only("금요일까지 보내주세요");
    assertTrue(until.isSpan() && until.start().isOpen());
    assertEquals("(open)", until.start().toString());
    assertEquals(LocalDate.of(2024, 5, 17), until.end().date().orElseThrow());

    TimeExpression weekly = only("매주 월요일 10시 회의");
    assertEquals(1, weekly.cycleInterval());
    assertEquals("매주 월요일 10시 [0,10) 2024-05-20T10:00 every P7D", weekly.toString());
    assertEquals(LocalDateTime.of(2024, 5, 20, 10, 0), weekly.start().toLocalDateTime().get());
    assertEquals(weekly.start(), weekly.end());
    assertFalse(weekly.isSpan());
    assertEquals(Period.ofMonths(1), only("매달 1일").cycle().orElseThrow());

    TimeExpression afternoon = only("내일 오후 3시에 만나요");
    assertTrue(afternoon.hasAmPm() && !afternoon.isLunar() && !afternoon.cycle().isPresent());
    assertEquals(OptionalInt.of(0), afternoon.start().minute());
    assertEquals(0, afternoon.cycleInterval());
    assertEquals("내일 오후 3시 [0,8) 2024-05-16T15:00", afternoon.toString());

    assertTrue(extractor.extract("아무 일 없음", REF).expressions().isEmpty());
    assertEquals("아무 일 없음, 그냥", extractor.extract("아무 일 없음, 그냥", REF).content());
  }

  /** The whole-call JNI method's answers, in the compact form of the corpus files. */
  private static final Pattern ELEMENT =
      Pattern.compile(
          "\\{\"resultType\":\"(\\d)\",\"startTime\":\"([\\w-]+)\",\"endTime\":\"([\\w-]+)\","
              + "\"beginIndex\":\"(-?\\d+)\",\"endIndex\":\"(-?\\d+)\","
              + "\"content\":\"((?:[^\"\\\\]|\\\\.)*)\",\"inputInformStart\":\"\\d+\","
              + "\"inputInformEnd\":\"\\d+\",\"cycle\":\"(\\d+)\"\\}");

  private static String time(PartialDateTime p) {
    StringBuilder s = new StringBuilder();
    OptionalInt[] f = {p.year(), p.month(), p.day(), p.hour(), p.minute(), p.second()};
    for (int k = 0; k < 6; ++k) {
      s.append(f[k].isPresent() ? String.format(k == 0 ? "%04d" : "%02d", f[k].getAsInt()) : "FFFF".substring(k == 0 ? 0 : 2));
    }
    return s.toString();
  }

  private static String cycle(TimeExpression t) {
    Period p = t.cycle().orElse(Period.ZERO);
    return String.format("%04d%02d%02d000000", p.getYears(), p.getMonths(), p.getDays());
  }

  @Test
  void sameAnswersAsTheWholeCallMethodOnTheCorpus() throws Exception {
    Charset ms949 = Charset.forName("MS949");
    byte[][] d = new byte[6][];
    for (int k = 0; k < 6; ++k) d[k] = Files.readAllBytes(DICTS.resolve(KoreanTimeExtractor.DICTIONARY_FILES[k]));
    ExtractorKr whole = new ExtractorKr();
    DateTimeFormatter refs = DateTimeFormatter.ofPattern("yyyyMMddHHmm");
    List<String[]> lines = corpus();
    for (String[] cols : lines) {
      byte[] json = whole.getTimeInfo_native(cols[1].getBytes(ms949), d[0], d[1], d[2], d[3], d[4], d[5], cols[0]);
      Matcher m = ELEMENT.matcher(new String(json, ms949));
      Extraction e = extractor.extract(cols[1], LocalDateTime.parse(cols[0], refs), WHOLE);
      int k = 0;
      while (m.find()) {
        TimeExpression t = e.expressions().get(k++);
        String where = cols[1] + ": " + t;
        assertEquals(m.group(1).equals("2"), t.isSpan(), where);
        assertEquals(m.group(2) + " " + m.group(3), time(t.start()) + " " + time(t.end()), where);
        assertEquals(m.group(4) + "-" + m.group(5), t.beginIndex() + "-" + t.endIndex(), where);
        assertEquals(m.group(6).replace("\\\"", "\""), e.content(), where);
        assertEquals(m.group(7), cycle(t), where);
      }
      assertEquals(k, e.expressions().size(), cols[1]);
    }
    assertTrue(lines.size() >= 300, "corpus sentences checked: " + lines.size());
  }

  @Test
  void eightThreadsShareOneExtractor() throws Exception {
    List<String> texts = corpus().stream().map(c -> c[1]).collect(Collectors.toList());
    List<Extraction> expected = texts.stream().map(t -> extractor.extract(t, REF)).collect(Collectors.toList());
    ExecutorService pool = Executors.newFixedThreadPool(8);
    try {
      List<Future<Integer>> results = new ArrayList<>();
      for (int thread = 0; thread < 8; ++thread) {
        final int offset = thread * 37;
        results.add(pool.submit(() -> {
          int wrong = 0;
          for (int k = 0; k < 5 * texts.size(); ++k) {
            int i = (k + offset) % texts.size();
            if (!extractor.extract(texts.get(i), REF).equals(expected.get(i))) ++wrong;
          }
          return wrong;
        }));
      }
      for (Future<Integer> f : results) assertEquals(0, f.get());
    } finally {
      pool.shutdown();
    }
  }

  @Test
  void aDefaultLocaleWithOtherDigitsChangesNothing() {
    Extraction expected = extractor.extract("내일 오후 3시에 만나요", REF);
    Locale saved = Locale.getDefault();
    try {
      Locale.setDefault(Locale.forLanguageTag("th-TH-u-nu-thai"));
      assertFalse(String.format("%d", 5).equals("5"), "the locale writes other digits");
      Extraction e = extractor.extract("내일 오후 3시에 만나요", REF);
      assertEquals(expected, e);
      assertEquals("내일 오후 3시 [0,8) 2024-05-16T15:00", e.expressions().get(0).toString());
    } finally {
      Locale.setDefault(saved);
    }
  }

  /** An expression as a reader checks it: its text, start, end and cycle. */
  private static String reading(TimeExpression t) {
    String s = t.text() + " " + t.start() + (t.isSpan() ? " ~ " + t.end() : "");
    if (t.cycle().isPresent()) {
      s += " every " + (t.cycleInterval() != 1 ? t.cycleInterval() + " x " : "") + t.cycle().get();
    }
    return s;
  }

  @Test
  void textsWithSeveralDatesAreReadAsAReaderReadsThem() {
    LocalDateTime wednesday = LocalDateTime.of(2026, 11, 25, 15, 0);
    String[][] cases = {
      // text, then what a reader acts on
      {"2027년 봄학기 수강신청은 12월 2일부터 12월 9일까지입니다.",
        "12월 2일부터 12월 9일까지 2026-12-02 ~ 2026-12-09"},
      {"방학은 1월 5일부터 2월 27일까지입니다. 신청서는 12월 11일까지 내 주세요.",
        "1월 5일부터 2월 27일까지 2027-01-05 ~ 2027-02-27", "12월 11일까지 (open) ~ 2026-12-11"},
      {"3분기 결산은 11월 30일 월요일 오후 5시까지 제출",
        "11월 30일 월요일 오후 5시까지 (open) ~ 2026-11-30T17:00"},
      {"세미나는 다다음 주 수요일이고 자료는 금요일까지 보내 주세요",
        "다다음 주 수요일 2026-12-09", "금요일까지 (open) ~ 2026-11-27"},
      {"다음 달부터 요금이 바뀝니다. 이번 달 말까지 납부하세요.",
        "다음 달부터 2026-12-01 ~ (open)", "이번 달 말까지 (open) ~ 2026-11-30"},
      {"내일 오후 3시 미팅. 그리고 한 달 전에 보낸 견적서 확인 부탁",
        "내일 오후 3시 2026-11-26T15:00", "한 달 전 2026-10-25"},
      {"오늘밤 12시 오픈이래. 알람은 11시 40분",
        "오늘밤 12시 2026-11-26T00:00", "11시 40분 2026-11-25T23:40"},
      {"매주 월,수,금 아침 7시 수영",
        "매주 월,수,금 아침 7시 2026-11-27T07:00 every P7D",
        "매주 월,수,금 아침 7시 2026-11-30T07:00 every P7D",
        "매주 월,수,금 아침 7시 2026-12-02T07:00 every P7D"},
      {"격주 화요일 스터디 / 목요일마다 독서모임",
        "격주 화요일 2026-12-01 every 2 x P7D", "목요일마다 2026-11-26 every P7D"},
      {"이십 일 후에 전역 / 삼십 분 후에 보자",
        "이십 일 후 2026-12-15", "삼십 분 후 2026-11-25T15:30"},
    };
    for (String[] c : cases) {
      List<String> got =
          found(c[0], wednesday, READER).stream()
              .map(KoreanTimeExtractorTest::reading)
              .collect(Collectors.toList());
      for (int k = 1; k < c.length; ++k) {
        assertTrue(got.contains(c[k]), c[0] + ": wants " + c[k] + ", got " + got);
      }
    }
    // The native method's rules carry the first span's year into the next sentence.
    assertEquals("12월 11일까지 (open) ~ 2027-12-11", reading(found(cases[1][0], wednesday, WHOLE).get(1)));
    assertEquals("    수영", extractor.extract(cases[7][0], wednesday).content());
  }

  @Test
  void lunarDatesAreFlaggedAndGivenAsSolarDates() {
    String[][] cases = {{"음력 8월 15일", "2024-09-17"}, {"추석", "2024-09-17"}, {"음력 1월 1일에 세배", "2025-01-29"}};
    for (ExtractOptions options : new ExtractOptions[] {READER, WHOLE}) {
      for (String[] c : cases) {
        TimeExpression t = only(c[0], REF, options);
        LocalDate solar = LocalDate.parse(c[1]);
        assertTrue(t.isLunar(), c[0]);
        assertEquals(solar, t.start().date().orElseThrow(), c[0]);
        assertTrue(t.toString().endsWith(" (lunar)"), t.toString());
        String written = solar.getMonthValue() + "월 " + solar.getDayOfMonth() + "일";
        TimeExpression same = only(written, REF, options);
        assertFalse(same.isLunar(), written);
        assertEquals(t.start(), same.start(), written);
        assertFalse(t.equals(same));
      }
    }
  }

  private static void assertRefused(Executable call, String message) {
    IllegalArgumentException e = assertThrows(IllegalArgumentException.class, call, message);
    assertTrue(e.getMessage().startsWith(message), e.getMessage() + " <> " + message);
  }

  @Test
  void everyExceptionItDocuments(@TempDir Path tmp) throws Exception {
    assertThrows(NullPointerException.class, () -> extractor.extract(null, REF));
    assertThrows(NullPointerException.class, () -> extractor.extract("내일", null));
    assertThrows(NullPointerException.class, () -> extractor.extract("내일", REF, null));
    assertThrows(NullPointerException.class, () -> KoreanTimeExtractor.open(null));
    for (ExtractOptions options : new ExtractOptions[] {READER, WHOLE}) {
      int first = options.rules().firstReferenceYear();
      int last = options.rules().lastReferenceYear();
      String window = " is outside years " + first + ".." + last;
      assertRefused(() -> extractor.extract("내일", LocalDateTime.of(first - 1, 12, 31, 23, 59), options),
          String.format("reference %04d12312359", first - 1) + window);
      assertRefused(() -> extractor.extract("내일", LocalDateTime.of(last + 1, 1, 1, 0, 0), options),
          String.format("reference %04d01010000", last + 1) + window);
      extractor.extract("내일", LocalDateTime.of(first, 1, 1, 0, 0), options);
      extractor.extract("내일", LocalDateTime.of(last, 12, 31, 23, 59), options);
    }
    IllegalArgumentException negative = assertThrows(IllegalArgumentException.class,
        () -> extractor.extract("내일", LocalDateTime.of(-5, 1, 1, 0, 0)));
    assertTrue(negative.getMessage().contains("twelve digits"), negative.getMessage());
    assertRefused(() -> extractor.extract("내일\u0000 3시", REF), "NUL character at byte 6");
    // The whole call takes references past the years of its results, and gives nothing there.
    assertTrue(WHOLE.rules().lastReferenceYear() > WHOLE.lastYear());
    assertTrue(found("내일", LocalDateTime.of(WHOLE.rules().lastReferenceYear(), 12, 31, 23, 59), WHOLE).isEmpty());

    DictionaryException missing = assertThrows(DictionaryException.class, () -> KoreanTimeExtractor.open(tmp));
    assertTrue(missing.getMessage().contains("settings.txt"), missing.getMessage());
    for (String name : KoreanTimeExtractor.DICTIONARY_FILES) Files.copy(DICTS.resolve(name), tmp.resolve(name));
    try (KoreanTimeExtractor fromDir = KoreanTimeExtractor.open(tmp)) {
      assertEquals(extractor.extract("매주 월요일 10시", REF), fromDir.extract("매주 월요일 10시", REF));
    }
    byte[] tags = Files.readAllBytes(tmp.resolve("tags.bin"));
    Files.write(tmp.resolve("tags.bin"), java.util.Arrays.copyOf(tags, tags.length - 3));
    DictionaryException malformed = assertThrows(DictionaryException.class, () -> KoreanTimeExtractor.open(tmp));
    assertTrue(malformed.getMessage().contains("tags.bin"), malformed.getMessage());

    KoreanTimeExtractor closing = KoreanTimeExtractor.openDefault();
    closing.close();
    closing.close(); // harmless
    assertThrows(IllegalStateException.class, () -> closing.extract("내일", REF));
  }

  private static LocalDate startDate(String text, LocalDateTime ref, ExtractOptions options) {
    return only(text, ref, options).start().date().orElseThrow();
  }

  @Test
  void optionsPlaceOpenDatesInThePastAndReadOtherYears() {
    LocalDateTime friday = LocalDateTime.of(2024, 5, 24, 10, 30);
    ExtractOptions past = READER.preferPast();
    String[][] cases = {
      // text, past, future
      {"19일 개봉", "2024-05-19", "2024-06-19"},
      {"금요일", "2024-05-24", "2024-05-31"},
      {"지난 금요일", "2024-05-17", "2024-05-17"},
    };
    for (String[] c : cases) {
      assertEquals(LocalDate.parse(c[1]), startDate(c[0], friday, past), c[0]);
      assertEquals(LocalDate.parse(c[2]), startDate(c[0], friday, READER), c[0]);
    }
    // The reader reads every year of its calendar; the whole call its own years only.
    ExtractOptions archive = past.years(1900, 2099);
    assertEquals(LocalDate.of(1997, 10, 1), startDate("1997년 10월", friday, READER));
    assertEquals(LocalDate.of(1997, 10, 1), startDate("1997년 10월", friday, archive));
    assertTrue(found("1997년 10월", friday, WHOLE).isEmpty());
    assertTrue(found("1997년 10월", friday, READER.years(2000, 2040)).isEmpty());
    LocalDateTime war = LocalDateTime.of(1950, 6, 25, 4, 0);
    assertEquals(LocalDate.of(1950, 6, 23), startDate("금요일", war, archive));
    assertRefused(() -> extractor.extract("내일", war, READER.years(1990, 2010)),
        "reference 195006250400 is outside years 1990..2010");

    // Immutable values; the defaults are the two-argument call's.
    assertEquals(extractor.extract("매주 월요일 10시 회의", REF), extractor.extract("매주 월요일 10시 회의", REF, READER));
    assertEquals(READER, archive.preferFuture().reader().years(0, 0));
    assertEquals(WHOLE, archive.preferFuture().wholeCall());
    assertEquals(WHOLE.hashCode(), READER.rules(ExtractOptions.Rules.WHOLE_CALL).hashCode());
    assertFalse(WHOLE.equals(READER.years(WHOLE.firstYear(), WHOLE.lastYear())));
    assertEquals("ExtractOptions[rules=reader, prefer=past, years=1900..2099]", archive.toString());
  }

  @Test
  void badOptionsAreRefusedInTheLibrarysWords() {
    ExtractOptions.Rules reader = ExtractOptions.Rules.READER;
    String inside = " are not a window inside " + reader.firstYear() + ".." + reader.lastYear();
    int before = reader.firstYear() - 1, after = reader.lastYear() + 1;
    assertRefused(() -> READER.years(before, 2000), "years " + before + "..2000" + inside);
    assertRefused(() -> READER.years(2000, after), "years 2000.." + after + inside);
    assertRefused(() -> READER.years(2030, 2010), "years 2030..2010" + inside);
    assertRefused(() -> WHOLE.preferPast(), "the whole call's rules prefer the future only");
    assertRefused(() -> READER.preferPast().wholeCall(), "the whole call's rules prefer the future only");
    assertRefused(() -> WHOLE.years(1990, 2010), "the whole call's rules read years "
        + WHOLE.firstYear() + ".." + WHOLE.lastYear() + " only, not 1990..2010");
    assertRefused(() -> ExtractOptions.Rules.forName("native"), "rules 'native' is not 'reader' or 'whole-call'");
    assertThrows(NullPointerException.class, () -> READER.rules(null));
    for (ExtractOptions.Rules r : ExtractOptions.Rules.values()) {
      assertEquals(r, ExtractOptions.Rules.forName(r.toString()));
      assertTrue(r.firstReferenceYear() <= r.firstYear() && r.firstYear() < r.lastYear()
          && r.lastYear() <= r.lastReferenceYear(), r.toString());
    }
    assertEquals("whole-call", ExtractOptions.Rules.WHOLE_CALL.toString());
    assertTrue(KoreanTimeExtractor.libraryVersion().matches("\\d+\\.\\d+\\.\\d+"));
  }

  @Test
  void countsPastTheCalendarGiveRealMomentsOrNothing() {
    LocalDateTime ref = LocalDateTime.of(2014, 5, 15, 10, 30);
    String[] texts = {
      "5103032시간 전에 끝났어", "100000일 전", "3000개월 전", "2000000시간 전", "300000주 전",
      "9999999분 전", "5000년 후", "100000일 후", "3000개월 뒤", "12818071분 전",
    };
    for (ExtractOptions o : new ExtractOptions[] {READER, WHOLE, READER.preferPast(), READER.years(1900, 2099)}) {
      // The whole call counts back from its references as far as the first of them.
      int first = o.rules() == ExtractOptions.Rules.WHOLE_CALL ? o.rules().firstReferenceYear() : o.firstYear();
      for (String text : texts) {
        for (TimeExpression t : found(text, ref, o)) {
          for (PartialDateTime m : new PartialDateTime[] {t.start(), t.end()}) {
            if (m.isOpen()) continue;
            int year = m.year().getAsInt();
            assertTrue(first <= year && year <= o.lastYear(), o + ": " + t);
            assertTrue(m.date().isPresent(), t.toString());
            if (m.hour().isPresent()) assertTrue(m.toLocalDateTime().isPresent(), t.toString());
          }
        }
      }
    }
    // The reader places the count on its calendar, before 1970 too.
    assertEquals(LocalDateTime.of(1432, 3, 21, 2, 30),
        only("5103032시간 전에 끝났어", ref, READER).start().toLocalDateTime().get());
  }
}
