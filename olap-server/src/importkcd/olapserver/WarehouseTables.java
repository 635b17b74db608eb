package importkcd.olapserver;

import static importkcd.olapserver.Delegation.call;
import static importkcd.olapserver.Delegation.proxy;

import java.sql.Connection;
import java.sql.DatabaseMetaData;
import java.util.Arrays;
import java.util.LinkedHashSet;
import java.util.Set;

/**
 * Shows the engine the tables of all kinds. It asks for ordinary ones and views, and reads an
 * aggregate table only in place of facts that it was shown.
 */
final class WarehouseTables {
  private static final String ORDINARY = "TABLE";
  private static final String[] OTHERS = {"PARTITIONED TABLE", "FOREIGN TABLE"};

  private WarehouseTables() {}

  static Connection over(Connection connection) {
    return proxy(
        Connection.class,
        (self, method, arguments) -> {
          final Object result = call(connection, method, arguments);
          return result instanceof DatabaseMetaData names ? over(names) : result;
        });
  }

  private static DatabaseMetaData over(DatabaseMetaData names) {
    return proxy(
        DatabaseMetaData.class,
        (self, method, arguments) -> {
          if (method.getName().equals("getTables") && arguments[3] instanceof String[] kinds) {
            arguments[3] = withOthers(kinds);
          }
          return call(names, method, arguments);
        });
  }

  private static String[] withOthers(String[] kinds) {
    final Set<String> all = new LinkedHashSet<>(Arrays.asList(kinds));
    if (all.contains(ORDINARY)) {
      all.addAll(Arrays.asList(OTHERS));
    }
    return all.toArray(String[]::new);
  }
}
