package importkcd.olapserver;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.function.Supplier;
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
  private final transient Supplier<CubeFaults> faults;
  private final transient Metrics metrics;
  private final boolean inFull;

  /** Without metrics only health is told; in full it names databases and cubes. */
  StateServlet(RequestCheck check, Supplier<CubeFaults> faults, Metrics metrics, boolean inFull) {
    this.check = check;
    this.faults = faults;
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
      send(response, HttpServletResponse.SC_OK, Metrics.CONTENT_TYPE, metrics.text());
    } else {
      new Refusal(HttpServletResponse.SC_NOT_FOUND, "there is nothing at this path").send(response);
    }
  }

  private void sendHealth(HttpServletResponse response) throws IOException {
    final CubeFaults found = faults.get();
    boolean isReady = true;
    final List<Object> databases = new ArrayList<>();
    for (final String name : found.databases()) {
      final Map<String, String> faulty = found.of(name);
      final List<Object> cubes = new ArrayList<>();
      found.cubes(name).forEach(cube -> cubes.add(state(cube, faulty.get(cube))));
      isReady &= faulty.isEmpty();
      final Map<String, Object> database = new LinkedHashMap<>();
      database.put("name", name);
      database.put("ready", faulty.isEmpty());
      database.put("cubes", cubes);
      databases.add(database);
    }
    final Map<String, Object> health = new LinkedHashMap<>();
    health.put("ready", isReady);
    if (inFull) {
      health.put("databases", databases);
    }
    send(
        response,
        isReady ? HttpServletResponse.SC_OK : HttpServletResponse.SC_SERVICE_UNAVAILABLE,
        "application/json;charset=utf-8",
        new JSON().toJSON(health) + "\n");
  }

  private static Map<String, Object> state(String cube, String fault) {
    final Map<String, Object> state = new LinkedHashMap<>();
    state.put("name", cube);
    state.put("ready", fault == null);
    if (fault != null) {
      state.put("reason", fault);
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
