package extractorkr;

import java.util.Objects;

/**
 * How a text is read: the rule set, where a date or time it leaves open falls, and which years
 * are read.
 *
 * <p>{@link #defaults()} are the reader's rules ({@link Rules#READER}), for people reading texts
 * with several dates (notices, mail, messages, news): each expression is read on its own terms,
 * an open date or time (the 19th, Friday, 9 o'clock) goes to the nearest moment not before the
 * reference, and written years are read in every year of the rules' calendar ({@link
 * Rules#firstYear()} to {@link Rules#lastYear()}). {@link #wholeCall()} gives the native method's
 * answers exactly: its rules are made for one short message about one event, where a later
 * expression leans on the one before it; they prefer the future and take their own years only.
 * News, mail archives and transcripts read better with
 *
 * <pre>{@code
 * ExtractOptions archive = ExtractOptions.defaults().preferPast().years(1900, 2099);
 * }</pre>
 *
 * <p>{@link #preferPast()} places an open date or time on the latest moment not after the
 * reference (a weekday that is today means today); words that say their direction (tomorrow,
 * last Friday) keep it either way. {@link #years(int, int)}, a window inside the rules' own years,
 * reads every written year inside it (two-digit years in the century nearest the reference),
 * drops results outside it and accepts references inside it.
 *
 * <p>Values are immutable: each method gives a new one, checked by the library, which words the
 * problem when the options do not go together. The names in {@link #toString()} and the years
 * are the library's own.
 */
public final class ExtractOptions {
  /** The rule sets of the one engine. */
  public enum Rules {
    /** Each expression read on its own terms; the default. */
    READER,
    /** The native method's rules, exactly. */
    WHOLE_CALL;

    /** The value the library knows the rule set by: its position. */
    final int code = ordinal();

    /**
     * The first year of the rules' own window: written years are read and results kept from it.
     *
     * @return the year, as the library states it
     */
    public int firstYear() {
      return Library.RULES_YEARS[ordinal()][0];
    }

    /**
     * The last year of the rules' own window.
     *
     * @return the year, as the library states it
     */
    public int lastYear() {
      return Library.RULES_YEARS[ordinal()][1];
    }

    /**
     * The first year a reference may lie in under the rules' own window.
     *
     * @return the year, as the library states it
     */
    public int firstReferenceYear() {
      return Library.REFERENCE_YEARS[ordinal()][0];
    }

    /**
     * The last year a reference may lie in under the rules' own window.
     *
     * @return the year, as the library states it
     */
    public int lastReferenceYear() {
      return Library.REFERENCE_YEARS[ordinal()][1];
    }

    /**
     * The rule set of a name the library gives, as {@link #toString()} writes it.
     *
     * @param name the name
     * @return the rule set
     * @throws IllegalArgumentException when the library gives no rule set that name
     * @throws NullPointerException when the name is null
     */
    public static Rules forName(String name) {
      Objects.requireNonNull(name, "name");
      StringBuilder names = new StringBuilder();
      for (Rules r : values()) {
        if (r.toString().equals(name)) return r;
        names.append(names.length() == 0 ? "'" : " or '").append(r).append('\'');
      }
      throw new IllegalArgumentException("rules '" + name + "' is not " + names);
    }

    /** @return the library's name of the rule set */
    @Override
    public String toString() {
      return Library.RULES_NAMES[ordinal()];
    }
  }

  // The library's values of its preferences (ekr_prefer).
  static final int PREFER_FUTURE = 0;
  static final int PREFER_PAST = 1;

  /** What the library says of its rule sets, its preferences and its defaults, asked once. */
  private static final class Library {
    static final String[] RULES_NAMES;
    static final String[] PREFER_NAMES;
    static final String VERSION;
    static final int[][] RULES_YEARS;
    static final int[][] REFERENCE_YEARS;
    static final ExtractOptions DEFAULTS;

    static {
      NativeLibrary.load();
      Rules[] rules = Rules.values();
      String[] words = new String[rules.length + 3];
      int[] n = KoreanTimeExtractor.describe0(words);
      // The rule sets are known by their positions on both sides.
      if (n[0] != rules.length || n[1] != 2) {
        throw new UnsatisfiedLinkError(
            "the native library has " + n[0] + " rule sets and " + n[1] + " preferences");
      }
      RULES_NAMES = new String[rules.length];
      RULES_YEARS = new int[rules.length][];
      REFERENCE_YEARS = new int[rules.length][];
      for (Rules r : rules) {
        int k = r.ordinal();
        RULES_NAMES[k] = words[k];
        RULES_YEARS[k] = new int[] {n[6 + 4 * k], n[7 + 4 * k]};
        REFERENCE_YEARS[k] = new int[] {n[8 + 4 * k], n[9 + 4 * k]};
      }
      PREFER_NAMES = new String[] {words[rules.length], words[rules.length + 1]};
      VERSION = words[rules.length + 2];
      DEFAULTS = checked(rules[n[2]], n[3] == PREFER_PAST, n[4], n[5]);
    }
  }

  /** The version of the native library, "MAJOR.MINOR.PATCH". */
  static String libraryVersion() {
    return Library.VERSION;
  }

  private final Rules rules;
  private final boolean past;
  private final int firstYear;
  private final int lastYear;

  private ExtractOptions(Rules rules, boolean past, int firstYear, int lastYear) {
    this.rules = rules;
    this.past = past;
    this.firstYear = firstYear;
    this.lastYear = lastYear;
  }

  /**
   * Options the library takes, the years 0 and 0 standing for the rules' own.
   *
   * @throws IllegalArgumentException in the library's words when it does not take them
   */
  private static ExtractOptions checked(Rules rules, boolean past, int first, int last) {
    String problem =
        KoreanTimeExtractor.optionsProblem0(
            rules.code, past ? PREFER_PAST : PREFER_FUTURE, first, last);
    if (problem != null) throw new IllegalArgumentException(problem);
    if (first == 0 && last == 0) {
      first = rules.firstYear();
      last = rules.lastYear();
    }
    return new ExtractOptions(rules, past, first, last);
  }

  /**
   * The library's defaults: the reader's rules, the future preferred, the rules' own years.
   *
   * @return the options {@link KoreanTimeExtractor#extract(String, java.time.LocalDateTime)} uses
   */
  public static ExtractOptions defaults() {
    return Library.DEFAULTS;
  }

  /**
   * These options under another rule set, with that rule set's own years.
   *
   * @param rules the rule set
   * @return new options
   * @throws IllegalArgumentException when the rule set does not take these options' preference
   *     (the whole call's prefers the future only), in the library's words
   * @throws NullPointerException when rules is null
   */
  public ExtractOptions rules(Rules rules) {
    Objects.requireNonNull(rules, "rules");
    return checked(rules, past, 0, 0);
  }

  /**
   * These options under the whole call's rules: the native method's answers, exactly.
   *
   * @return new options
   * @throws IllegalArgumentException when these options prefer the past, which the whole call's
   *     rules do not take
   */
  public ExtractOptions wholeCall() {
    return rules(Rules.WHOLE_CALL);
  }

  /**
   * These options under the reader's rules, with their own years.
   *
   * @return new options
   */
  public ExtractOptions reader() {
    return rules(Rules.READER);
  }

  /**
   * These options with open dates and times placed in the past.
   *
   * @return new options
   * @throws IllegalArgumentException under the whole call's rules, which prefer the future only
   */
  public ExtractOptions preferPast() {
    return checked(rules, true, firstYear, lastYear);
  }

  /**
   * These options with open dates and times placed in the future.
   *
   * @return new options
   */
  public ExtractOptions preferFuture() {
    return checked(rules, false, firstYear, lastYear);
  }

  /**
   * These options with a window of years; 0 and 0 stand for the rules' own.
   *
   * @param first the first year read
   * @param last the last year read, not before {@code first}
   * @return new options
   * @throws IllegalArgumentException when the window is upside down or not inside the rules' own
   *     years ({@link Rules#firstYear()} to {@link Rules#lastYear()}), or the rules take no
   *     window but their own; the message is the library's
   */
  public ExtractOptions years(int first, int last) {
    return checked(rules, past, first, last);
  }

  /**
   * The rule set.
   *
   * @return the rule set
   */
  public Rules rules() {
    return rules;
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
    return rules == other.rules
        && past == other.past
        && firstYear == other.firstYear
        && lastYear == other.lastYear;
  }

  @Override
  public int hashCode() {
    return Objects.hash(rules, past, firstYear, lastYear);
  }

  /** @return e.g. "ExtractOptions[rules=reader, prefer=past, years=1900..2099]" */
  @Override
  public String toString() {
    return "ExtractOptions[rules=" + rules + ", prefer="
        + Library.PREFER_NAMES[past ? PREFER_PAST : PREFER_FUTURE] + ", years=" + firstYear + ".."
        + lastYear + "]";
  }
}
