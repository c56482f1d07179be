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
import java.util.ArrayList;
import java.util.List;
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
  private static KoreanTimeExtractor extractor;

  @BeforeAll
  static void open() {
    extractor = KoreanTimeExtractor.openDefault();
  }

  @AfterAll
  static void close() {
    extractor.close();
  }

  private static TimeExpression only(String text) {
    List<TimeExpression> found = extractor.extract(text, REF).expressions();
    assertEquals(1, found.size(), text + " -> " + found);
    return found.get(0);
  }

  @Test
  void positionsAreUtf16IndexesIntoTheStringGiven() {
    String[][] cases = {
      // text, the expression it holds
      {"🎉 내일 오후 3시에 봐", "내일 오후 3시"},
      {"내일 오후 3시에 봐 🎉", "내일 오후 3시"},
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
    TimeExpression t = only("🎉 내일 오후 3시에 봐");
    assertEquals(3, t.beginIndex());
    assertEquals(11, t.endIndex());
    assertEquals("🎉    봐", extractor.extract("🎉 내일 오후 3시에 봐", REF).content());
    // A lone surrogate comes back in the content as U+FFFD, in its place.
    assertEquals("\uFFFD    봐", extractor.extract("\uDC00 내일 오후 3시에 봐", REF).content());
  }

  @Test
  void spansOpenEndsCyclesAndPartialDates() {
    TimeExpression span = only("7월 13일부터 15일까지 휴가");
    assertTrue(span.isSpan());
    assertEquals(LocalDate.of(2024, 7, 13), span.start().date().orElseThrow());
    assertEquals(LocalDate.of(2024, 7, 15), span.end().date().orElseThrow());
    assertEquals(OptionalInt.empty(), span.start().hour());
    assertFalse(span.start().toLocalDateTime().isPresent());
    assertTrue(span.hasDate());
    assertFalse(span.hasTime());

    TimeExpression until = only("금요일까지 보내주세요");
    assertTrue(until.isSpan());
    assertTrue(until.start().isOpen());
    assertEquals("(open)", until.start().toString());
    assertEquals(LocalDate.of(2024, 5, 17), until.end().date().orElseThrow());

    TimeExpression weekly = only("매주 월요일 10시 회의");
    assertEquals(Period.ofDays(7), weekly.cycle().orElseThrow());
    assertEquals(1, weekly.cycleInterval());
    assertEquals("매주 월요일 10시 [0,10) 2024-05-20T10:00 every P7D", weekly.toString());
    assertEquals(LocalDateTime.of(2024, 5, 20, 10, 0), weekly.start().toLocalDateTime().get());
    assertEquals(weekly.start(), weekly.end());
    assertFalse(weekly.isSpan());
    assertEquals(Period.ofMonths(1), only("매달 1일").cycle().orElseThrow());
    assertEquals(1, only("매달 1일").cycleInterval());

    TimeExpression afternoon = only("내일 오후 3시에 만나요");
    assertTrue(afternoon.hasAmPm());
    assertEquals(OptionalInt.of(0), afternoon.start().minute());
    assertFalse(afternoon.cycle().isPresent());
    assertEquals(0, afternoon.cycleInterval());
    assertFalse(afternoon.isLunar());
    assertEquals("내일 오후 3시 [0,8) 2024-05-16T15:00", afternoon.toString());

    assertTrue(extractor.extract("아무 일 없음", REF).expressions().isEmpty());
    assertEquals("아무 일 없음, 그냥", extractor.extract("아무 일 없음, 그냥", REF).content());
  }

  /** The whole-call JNI method's answers, in the compact form of the corpus files. */
  private static final Pattern ELEMENT =
      Pattern.compile(
          "\\{\"resultType\":\"(\\d)\",\"startTime\":\"([\\w-]+)\",\"endTime\":\"([\\w-]+)\","
              + "\"beginIndex\":\"(-?\\d+)\",\"endIndex\":\"(-?\\d+)\","
              + "\"content\":\"((?:[^\"\\\\]|\\\\.)*)\",\"inputInformStart\":\"(\\d+)\","
              + "\"inputInformEnd\":\"(\\d+)\",\"cycle\":\"(\\d+)\"\\}");

  private static String time(PartialDateTime p) {
    StringBuilder s = new StringBuilder();
    OptionalInt[] f = {p.year(), p.month(), p.day(), p.hour(), p.minute(), p.second()};
    for (int k = 0; k < 6; ++k) {
      int width = k == 0 ? 4 : 2;
      s.append(
          f[k].isPresent() ? String.format("%0" + width + "d", f[k].getAsInt()) : "FFFF".substring(0, width));
    }
    return s.toString();
  }

  private static String cycle(TimeExpression t) {
    if (!t.cycle().isPresent()) return "00000000000000";
    Period p = t.cycle().get();
    if (p.getYears() == 1) return "00010000000000";
    if (p.getMonths() == 1) return "00000100000000";
    return p.getDays() == 7 ? "00000007000000" : "00000001000000";
  }

  @Test
  void sameAnswersAsTheWholeCallMethodOnTheCorpus() throws Exception {
    Charset ms949 = Charset.forName("MS949");
    byte[][] d = new byte[6][];
    for (int k = 0; k < 6; ++k) {
      d[k] = Files.readAllBytes(DICTS.resolve(KoreanTimeExtractor.DICTIONARY_FILES[k]));
    }
    ExtractorKr whole = new ExtractorKr();
    List<Path> files;
    try (Stream<Path> s = Files.list(CORPUS)) {
      files = s.filter(p -> p.toString().endsWith(".tsv")).sorted().collect(Collectors.toList());
    }
    int checked = 0;
    for (Path file : files) {
      for (String line : Files.readAllLines(file)) {
        if (line.isEmpty() || line.startsWith("#")) continue;
        String[] cols = line.split("\t", -1);
        String ref = cols[0];
        String text = cols[1];
        byte[] json =
            whole.getTimeInfo_native(text.getBytes(ms949), d[0], d[1], d[2], d[3], d[4], d[5], ref);
        Matcher m = ELEMENT.matcher(new String(json, ms949));
        LocalDateTime reference =
            LocalDateTime.of(
                Integer.parseInt(ref.substring(0, 4)),
                Integer.parseInt(ref.substring(4, 6)),
                Integer.parseInt(ref.substring(6, 8)),
                Integer.parseInt(ref.substring(8, 10)),
                Integer.parseInt(ref.substring(10, 12)));
        Extraction e = extractor.extract(text, reference, ExtractOptions.defaults().wholeCall());
        int k = 0;
        while (m.find()) {
          String where = file.getFileName() + ": " + text;
          TimeExpression t = e.expressions().get(k++);
          assertEquals(m.group(1).equals("2"), t.isSpan(), where);
          assertEquals(m.group(2), time(t.start()), where);
          assertEquals(m.group(3), time(t.end()), where);
          assertEquals(Integer.parseInt(m.group(4)), t.beginIndex(), where);
          assertEquals(Integer.parseInt(m.group(5)), t.endIndex(), where);
          assertEquals(m.group(6).replace("\\\"", "\""), e.content(), where);
          assertEquals(m.group(9), cycle(t), where);
        }
        assertEquals(k, e.expressions().size(), text);
        ++checked;
      }
    }
    assertTrue(checked >= 300, "corpus sentences checked: " + checked);
  }

  @Test
  void eightThreadsShareOneExtractor() throws Exception {
    List<String> texts = new ArrayList<>();
    try (Stream<Path> s = Files.list(CORPUS)) {
      for (Path p : s.filter(p -> p.toString().endsWith(".tsv")).collect(Collectors.toList())) {
        for (String line : Files.readAllLines(p)) {
          if (!line.isEmpty() && !line.startsWith("#")) texts.add(line.split("\t")[1]);
        }
      }
    }
    List<Extraction> expected = new ArrayList<>();
    for (String t : texts) expected.add(extractor.extract(t, REF));
    ExecutorService pool = Executors.newFixedThreadPool(8);
    try {
      List<Future<Integer>> results = new ArrayList<>();
      for (int thread = 0; thread < 8; ++thread) {
        final int offset = thread;
        results.add(
            pool.submit(
                () -> {
                  int wrong = 0;
                  for (int round = 0; round < 5; ++round) {
                    for (int k = 0; k < texts.size(); ++k) {
                      int i = (k + offset * 37) % texts.size();
                      if (!extractor.extract(texts.get(i), REF).equals(expected.get(i))) ++wrong;
                    }
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
    java.util.Locale saved = java.util.Locale.getDefault();
    try {
      java.util.Locale.setDefault(java.util.Locale.forLanguageTag("th-TH-u-nu-thai"));
      assertTrue(!String.format("%d", 5).equals("5"), "the locale writes other digits");
      Extraction e = extractor.extract("내일 오후 3시에 만나요", REF);
      assertEquals(expected, e);
      assertEquals("내일 오후 3시 [0,8) 2024-05-16T15:00", e.expressions().get(0).toString());
    } finally {
      java.util.Locale.setDefault(saved);
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
          extractor.extract(c[0], wednesday).expressions().stream()
              .map(KoreanTimeExtractorTest::reading)
              .collect(Collectors.toList());
      for (int k = 1; k < c.length; ++k) {
        assertTrue(got.contains(c[k]), c[0] + ": wants " + c[k] + ", got " + got);
      }
    }
    // The native method's rules carry the first span's year into the next sentence.
    List<TimeExpression> whole =
        extractor
            .extract(cases[1][0], wednesday, ExtractOptions.defaults().wholeCall())
            .expressions();
    assertEquals("12월 11일까지 (open) ~ 2027-12-11", reading(whole.get(1)));
    assertEquals("    수영", extractor.extract(cases[7][0], wednesday).content());
  }

  @Test
  void lunarDatesAreFlaggedAndGivenAsSolarDates() {
    String[][] cases = {
      // text, its solar date
      {"음력 8월 15일", "2024-09-17"},
      {"추석", "2024-09-17"},
      {"음력 1월 1일에 세배", "2025-01-29"},
    };
    for (ExtractOptions options :
        new ExtractOptions[] {ExtractOptions.defaults(), ExtractOptions.defaults().wholeCall()}) {
      for (String[] c : cases) {
        List<TimeExpression> found = extractor.extract(c[0], REF, options).expressions();
        assertEquals(1, found.size(), c[0] + " " + options);
        TimeExpression t = found.get(0);
        LocalDate solar = LocalDate.parse(c[1]);
        assertTrue(t.isLunar(), c[0]);
        assertEquals(solar, t.start().date().orElseThrow(), c[0]);
        assertTrue(t.toString().endsWith(" (lunar)"), t.toString());
        String written = solar.getMonthValue() + "월 " + solar.getDayOfMonth() + "일";
        TimeExpression same = extractor.extract(written, REF, options).expressions().get(0);
        assertFalse(same.isLunar(), written);
        assertEquals(t.start(), same.start(), written);
        assertFalse(t.equals(same));
      }
    }
  }

  @Test
  void everyExceptionItDocuments(@TempDir Path tmp) throws Exception {
    assertThrows(NullPointerException.class, () -> extractor.extract(null, REF));
    assertThrows(NullPointerException.class, () -> extractor.extract("내일", null));
    assertThrows(NullPointerException.class, () -> KoreanTimeExtractor.open(null));
    for (ExtractOptions options :
        new ExtractOptions[] {ExtractOptions.defaults(), ExtractOptions.defaults().wholeCall()}) {
      ExtractOptions.Rules rules = options.rules();
      int first = rules.firstReferenceYear();
      int last = rules.lastReferenceYear();
      String window = "is outside years " + first + ".." + last;
      IllegalArgumentException before =
          assertThrows(
              IllegalArgumentException.class,
              () -> extractor.extract("내일", LocalDateTime.of(first - 1, 12, 31, 23, 59), options));
      assertTrue(
          before.getMessage().startsWith(String.format("reference %04d12312359 ", first - 1) + window),
          before.getMessage());
      IllegalArgumentException after =
          assertThrows(
              IllegalArgumentException.class,
              () -> extractor.extract("내일", LocalDateTime.of(last + 1, 1, 1, 0, 0), options));
      assertTrue(after.getMessage().contains(window), after.getMessage());
      extractor.extract("내일", LocalDateTime.of(first, 1, 1, 0, 0), options);
      extractor.extract("내일", LocalDateTime.of(last, 12, 31, 23, 59), options);
    }
    IllegalArgumentException negative =
        assertThrows(
            IllegalArgumentException.class,
            () -> extractor.extract("내일", LocalDateTime.of(-5, 1, 1, 0, 0)));
    assertTrue(negative.getMessage().contains("twelve digits"), negative.getMessage());
    // The whole call takes references past the years of its results, and gives nothing there.
    ExtractOptions whole = ExtractOptions.defaults().wholeCall();
    LocalDateTime late = LocalDateTime.of(whole.rules().lastReferenceYear(), 12, 31, 23, 59);
    assertTrue(whole.rules().lastReferenceYear() > whole.lastYear());
    assertTrue(extractor.extract("내일", late, whole).expressions().isEmpty());
    IllegalArgumentException nul =
        assertThrows(IllegalArgumentException.class, () -> extractor.extract("내일\u0000 3시", REF));
    assertEquals("NUL character at byte 6", nul.getMessage());

    DictionaryException missing =
        assertThrows(DictionaryException.class, () -> KoreanTimeExtractor.open(tmp));
    assertTrue(missing.getMessage().contains("settings.txt"), missing.getMessage());
    for (String name : KoreanTimeExtractor.DICTIONARY_FILES) {
      Files.copy(DICTS.resolve(name), tmp.resolve(name));
    }
    try (KoreanTimeExtractor fromDir = KoreanTimeExtractor.open(tmp)) {
      assertEquals(
          extractor.extract("매주 월요일 10시", REF), fromDir.extract("매주 월요일 10시", REF));
    }
    byte[] tags = Files.readAllBytes(tmp.resolve("tags.bin"));
    Files.write(tmp.resolve("tags.bin"), java.util.Arrays.copyOf(tags, tags.length - 3));
    DictionaryException malformed =
        assertThrows(DictionaryException.class, () -> KoreanTimeExtractor.open(tmp));
    assertTrue(malformed.getMessage().contains("tags.bin"), malformed.getMessage());

    KoreanTimeExtractor closing = KoreanTimeExtractor.openDefault();
    closing.close();
    closing.close(); // harmless
    assertThrows(IllegalStateException.class, () -> closing.extract("내일", REF));
  }

  private static LocalDate startDate(String text, LocalDateTime ref, ExtractOptions options) {
    List<TimeExpression> found = extractor.extract(text, ref, options).expressions();
    assertEquals(1, found.size(), text + " -> " + found);
    return found.get(0).start().date().orElseThrow();
  }

  @Test
  void optionsPlaceOpenDatesInThePastAndReadOtherYears() {
    LocalDateTime friday = LocalDateTime.of(2024, 5, 24, 10, 30);
    ExtractOptions past = ExtractOptions.defaults().preferPast();
    String[][] cases = {
      // text, past, future
      {"19일 개봉", "2024-05-19", "2024-06-19"},
      {"3월 1일", "2024-03-01", "2025-03-01"},
      {"수요일 발표", "2024-05-22", "2024-05-29"},
      {"금요일", "2024-05-24", "2024-05-31"},
      {"12월", "2023-12-01", "2024-12-01"},
      {"내일", "2024-05-25", "2024-05-25"},
      {"지난 금요일", "2024-05-17", "2024-05-17"},
    };
    for (String[] c : cases) {
      assertEquals(LocalDate.parse(c[1]), startDate(c[0], friday, past), c[0]);
      assertEquals(LocalDate.parse(c[2]), startDate(c[0], friday, ExtractOptions.defaults()), c[0]);
    }
    assertEquals(
        LocalDateTime.of(2024, 5, 23, 23, 0),
        extractor.extract("11시", friday, past).expressions().get(0).start().toLocalDateTime().get());

    // The reader reads every year of its calendar; the whole call its own years only.
    ExtractOptions whole = ExtractOptions.defaults().wholeCall();
    ExtractOptions archive = past.years(1900, 2099);
    String[][] years = {
      {"1948년 8월 15일", "1948-08-15"}, {"1997년 10월", "1997-10-01"}, {"98년도 자료", "1998-01-01"},
    };
    for (String[] c : years) {
      assertEquals(LocalDate.parse(c[1]), startDate(c[0], friday, ExtractOptions.defaults()), c[0]);
      assertEquals(LocalDate.parse(c[1]), startDate(c[0], friday, archive), c[0]);
      assertTrue(extractor.extract(c[0], friday, whole).expressions().isEmpty(), c[0]);
      assertTrue(
          extractor
              .extract(c[0], friday, ExtractOptions.defaults().years(2000, 2040))
              .expressions()
              .isEmpty(),
          c[0]);
    }
    LocalDateTime war = LocalDateTime.of(1950, 6, 25, 4, 0);
    assertEquals(LocalDate.of(1950, 6, 23), startDate("금요일", war, archive));
    assertEquals(LocalDate.of(1950, 6, 23), startDate("금요일", war, past));

    // Immutable values; the defaults are the two-argument call's.
    assertFalse(ExtractOptions.defaults().prefersPast());
    assertEquals(ExtractOptions.Rules.READER, ExtractOptions.defaults().rules());
    assertTrue(archive.prefersPast());
    assertEquals(ExtractOptions.Rules.READER.firstYear(), ExtractOptions.defaults().firstYear());
    assertEquals(ExtractOptions.Rules.READER.lastYear(), ExtractOptions.defaults().lastYear());
    assertEquals(ExtractOptions.defaults(), archive.preferFuture().reader());
    assertEquals(
        ExtractOptions.defaults(),
        ExtractOptions.defaults().years(archive.rules().firstYear(), archive.rules().lastYear()));
    assertEquals(ExtractOptions.defaults(), ExtractOptions.defaults().years(0, 0));
    assertEquals(whole, whole.years(whole.firstYear(), whole.lastYear()));
    assertEquals(whole, archive.preferFuture().wholeCall());
    assertEquals(whole.hashCode(), ExtractOptions.defaults().rules(ExtractOptions.Rules.WHOLE_CALL).hashCode());
    assertFalse(whole.equals(ExtractOptions.defaults().years(whole.firstYear(), whole.lastYear())));
    assertEquals("ExtractOptions[rules=reader, prefer=past, years=1900..2099]", archive.toString());
    for (String text : new String[] {"내일 오후 3시", "매주 월요일 10시 회의", "금요일까지"}) {
      assertEquals(
          extractor.extract(text, REF), extractor.extract(text, REF, ExtractOptions.defaults()));
    }
    assertThrows(NullPointerException.class, () -> extractor.extract("내일", REF, null));
    assertThrows(NullPointerException.class, () -> ExtractOptions.defaults().rules(null));
    IllegalArgumentException outside =
        assertThrows(
            IllegalArgumentException.class,
            () -> extractor.extract("내일", war, ExtractOptions.defaults().years(1990, 2010)));
    assertTrue(
        outside.getMessage().startsWith("reference 195006250400 is outside years 1990..2010"),
        outside.getMessage());
  }

  @Test
  void badOptionsAreRefusedInTheLibrarysWords() {
    ExtractOptions.Rules reader = ExtractOptions.Rules.READER;
    String readerWindow = reader.firstYear() + ".." + reader.lastYear();
    ExtractOptions whole = ExtractOptions.defaults().wholeCall();
    String wholeWindow = whole.firstYear() + ".." + whole.lastYear();
    Object[][] cases = {
      // the options asked for, the library's words
      {(Runnable) () -> ExtractOptions.defaults().years(reader.firstYear() - 1, 2000),
        "years " + (reader.firstYear() - 1) + "..2000 are not a window inside " + readerWindow},
      {(Runnable) () -> ExtractOptions.defaults().years(2000, reader.lastYear() + 1),
        "years 2000.." + (reader.lastYear() + 1) + " are not a window inside " + readerWindow},
      {(Runnable) () -> ExtractOptions.defaults().years(2030, 2010),
        "years 2030..2010 are not a window inside " + readerWindow},
      {(Runnable) () -> whole.preferPast(), "the whole call's rules prefer the future only"},
      {(Runnable) () -> ExtractOptions.defaults().preferPast().wholeCall(),
        "the whole call's rules prefer the future only"},
      {(Runnable) () -> whole.years(1990, 2010),
        "the whole call's rules read years " + wholeWindow + " only, not 1990..2010"},
    };
    for (Object[] c : cases) {
      IllegalArgumentException e =
          assertThrows(IllegalArgumentException.class, ((Runnable) c[0])::run, (String) c[1]);
      assertEquals(c[1], e.getMessage());
    }
  }

  @Test
  void namesAndYearsAreTheLibrarys() {
    ExtractOptions.Rules[] all = ExtractOptions.Rules.values();
    assertEquals(2, all.length);
    assertEquals("reader", ExtractOptions.Rules.READER.toString());
    assertEquals("whole-call", ExtractOptions.Rules.WHOLE_CALL.toString());
    for (ExtractOptions.Rules r : all) {
      assertEquals(r, ExtractOptions.Rules.forName(r.toString()));
      assertTrue(r.firstReferenceYear() <= r.firstYear(), r.toString());
      assertTrue(r.firstYear() < r.lastYear() && r.lastYear() <= r.lastReferenceYear(), r.toString());
    }
    IllegalArgumentException unknown =
        assertThrows(IllegalArgumentException.class, () -> ExtractOptions.Rules.forName("native"));
    assertEquals("rules 'native' is not 'reader' or 'whole-call'", unknown.getMessage());
    assertTrue(
        ExtractOptions.defaults().wholeCall().toString().startsWith(
            "ExtractOptions[rules=whole-call, prefer=future, years="));
    assertTrue(KoreanTimeExtractor.libraryVersion().matches("\\d+\\.\\d+\\.\\d+"));
  }

  @Test
  void countsPastTheCalendarGiveRealMomentsOrNothing() {
    LocalDateTime ref = LocalDateTime.of(2014, 5, 15, 10, 30);
    String[] texts = {
      "5103032시간 전에 끝났어", "100000일 전", "3000개월 전", "2000000시간 전", "300000주 전",
      "9999999분 전", "5000년 후", "100000일 후", "3000개월 뒤", "12818071분 전",
    };
    ExtractOptions[] options = {
      ExtractOptions.defaults(),
      ExtractOptions.defaults().wholeCall(),
      ExtractOptions.defaults().preferPast(),
      ExtractOptions.defaults().years(1900, 2099),
    };
    for (ExtractOptions o : options) {
      // The whole call counts back from its references as far as the first of them.
      int first =
          o.rules() == ExtractOptions.Rules.WHOLE_CALL
              ? o.rules().firstReferenceYear()
              : o.firstYear();
      for (String text : texts) {
        for (TimeExpression t : extractor.extract(text, ref, o).expressions()) {
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
  }
}
