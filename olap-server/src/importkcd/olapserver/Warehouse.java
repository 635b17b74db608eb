package importkcd.olapserver;

import java.io.PrintWriter;
import java.nio.file.Path;
import java.sql.Connection;
import java.sql.DriverManager;
import java.sql.SQLException;
import java.sql.SQLFeatureNotSupportedException;
import java.sql.Statement;
import java.util.List;
import java.util.Map;
import java.util.NoSuchElementException;
import java.util.Properties;
import java.util.logging.Logger;
import javax.sql.DataSource;
import org.apache.commons.dbcp.BasicDataSource;

/**
 * A data warehouse: connections that are looked at before they are used again, so that none that
 * broke with a restart reaches a question, and errors that say which warehouse they are about and
 * hold neither its address nor its password.
 *
 * <p>While it cannot be used it gives connections that only know what kind of database it is. That
 * is all that the engine needs to tell which cubes and measures there are; whatever goes further
 * meets the error. What was loaded over such a connection may not be right. Hence a warehouse that
 * gave one gives no others any more: another object takes its place as soon as it can be used
 * again, and everything that was loaded with this one is forgotten.
 */
final class Warehouse implements DataSource {
  private static final int MOST_CONNECTIONS = 64;
  private static final int LONGEST_WAIT_MILLISECONDS = 30_000;
  private static final int EVICTION_MILLISECONDS = 60_000;
  private static final int SECONDS_TO_GIVE_UP = 60;

  private final Map<String, String> connection;
  private final BasicDataSource pool = new BasicDataSource();
  private final WarehouseKind kind;
  private final PartitionPruning pruning;
  private final String name;
  private final String address;
  private final String password;

  /** Why it could not be used; it cannot be any more then. */
  private volatile SQLException reason;

  /** Takes the items of the engine's connect string, some of which may be null. */
  Warehouse(Map<String, String> connection) {
    this(connection, new PartitionPruning(WarehouseKind.of(connection.get("Jdbc"))));
  }

  private Warehouse(Map<String, String> connection, PartitionPruning pruning) {
    this.connection = connection;
    this.pruning = pruning;
    address = connection.get("Jdbc");
    password = connection.get("JdbcPassword");
    name = connection.get("Warehouse");
    kind = WarehouseKind.of(address);
    if (connection.get("JdbcDrivers") == null) {
      Warehouses.loadDrivers();
    }
    pool.setUrl(address);
    pool.setDriverClassName(connection.get("JdbcDrivers"));
    pool.setUsername(connection.get("JdbcUser"));
    pool.setPassword(password);
    kind.connectionItems.forEach(pool::addConnectionProperty);
    pool.setValidationQuery(kind.validation);
    pool.setTestOnBorrow(true);
    pool.setMaxActive(MOST_CONNECTIONS);
    pool.setMaxIdle(MOST_CONNECTIONS);
    pool.setMaxWait(LONGEST_WAIT_MILLISECONDS);
    pool.setTimeBetweenEvictionRunsMillis(EVICTION_MILLISECONDS);
  }

  @Override
  public Connection getConnection() throws SQLException {
    final SQLException before = reason;
    if (before != null) {
      return UnusableConnection.of(kind, before);
    }
    try {
      final Connection usable = pool.getConnection();
      return pruning.over(kind == WarehouseKind.POSTGRESQL ? WarehouseTables.over(usable) : usable);
    } catch (SQLException error) {
      final SQLException named = named(error);
      if (kind.product == null || isExhausted(error)) {
        throw named;
      }
      reason = named;
      return UnusableConnection.of(kind, named);
    }
  }

  private static boolean isExhausted(SQLException error) {
    return error.getCause() instanceof NoSuchElementException cause && cause.getCause() == null;
  }

  /** Another object for the same warehouse when this one gave up and the warehouse works again; else null. */
  Warehouse renewed() {
    if (reason == null) {
      return null;
    }
    final Warehouse fresh = new Warehouse(connection, pruning);
    try {
      fresh.pool.getConnection().close();
      pool.close();
      return fresh;
    } catch (SQLException error) {
      reason = named(error);
      return null;
    }
  }

  /** A connection that works. The error says why there is none. */
  Connection usableConnection() throws SQLException {
    try {
      return pool.getConnection();
    } catch (SQLException error) {
      throw named(error);
    }
  }

  /**
   * A connection that no question waits for and that the caller closes, for work that may take so
   * many seconds. Times are shown in UTC.
   */
  Connection ownConnection(int seconds) throws SQLException {
    final Properties properties = new Properties();
    properties.putAll(kind.connectionItems);
    if (connection.get("JdbcUser") != null) {
      properties.put("user", connection.get("JdbcUser"));
    }
    if (password != null) {
      properties.put("password", password);
    }
    try {
      if (connection.get("JdbcDrivers") != null) {
        Class.forName(connection.get("JdbcDrivers"));
      }
      final Connection own = DriverManager.getConnection(address, properties);
      try {
        // A database that fell silent ends it, too.
        own.setNetworkTimeout(Runnable::run, (seconds + SECONDS_TO_GIVE_UP) * 1000);
      } catch (SQLException | LinkageError error) {
        // An old driver knows no such time.
      }
      if (kind == WarehouseKind.POSTGRESQL) {
        // The driver sets that of this computer; what kcd aggregate compares is in this one.
        try (Statement statement = own.createStatement()) {
          statement.execute("set time zone 'UTC'");
        }
      }
      return own;
    } catch (SQLException error) {
      throw named(error);
    } catch (ClassNotFoundException error) {
      throw new SQLException(title() + " lacks its driver", error);
    }
  }

  /** A name as it stands in SQL. */
  String quoted(String identifier) {
    final String quote = kind.quote == null ? "\"" : kind.quote;
    return quote + identifier.replace(quote, quote + quote) + quote;
  }

  /** Says which schemas are published over it now. */
  void serve(List<Path> schemas) {
    pruning.follow(schemas);
  }

  /** What messages call it. */
  String title() {
    return name == null ? "the data warehouse" : "the data source '" + name + "'";
  }

  private SQLException named(SQLException error) {
    Throwable cause = error;
    String state = error.getSQLState();
    while (cause.getCause() != null) {
      cause = cause.getCause();
      if (cause instanceof SQLException deeper && deeper.getSQLState() != null) {
        state = deeper.getSQLState();
      }
    }
    // The deepest cause of a refused connection is the socket's, which is the clearest one.
    return new SQLException(
        title() + " " + fault(state, cause) + ": " + withoutSecrets(String.valueOf(cause.getMessage())),
        state);
  }

  private static String fault(String state, Throwable cause) {
    if (state != null && state.startsWith("28")) {
      return "refuses the login";
    }
    final boolean unreachable =
        cause instanceof java.io.IOException || (state != null && state.startsWith("08"));
    return unreachable ? "cannot be reached" : "cannot be used";
  }

  private String withoutSecrets(String text) {
    String result = text.replace(address, "its address");
    if (password != null && !password.isEmpty()) {
      result = result.replace(password, "***");
    }
    return result.replaceAll("\\s+", " ").strip();
  }

  @Override
  public Connection getConnection(String user, String itsPassword) throws SQLException {
    throw new SQLFeatureNotSupportedException("the login is the data source's own");
  }

  @Override
  public PrintWriter getLogWriter() {
    return null;
  }

  @Override
  public void setLogWriter(PrintWriter out) {
    // Nothing is logged.
  }

  @Override
  public void setLoginTimeout(int seconds) {
    // The connection items say it.
  }

  @Override
  public int getLoginTimeout() {
    return 0;
  }

  @Override
  public Logger getParentLogger() throws SQLFeatureNotSupportedException {
    throw new SQLFeatureNotSupportedException();
  }

  @Override
  public <T> T unwrap(Class<T> type) throws SQLException {
    throw new SQLFeatureNotSupportedException();
  }

  @Override
  public boolean isWrapperFor(Class<?> type) {
    return false;
  }
}
