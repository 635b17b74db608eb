package importkcd.olapserver;

import java.util.Locale;
import java.util.Map;

/** What must be known about a kind of database beside what its driver says. */
enum WarehouseKind {
  POSTGRESQL("jdbc:postgresql:", "select 1", "PostgreSQL", "15", "\"", 63,
      Map.of("loginTimeout", "10", "connectTimeout", "10", "tcpKeepAlive", "true")),
  MARIADB("jdbc:mariadb:", "select 1", "MariaDB", "10.11", "`", 64,
      Map.of("connectTimeout", "10000", "tcpKeepAlive", "true")),
  SQL_SERVER("jdbc:jtds:", "select 1", "Microsoft SQL Server", "12.00", "\"", 128,
      Map.of("loginTimeout", "10")),
  ORACLE("jdbc:oracle:", "select 1 from dual"),
  DB2("jdbc:db2:", "values 1"),
  DERBY("jdbc:derby:", "values 1"),
  HSQLDB("jdbc:hsqldb:", "select 1 from information_schema.system_users"),
  FIREBIRD("jdbc:firebirdsql:", "select 1 from rdb$database"),
  OTHER("", "select 1");

  /** Finds out whether a connection still works. */
  final String validation;

  /** What the database calls itself; null when the engine must ask it. */
  final String product;

  final String version;
  final String quote;
  final int longestColumnName;

  /** Items that make a connection fail in time. */
  final Map<String, String> connectionItems;

  private final String address;

  WarehouseKind(String address, String validation) {
    this(address, validation, null, null, null, 0, Map.of());
  }

  WarehouseKind(
      String address,
      String validation,
      String product,
      String version,
      String quote,
      int longestColumnName,
      Map<String, String> connectionItems) {
    this.address = address;
    this.validation = validation;
    this.product = product;
    this.version = version;
    this.quote = quote;
    this.longestColumnName = longestColumnName;
    this.connectionItems = connectionItems;
  }

  static WarehouseKind of(String jdbcAddress) {
    final String folded = jdbcAddress.toLowerCase(Locale.ROOT);
    for (final WarehouseKind kind : values()) {
      if (folded.startsWith(kind.address)) {
        return kind;
      }
    }
    return OTHER;
  }
}
