import java.nio.charset.Charset;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Paths;
import java.util.List;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import zelk.tarn.tm.wisp.service.entity.ExtractorKr;

/**
 * JVM tests of the native method against the built library: case files give their answers
 * through a real JVM (threads and memory are the soak's).
 */
public final class ExtractorKrTest {
  private static final Charset CP949 = Charset.forName("MS949");
  private static final ExtractorKr EXTRACTOR = new ExtractorKr();
  private static final String[] FILES = {
    "settings.txt", "replace.bin", "tags.bin", "patterns.bin", "units.bin", "words.dic"
  };
  private static byte[][] dicts = new byte[6][];
  private static int failures = 0;

  private static void check(boolean ok, String what) {
    System.out.println((ok ? "ok   " : "FAIL ") + what);
    if (!ok) failures++;
  }

  private static String call(String text, String ref) {
    byte[][] d = dicts;
    byte[] out = EXTRACTOR.getTimeInfo_native(text.getBytes(CP949), d[0], d[1], d[2], d[3], d[4], d[5], ref);
    return out == null ? null : new String(out, CP949);
  }

  private static final Pattern ELEMENT =
      Pattern.compile(
          "\\{\"resultType\":\"(\\d)\",\"startTime\":\"(\\w+)\",\"endTime\":\"(\\w+)\","
              + "\"beginIndex\":\"(-?\\d+)\",\"endIndex\":\"(-?\\d+)\","
              + "\"content\":\"((?:[^\"\\\\]|\\\\.)*)\",\"inputInformStart\":\"(\\d+)\","
              + "\"inputInformEnd\":\"(\\d+)\",\"cycle\":\"(\\d+)\"\\}");

  /** The compact form of a JSON answer used by the case files, then a tab and the content. */
  private static String summary(String json) {
    StringBuilder out = new StringBuilder();
    String content = "";
    Matcher m = ELEMENT.matcher(json);
    while (m.find()) {
      if (out.length() > 0) out.append(" | ");
      out.append(m.group(2));
      if (m.group(1).equals("2")) out.append('~').append(m.group(3));
      out.append(' ').append(m.group(7));
      if (m.group(1).equals("2")) out.append('/').append(m.group(8));
      out.append('@').append(m.group(4)).append('-').append(m.group(5));
      if (!m.group(9).equals("00000000000000")) out.append(" every ").append(m.group(9));
      if (content.isEmpty()) content = m.group(6).replace("\\\"", "\"");
    }
    return (out.length() == 0 ? "-" : out.toString()) + "\t" + content;
  }

  /** A case file's lines (reference, text, expected summary, content) through the JVM. */
  private static void runCases(String path) throws Exception {
    List<String> lines = Files.readAllLines(Paths.get(path), StandardCharsets.UTF_8);
    int cases = 0, wrong = 0;
    for (int i = 0; i < lines.size(); i++) {
      String line = lines.get(i);
      if (line.isEmpty() || line.startsWith("#")) continue;
      String[] c = line.split("\t", -1);
      String got = summary(call(c[1], c[0]));
      String want = c[2] + "\t" + (c[2].equals("-") ? "" : c[3]);
      cases++;
      if (!got.equals(want)) {
        System.out.println(path + ":" + (i + 1) + ": " + c[1] + "\n  want " + want + "\n  got  " + got);
        wrong++;
      }
    }
    check(wrong == 0 && cases > 0, cases + " cases of " + Paths.get(path).getFileName() + " give their answers");
  }

  /** Arguments: dicts=DIR switches to the dictionaries compiled in DIR; any other is a case file. */
  public static void main(String[] args) throws Exception {
    for (String arg : args) {
      if (arg.startsWith("dicts=")) {
        for (int k = 0; k < 6; k++) dicts[k] = Files.readAllBytes(Paths.get(arg.substring(6), FILES[k]));
      } else {
        runCases(arg);
      }
    }
    check(call("", "202405151030") == null, "an empty text gives null");
    check("[]".equals(call("내일 3시", "204401010000")), "a rejected reference time gives []");
    check("[]".equals(call("내일 3시", "")), "an empty reference time gives []");
    if (failures > 0) {
      System.out.println(failures + " JVM test(s) failed");
      System.exit(1);
    }
    System.out.println("all JVM tests passed");
  }
}
