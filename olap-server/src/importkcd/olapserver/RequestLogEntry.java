package importkcd.olapserver;

import java.nio.charset.StandardCharsets;
import java.util.LinkedHashMap;
import java.util.Map;
import javax.servlet.ServletRequest;

/** What becomes known about a request on its way, for the access log and the metrics. */
final class RequestLogEntry {
  private static final String ATTRIBUTE = RequestLogEntry.class.getName();

  /** Longer statements are cut. */
  private static final int LONGEST_STATEMENT = 32_768;

  private static final byte[] CELL = "<Cell ".getBytes(StandardCharsets.US_ASCII);

  private XmlaQuestion question;
  private int cells;
  private boolean failed;

  private RequestLogEntry() {}

  static RequestLogEntry of(ServletRequest request) {
    if (request.getAttribute(ATTRIBUTE) instanceof RequestLogEntry entry) {
      return entry;
    }
    final RequestLogEntry entry = new RequestLogEntry();
    request.setAttribute(ATTRIBUTE, entry);
    return entry;
  }

  void asks(XmlaQuestion asked) {
    question = asked;
  }

  boolean isQuestion() {
    return question != null;
  }

  /** Notes what the engine answers: the body of its envelope. */
  void isAnsweredBy(byte[] body) {
    if (body != null && question != null) {
      cells += question.isDiscover() ? 0 : count(body, CELL);
    }
  }

  void fails() {
    failed = true;
  }

  boolean hasFailed() {
    return failed;
  }

  int cells() {
    return cells;
  }

  /** What the log says about the question: names and values. */
  Map<String, Object> words() {
    final Map<String, Object> words = new LinkedHashMap<>();
    if (question != null) {
      words.put("database", question.catalogue());
      words.put("cells", cells);
      words.put("failed", failed);
      if (question.isDiscover()) {
        words.put("list", question.list());
      } else if (question.statement() == null) {
        words.put("list", "ClearCache");
      } else {
        final String statement = question.statement();
        words.put("mdx", statement.substring(0, Math.min(statement.length(), LONGEST_STATEMENT)));
      }
    }
    return words;
  }

  private static int count(byte[] text, byte[] wanted) {
    int found = 0;
    for (int i = 0; i + wanted.length <= text.length; ++i) {
      int matching = 0;
      while (matching < wanted.length && text[i + matching] == wanted[matching]) {
        ++matching;
      }
      found += matching == wanted.length ? 1 : 0;
    }
    return found;
  }
}
