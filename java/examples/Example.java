import extractorkr.KoreanTimeExtractor;
import extractorkr.TimeExpression;
import java.time.LocalDateTime;

/** Prints the date and time expressions of a message. */
public class Example {
  public static void main(String[] args) {
    try (KoreanTimeExtractor extractor = KoreanTimeExtractor.openDefault()) {
      LocalDateTime now = LocalDateTime.of(2024, 5, 15, 10, 30);
      for (TimeExpression t : extractor.extract("내일 오후 3시에 강남역에서 만나요", now).expressions()) {
        System.out.println(t.text() + " -> " + t.start().toLocalDateTime().orElse(null));
      }
    }
  }
}
