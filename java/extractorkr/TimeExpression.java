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
      boolean hasAmPm) {
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
  }

  /**
   * One expression of the native answer: is_span, cycle, the start's six fields and three flags,
   * the end's, and the UTF-16 positions, from {@code at} on.
   */
  static TimeExpression fromNative(String source, int[] a, int at) {
    boolean span = a[at] != 0;
    Period cycle = a[at + 1] >= 0 && a[at + 1] < CYCLES.length ? CYCLES[a[at + 1]] : null;
    PartialDateTime start =
        new PartialDateTime(a[at + 2], a[at + 3], a[at + 4], a[at + 5], a[at + 6], a[at + 7]);
    PartialDateTime end =
        span
            ? new PartialDateTime(
                a[at + 11], a[at + 12], a[at + 13], a[at + 14], a[at + 15], a[at + 16])
            : start;
    int begin = a[at + 20];
    int stop = a[at + 21];
    String text = begin >= 0 && stop <= source.length() ? source.substring(begin, stop) : "";
    return new TimeExpression(
        span,
        start,
        end,
        cycle,
        begin,
        stop,
        text,
        a[at + 8] != 0 || a[at + 17] != 0,
        a[at + 9] != 0 || a[at + 18] != 0,
        a[at + 10] != 0 || a[at + 19] != 0);
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
        && hasAmPm == t.hasAmPm;
  }

  @Override
  public int hashCode() {
    return java.util.Objects.hash(start, end, cycle, beginIndex, endIndex, text, span);
  }

  /** @return e.g. "내일 오후 3시 [0,8) 2024-05-16T15:00" or "금요일까지 [0,5) (open) ~ 2024-05-24" */
  @Override
  public String toString() {
    StringBuilder s = new StringBuilder();
    s.append(text).append(" [").append(beginIndex).append(',').append(endIndex).append(") ");
    s.append(start);
    if (span) s.append(" ~ ").append(end);
    if (cycle != null) s.append(" every ").append(cycle);
    return s.toString();
  }
}
