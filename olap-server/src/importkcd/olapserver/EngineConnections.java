package importkcd.olapserver;

import java.sql.SQLException;
import java.util.Map;
import java.util.Properties;
import mondrian.xmla.XmlaHandler.ConnectionFactory;
import org.olap4j.OlapConnection;

/** The engine's connections, as its servlet asks for them. */
final class EngineConnections implements ConnectionFactory {
  private static final int ATTEMPTS = 10;

  private final ConnectionFactory engine;
  private final ReplacedSchemas replaced;

  EngineConnections(ConnectionFactory engine, ReplacedSchemas replaced) {
    this.engine = engine;
    this.replaced = replaced;
  }

  /**
   * The engine hands itself over to a new connection under a number that it forgets when the
   * garbage collector passes at that moment, mostly after a publication. Then it is asked again.
   */
  @Override
  public OlapConnection getConnection(
      String database, String catalogue, String role, Properties properties) throws SQLException {
    replaced.forget();
    for (int attempt = 1; ; ++attempt) {
      try {
        return DrillThroughRows.over(engine.getConnection(database, catalogue, role, properties));
      } catch (SQLException | RuntimeException error) {
        if (attempt == ATTEMPTS || !hasLostItself(error)) {
          throw error;
        }
      }
    }
  }

  @Override
  public Map<String, Object> getPreConfiguredDiscoverDatasourcesResponse() {
    return engine.getPreConfiguredDiscoverDatasourcesResponse();
  }

  private static boolean hasLostItself(Throwable error) {
    for (Throwable cause = error; cause != null; cause = cause.getCause()) {
      if (String.valueOf(cause.getMessage()).contains("No server instance has id")) {
        return true;
      }
    }
    return false;
  }
}
