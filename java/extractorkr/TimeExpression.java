package extractorkr;

import java.time.Period;
import java.util.Optional;

/**
 * One date or time expression of a text: one moment, or a span from a start to an end (either
 * of which may be open), possibly repeating. Immutable.
 */
public final class TimeExpression {
  private static final Period[] CYCLES = {
    null, Period.ofDays(1), Period.ofDays(7), Period.ofMonths(1), Period.ofYears(1)
  };

  private final boolean span;
  private final PartialDateTime start;
  private final PartialDateTime end;
  private final Period cycle;
  private final int beginIndex;
  private final int endIndex;
  private final String text;
  private final boolean hasDate;
  private final boolean hasTime;
  private final boolean hasAmPm;
  private final boolean lunar;
  private final int cycleInterval;

  private TimeExpression(
      boolean span,
      PartialDateTime start,
      PartialDateTime end,
      Period cycle,
      int beginIndex,
      int endIndex,
      String text,
      boolean hasDate,
      boolean hasTime,
      boolean hasAmPm,
      boolean lunar,
      int cycleInterval) {
    this.span = span;
    this.start = start;
    this.end = end;
    this.cycle = cycle;
    this.beginIndex = beginIndex;
    this.endIndex = endIndex;
    this.text = text;
    this.hasDate = hasDate;
    this.hasTime = hasTime;
    this.hasAmPm = hasAmPm;
    this.lunar = lunar;
    this.cycleInterval = cycleInterval;
  }

  /**
   * One expression of the native answer: is_span, lunar, cycle, cycle_interval, the start's six
   * fields and three flags, the end's, and the UTF-16 positions, from {@code at} on.
   */
  static TimeExpression fromNative(String source, int[] a, int at) {
    boolean span = a[at] != 0;
    Period cycle = a[at + 2] >= 0 && a[at + 2] < CYCLES.length ? CYCLES[a[at + 2]] : null;
    int s = at + 4; // the start's fields
    int e = at + 13; // the end's
    PartialDateTime start =
        new PartialDateTime(a[s], a[s + 1], a[s + 2], a[s + 3], a[s + 4], a[s + 5]);
    PartialDateTime end =
        span ? new PartialDateTime(a[e], a[e + 1], a[e + 2], a[e + 3], a[e + 4], a[e + 5]) : start;
    int begin = a[at + 22];
    int stop = a[at + 23];
    String text = begin >= 0 && stop <= source.length() ? source.substring(begin, stop) : "";
    return new TimeExpression(
        span,
        start,
        end,
        cycle,
        begin,
        stop,
        text,
        a[s + 6] != 0 || a[e + 6] != 0,
        a[s + 7] != 0 || a[e + 7] != 0,
        a[s + 8] != 0 || a[e + 8] != 0,
        a[at + 1] != 0,
        a[at + 3]);
  }

  /** @return whether this is a span with a start and an end, rather than one moment */
  public boolean isSpan() {
    return span;
  }

  /** @return the moment, or the start of a span (open for a span that only says its end) */
  public PartialDateTime start() {
    return start;
  }

  /** @return the end of a span (open for a span that only says its start); for a moment, start() */
  public PartialDateTime end() {
    return end;
  }

  /** @return how it repeats (P1D, P7D, P1M or P1Y), or empty when it does not */
  public Optional<Period> cycle() {
    return Optional.ofNullable(cycle);
  }

  /**
   * @return every how many cycles it comes back: 1, or 2 for every other week (격주); 0 when it
   *     does not repeat
   */
  public int cycleInterval() {
    return cycleInterval;
  }

  /**
   * @return whether the text gave the date on the lunar calendar ("음력 8월 15일", "추석"); the
   *     start and end are solar dates either way
   */
  public boolean isLunar() {
    return lunar;
  }

  /** @return the index in the text given of its first UTF-16 unit, or -1 when it has no place */
  public int beginIndex() {
    return beginIndex;
  }

  /** @return the index one past its last UTF-16 unit, or -1 when it has no place */
  public int endIndex() {
    return endIndex;
  }

  /** @return the expression as it stands in the text: text.substring(beginIndex(), endIndex()) */
  public String text() {
    return text;
  }

  /** @return whether the text gave a date (a day or a weekday) for the start or the end */
  public boolean hasDate() {
    return hasDate;
  }

  /** @return whether the text gave a time of day for the start or the end */
  public boolean hasTime() {
    return hasTime;
  }

  /** @return whether the text said morning or afternoon for the start or the end */
  public boolean hasAmPm() {
    return hasAmPm;
  }

  @Override
  public boolean equals(Object o) {
    if (!(o instanceof TimeExpression)) return false;
    TimeExpression t = (TimeExpression) o;
    return span == t.span
        && start.equals(t.start)
        && end.equals(t.end)
        && java.util.Objects.equals(cycle, t.cycle)
        && beginIndex == t.beginIndex
        && endIndex == t.endIndex
        && text.equals(t.text)
        && hasDate == t.hasDate
        && hasTime == t.hasTime
        && hasAmPm == t.hasAmPm
        && lunar == t.lunar
        && cycleInterval == t.cycleInterval;
  }

  @Override
  public int hashCode() {
    return java.util.Objects.hash(
        start, end, cycle, beginIndex, endIndex, text, span, lunar, cycleInterval);
  }

  /**
   * @return e.g. "내일 오후 3시 [0,8) 2024-05-16T15:00", "금요일까지 [0,5) (open) ~ 2024-05-24",
   *     "매주 월요일 [0,6) 2024-05-20 every P7D", "격주 화요일 [0,6) 2024-05-21 every 2 x P7D" or
   *     "추석 [0,2) 2024-09-17 (lunar)"
   */
  @Override
  public String toString() {
    StringBuilder s = new StringBuilder();
    s.append(text).append(" [").append(beginIndex).append(',').append(endIndex).append(") ");
    s.append(start);
    if (span) s.append(" ~ ").append(end);
    if (cycle != null) {
      s.append(" every ");
      if (cycleInterval != 1) s.append(cycleInterval).append(" x ");
      s.append(cycle);
    }
    if (lunar) s.append(" (lunar)");
    return s.toString();
  }
}
