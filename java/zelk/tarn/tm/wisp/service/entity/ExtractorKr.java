package zelk.tarn.tm.wisp.service.entity;

/**
 * Finds date and time expressions in Korean text and resolves them against a
 * reference time.
 *
 * <p>The work is done by the native library
 * {@code libentityextractor_kr.textmining.quenby.so}, loaded from
 * {@code java.library.path}, or from the file named by the system property
 * {@code extractor.kr.library} when it is set. The library keeps no state
 * between calls; one instance may be used from several threads at once.
 */
public class ExtractorKr {
  static {
    String path = System.getProperty("extractor.kr.library");
    if (path != null && !path.isEmpty()) {
      System.load(path);
    } else {
      System.loadLibrary("entityextractor_kr.textmining.quenby");
    }
  }

  /**
   * Extracts the date and time expressions of {@code text}.
   *
   * @param text the text, in the double-byte Korean encoding (CP949)
   * @param a1 the settings text
   * @param a2 the replacement trie blob
   * @param a3 the tag trie blob
   * @param a4 the pattern trie blob
   * @param a5 the unit-sequence trie blob
   * @param a6 the word list text (CP949 lines)
   * @param refTime the reference time, twelve digits YYYYMMDDhhmm
   * @return the JSON array of the results as bytes (CP949), "[]" when nothing
   *     was found or the reference time is out of range, or null for an empty
   *     text
   */
  public native byte[] getTimeInfo_native(
      byte[] text, byte[] a1, byte[] a2, byte[] a3, byte[] a4, byte[] a5, byte[] a6,
      String refTime);
}
