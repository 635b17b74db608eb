package importkcd.olapserver;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.sql.Connection;
import java.sql.ResultSet;
import java.sql.SQLException;
import java.sql.Statement;
import java.time.Instant;
import java.time.temporal.ChronoUnit;
import java.util.ArrayList;
import java.util.EnumMap;
import java.util.HashMap;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Locale;
import java.util.Map;
import java.util.Set;
import java.util.concurrent.ConcurrentHashMap;
import java.util.function.Function;

/**
 * Whether the aggregate tables that the engine reads still say what the facts do: in rounds, by the
 * queries that kcd aggregate has noted with each table. That reads all facts. Hence it has connections
 * of its own to the data warehouses, one at a time, and pauses long enough to keep them busy for a
 * twentieth of the time at the most. A table that was built anew is looked at soon; the time that
 * this takes prolongs the next pause.
 */
final class AggregateChecks {
  /** How a table is. */
  enum State {
    FRESH,
    /** The data warehouse has changed since it was built. */
    STALE,
    /** It is not in the data warehouse any more. */
    MISSING,
    /** Not yet, or it cannot be. */
    UNCHECKED;

    String label() {
      return name().toLowerCase(Locale.ROOT);
    }
  }

  /** The tables of a cube; the time, of the oldest of their checks, may be null. */
  record Summary(Map<State, List<String>> tables, Instant checked) {}

  /** A table that a published schema declares; its record is null when there is none. */
  private record Declared(
      PublishedContent.Published catalogue, String cube, String table, AggregateRecords.Table record) {
    List<String> key() {
      return List.of(catalogue.name(), table);
    }
  }

  private record Outcome(AggregateRecords.Table record, State state, Instant time) {}

  private static final int LOOK_MILLISECONDS = 2000;

  /** A check may take one part in so many of the time. */
  private static final int PARTS = 20;

  /** How databases say that there is no such table. */
  private static final Set<String> NO_TABLE = Set.of("42P01", "42S02", "S0002");

  private final Path file;
  private final PublishedContent content;
  private final Function<String, PublishedSchema> schemas;
  private final Map<List<String>, Outcome> outcomes = new ConcurrentHashMap<>();

  /** What was told about something that cannot be checked. */
  private final Map<Object, String> told = new ConcurrentHashMap<>();

  /** The time, in nanoseconds, that the data warehouses had to work for a check. */
  private long spent;

  private String identity = "";
  private AggregateRecords records = new AggregateRecords(List.of());

  AggregateChecks(Path directory, PublishedContent content, Function<String, PublishedSchema> schemas) {
    this.file = AggregateRecords.file(directory);
    this.content = content;
    this.schemas = schemas;
  }

  /** How the tables of a cube are; null when the engine reads none for it. */
  Summary of(String database, String cube) {
    final Map<State, List<String>> tables = new EnumMap<>(State.class);
    Instant oldest = null;
    for (final Declared one : declared()) {
      if (one.catalogue().name().equals(database) && one.cube().equals(cube)) {
        final Outcome outcome = outcome(one);
        tables.computeIfAbsent(outcome.state(), state -> new ArrayList<>()).add(one.table());
        if (outcome.time() != null && (oldest == null || outcome.time().isBefore(oldest))) {
          oldest = outcome.time();
        }
      }
    }
    return tables.isEmpty() ? null : new Summary(tables, oldest);
  }

  /** How many tables there are in each state. */
  Map<State, Integer> counts() {
    final Map<State, Integer> counts = new EnumMap<>(State.class);
    for (final State state : State.values()) {
      counts.put(state, 0);
    }
    declared().forEach(one -> counts.merge(outcome(one).state(), 1, Integer::sum));
    return counts;
  }

  /** Checks in the background from now on, all tables in rounds that are so many seconds apart. */
  void start(int seconds) {
    final Thread thread = new Thread(() -> run(seconds * 1_000_000_000L), "aggregate-check");
    thread.setDaemon(true);
    thread.setPriority(Thread.MIN_PRIORITY);
    thread.start();
  }

  private void run(long period) {
    long round = System.nanoTime();
    long rest = round;
    boolean hurried = false;
    while (true) {
      final List<Declared> all = declared();
      final long begin = System.nanoTime();
      final boolean isRested = begin - rest >= 0;
      final boolean isRound = isRested && begin - round >= 0;
      final List<Declared> due =
          isRound ? all : all.stream().filter(one -> !isTried(one)).toList();
      // Only once, so that many builds in a row do not take more than the checks' share of the time.
      if (!due.isEmpty() && (isRested || !hurried)) {
        spent = 0;
        check(due);
        hurried = !isRested;
        rest = (isRested ? begin : rest) + PARTS * spent;
        round = isRound ? System.nanoTime() + period : round;
      }
      try {
        Thread.sleep(LOOK_MILLISECONDS);
      } catch (InterruptedException error) {
        return;
      }
    }
  }

  private boolean isTried(Declared one) {
    final Outcome last = outcomes.get(one.key());
    return one.record() == null || last != null && last.record().equals(one.record());
  }

  private Outcome outcome(Declared one) {
    final Outcome last = outcomes.get(one.key());
    return last != null && last.record().equals(one.record())
        ? last
        : new Outcome(one.record(), State.UNCHECKED, null);
  }

  private List<Declared> declared() {
    final AggregateRecords known = records();
    final List<Declared> result = new ArrayList<>();
    for (final PublishedContent.Published catalogue : content.published()) {
      schemas.apply(catalogue.name()).aggregates().forEach(
          (cube, tables) ->
              tables.forEach(
                  table ->
                      result.add(
                          new Declared(catalogue, cube, table, known.of(catalogue.name(), table)))));
    }
    return result;
  }

  /** Nothing while the file cannot be read: no table counts as checked then. */
  private synchronized AggregateRecords records() {
    try {
      final String now = Files.exists(file) ? FollowedFile.identity(file) : "";
      if (!now.equals(identity)) {
        records = AggregateRecords.read(file);
        identity = now;
      }
      told.remove(file);
    } catch (IOException error) {
      records = new AggregateRecords(List.of());
      identity = "";
      tell(file, file + " cannot be used: " + FollowedFile.reason(error));
    }
    return records;
  }

  private void check(List<Declared> tables) {
    final Map<Warehouse, List<Declared>> places = new LinkedHashMap<>();
    for (final Declared one : tables) {
      final Warehouse warehouse = Warehouses.of(one.catalogue().connection());
      if (one.record() != null && warehouse != null) {
        places.computeIfAbsent(warehouse, its -> new ArrayList<>()).add(one);
      }
    }
    places.forEach(this::check);
  }

  private void check(Warehouse warehouse, List<Declared> tables) {
    try (Connection connection = warehouse.ownConnection(Limits.CHECK_SECONDS)) {
      told.remove(warehouse.title());
      // The query about the facts is the same for all tables of a cube.
      final Map<String, String> answers = new HashMap<>();
      for (final Declared one : tables) {
        final State state = state(warehouse, connection, one, answers);
        final Instant time = state == State.UNCHECKED ? null : Instant.now().truncatedTo(ChronoUnit.SECONDS);
        outcomes.put(one.key(), new Outcome(one.record(), state, time));
      }
    } catch (SQLException | RuntimeException error) {
      tell(warehouse.title(), "Aggregate tables cannot be checked: " + CubeFaults.reason(error));
      tables.forEach(one -> outcomes.put(one.key(), new Outcome(one.record(), State.UNCHECKED, null)));
    }
  }

  private State state(
      Warehouse warehouse, Connection connection, Declared one, Map<String, String> answers) {
    try {
      if (!isThere(connection, warehouse.quoted(one.table()))) {
        return State.MISSING;
      }
      final AggregateRecords.Table record = one.record();
      final boolean isFresh =
          !record.facts().query().isEmpty()
              && isAsBuilt(connection, record.facts(), answers)
              && (record.dimensions().query().isEmpty()
                  || isAsBuilt(connection, record.dimensions(), answers));
      told.remove(one.key());
      return isFresh ? State.FRESH : State.STALE;
    } catch (SQLException error) {
      tell(
          one.key(),
          "Aggregate table '" + one.table() + "' of '" + one.catalogue().name() + "' cannot be checked: "
              + CubeFaults.reason(error));
      return State.UNCHECKED;
    }
  }

  /** Asks each question once. */
  private boolean isAsBuilt(
      Connection connection, AggregateRecords.Fingerprint built, Map<String, String> answers)
      throws SQLException {
    if (!answers.containsKey(built.query())) {
      answers.put(built.query(), answer(connection, built.query()));
    }
    return built.text().equals(answers.get(built.query()));
  }

  private boolean isThere(Connection connection, String table) throws SQLException {
    try {
      answer(connection, "select count(*) from " + table + " where 1 = 0");
      return true;
    } catch (SQLException error) {
      if (NO_TABLE.contains(String.valueOf(error.getSQLState()))) {
        return false;
      }
      throw error;
    }
  }

  private String answer(Connection connection, String question) throws SQLException {
    final long begin = System.nanoTime();
    try (Statement statement = connection.createStatement()) {
      statement.setQueryTimeout(Limits.CHECK_SECONDS);
      try (ResultSet rows = statement.executeQuery(question)) {
        return rows.next() ? rows.getString(1) : null;
      }
    } finally {
      spent += System.nanoTime() - begin;
    }
  }

  /** Once, until it says something else. */
  private void tell(Object about, String message) {
    if (!message.equals(told.put(about, message))) {
      System.err.println(message);
    }
  }
}
