/**
 * Date and time expressions in Korean text: open a {@link extractorkr.KoreanTimeExtractor} once,
 * then {@link extractorkr.KoreanTimeExtractor#extract extract} from any number of texts and
 * threads. Results are {@link java.time} values with UTF-16 positions into the text given.
 */
package extractorkr;
