package importkcd.olapserver;

import java.sql.Connection;
import java.sql.SQLException;
import java.sql.Statement;
import java.util.Arrays;
import java.util.HashMap;
import java.util.LinkedHashSet;
import java.util.List;
import java.util.Map;
import java.util.Objects;
import java.util.Properties;
import java.util.Set;
import java.util.function.Supplier;
import java.util.stream.Stream;
import mondrian.olap.Cube;
import mondrian.olap.Dimension;
import mondrian.olap.Hierarchy;
import mondrian.olap.Level;
import mondrian.olap.MondrianDef;
import mondrian.rolap.RolapConnection;
import mondrian.rolap.RolapCube;
import mondrian.rolap.RolapHierarchy;
import mondrian.rolap.RolapLevel;
import mondrian.rolap.RolapStar;
import mondrian.rolap.sql.SqlQuery;
import mondrian.xmla.XmlaHandler.ConnectionFactory;
import org.olap4j.OlapConnection;

/**
 * Looks once, when the engine starts, whether the data warehouses have the tables and columns that
 * the cubes name, and tells on standard error what they lack. No row is read.
 */
final class WarehouseCheck implements Runnable {
  private final ConnectionFactory engine;
  private final Supplier<List<String>> catalogues;

  WarehouseCheck(ConnectionFactory engine, Supplier<List<String>> catalogues) {
    this.engine = engine;
    this.catalogues = catalogues;
  }

  @Override
  public void run() {
    catalogues.get().forEach(this::check);
  }

  private void check(String catalogue) {
    try (OlapConnection connection = engine.getConnection(null, catalogue, null, new Properties())) {
      final RolapConnection rolap = connection.unwrap(RolapConnection.class);
      if (rolap.getDataSource() instanceof Warehouse warehouse) {
        check(catalogue, rolap.getSchema().getCubes(), warehouse);
      }
    } catch (SQLException | RuntimeException error) {
      tell("Database '" + catalogue + "': " + reason(error));
    }
  }

  private static void check(String catalogue, Cube[] cubes, Warehouse warehouse) throws SQLException {
    try (Connection connection = warehouse.usableConnection();
        Statement statement = connection.createStatement()) {
      final Map<String, String> faults = new HashMap<>();
      for (final Cube cube : cubes) {
        final Set<String> its = new LinkedHashSet<>();
        for (final String question : questions((RolapCube) cube)) {
          its.add(faults.computeIfAbsent(question, text -> fault(statement, text)));
        }
        its.remove("");
        its.forEach(fault -> tell("Cube '" + cube.getName() + "' of '" + catalogue + "': " + fault));
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
      addTable(cube.getStar(), cube.getStar().getFactTable(), questions);
      for (final Dimension dimension : cube.getDimensions()) {
        for (final Hierarchy hierarchy : dimension.getHierarchies()) {
          addHierarchy(cube.getStar(), (RolapHierarchy) hierarchy, questions);
        }
      }
    }
    return questions;
  }

  /** What a table of the facts is asked for, and the tables that are joined to it. */
  private static void addTable(RolapStar star, RolapStar.Table table, Set<String> questions) {
    final SqlQuery query = star.getSqlQuery();
    query.addFrom(table.getRelation(), table.getAlias(), false);
    add(query, table.getColumns().stream().map(RolapStar.Column::getExpression), questions);
    table.getChildren().forEach(child -> addTable(star, child, questions));
  }

  private static void addHierarchy(RolapStar star, RolapHierarchy hierarchy, Set<String> questions) {
    // Without a relation of its own, its columns are the fact table's.
    if (hierarchy.getRelation() != null) {
      final SqlQuery query = star.getSqlQuery();
      query.addFrom(hierarchy.getRelation(), null, false);
      add(query, Arrays.stream(hierarchy.getLevels()).flatMap(WarehouseCheck::columns), questions);
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

  private static String reason(Throwable error) {
    Throwable cause = error;
    while (cause.getCause() != null) {
      cause = cause.getCause();
    }
    return String.valueOf(cause.getMessage()).lines().findFirst().orElse("").strip();
  }

  private static void tell(String line) {
    System.err.println(line);
  }
}
