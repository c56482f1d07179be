package extractorkr;

import java.io.File;
import java.io.IOException;
import java.io.InputStream;
import java.io.UncheckedIOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.Locale;

/**
 * Loads the native library once: from {@code java.library.path} when a directory there holds it,
 * else from the file the property {@code extractor.kr.library} names, else from the copy the jar
 * carries for this platform, written to a private temporary directory that is removed when the
 * JVM exits.
 */
final class NativeLibrary {
  static final String NAME = "entityextractor_kr.textmining.quenby";
  /** The property through which the whole-call class finds the same file. */
  static final String PROPERTY = "extractor.kr.library";

  private static boolean loaded;

  private NativeLibrary() {}

  static synchronized void load() {
    if (loaded) return;
    String file = System.mapLibraryName(NAME);
    String path = System.getProperty("java.library.path", "");
    for (String dir : path.split(File.pathSeparator)) {
      if (!dir.isEmpty() && Files.isRegularFile(Paths.get(dir, file))) {
        System.loadLibrary(NAME);
        loaded = true;
        return;
      }
    }
    String named = System.getProperty(PROPERTY);
    if (named != null && !named.isEmpty()) {
      System.load(named);
      loaded = true;
      return;
    }
    String platform = platform();
    String resource = "/extractorkr/native/" + platform + "/" + file;
    try (InputStream in = NativeLibrary.class.getResourceAsStream(resource)) {
      if (in == null) {
        throw new UnsatisfiedLinkError(
            "the jar carries no native library for " + platform + " and java.library.path ("
                + path + ") holds no " + file);
      }
      Path dir = Files.createTempDirectory("extractor-kr-"); // readable by its owner only
      dir.toFile().deleteOnExit();
      Path copy = dir.resolve(file);
      copy.toFile().deleteOnExit(); // deleted before its directory
      Files.copy(in, copy);
      System.load(copy.toString());
      System.setProperty(PROPERTY, copy.toString());
    } catch (IOException e) {
      throw new UncheckedIOException("cannot write the native library to a temporary file", e);
    }
    loaded = true;
  }

  /** "linux-x86_64" or "linux-aarch64" for the platforms the jar carries. */
  static String platform() {
    String os = System.getProperty("os.name", "").toLowerCase(Locale.ROOT);
    String arch = System.getProperty("os.arch", "").toLowerCase(Locale.ROOT);
    String system = os.startsWith("linux") ? "linux" : os.replace(' ', '_');
    if (arch.equals("amd64") || arch.equals("x86_64")) arch = "x86_64";
    if (arch.equals("arm64")) arch = "aarch64";
    return system + "-" + arch;
  }
}
