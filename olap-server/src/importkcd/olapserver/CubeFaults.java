package importkcd.olapserver;

import java.io.IOException;
import java.sql.Connection;
import java.sql.SQLException;
import java.sql.Statement;
import java.util.Arrays;
import java.util.HashMap;
import java.util.HashSet;
import java.util.LinkedHashMap;
import java.util.LinkedHashSet;
import java.util.List;
import java.util.Map;
import java.util.Objects;
import java.util.Properties;
import java.util.Set;
import java.util.concurrent.ConcurrentHashMap;
import java.util.concurrent.locks.Lock;
import java.util.concurrent.locks.ReentrantLock;
import java.util.function.Function;
import java.util.regex.Pattern;
import java.util.stream.Stream;
import mondrian.olap.Cube;
import mondrian.olap.Dimension;
import mondrian.olap.Hierarchy;
import mondrian.olap.Level;
import mondrian.olap.MondrianDef;
import mondrian.rolap.RolapConnection;
import mondrian.rolap.RolapCube;
import mondrian.rolap.RolapCubeLevel;
import mondrian.rolap.RolapHierarchy;
import mondrian.rolap.RolapLevel;
import mondrian.rolap.RolapStar;
import mondrian.rolap.sql.SqlQuery;
import mondrian.xmla.XmlaHandler.ConnectionFactory;
import org.olap4j.OlapConnection;

/**
 * Which cubes cannot be asked, and why: those that the engine refuses, and those whose tables or
 * columns the data warehouse lacks. No row is read for that.
 */
final class CubeFaults {
  private static final Pattern ENGINES_NAME = Pattern.compile("^Mondrian Error:(Internal error:)?");

  /** What was found out counts so long: many may ask. */
  private static final long FRESH_NANOSECONDS = 5_000_000_000L;

  /** What is wrong with a database: as a whole, or null, and with its cubes by their names. */
  record Found(String whole, Map<String, String> cubes, String identity, long time) {}

  private final ConnectionFactory engine;
  private final PublishedContent content;
  private final Function<String, PublishedSchema> schemas;
  private final SoundSchemas sound;
  private final Map<String, Found> found = new ConcurrentHashMap<>();
  private final Map<String, Lock> looking = new ConcurrentHashMap<>();

  CubeFaults(
      ConnectionFactory engine,
      PublishedContent content,
      Function<String, PublishedSchema> schemas,
      SoundSchemas sound) {
    this.engine = engine;
    this.content = content;
    this.schemas = schemas;
    this.sound = sound;
  }

  List<String> databases() {
    return content.catalogues();
  }

  /** All cubes of a database that was published, by their order. */
  Iterable<String> cubes(String database) {
    return schemas.apply(database).cubes().keySet();
  }

  /** The cubes of a database that cannot be asked, with the reasons. */
  Map<String, String> of(String database) {
    final Found its = found(database);
    if (its.whole() == null) {
      return its.cubes();
    }
    final Map<String, String> all = new LinkedHashMap<>();
    cubes(database).forEach(cube -> all.put(cube, its.whole()));
    return all;
  }

  /** Tells on standard error what is wrong. */
  void tell() {
    for (final String database : databases()) {
      final Found its = found(database);
      if (its.whole() != null) {
        Lines.printError("Database '" + database + "': " + its.whole());
      }
      its.cubes().forEach(
          (cube, fault) -> Lines.printError("Cube '" + cube + "' of '" + database + "': " + fault));
    }
  }

  /** Who asks while somebody looks gets what was found before, if there was anything. */
  private Found found(String database) {
    final Lock lock = looking.computeIfAbsent(database, name -> new ReentrantLock());
    final Found before = found.get(database);
    if (isFresh(database, before)) {
      return before;
    }
    if (before == null) {
      lock.lock();
    } else if (!lock.tryLock()) {
      return before;
    }
    try {
      final Found meanwhile = found.get(database);
      if (isFresh(database, meanwhile)) {
        return meanwhile;
      }
      final Found now = look(database);
      found.put(database, now);
      return now;
    } finally {
      lock.unlock();
    }
  }

  private boolean isFresh(String database, Found its) {
    return its != null
        && System.nanoTime() - its.time() < FRESH_NANOSECONDS
        && its.identity().equals(identity(database));
  }

  private String identity(String database) {
    final PublishedContent.Published published = content.published(database);
    try {
      return published == null ? "" : FollowedFile.identity(published.schema());
    } catch (IOException error) {
      return "";
    }
  }

  private Found look(String database) {
    final String identity = identity(database);
    final Map<String, String> cubes = new LinkedHashMap<>();
    String whole = null;
    try (OlapConnection connection = engine.getConnection(null, database, null, new Properties())) {
      final RolapConnection rolap = connection.unwrap(RolapConnection.class);
      cubes.putAll(sound.unserved(database));
      if (rolap.getDataSource() instanceof Warehouse warehouse) {
        check(rolap.getSchema().getCubes(), warehouse, cubes);
      }
    } catch (SQLException | RuntimeException error) {
      whole = reason(error);
    }
    return new Found(whole, cubes, identity, System.nanoTime());
  }

  private static void check(Cube[] cubes, Warehouse warehouse, Map<String, String> faults) throws SQLException {
    try (Connection connection = warehouse.usableConnection();
        Statement statement = connection.createStatement()) {
      final Map<String, String> known = new HashMap<>();
      for (final Cube cube : cubes) {
        final Set<String> its = new LinkedHashSet<>();
        for (final String question : questions((RolapCube) cube)) {
          its.add(known.computeIfAbsent(question, text -> fault(statement, text)));
        }
        its.remove("");
        if (!its.isEmpty()) {
          faults.put(cube.getName(), String.join("; ", its));
        }
      }
    }
  }

  /** Empty when there is none. */
  private static String fault(Statement statement, String question) {
    try {
      statement.executeQuery(question).close();
      return "";
    } catch (SQLException error) {
      return reason(error);
    }
  }

  private static Set<String> questions(RolapCube cube) {
    final Set<String> questions = new LinkedHashSet<>();
    if (!cube.isVirtual() && cube.getStar() != null) {
      addTable(cube.getStar().getFactTable(), cube, levelColumns(cube), questions);
      for (final Dimension dimension : cube.getDimensions()) {
        for (final Hierarchy hierarchy : dimension.getHierarchies()) {
          addHierarchy(cube.getStar(), (RolapHierarchy) hierarchy, questions);
        }
      }
    }
    return questions;
  }

  private static Set<RolapStar.Column> levelColumns(RolapCube cube) {
    final Set<RolapStar.Column> columns = new HashSet<>();
    for (final Dimension dimension : cube.getDimensions()) {
      for (final Hierarchy hierarchy : dimension.getHierarchies()) {
        for (final Level level : hierarchy.getLevels()) {
          // Those of the measures are of another kind.
          final RolapStar.Column key = level instanceof RolapCubeLevel its ? its.getStarKeyColumn() : null;
          if (key != null) {
            columns.add(key);
            columns.add(key.getNameColumn());
          }
        }
      }
    }
    return columns;
  }

  /**
   * What a table of the facts is asked for, and the tables that are joined to it. Cubes over the same
   * facts share them: what only others need does not count. False when this one needs nothing.
   */
  private static boolean addTable(
      RolapStar.Table table, RolapCube cube, Set<RolapStar.Column> levels, Set<String> questions) {
    final List<MondrianDef.Expression> own =
        table.getColumns().stream()
            .filter(
                column ->
                    column instanceof RolapStar.Measure measure
                        ? cube.getName().equals(measure.getCubeName())
                        : levels.contains(column))
            .map(RolapStar.Column::getExpression)
            .toList();
    boolean isNeeded = !own.isEmpty() || table.getParentTable() == null;
    for (final RolapStar.Table child : table.getChildren()) {
      isNeeded |= addTable(child, cube, levels, questions);
    }
    if (isNeeded) {
      final SqlQuery query = cube.getStar().getSqlQuery();
      query.addFrom(table.getRelation(), table.getAlias(), false);
      add(query, own.stream(), questions);
    }
    return isNeeded;
  }

  private static void addHierarchy(RolapStar star, RolapHierarchy hierarchy, Set<String> questions) {
    // Without a relation of its own, its columns are the fact table's.
    if (hierarchy.getRelation() != null) {
      final SqlQuery query = star.getSqlQuery();
      query.addFrom(hierarchy.getRelation(), null, false);
      add(query, Arrays.stream(hierarchy.getLevels()).flatMap(CubeFaults::columns), questions);
    }
  }

  private static Stream<MondrianDef.Expression> columns(Level level) {
    final RolapLevel its = (RolapLevel) level;
    return Stream.of(its.getKeyExp(), its.getNameExp(), its.getOrdinalExp(), its.getCaptionExp());
  }

  private static void add(
      SqlQuery query, Stream<MondrianDef.Expression> columns, Set<String> questions) {
    final List<String> texts =
        columns.filter(Objects::nonNull).map(column -> column.getExpression(query)).distinct().toList();
    if (texts.isEmpty()) {
      query.addSelect("1", null);
    }
    texts.forEach(text -> query.addSelect(text, null));
    query.addWhere("1 = 0");
    questions.add(query.toString());
  }

  /** The first line of the deepest cause. */
  static String reason(Throwable error) {
    Throwable cause = error;
    while (cause.getCause() != null) {
      cause = cause.getCause();
    }
    final String line = String.valueOf(cause.getMessage()).lines().findFirst().orElse("");
    return ENGINES_NAME.matcher(line).replaceFirst("").strip();
  }
}
