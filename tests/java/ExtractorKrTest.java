import java.nio.charset.Charset;
import java.nio.file.Files;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.concurrent.Callable;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import zelk.tarn.tm.wisp.service.entity.ExtractorKr;

/** JVM tests of the native method against the built library. */
public final class ExtractorKrTest {
  private static final Charset CP949 = Charset.forName("MS949");
  private static final byte[] EMPTY = new byte[0];
  private static final ExtractorKr EXTRACTOR = new ExtractorKr();
  private static int failures = 0;

  /** The six configuration arrays of a call. */
  private static final class Dicts {
    byte[] settings;
    byte[] replace;
    byte[] tags;
    byte[] patterns;
    byte[] units;
    byte[] words;

    static Dicts load(String dir) throws Exception {
      Dicts d = new Dicts();
      d.settings = Files.readAllBytes(Paths.get(dir, "settings.txt"));
      d.replace = Files.readAllBytes(Paths.get(dir, "replace.bin"));
      d.tags = Files.readAllBytes(Paths.get(dir, "tags.bin"));
      d.patterns = Files.readAllBytes(Paths.get(dir, "patterns.bin"));
      d.units = Files.readAllBytes(Paths.get(dir, "units.bin"));
      d.words = Files.readAllBytes(Paths.get(dir, "words.dic"));
      return d;
    }
  }

  private static Dicts dicts;

  private static void check(boolean ok, String what) {
    System.out.println((ok ? "ok   " : "FAIL ") + what);
    if (!ok) failures++;
  }

  private static String call(byte[] text, String ref) {
    byte[] out =
        EXTRACTOR.getTimeInfo_native(
            text, dicts.settings, dicts.replace, dicts.tags, dicts.patterns, dicts.units,
            dicts.words, ref);
    return out == null ? null : new String(out, CP949);
  }

  private static final Pattern ELEMENT =
      Pattern.compile(
          "\\{\"resultType\":\"(\\d)\",\"startTime\":\"(\\w+)\",\"endTime\":\"(\\w+)\","
              + "\"beginIndex\":\"(-?\\d+)\",\"endIndex\":\"(-?\\d+)\","
              + "\"content\":\"((?:[^\"\\\\]|\\\\.)*)\",\"inputInformStart\":\"(\\d+)\","
              + "\"inputInformEnd\":\"(\\d+)\",\"cycle\":\"(\\d+)\"\\}");

  /** The compact form of a JSON answer used by the case files; content[0] gets the content. */
  private static String summary(String json, String[] content) {
    StringBuilder out = new StringBuilder();
    content[0] = "";
    Matcher m = ELEMENT.matcher(json);
    boolean first = true;
    while (m.find()) {
      if (out.length() > 0) out.append(" | ");
      if (m.group(1).equals("2")) {
        out.append(m.group(2)).append('~').append(m.group(3)).append(' ')
            .append(m.group(7)).append('/').append(m.group(8));
      } else {
        out.append(m.group(2)).append(' ').append(m.group(7));
      }
      out.append('@').append(m.group(4)).append('-').append(m.group(5));
      if (!m.group(9).equals("00000000000000")) out.append(" every ").append(m.group(9));
      if (first) content[0] = m.group(6).replace("\\\"", "\"");
      first = false;
    }
    return out.length() == 0 ? "-" : out.toString();
  }

  /** One case of a case file: reference, text, expected summary, content. */
  private static final class Case {
    final String where;
    final String ref;
    final String text;
    final String expected;
    final String content;

    Case(String where, String[] cols) {
      this.where = where;
      this.ref = cols[0];
      this.text = cols[1];
      this.expected = cols[2];
      this.content = cols[3];
    }
  }

  private static List<Case> readCases(String path) throws Exception {
    List<Case> cases = new ArrayList<>();
    List<String> lines = Files.readAllLines(Paths.get(path), java.nio.charset.StandardCharsets.UTF_8);
    for (int i = 0; i < lines.size(); i++) {
      String line = lines.get(i);
      if (line.isEmpty() || line.startsWith("#")) continue;
      String[] cols = line.split("\t", -1);
      if (cols.length != 4) throw new IllegalStateException(path + ":" + (i + 1) + ": 4 columns expected");
      cases.add(new Case(path + ":" + (i + 1), cols));
    }
    return cases;
  }

  private static long residentKiB() throws Exception {
    for (String line : Files.readAllLines(Paths.get("/proc/self/status"))) {
      if (line.startsWith("VmRSS:")) {
        return Long.parseLong(line.replaceAll("[^0-9]", ""));
      }
    }
    throw new IllegalStateException("no VmRSS");
  }

  private static int runCases(String path) throws Exception {
    List<Case> cases = readCases(path);
    int wrong = 0;
    for (Case c : cases) {
      String[] content = new String[1];
      String got = summary(call(c.text.getBytes(CP949), c.ref), content);
      if (!got.equals(c.expected) || (!c.expected.equals("-") && !content[0].equals(c.content))) {
        System.out.println(c.where + ": " + c.text + "\n  want " + c.expected + " [" + c.content
            + "]\n  got  " + got + " [" + content[0] + "]");
        wrong++;
      }
    }
    check(wrong == 0, cases.size() + " cases of " + Paths.get(path).getFileName() + " give their answers");
    return cases.size();
  }

  /**
   * Arguments: dicts=DIR switches to the dictionaries compiled in DIR; any
   * other argument is a case file run with the current dictionaries.  The
   * memory and thread checks use the first dictionaries and case file.
   */
  public static void main(String[] args) throws Exception {
    Dicts first = null;
    String firstCases = null;
    int total = 0;
    for (String arg : args) {
      if (arg.startsWith("dicts=")) {
        dicts = Dicts.load(arg.substring(6));
        if (first == null) first = dicts;
        continue;
      }
      if (firstCases == null) firstCases = arg;
      total += runCases(arg);
    }
    final List<Case> cases = readCases(firstCases);
    System.out.println(total + " cases through the JVM");
    dicts = first;

    check(call(EMPTY, "202405151030") == null, "an empty text gives null");
    check("[]".equals(call("내일 3시".getBytes(CP949), "204401010000")),
        "a rejected reference time gives []");
    check("[]".equals(call("내일 3시".getBytes(CP949), "")), "an empty reference time gives []");

    // Memory: a large text makes any per-call leak of the copies visible.
    // It holds one expression, so that every stage runs while the answer
    // (which repeats the content in every result) stays small.
    StringBuilder big = new StringBuilder("내일 오후 3시부터 5시까지 회의, ");
    while (big.length() < 16000) big.append("가나다라 마바사 아자차카 타파하, ");
    byte[] bigText = big.toString().getBytes(CP949);
    for (int i = 0; i < 200; i++) call(bigText, "202405151030");
    long before = residentKiB();
    for (int i = 0; i < 2000; i++) call(bigText, "202405151030");
    long after = residentKiB();
    System.out.println("resident memory: " + before + " KiB before, " + after + " KiB after 2000 calls");
    check(after - before < 8 * 1024, "2000 calls do not grow the process's memory");

    // Threads: eight callers at once get the single-threaded answers.
    List<String> expected = new ArrayList<>();
    for (Case c : cases) expected.add(call(c.text.getBytes(CP949), c.ref));
    ExecutorService pool = Executors.newFixedThreadPool(8);
    List<Future<Boolean>> futures = new ArrayList<>();
    for (int t = 0; t < 8; t++) {
      final int offset = t;
      Callable<Boolean> job =
          () -> {
            for (int round = 0; round < 40; round++) {
              for (int i = 0; i < cases.size(); i++) {
                int k = (i + offset) % cases.size();
                Case c = cases.get(k);
                if (!expected.get(k).equals(call(c.text.getBytes(CP949), c.ref))) return false;
              }
            }
            return true;
          };
      futures.add(pool.submit(job));
    }
    boolean same = true;
    for (Future<Boolean> f : futures) same &= f.get();
    pool.shutdown();
    check(same, "8 threads calling at once get the same answers as one");

    if (failures > 0) {
      System.out.println(failures + " JVM test(s) failed");
      System.exit(1);
    }
    System.out.println("all JVM tests passed");
  }
}
