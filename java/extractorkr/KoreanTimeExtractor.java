package extractorkr;

import java.io.IOException;
import java.lang.ref.Cleaner;
import java.nio.file.Files;
import java.nio.file.Path;
import java.time.LocalDateTime;
import java.util.ArrayList;
import java.util.Collections;
import java.util.List;
import java.util.Locale;
import java.util.Objects;
import java.util.concurrent.locks.ReentrantReadWriteLock;

/**
 * Finds date and time expressions in Korean text and resolves them against a reference time.
 *
 * <pre>{@code
 * try (KoreanTimeExtractor extractor = KoreanTimeExtractor.openDefault()) {
 *   Extraction e = extractor.extract("내일 오후 3시에 만나요", LocalDateTime.now());
 *   for (TimeExpression t : e.expressions()) {
 *     System.out.println(t.text() + " -> " + t.start().toLocalDateTime().orElse(null));
 *   }
 * }
 * }</pre>
 *
 * <p>Open one extractor and share it: it holds the dictionaries, loaded and checked once, and is
 * safe to use from any number of threads at once. {@link #close()} frees its native memory (an
 * extractor that is never closed is freed when it becomes unreachable); calls after it throw
 * {@link IllegalStateException}, and closing twice is harmless.
 *
 * <p>The native library comes from {@code java.library.path} when it is there, and otherwise from
 * the jar, which carries it for Linux on x86-64 and on 64-bit ARM.
 */
public final class KoreanTimeExtractor implements AutoCloseable {
  /** The files of a compiled dictionary directory, in the order the native side takes them. */
  static final String[] DICTIONARY_FILES = {
    "settings.txt", "replace.bin", "tags.bin", "patterns.bin", "units.bin", "words.dic"
  };

  // Statuses of the native side (ekr_status).
  private static final int OK = 0;
  private static final int ERROR_ARGUMENT = 1;
  private static final int ERROR_REFERENCE = 3;
  private static final int ERROR_TEXT = 4;
  private static final int ERROR_MEMORY = 6;

  // Layout of the numbers of one expression in the native answer.
  static final int FIELDS_PER_EXPRESSION = 24;

  private static final Cleaner CLEANER = Cleaner.create();

  /** The native extractor and the lock that keeps it alive while calls use it. */
  private static final class Handle implements Runnable {
    final ReentrantReadWriteLock lock = new ReentrantReadWriteLock();
    long pointer;

    Handle(long pointer) {
      this.pointer = pointer;
    }

    @Override
    public void run() {
      lock.writeLock().lock();
      try {
        if (pointer != 0) {
          close0(pointer);
          pointer = 0;
        }
      } finally {
        lock.writeLock().unlock();
      }
    }
  }

  private final Handle handle;
  private final Cleaner.Cleanable cleanable;

  private KoreanTimeExtractor(long pointer) {
    handle = new Handle(pointer);
    cleanable = CLEANER.register(this, handle);
  }

  /**
   * Opens the Korean dictionaries built into the library.
   *
   * @return a new extractor
   */
  public static KoreanTimeExtractor openDefault() {
    NativeLibrary.load();
    String[] problem = new String[1];
    long pointer = openDefault0(problem);
    if (pointer == 0) {
      throw new OutOfMemoryError("cannot open the built-in dictionaries: " + problem[0]);
    }
    return new KoreanTimeExtractor(pointer);
  }

  /**
   * Opens the compiled dictionaries of a directory: {@code settings.txt}, {@code replace.bin},
   * {@code tags.bin}, {@code patterns.bin}, {@code units.bin} and {@code words.dic}, as the
   * dictionary compiler writes them.
   *
   * @param dictionaryDir the directory
   * @return a new extractor
   * @throws DictionaryException when a file cannot be read or a dictionary is malformed
   */
  public static KoreanTimeExtractor open(Path dictionaryDir) throws DictionaryException {
    Objects.requireNonNull(dictionaryDir, "dictionaryDir");
    NativeLibrary.load();
    byte[][] blobs = new byte[DICTIONARY_FILES.length][];
    for (int k = 0; k < blobs.length; ++k) {
      Path file = dictionaryDir.resolve(DICTIONARY_FILES[k]);
      try {
        blobs[k] = Files.readAllBytes(file);
      } catch (IOException e) {
        throw new DictionaryException("cannot read dictionary file " + file, e);
      }
    }
    String[] problem = new String[1];
    long pointer = open0(blobs, problem);
    if (pointer == 0) {
      throw new DictionaryException(dictionaryDir + ": " + problem[0]);
    }
    return new KoreanTimeExtractor(pointer);
  }

  /**
   * The version of the native library.
   *
   * @return "MAJOR.MINOR.PATCH"
   */
  public static String libraryVersion() {
    return ExtractOptions.libraryVersion();
  }

  /**
   * Finds the date and time expressions of a text under the default options ({@link
   * ExtractOptions#defaults()}: the reader's rules).
   *
   * @param text the text; any characters (those the dictionaries cannot hold are read as blanks)
   * @param reference the moment the text speaks from, in Korea; its seconds are not read
   * @return the expressions, in text order, and the text's remaining content
   * @throws NullPointerException when an argument is null
   * @throws IllegalArgumentException when the reference lies outside the years the rules take
   *     ({@link ExtractOptions.Rules#firstReferenceYear()}), or the text holds a NUL character;
   *     the message is the library's
   * @throws IllegalStateException after {@link #close()}
   */
  public Extraction extract(String text, LocalDateTime reference) {
    return extract(text, reference, ExtractOptions.defaults());
  }

  /**
   * Finds the date and time expressions of a text, read as the options say.
   *
   * @param text the text; any characters (those the dictionaries cannot hold are read as blanks)
   * @param reference the moment the text speaks from, in Korea; its seconds are not read
   * @param options the rule set, where open dates fall and which years are read
   * @return the expressions, in text order, and the text's remaining content
   * @throws NullPointerException when an argument is null
   * @throws IllegalArgumentException when the reference lies outside the options' years (the
   *     rules' reference years when the options keep the rules' own), or the text holds a NUL
   *     character; the message is the library's
   * @throws IllegalStateException after {@link #close()}
   */
  public Extraction extract(String text, LocalDateTime reference, ExtractOptions options) {
    Objects.requireNonNull(text, "text");
    Objects.requireNonNull(reference, "reference");
    Objects.requireNonNull(options, "options");
    // A year of other than four digits makes a reference the library refuses in its own words.
    // Locale.ROOT: ASCII digits whatever the default locale writes.
    String ref =
        String.format(
            Locale.ROOT,
            "%04d%02d%02d%02d%02d",
            reference.getYear(),
            reference.getMonthValue(),
            reference.getDayOfMonth(),
            reference.getHour(),
            reference.getMinute());
    String[] content = new String[1];
    int[] answer;
    handle.lock.readLock().lock();
    try {
      if (handle.pointer == 0) throw new IllegalStateException("the extractor is closed");
      answer =
          extract0(
              handle.pointer,
              text,
              ref,
              options.rules().code,
              options.prefersPast() ? ExtractOptions.PREFER_PAST : ExtractOptions.PREFER_FUTURE,
              options.firstYear(),
              options.lastYear(),
              content);
    } finally {
      handle.lock.readLock().unlock();
    }
    switch (answer[0]) {
      case OK:
        break;
      case ERROR_ARGUMENT:
      case ERROR_REFERENCE:
      case ERROR_TEXT:
        throw new IllegalArgumentException(content[0]);
      case ERROR_MEMORY:
        throw new OutOfMemoryError(content[0]);
      default:
        throw new IllegalStateException(content[0]);
    }
    int count = answer[1];
    List<TimeExpression> expressions = new ArrayList<>(count);
    for (int i = 0; i < count; ++i) {
      expressions.add(TimeExpression.fromNative(text, answer, 2 + i * FIELDS_PER_EXPRESSION));
    }
    return new Extraction(Collections.unmodifiableList(expressions), content[0]);
  }

  /** Frees the native extractor once no call is using it. Closing again does nothing. */
  @Override
  public void close() {
    cleanable.clean();
  }

  private static native long openDefault0(String[] problem);

  private static native long open0(byte[][] blobs, String[] problem);

  private static native void close0(long pointer);

  private static native int[] extract0(
      long pointer,
      String text,
      String reference,
      int rules,
      int prefer,
      int firstYear,
      int lastYear,
      String[] out);

  // What the library says of options, its names and its years; for ExtractOptions, after
  // NativeLibrary.load().

  /** null when the options are sound; the problem in the library's words otherwise. */
  static native String optionsProblem0(int rules, int prefer, int firstYear, int lastYear);

  /**
   * The library's names, version, defaults and years, asked once: {@code words} gets the names
   * of the rule sets, then those of the preferences, then the version; the answer is [rule sets,
   * preferences, the default rules, prefer, first and last year (0 and 0 for the rules' own),
   * then for each rule set its own first and last year and its references' first and last
   * year].
   */
  static native int[] describe0(String[] words);
}
