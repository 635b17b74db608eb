package importkcd.olapserver;

import importkcd.olapserver.SqlWords.Kind;
import importkcd.olapserver.SqlWords.Word;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.HashSet;
import java.util.List;
import java.util.Locale;
import java.util.Map;
import java.util.Set;

/**
 * A statement by which the engine asks for facts: "select ... from A, B where ... and ...". What each
 * of its rows has to fulfil is understood only in part; the rest does not matter.
 *
 * @param tables by their aliases, from the word that names them to the one that is the alias
 * @param joins equal columns, both ways round
 * @param demands all that has to hold, each by itself
 * @param conditions those of them that are understood
 */
record StarStatement(
    Map<String, List<Word>> tables,
    Map<Column, Set<Column>> joins,
    List<List<Word>> demands,
    List<Condition> conditions) {
  record Column(String table, String name) {}

  /** The column has one of the values; each is a text or a number. */
  record Condition(Column column, List<Word> values) {}

  /** What may stand between conditions without making them anything else than conditions. */
  private static final Set<String> PLAIN =
      Set.of("and", "in", "is", "not", "null", "like", ".", "=", "<", ">", "(", ")", ",", "+", "-", "*", "/");

  /** What may stand in front of a text to make a literal of another type. */
  private static final Set<String> TYPES = Set.of("date", "time", "timestamp");

  private static final Set<String> ENDS = Set.of("where", "group", "having", "order", "limit", "offset", "fetch");

  private static final Set<String> COMBINE = Set.of("union", "intersect", "except", "minus", "from", "where");

  /** Null when it is something else. */
  static StarStatement of(List<Word> words) {
    if (words.isEmpty() || !words.get(0).is("select")) {
      return null;
    }
    final int from = next(words, 1, Set.of("from"));
    final int tablesEnd = next(words, from + 1, ENDS);
    final boolean isConditional = tablesEnd < words.size() && words.get(tablesEnd).is("where");
    final int end = isConditional ? next(words, tablesEnd + 1, ENDS) : tablesEnd;
    if (!isConditional || next(words, end, COMBINE) < words.size() || next(words, 1, COMBINE) != from) {
      return null;
    }
    final StarStatement its =
        new StarStatement(new HashMap<>(), new HashMap<>(), new ArrayList<>(), new ArrayList<>());
    for (final List<Word> table : split(words.subList(from + 1, tablesEnd), ",")) {
      if (!its.addTable(table)) {
        return null;
      }
    }
    return its.addConditions(words.subList(tablesEnd + 1, end)) ? its : null;
  }

  /** Where the next of these words is outside of parentheses. */
  private static int next(List<Word> words, int begin, Set<String> any) {
    int depth = 0;
    for (int i = begin; i < words.size(); ++i) {
      final Word word = words.get(i);
      depth += word.is("(") ? 1 : word.is(")") ? -1 : 0;
      if (depth == 0 && word.kind() == Kind.WORD && any.contains(word.text().toLowerCase(Locale.ROOT))) {
        return i;
      }
    }
    return words.size();
  }

  private static List<List<Word>> split(List<Word> words, String separator) {
    final List<List<Word>> parts = new ArrayList<>();
    int depth = 0;
    int begin = 0;
    for (int i = 0; i < words.size(); ++i) {
      depth += words.get(i).is("(") ? 1 : words.get(i).is(")") ? -1 : 0;
      if (depth == 0 && words.get(i).is(separator)) {
        parts.add(words.subList(begin, i));
        begin = i + 1;
      }
    }
    parts.add(words.subList(begin, words.size()));
    return parts;
  }

  /** A query or a name with dots, then perhaps "as", then the alias. */
  private boolean addTable(List<Word> words) {
    if (words.size() < 2 || words.get(words.size() - 1).kind() != Kind.NAME) {
      return false;
    }
    int end = words.size() - 1;
    end -= words.get(end - 1).is("as") ? 1 : 0;
    final List<Word> table = words.subList(0, end);
    boolean isTable = !table.isEmpty();
    if (isTable && table.get(0).is("(")) {
      isTable = table.get(table.size() - 1).is(")");
    } else if (isTable && table.get(0).kind() != Kind.QUERY) {
      for (int i = 0; i < table.size(); ++i) {
        isTable &= i % 2 == 0 ? table.get(i).kind() == Kind.NAME : table.get(i).is(".");
      }
      isTable &= table.size() % 2 == 1;
    } else {
      isTable &= table.size() == 1;
    }
    return isTable && tables.put(words.get(words.size() - 1).text(), words) == null;
  }

  /** False when it is not certain that they are tied by "and". */
  private boolean addConditions(List<Word> words) {
    int depth = 0;
    for (int i = 0; i < words.size(); ++i) {
      final Word word = words.get(i);
      depth += word.is("(") ? 1 : word.is(")") ? -1 : 0;
      final String text = word.text().toLowerCase(Locale.ROOT);
      final boolean isPlain = word.kind() != Kind.WORD && word.kind() != Kind.SIGN
          || PLAIN.contains(text)
          || TYPES.contains(text) && i + 1 < words.size() && words.get(i + 1).kind() == Kind.TEXT;
      if (depth == 0 && !isPlain || depth < 0) {
        return false;
      }
    }
    for (final List<Word> condition : split(words, "and")) {
      add(condition);
    }
    return true;
  }

  private void add(List<Word> condition) {
    final int size = condition.size();
    if (isGroup(condition) && addGroup(condition.subList(1, size - 1))) {
      return;
    }
    demands.add(condition);
    final Column column = column(condition, 0);
    if (column == null || size <= 4) {
      return;
    }
    final Column other = condition.get(3).is("=") && size == 7 ? column(condition, 4) : null;
    final List<Word> values = new ArrayList<>();
    boolean isUnderstood = other == null;
    if (other != null) {
      joins.computeIfAbsent(column, its -> new HashSet<>()).add(other);
      joins.computeIfAbsent(other, its -> new HashSet<>()).add(column);
    } else if (condition.get(3).is("=")) {
      isUnderstood = addValue(condition.subList(4, size), values);
    } else if (condition.get(3).is("in") && isGroup(condition.subList(4, size))) {
      for (final List<Word> value : split(condition.subList(5, size - 1), ",")) {
        isUnderstood &= addValue(value, values);
      }
    } else {
      isUnderstood = false;
    }
    if (isUnderstood) {
      conditions.add(new Condition(column, values));
    }
  }

  /** False for what is not tied by "and": no part of it has to hold. */
  private boolean addGroup(List<Word> words) {
    final StarStatement inner =
        new StarStatement(tables, new HashMap<>(), new ArrayList<>(), new ArrayList<>());
    final boolean isUnderstood = inner.addConditions(words);
    if (isUnderstood) {
      demands.addAll(inner.demands);
      conditions.addAll(inner.conditions);
    }
    return isUnderstood;
  }

  /** Whether a demand is about columns of one table and nothing else. */
  static boolean isAbout(List<Word> demand, String table) {
    for (int i = 0; i < demand.size(); ++i) {
      final Word word = demand.get(i);
      if (word.kind() == Kind.QUERY || word.is("select")) {
        return false;
      }
      if (word.kind() == Kind.NAME) {
        final boolean isEnd = i + 3 >= demand.size() || !demand.get(i + 3).is(".");
        if (column(demand, i) == null || !isEnd || !word.text().equals(table)) {
          return false;
        }
        i += 2;
      }
    }
    return true;
  }

  /** Whether the first word is a parenthesis that the last one closes. */
  private static boolean isGroup(List<Word> words) {
    int depth = 0;
    for (int i = 0; i < words.size(); ++i) {
      depth += words.get(i).is("(") ? 1 : words.get(i).is(")") ? -1 : 0;
      if (depth == 0) {
        return i > 0 && i == words.size() - 1;
      }
    }
    return false;
  }

  private static Column column(List<Word> words, int at) {
    return words.size() >= at + 3
            && words.get(at).kind() == Kind.NAME
            && words.get(at + 1).is(".")
            && words.get(at + 2).kind() == Kind.NAME
        ? new Column(words.get(at).text(), words.get(at + 2).text())
        : null;
  }

  private static boolean addValue(List<Word> words, List<Word> values) {
    final boolean isNegative = words.size() == 2 && words.get(0).is("-") && words.get(1).kind() == Kind.NUMBER;
    if (!isNegative
        && (words.size() != 1 || words.get(0).kind() != Kind.NUMBER && words.get(0).kind() != Kind.TEXT)) {
      return false;
    }
    final Word value = words.get(words.size() - 1);
    values.add(
        isNegative ? new Word(Kind.NUMBER, "-" + value.text(), value.begin(), value.end()) : value);
    return true;
  }
}
