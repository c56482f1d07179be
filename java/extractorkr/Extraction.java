package extractorkr;

import java.util.List;
import java.util.Objects;

/** What {@link KoreanTimeExtractor#extract} found in one text. Immutable. */
public final class Extraction {
  private final List<TimeExpression> expressions;
  private final String content;

  Extraction(List<TimeExpression> expressions, String content) {
    this.expressions = expressions;
    this.content = content;
  }

  /**
   * The date and time expressions, in text order.
   *
   * @return an unmodifiable list, empty when nothing was found
   */
  public List<TimeExpression> expressions() {
    return expressions;
  }

  /**
   * The text without its expressions, without a word tied to one (a particle such as 에 or 까지
   * right after it) and, once anything was found, without its commas.
   *
   * @return the remaining content
   */
  public String content() {
    return content;
  }

  @Override
  public boolean equals(Object o) {
    if (!(o instanceof Extraction)) return false;
    Extraction e = (Extraction) o;
    return expressions.equals(e.expressions) && content.equals(e.content);
  }

  @Override
  public int hashCode() {
    return Objects.hash(expressions, content);
  }

  @Override
  public String toString() {
    return "Extraction" + expressions + " content=\"" + content + "\"";
  }
}
