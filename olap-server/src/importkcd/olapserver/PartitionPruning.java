package importkcd.olapserver;

import static importkcd.olapserver.Delegation.call;
import static importkcd.olapserver.Delegation.proxy;

import importkcd.olapserver.PartitionedFacts.Part;
import importkcd.olapserver.PartitionedFacts.Slice;
import importkcd.olapserver.SqlWords.Kind;
import importkcd.olapserver.SqlWords.Word;
import importkcd.olapserver.StarStatement.Column;
import importkcd.olapserver.StarStatement.Condition;
import java.io.IOException;
import java.lang.reflect.Method;
import java.math.BigDecimal;
import java.nio.file.Path;
import java.sql.Connection;
import java.sql.ResultSet;
import java.sql.ResultSetMetaData;
import java.sql.SQLException;
import java.sql.Statement;
import java.sql.Types;
import java.util.ArrayList;
import java.util.List;
import java.util.Locale;
import java.util.Map;
import java.util.Set;
import java.util.concurrent.ConcurrentHashMap;
import java.util.function.Predicate;
import java.util.regex.Pattern;

/**
 * Leaves partitions out of the statements that the engine sends to a data warehouse: those whose rows
 * all contradict what the statement asks for. A statement is changed only when it is understood
 * without any doubt that its answer stays the same.
 */
final class PartitionPruning {
  /** What was found out about columns counts so long. */
  private static final long KNOWN_NANOSECONDS = 600_000_000_000L;

  private static final int LOOK_SECONDS = 10;

  /** Beyond it doubles, as which databases may compare, are not exact. */
  private static final long LARGEST_NUMBER = 1L << 53;

  private static final int LONGEST_NUMBER = 30;

  /** As many as every database lets a question have. */
  private static final int MOST_COLUMNS = 1000;

  private static final Set<Integer> TEXTS =
      Set.of(Types.CHAR, Types.VARCHAR, Types.LONGVARCHAR, Types.NCHAR, Types.NVARCHAR, Types.LONGNVARCHAR);

  private static final Set<Integer> NUMBERS =
      Set.of(Types.TINYINT, Types.SMALLINT, Types.INTEGER, Types.BIGINT, Types.DECIMAL, Types.NUMERIC);

  private static final Pattern DECIMAL = Pattern.compile("-?[0-9]+([.][0-9]*)?");

  /** Letters that the order of some language holds for one. */
  private static final Map<Character, Character> ALIKE = Map.of('j', 'i', 'y', 'i', 'v', 'u', 'w', 'u');

  /** What a schema's file said when it was the one of this identity. */
  private record Known(String identity, List<PartitionedFacts> facts) {}

  private final WarehouseKind kind;
  private final Map<Path, Known> known = new ConcurrentHashMap<>();
  private final Map<String, List<String>> columns = new ConcurrentHashMap<>();
  private volatile List<Path> schemas = List.of();
  private volatile long since = System.nanoTime();

  PartitionPruning(WarehouseKind kind) {
    this.kind = kind;
  }

  /** The schemas that are published now. */
  void follow(List<Path> now) {
    schemas = now;
    known.keySet().retainAll(now);
  }

  /** A connection that leaves partitions out. */
  Connection over(Connection connection) {
    final List<PartitionedFacts> facts = facts();
    if (facts.isEmpty()) {
      return connection;
    }
    return proxy(
        Connection.class,
        (self, method, arguments) -> {
          prune(facts, method, arguments, connection);
          final Object result = call(connection, method, arguments);
          return method.getName().equals("createStatement")
              ? over(facts, (Statement) result, connection)
              : result;
        });
  }

  private Statement over(List<PartitionedFacts> facts, Statement statement, Connection connection) {
    return proxy(
        Statement.class,
        (self, method, arguments) -> {
          prune(facts, method, arguments, connection);
          return call(statement, method, arguments);
        });
  }

  private void prune(
      List<PartitionedFacts> facts, Method method, Object[] arguments, Connection connection) {
    final boolean takesSql =
        method.getName().equals("executeQuery")
            || method.getName().equals("execute")
            || method.getName().equals("prepareStatement");
    if (takesSql && arguments != null && arguments[0] instanceof String sql) {
      arguments[0] = pruned(facts, sql, connection);
    }
  }

  /** Those of the published schemas as they are now: a view of them may just have got another text. */
  private List<PartitionedFacts> facts() {
    final List<PartitionedFacts> all = new ArrayList<>();
    for (final Path schema : schemas) {
      try {
        final Known its = known.get(schema);
        final boolean isKnown = its != null && its.identity().equals(FollowedFile.identity(schema));
        all.addAll(isKnown ? its.facts() : read(schema));
      } catch (IOException error) {
        // Whoever asks its catalogue is told.
      }
    }
    return all;
  }

  private synchronized List<PartitionedFacts> read(Path schema) throws IOException {
    final String identity = FollowedFile.identity(schema);
    Known its = known.get(schema);
    if (its == null || !its.identity().equals(identity)) {
      its = new Known(identity, PartitionedFacts.read(schema));
      known.put(schema, its);
    }
    return its.facts();
  }

  private String pruned(List<PartitionedFacts> facts, String sql, Connection connection) {
    for (final PartitionedFacts one : facts) {
      if (sql.contains(one.view() == null ? one.union() : one.view())) {
        final String query = one.view() == null ? one.union() : null;
        final List<Word> words = SqlWords.of(sql, kind, query);
        final StarStatement statement = words == null ? null : StarStatement.of(words);
        final Word place = statement == null ? null : place(statement, one.view());
        if (place != null) {
          return pruned(sql, one, statement, place, connection);
        }
      }
    }
    return sql;
  }

  /** The word that stands for the facts; null unless there is one. */
  private static Word place(StarStatement statement, String view) {
    Word place = null;
    for (final List<Word> table : statement.tables().values()) {
      final Word first = table.get(0);
      final boolean isIt =
          view == null
              ? first.kind() == Kind.QUERY
              : first.kind() == Kind.NAME && first.text().equals(view) && !table.get(1).is(".");
      if (isIt && place != null) {
        return null;
      }
      place = isIt ? first : place;
    }
    return place;
  }

  private String pruned(
      String sql, PartitionedFacts facts, StarStatement statement, Word place, Connection connection) {
    String alias = null;
    for (final Map.Entry<String, List<Word>> table : statement.tables().entrySet()) {
      alias = table.getValue().get(0) == place ? table.getKey() : alias;
    }
    try {
      final List<Part> kept = new ArrayList<>();
      for (final Part part : facts.parts()) {
        if (!contradicts(sql, part, statement, alias, connection)) {
          kept.add(part);
        }
      }
      for (final String table : kept.size() > 1 ? statement.tables().keySet() : Set.<String>of()) {
        dropStrangers(sql, kept, statement, table, alias, connection);
      }
      if (kept.isEmpty()) {
        // Its columns are needed, and a partition that has no row to give.
        kept.add(facts.parts().get(0));
      }
      if (kept.size() == facts.parts().size() || !haveTheColumnsOfAll(facts, kept, connection)) {
        return sql;
      }
      return sql.substring(0, place.begin())
          + "("
          + PartitionedFacts.union(kept)
          + ")"
          + sql.substring(place.end());
    } catch (SQLException error) {
      // The statement itself tells what is wrong.
      return sql;
    }
  }

  /** Whether no row of a partition can fulfil a statement. */
  private boolean contradicts(
      String sql, Part part, StarStatement statement, String facts, Connection connection)
      throws SQLException {
    for (final Slice slice : part.slices()) {
      final Column column = new Column(slice.table(), slice.column());
      for (final Condition condition : statement.conditions()) {
        if (condition.column().equals(column)
            && isJoined(slice, statement, facts)
            && (allDiffer(condition, value -> areOtherNumbers(slice, value))
                    && NUMBERS.contains(type(sql, column, statement, connection))
                || allDiffer(condition, value -> areOtherTexts(slice, value))
                    && TEXTS.contains(type(sql, column, statement, connection)))) {
          return true;
        }
      }
    }
    return false;
  }

  /**
   * Drops those parts of whose slices by columns of a dimension's table no row of that table is left
   * when it has to fulfil the statement. The data warehouse knows: days, say, of which year they are.
   */
  private void dropStrangers(
      String sql, List<Part> parts, StarStatement statement, String table, String facts, Connection connection) {
    final List<String> demands =
        statement.demands().stream()
            .filter(demand -> StarStatement.isAbout(demand, table))
            .map(demand -> text(sql, demand))
            .toList();
    final List<Part> sliced = new ArrayList<>();
    final List<String> slices = new ArrayList<>();
    for (final Part part : parts) {
      for (final Slice slice : part.slices()) {
        final String value = literal(slice);
        if (slice.table().equals(table) && slice.join() != null && isJoined(slice, statement, facts)
            && value != null) {
          sliced.add(part);
          slices.add("max(case when " + quoted(table) + "." + quoted(slice.column()) + " = " + value
              + " then 1 else 0 end)");
        }
      }
    }
    if (demands.isEmpty() || slices.isEmpty() || slices.size() > MOST_COLUMNS) {
      return;
    }
    final String question =
        "select " + String.join(", ", slices)
            + " from " + text(sql, statement.tables().get(table))
            + " where " + String.join(" and ", demands);
    try (Statement asking = connection.createStatement()) {
      asking.setQueryTimeout(LOOK_SECONDS);
      try (ResultSet answer = asking.executeQuery(question)) {
        answer.next();
        for (int i = 0; i < sliced.size(); ++i) {
          if (answer.getInt(i + 1) == 0) {
            parts.remove(sliced.get(i));
          }
        }
      }
    } catch (SQLException error) {
      // Then they stay; what was found without it counts.
    }
  }

  /** The value of a slice as it stands in SQL; null when that may not be the same everywhere. */
  private static String literal(Slice slice) {
    if (slice.isNumber()) {
      return DECIMAL.matcher(slice.value()).matches() ? slice.value() : null;
    }
    return slice.value().indexOf('\\') < 0 ? "'" + slice.value().replace("'", "''") + "'" : null;
  }

  private static String text(String sql, List<Word> words) {
    return sql.substring(words.get(0).begin(), words.get(words.size() - 1).end());
  }

  private String quoted(String name) {
    final String quote = String.valueOf(SqlWords.quote(kind));
    return quote + name.replace(quote, quote + quote) + quote;
  }

  private static boolean isJoined(Slice slice, StarStatement statement, String facts) {
    if (slice.join() == null) {
      return slice.table().equals(facts);
    }
    final Column key = new Column(slice.join().table(), slice.join().column());
    return statement
        .joins()
        .getOrDefault(new Column(facts, slice.join().factColumn()), Set.of())
        .contains(key);
  }

  private static boolean allDiffer(Condition condition, Predicate<Word> differs) {
    return condition.values().stream().allMatch(differs);
  }

  private static boolean areOtherNumbers(Slice slice, Word value) {
    final Long number = number(slice.value());
    final Long asked = number(value.text());
    return number != null && asked != null && !number.equals(asked);
  }

  private static boolean areOtherTexts(Slice slice, Word value) {
    return !slice.isNumber() && value.kind() == Kind.TEXT && differ(slice.value(), value.text());
  }

  /** Null when it is none that all databases compare exactly. */
  private static Long number(String text) {
    if (text.length() > LONGEST_NUMBER || !DECIMAL.matcher(text).matches()) {
      return null;
    }
    final BigDecimal number = new BigDecimal(text).stripTrailingZeros();
    final boolean isExact =
        number.scale() <= 0 && number.abs().compareTo(BigDecimal.valueOf(LARGEST_NUMBER)) < 0;
    return isExact ? number.longValueExact() : null;
  }

  /**
   * Whether two texts differ whatever the order of letters that a database compares by: in a letter or
   * digit, before anything that is beyond ASCII or may not count.
   */
  private static boolean differ(String one, String other) {
    final String left = one.stripTrailing().toLowerCase(Locale.ROOT);
    final String right = other.stripTrailing().toLowerCase(Locale.ROOT);
    for (int i = 0; i < Math.min(left.length(), right.length()); ++i) {
      final char here = left.charAt(i);
      final char there = right.charAt(i);
      if (here != there) {
        return isPlain(here)
            && isPlain(there)
            && !ALIKE.getOrDefault(here, here).equals(ALIKE.getOrDefault(there, there));
      }
    }
    // What is left over may not count.
    final String rest = left.length() > right.length() ? left : right;
    final int shorter = Math.min(left.length(), right.length());
    return shorter < rest.length() && isPlain(rest.charAt(shorter));
  }

  private static boolean isPlain(char c) {
    return c >= 'a' && c <= 'z' || c >= '0' && c <= '9';
  }

  /** The JDBC type of a column: it says how its values are compared. */
  private int type(String sql, Column column, StarStatement statement, Connection connection)
      throws SQLException {
    final List<Word> table = statement.tables().get(column.table());
    if (table == null) {
      return Types.NULL;
    }
    return Integer.parseInt(columns(connection, quoted(column.name()), text(sql, table)).get(0).split(" ", 2)[0]);
  }

  /** Whether a union of some parts has columns of the same types as that of all. */
  private boolean haveTheColumnsOfAll(PartitionedFacts all, List<Part> some, Connection connection)
      throws SQLException {
    final List<String> types = columns(connection, "*", "(" + all.union() + ") facts");
    for (final Part part : some) {
      if (!columns(connection, "*", "(" + part.query() + ") facts").equals(types)) {
        return false;
      }
    }
    return true;
  }

  /** The types of columns, each a JDBC number and further words. No row is read. */
  private List<String> columns(Connection connection, String names, String from) throws SQLException {
    if (System.nanoTime() - since > KNOWN_NANOSECONDS) {
      columns.clear();
      since = System.nanoTime();
    }
    final String question = "select " + names + " from " + from + " where 1 = 0";
    final List<String> before = columns.get(question);
    if (before != null) {
      return before;
    }
    final List<String> types = new ArrayList<>();
    try (Statement statement = connection.createStatement()) {
      statement.setQueryTimeout(LOOK_SECONDS);
      final ResultSetMetaData its = statement.executeQuery(question).getMetaData();
      for (int i = 1; i <= its.getColumnCount(); ++i) {
        // Averages have more digits the more the column has, but not in PostgreSQL.
        final String scale = kind == WarehouseKind.POSTGRESQL ? "" : " " + its.getScale(i);
        types.add(its.getColumnType(i) + " " + its.getColumnTypeName(i) + scale);
      }
    }
    columns.put(question, types);
    return types;
  }
}
