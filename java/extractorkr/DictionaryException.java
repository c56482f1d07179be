package extractorkr;

import java.io.IOException;

/**
 * Dictionaries that cannot be used: a file that cannot be read, or a dictionary that is
 * truncated, malformed or not the size it says. The message names the file or dictionary and,
 * for a malformed one, where it goes wrong.
 */
public final class DictionaryException extends IOException {
  private static final long serialVersionUID = 1L;

  DictionaryException(String message) {
    super(message);
  }

  DictionaryException(String message, Throwable cause) {
    super(message, cause);
  }
}
