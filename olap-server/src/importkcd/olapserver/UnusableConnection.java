package importkcd.olapserver;

import static importkcd.olapserver.Delegation.proxy;

import java.sql.Connection;
import java.sql.DatabaseMetaData;
import java.sql.ResultSet;
import java.sql.ResultSetMetaData;
import java.sql.SQLException;
import java.sql.Statement;
import java.sql.Types;
import java.util.concurrent.atomic.AtomicInteger;
import java.util.regex.MatchResult;
import java.util.regex.Pattern;

/**
 * A connection to a database that cannot be used now: it knows what kind of database that is, and
 * fails with the reason as soon as anything is selected.
 */
final class UnusableConnection {
  /** The name that the engine gives to a column of a question. */
  private static final Pattern COLUMN = Pattern.compile("(?<= as .)c\\d+");

  private UnusableConnection() {}

  static Connection of(WarehouseKind kind, SQLException reason) {
    final DatabaseMetaData[] known = new DatabaseMetaData[1];
    final Statement statement =
        proxy(
            Statement.class,
            (self, method, arguments) ->
                switch (method.getName()) {
                  // Asked for settings, with an answer that is not insisted on.
                  case "execute" -> false;
                  case "executeQuery" -> {
                    if (!aSchemaIsLoaded()) {
                      throw again(reason);
                    }
                    yield oneRow((String) arguments[0]);
                  }
                  default -> nothing(method.getReturnType());
                });
    final Connection connection =
        proxy(
            Connection.class,
            (self, method, arguments) ->
                switch (method.getName()) {
                  case "getMetaData" -> known[0];
                  case "createStatement" -> statement;
                  case "prepareStatement", "prepareCall" -> throw again(reason);
                  default -> nothing(method.getReturnType());
                });
    known[0] =
        proxy(
            DatabaseMetaData.class,
            (self, method, arguments) ->
                switch (method.getName()) {
                  case "getDatabaseProductName" -> kind.product;
                  case "getDatabaseProductVersion" -> kind.version;
                  case "getDriverName" -> kind.product;
                  case "getIdentifierQuoteString" -> kind.quote;
                  case "getMaxColumnNameLength" -> kind.longestColumnName;
                  case "supportsResultSetConcurrency" -> true;
                  case "getConnection" -> connection;
                  // The engine looks for aggregate tables when it loads a schema.
                  case "getTables", "getColumns" -> noRows();
                  default -> nothing(method.getReturnType());
                });
    return connection;
  }

  /**
   * Some schemas cannot be loaded without their hierarchies' first members. They are of no
   * consequence: nothing is answered from what was loaded in this way, see Warehouse.
   */
  private static boolean aSchemaIsLoaded() {
    return StackWalker.getInstance()
        .walk(
            frames ->
                frames.anyMatch(
                    frame ->
                        frame.getMethodName().equals("<init>")
                            && frame.getClassName().equals("mondrian.rolap.RolapSchema")));
  }

  private static ResultSet noRows() {
    return proxy(ResultSet.class, (self, method, arguments) -> nothing(method.getReturnType()));
  }

  private static ResultSet oneRow(String question) {
    final long columns = COLUMN.matcher(question).results().map(MatchResult::group).distinct().count();
    final ResultSetMetaData known =
        proxy(
            ResultSetMetaData.class,
            (self, method, arguments) ->
                switch (method.getName()) {
                  case "getColumnCount" -> (int) columns;
                  case "getColumnType" -> Types.VARCHAR;
                  case "getColumnName" -> "";
                  default -> nothing(method.getReturnType());
                });
    final AtomicInteger rows = new AtomicInteger(1);
    return proxy(
        ResultSet.class,
        (self, method, arguments) ->
            switch (method.getName()) {
              case "getMetaData" -> known;
              case "next" -> rows.getAndDecrement() > 0;
              case "getObject", "getString" -> "?";
              default -> nothing(method.getReturnType());
            });
  }

  /** Each thread throws one of its own. */
  private static SQLException again(SQLException reason) {
    return new SQLException(reason.getMessage(), reason.getSQLState());
  }

  private static Object nothing(Class<?> type) {
    if (type == boolean.class) {
      return false;
    }
    if (type == int.class) {
      return 0;
    }
    return type == long.class ? (Object) 0L : null;
  }
}
