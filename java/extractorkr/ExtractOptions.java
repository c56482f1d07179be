package extractorkr;

/**
 * How a text is read: where a date or time it leaves open falls, and which years are read.
 *
 * <p>{@link #defaults()} are the engine's first rules, made for calendar suggestions from fresh
 * messages: an open date or time (the 19th, Friday, 9 o'clock) goes to the nearest moment not
 * before the reference; written years 2000 to 2030 are read (two-digit years up to 30), results
 * after 2035 are dropped and references lie in 1970 to 2043. News, mail archives and transcripts
 * read better with
 *
 * <pre>{@code
 * ExtractOptions archive = ExtractOptions.defaults().preferPast().years(1900, 2099);
 * }</pre>
 *
 * <p>{@link #preferPast()} places an open date or time on the latest moment not after the
 * reference (a weekday that is today means today); words that say their direction (tomorrow,
 * last Friday) keep it either way. {@link #years(int, int)}, any window inside 1900 to 2099, reads
 * every written year inside it (two-digit years in the century nearest the reference), drops
 * results outside it and accepts references inside it.
 *
 * <p>Values are immutable: each method gives a new one.
 */
public final class ExtractOptions {
  /** The years any window lies inside. */
  public static final int FIRST_YEAR = 1900;

  /** The last year any window may reach. */
  public static final int LAST_YEAR = 2099;

  // The first rules' window; the native side reads it as those rules.
  private static final int DEFAULT_FIRST = 2000;
  private static final int DEFAULT_LAST = 2035;

  private static final ExtractOptions DEFAULTS =
      new ExtractOptions(false, DEFAULT_FIRST, DEFAULT_LAST);

  private final boolean past;
  private final int firstYear;
  private final int lastYear;

  private ExtractOptions(boolean past, int firstYear, int lastYear) {
    this.past = past;
    this.firstYear = firstYear;
    this.lastYear = lastYear;
  }

  /**
   * The engine's first rules: the future preferred, years 2000 to 2035.
   *
   * @return the options {@link KoreanTimeExtractor#extract(String, java.time.LocalDateTime)} uses
   */
  public static ExtractOptions defaults() {
    return DEFAULTS;
  }

  /**
   * These options with open dates and times placed in the past.
   *
   * @return new options
   */
  public ExtractOptions preferPast() {
    return new ExtractOptions(true, firstYear, lastYear);
  }

  /**
   * These options with open dates and times placed in the future.
   *
   * @return new options
   */
  public ExtractOptions preferFuture() {
    return new ExtractOptions(false, firstYear, lastYear);
  }

  /**
   * These options with a window of years.
   *
   * @param first the first year read
   * @param last the last year read, not before {@code first}
   * @return new options
   * @throws IllegalArgumentException when the window is not inside 1900 to 2099, or upside down
   */
  public ExtractOptions years(int first, int last) {
    if (first < FIRST_YEAR || last > LAST_YEAR || first > last) {
      throw new IllegalArgumentException(
          "years "
              + first
              + ".."
              + last
              + " are not a window inside "
              + FIRST_YEAR
              + ".."
              + LAST_YEAR);
    }
    return new ExtractOptions(past, first, last);
  }

  /**
   * Whether open dates and times are placed in the past.
   *
   * @return true after {@link #preferPast()}
   */
  public boolean prefersPast() {
    return past;
  }

  /**
   * The first year of the window.
   *
   * @return the year
   */
  public int firstYear() {
    return firstYear;
  }

  /**
   * The last year of the window.
   *
   * @return the year
   */
  public int lastYear() {
    return lastYear;
  }

  @Override
  public boolean equals(Object o) {
    if (!(o instanceof ExtractOptions)) return false;
    ExtractOptions other = (ExtractOptions) o;
    return past == other.past && firstYear == other.firstYear && lastYear == other.lastYear;
  }

  @Override
  public int hashCode() {
    return (past ? 1 : 0) + 31 * (firstYear + 31 * lastYear);
  }

  @Override
  public String toString() {
    return "ExtractOptions[prefer=" + (past ? "past" : "future") + ", years=" + firstYear + ".."
        + lastYear + "]";
  }
}
