package importkcd.olapserver;

import java.util.ArrayList;
import java.util.List;

/**
 * A statement of the engine's in words, as far as each of them is understood without any doubt in
 * the data warehouse's dialect.
 */
final class SqlWords {
  enum Kind {
    /** Without quotes: a keyword, or a function's name. */
    WORD,
    /** A name in quotes. */
    NAME,
    TEXT,
    NUMBER,
    SIGN,
    /** The query that was looked for, in parentheses. */
    QUERY
  }

  /** The text is without quotes; the places are those in the statement. */
  record Word(Kind kind, String text, int begin, int end) {
    boolean is(String keywordOrSign) {
      return (kind == Kind.WORD || kind == Kind.SIGN) && text.equalsIgnoreCase(keywordOrSign);
    }
  }

  /** These could begin a comment or another kind of quote in one dialect or the other. */
  private static final String NOT_UNDERSTOOD = "#$\\[]";

  private final String sql;
  private final char quote;
  private final String query;
  private final List<Word> words = new ArrayList<>();
  private int at;

  private SqlWords(String sql, char quote, String query) {
    this.sql = sql;
    this.quote = quote;
    this.query = query;
  }

  /**
   * The words of a statement, null when it holds something that is not understood. The query, which
   * may be null, is one word together with its parentheses, whatever it holds.
   */
  static List<Word> of(String sql, WarehouseKind kind, String query) {
    final SqlWords its = new SqlWords(sql, quote(kind), query);
    while (its.at < sql.length()) {
      if (!its.read()) {
        return null;
      }
    }
    return its.words;
  }

  /** Around names. */
  static char quote(WarehouseKind kind) {
    return kind == WarehouseKind.MARIADB ? '`' : '"';
  }

  private boolean read() {
    final char c = sql.charAt(at);
    if (isBlank(at)) {
      ++at;
      return true;
    }
    if (c == '\'' || c == quote) {
      return readQuoted(c);
    }
    if (isLetter(c)) {
      final int begin = at;
      while (at < sql.length() && (isLetter(sql.charAt(at)) || isDigit(sql.charAt(at)))) {
        ++at;
      }
      // E'...', N'...' and their like have rules of their own.
      return add(Kind.WORD, sql.substring(begin, at), begin) && (at == sql.length() || sql.charAt(at) != '\'');
    }
    if (isDigit(c)) {
      final int begin = at;
      while (at < sql.length() && (isDigit(sql.charAt(at)) || isLetter(sql.charAt(at)) || sql.charAt(at) == '.')) {
        ++at;
      }
      return add(Kind.NUMBER, sql.substring(begin, at), begin);
    }
    return c == '(' && readQuery() || readSign(c);
  }

  private boolean readQuoted(char mark) {
    final int begin = at;
    final StringBuilder text = new StringBuilder();
    for (++at; at < sql.length(); ++at) {
      final char c = sql.charAt(at);
      if (c == mark) {
        if (at + 1 < sql.length() && sql.charAt(at + 1) == mark) {
          ++at;
        } else {
          ++at;
          return add(mark == '\'' ? Kind.TEXT : Kind.NAME, text.toString(), begin);
        }
      } else if (c == '\\') {
        // It may stand for itself, or for what follows.
        return false;
      }
      text.append(c);
    }
    return false;
  }

  private boolean readQuery() {
    int begin = at + 1;
    while (isBlank(begin)) {
      ++begin;
    }
    int end = begin + (query == null ? 0 : query.length());
    if (query == null || !sql.startsWith(query, begin)) {
      return false;
    }
    while (isBlank(end)) {
      ++end;
    }
    if (end < sql.length() && sql.charAt(end) == ')') {
      final int start = at;
      at = end + 1;
      return add(Kind.QUERY, query, start);
    }
    return false;
  }

  private boolean readSign(char c) {
    final String two = sql.substring(at, Math.min(at + 2, sql.length()));
    final boolean isComment = two.equals("--") || two.equals("/*");
    if (isComment || c > '~' || c < ' ' || c == '"' || c == '`' || NOT_UNDERSTOOD.indexOf(c) >= 0) {
      return false;
    }
    ++at;
    return add(Kind.SIGN, String.valueOf(c), at - 1);
  }

  private boolean add(Kind kind, String text, int begin) {
    words.add(new Word(kind, text, begin, at));
    return true;
  }

  private boolean isBlank(int place) {
    return place < sql.length() && " \t\r\n".indexOf(sql.charAt(place)) >= 0;
  }

  private static boolean isLetter(char c) {
    return c >= 'a' && c <= 'z' || c >= 'A' && c <= 'Z' || c == '_';
  }

  private static boolean isDigit(char c) {
    return c >= '0' && c <= '9';
  }
}
