package importkcd.olapserver;

import importkcd.olapserver.AggregateChecks.State;
import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import javax.servlet.http.HttpServlet;
import javax.servlet.http.HttpServletRequest;
import javax.servlet.http.HttpServletResponse;
import org.eclipse.jetty.util.ajax.JSON;

/** How the service is: its health, and its metrics. */
final class StateServlet extends HttpServlet {
  private static final long serialVersionUID = 1;

  static final String HEALTH = "/health";
  static final String METRICS = "/metrics";

  private final transient RequestCheck check;
  private final transient XmlaDirectoryServlet engine;
  private final transient Metrics metrics;
  private final boolean inFull;

  /** Without metrics only health is told; in full it names databases and cubes. */
  StateServlet(RequestCheck check, XmlaDirectoryServlet engine, Metrics metrics, boolean inFull) {
    this.check = check;
    this.engine = engine;
    this.metrics = metrics;
    this.inFull = inFull;
  }

  @Override
  protected void doGet(HttpServletRequest request, HttpServletResponse response) throws IOException {
    final Refusal refusal = check.hostRefusal(request);
    if (refusal != null) {
      refusal.send(response);
    } else if (HEALTH.equals(request.getRequestURI())) {
      sendHealth(response);
    } else if (metrics != null && METRICS.equals(request.getRequestURI())) {
      send(response, HttpServletResponse.SC_OK, Metrics.CONTENT_TYPE, metrics.text(engine.aggregates().counts()));
    } else {
      new Refusal(HttpServletResponse.SC_NOT_FOUND, "there is nothing at this path").send(response);
    }
  }

  private void sendHealth(HttpServletResponse response) throws IOException {
    final CubeFaults found = engine.faults();
    boolean isReady = true;
    final List<Object> databases = new ArrayList<>();
    for (final String name : found.databases()) {
      final Map<String, String> faulty = found.of(name);
      final List<Object> cubes = new ArrayList<>();
      found.cubes(name).forEach(cube -> cubes.add(state(name, cube, faulty.get(cube))));
      isReady &= faulty.isEmpty();
      final Map<String, Object> database = new LinkedHashMap<>();
      database.put("name", name);
      database.put("ready", faulty.isEmpty());
      database.put("cubes", cubes);
      databases.add(database);
    }
    final Map<String, Object> health = new LinkedHashMap<>();
    health.put("ready", isReady);
    final Map<State, Integer> aggregates = engine.aggregates().counts();
    health.put("stale_aggregates", aggregates.get(State.STALE) + aggregates.get(State.MISSING) > 0);
    if (inFull) {
      health.put("databases", databases);
    }
    send(
        response,
        isReady ? HttpServletResponse.SC_OK : HttpServletResponse.SC_SERVICE_UNAVAILABLE,
        "application/json;charset=utf-8",
        new JSON().toJSON(health) + "\n");
  }

  private Map<String, Object> state(String database, String cube, String fault) {
    final Map<String, Object> state = new LinkedHashMap<>();
    state.put("name", cube);
    state.put("ready", fault == null);
    if (fault != null) {
      state.put("reason", fault);
    }
    final AggregateChecks.Summary aggregates = engine.aggregates().of(database, cube);
    if (aggregates != null) {
      final Map<String, Object> tables = new LinkedHashMap<>();
      tables.put("fresh", aggregates.tables().getOrDefault(State.FRESH, List.of()).size());
      for (final State other : List.of(State.STALE, State.MISSING, State.UNCHECKED)) {
        tables.put(other.label(), aggregates.tables().getOrDefault(other, List.of()));
      }
      tables.put("checked", aggregates.checked() == null ? null : aggregates.checked().toString());
      state.put("aggregates", tables);
    }
    return state;
  }

  private static void send(HttpServletResponse response, int status, String type, String text)
      throws IOException {
    final byte[] bytes = text.getBytes(StandardCharsets.UTF_8);
    response.setStatus(status);
    response.setContentType(type);
    response.setHeader("Cache-Control", "no-store");
    response.setContentLength(bytes.length);
    response.getOutputStream().write(bytes);
  }
}
