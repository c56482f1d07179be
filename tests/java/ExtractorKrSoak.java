import java.nio.charset.Charset;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;
import java.util.concurrent.atomic.AtomicLong;
import zelk.tarn.tm.wisp.service.entity.ExtractorKr;

/**
 * Soak test: eight threads call the native method on the development corpus
 * for hundreds of thousands of calls; every answer must equal the
 * single-threaded one and the process's memory must stay flat.
 *
 * <p>Arguments: the compiled dictionary directory, the number of calls per
 * thread, then the corpus files.
 */
public final class ExtractorKrSoak {
  private static final Charset CP949 = Charset.forName("MS949");
  private static final int THREADS = 8;

  private static long residentKiB() throws Exception {
    for (String line : Files.readAllLines(Paths.get("/proc/self/status"))) {
      if (line.startsWith("VmRSS:")) return Long.parseLong(line.replaceAll("[^0-9]", ""));
    }
    throw new IllegalStateException("no VmRSS");
  }

  public static void main(String[] args) throws Exception {
    String dir = args[0];
    int callsPerThread = Integer.parseInt(args[1]);
    byte[][] dicts = new byte[6][];
    String[] files = {"settings.txt", "replace.bin", "tags.bin", "patterns.bin", "units.bin", "words.dic"};
    for (int k = 0; k < 6; k++) dicts[k] = Files.readAllBytes(Paths.get(dir, files[k]));
    List<byte[]> texts = new ArrayList<>();
    List<String> refs = new ArrayList<>();
    for (int a = 2; a < args.length; a++) {
      for (String line : Files.readAllLines(Paths.get(args[a]), StandardCharsets.UTF_8)) {
        if (line.isEmpty() || line.startsWith("#")) continue;
        String[] cols = line.split("\t", -1);
        refs.add(cols[0]);
        texts.add(cols[1].getBytes(CP949));
      }
    }
    ExtractorKr extractor = new ExtractorKr();
    java.util.function.IntFunction<byte[]> call = k -> extractor.getTimeInfo_native(
        texts.get(k), dicts[0], dicts[1], dicts[2], dicts[3], dicts[4], dicts[5], refs.get(k));
    List<byte[]> expected = new ArrayList<>();
    for (int i = 0; i < texts.size(); i++) expected.add(call.apply(i));
    // Warm up, then measure.
    for (int i = 0; i < 5 * texts.size(); i++) call.apply(i % texts.size());
    System.gc();
    long before = residentKiB();
    long start = System.nanoTime();
    AtomicLong calls = new AtomicLong();
    AtomicLong mismatches = new AtomicLong();
    ExecutorService pool = Executors.newFixedThreadPool(THREADS);
    List<Future<?>> futures = new ArrayList<>();
    for (int t = 0; t < THREADS; t++) {
      final int offset = t * 37;
      futures.add(pool.submit(() -> {
        for (int c = 0; c < callsPerThread; c++) {
          int k = (c + offset) % texts.size();
          if (!java.util.Arrays.equals(call.apply(k), expected.get(k))) mismatches.incrementAndGet();
          calls.incrementAndGet();
        }
      }));
    }
    for (Future<?> f : futures) f.get();
    pool.shutdown();
    double seconds = (System.nanoTime() - start) / 1e9;
    System.gc();
    long after = residentKiB();
    System.out.printf("%d calls on %d threads in %.1f s (%.0f calls/s); %d texts%n",
        calls.get(), THREADS, seconds, calls.get() / seconds, texts.size());
    System.out.printf("resident memory: %d KiB at the start, %d KiB at the end%n", before, after);
    System.out.println("answers differing from the single-threaded run: " + mismatches.get());
    boolean ok = mismatches.get() == 0 && after - before < 16 * 1024;
    System.out.println(ok ? "soak passed" : "soak FAILED");
    System.exit(ok ? 0 : 1);
  }
}
