package extractorkr;

import java.time.LocalDate;
import java.time.LocalDateTime;
import java.util.Arrays;
import java.util.Locale;
import java.util.Optional;
import java.util.OptionalInt;

/**
 * A moment as the text gave it, completed against the reference time: each field is known or
 * left open. An open start or end (as in "금요일까지", until Friday) has every field open. The
 * known fields always make a moment of the calendar (the library gives no result for one it
 * cannot place), so {@link #date()} and {@link #toLocalDateTime()} are present whenever their
 * fields are. Immutable.
 */
public final class PartialDateTime {
  private final int[] fields; // year, month, day, hour, minute, second; -1 = open

  PartialDateTime(int year, int month, int day, int hour, int minute, int second) {
    fields = new int[] {year, month, day, hour, minute, second};
  }

  private OptionalInt field(int k) {
    return fields[k] == -1 ? OptionalInt.empty() : OptionalInt.of(fields[k]);
  }

  /** @return the year, or empty when open */
  public OptionalInt year() {
    return field(0);
  }

  /** @return the month (1 to 12), or empty when open */
  public OptionalInt month() {
    return field(1);
  }

  /** @return the day of the month, or empty when open */
  public OptionalInt day() {
    return field(2);
  }

  /** @return the hour (0 to 23), or empty when open */
  public OptionalInt hour() {
    return field(3);
  }

  /** @return the minute, or empty when open */
  public OptionalInt minute() {
    return field(4);
  }

  /** @return the second, or empty when open */
  public OptionalInt second() {
    return field(5);
  }

  /** @return whether every field is open: the open start or end of a span */
  public boolean isOpen() {
    for (int f : fields) {
      if (f != -1) return false;
    }
    return true;
  }

  /** @return the date, when year, month and day are known */
  public Optional<LocalDate> date() {
    if (fields[0] == -1 || fields[1] == -1 || fields[2] == -1) return Optional.empty();
    return Optional.of(LocalDate.of(fields[0], fields[1], fields[2]));
  }

  /**
   * @return the date and time, when year to minute are known (an open second counts as 0)
   */
  public Optional<LocalDateTime> toLocalDateTime() {
    for (int k = 0; k < 5; ++k) {
      if (fields[k] == -1) return Optional.empty();
    }
    return Optional.of(
        LocalDateTime.of(
            fields[0], fields[1], fields[2], fields[3], fields[4], Math.max(fields[5], 0)));
  }

  @Override
  public boolean equals(Object o) {
    return o instanceof PartialDateTime && Arrays.equals(fields, ((PartialDateTime) o).fields);
  }

  @Override
  public int hashCode() {
    return Arrays.hashCode(fields);
  }

  /** @return e.g. "2024-05-16T15:00", "2024-05-16", "????-??-??T09:30" or "(open)" */
  @Override
  public String toString() {
    if (isOpen()) return "(open)";
    StringBuilder s = new StringBuilder();
    s.append(fields[0] == -1 ? "????" : String.format(Locale.ROOT, "%04d", fields[0]));
    s.append('-').append(two(fields[1])).append('-').append(two(fields[2]));
    if (fields[3] != -1 || fields[4] != -1) {
      s.append('T').append(two(fields[3])).append(':').append(two(fields[4]));
      if (fields[5] > 0) s.append(':').append(two(fields[5]));
    }
    return s.toString();
  }

  private static String two(int v) {
    return v == -1 ? "??" : String.format(Locale.ROOT, "%02d", v);
  }
}
