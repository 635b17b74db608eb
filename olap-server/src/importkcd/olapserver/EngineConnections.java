package importkcd.olapserver;

import java.sql.SQLException;
import java.util.Map;
import java.util.Properties;
import mondrian.xmla.XmlaHandler.ConnectionFactory;
import org.olap4j.OlapConnection;

/** The engine's connections, as its servlet asks for them. */
final class EngineConnections implements ConnectionFactory {
  private static final int ATTEMPTS = 10;
  private static final int PAUSE_MILLISECONDS = 50;

  /** It looks every second what is published. */
  private static final long LONGEST_WAIT_NANOSECONDS = 3_000_000_000L;

  private final ConnectionFactory engine;
  private final ReplacedSchemas replaced;
  private final SoundSchemas sound;

  EngineConnections(ConnectionFactory engine, ReplacedSchemas replaced, SoundSchemas sound) {
    this.engine = engine;
    this.replaced = replaced;
    this.sound = sound;
  }

  /**
   * The engine hands itself over to a new connection under a number that it forgets when the
   * garbage collector passes at that moment, mostly after a publication. Then it is asked again, and
   * so it is when it takes a moment to notice what is published.
   */
  @Override
  public OlapConnection getConnection(
      String database, String catalogue, String role, Properties properties) throws SQLException {
    replaced.forget();
    sound.reconsider(catalogue);
    final long begin = System.nanoTime();
    boolean reduced = false;
    for (int attempt = 1; ; ++attempt) {
      try {
        return DrillThroughRows.over(engine.getConnection(database, catalogue, role, properties));
      } catch (SQLException | RuntimeException error) {
        if (hasLostItself(error)) {
          if (attempt >= ATTEMPTS) {
            throw error;
          }
          continue;
        }
        if (!reduced && sound.reduce(catalogue)) {
          reduced = true;
        } else if (!(reduced || sound.isPublished(catalogue) && isUnknown(error))
            || System.nanoTime() - begin > LONGEST_WAIT_NANOSECONDS) {
          throw error;
        }
        pause();
      }
    }
  }

  @Override
  public Map<String, Object> getPreConfiguredDiscoverDatasourcesResponse() {
    return engine.getPreConfiguredDiscoverDatasourcesResponse();
  }

  private static boolean hasLostItself(Throwable error) {
    return says(error, "No server instance has id");
  }

  private static boolean isUnknown(Throwable error) {
    return says(error, "Unknown catalog");
  }

  private static void pause() {
    try {
      Thread.sleep(PAUSE_MILLISECONDS);
    } catch (InterruptedException error) {
      Thread.currentThread().interrupt();
    }
  }

  private static boolean says(Throwable error, String words) {
    for (Throwable cause = error; cause != null; cause = cause.getCause()) {
      if (String.valueOf(cause.getMessage()).contains(words)) {
        return true;
      }
    }
    return false;
  }
}
