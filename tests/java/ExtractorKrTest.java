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
import zelk.tarn.tm.wisp.service.entity.ExtractorKr;

/** JVM tests of the native method against the built library. */
public final class ExtractorKrTest {
  private static final Charset CP949 = Charset.forName("MS949");
  private static final byte[] EMPTY = new byte[0];
  private static final byte[] EMPTY_TRIE = new byte[8];
  private static final ExtractorKr EXTRACTOR = new ExtractorKr();
  private static int failures = 0;

  /** The six configuration arrays of a call. */
  private static final class Dicts {
    byte[] settings = EMPTY;
    byte[] replace = EMPTY_TRIE;
    byte[] tags = EMPTY_TRIE;
    byte[] patterns = EMPTY_TRIE;
    byte[] units = EMPTY_TRIE;
    byte[] words = EMPTY;

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

  private static Dicts dicts = new Dicts();

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

  private static long residentKiB() throws Exception {
    for (String line : Files.readAllLines(Paths.get("/proc/self/status"))) {
      if (line.startsWith("VmRSS:")) {
        return Long.parseLong(line.replaceAll("[^0-9]", ""));
      }
    }
    throw new IllegalStateException("no VmRSS");
  }

  private static List<String> inputs() {
    List<String> texts = new ArrayList<>();
    String[] words = {"내일 오후 3시에 만나요", "다음주 화요일", "7월 13일부터 15일까지", "hello", "\"인용\""};
    for (int i = 0; i < 40; i++) {
      texts.add(words[i % words.length] + " " + i);
    }
    return texts;
  }

  public static void main(String[] args) throws Exception {
    // The dictionary set compiled by dictc at build time, when given.
    if (args.length > 0) dicts = Dicts.load(args[0]);
    check(call(EMPTY, "202405151030") == null, "an empty text gives null");
    check("[]".equals(call("hello".getBytes(CP949), "204401010000")),
        "a rejected reference time gives []");
    check("[]".equals(call("hello".getBytes(CP949), "")), "an empty reference time gives []");
    check("[]".equals(call("내일 오후 3시".getBytes(CP949), "202405151030")),
        "a valid call answers an array");

    // Memory: a large text makes any per-call leak of the copies visible.
    char[] filler = new char[32 * 1024];
    Arrays.fill(filler, '가');
    byte[] big = new String(filler).getBytes(CP949);
    for (int i = 0; i < 300; i++) call(big, "202405151030");
    long before = residentKiB();
    for (int i = 0; i < 2000; i++) call(big, "202405151030");
    long after = residentKiB();
    System.out.println("resident memory: " + before + " KiB before, " + after + " KiB after 2000 calls");
    check(after - before < 8 * 1024, "2000 calls do not grow the process's memory");

    // Threads: eight callers at once get the single-threaded answers.
    List<String> texts = inputs();
    List<String> expected = new ArrayList<>();
    for (String t : texts) expected.add(call(t.getBytes(CP949), "202405151030"));
    ExecutorService pool = Executors.newFixedThreadPool(8);
    List<Future<Boolean>> futures = new ArrayList<>();
    for (int t = 0; t < 8; t++) {
      final int offset = t;
      Callable<Boolean> job =
          () -> {
            for (int round = 0; round < 50; round++) {
              for (int i = 0; i < texts.size(); i++) {
                int k = (i + offset) % texts.size();
                String got = call(texts.get(k).getBytes(CP949), "202405151030");
                if (!expected.get(k).equals(got)) return false;
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
