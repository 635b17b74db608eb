package importkcd.olapserver;

import java.util.List;
import javax.servlet.Servlet;
import mondrian.xmla.XmlaServlet;
import org.eclipse.jetty.server.ConnectionLimit;
import org.eclipse.jetty.server.HttpConfiguration;
import org.eclipse.jetty.server.HttpConnectionFactory;
import org.eclipse.jetty.server.Server;
import org.eclipse.jetty.server.ServerConnector;
import org.eclipse.jetty.servlet.ServletContextHandler;
import org.eclipse.jetty.servlet.ServletHolder;
import org.eclipse.jetty.util.thread.QueuedThreadPool;

/** The HTTP side: one connector, and the gate in front of the engine. */
final class WebServer {
  private static final int MOST_THREADS = 32;

  private final Server server;
  private final ServerConnector connector;
  private final String address;
  private final int port;

  WebServer(
      RequestGate.Engine engine, String address, int port, int questionSeconds, List<String> hosts) {
    this.address = address;
    this.port = port;
    server = new Server(daemonThreads());
    connector = new ServerConnector(server, 1, 1, new HttpConnectionFactory(configuration()));
    connector.setHost(address);
    connector.setPort(port);
    connector.setIdleTimeout(Limits.IDLE_SECONDS * 1000L);
    final ClientWatch watch = new ClientWatch(questionSeconds);
    connector.addBean(watch);
    server.addConnector(connector);
    server.addBean(new ConnectionLimit(Limits.CONNECTIONS, connector));
    final RequestCheck check = new RequestCheck(address, hosts);
    server.setHandler(context(engine, new RequestGate(engine, check, watch), new PageHandler(check)));
  }

  private static ServletContextHandler context(
      RequestGate.Engine engine, RequestGate gate, PageHandler page) {
    final ServletContextHandler context = new ServletContextHandler(ServletContextHandler.NO_SESSIONS);
    final ServletHolder behind = new ServletHolder((Servlet) engine);
    // At the start and not with the first question, so that a fault shows at once.
    behind.setInitOrder(0);
    // Faults would come in the request's encoding, or in Latin-1 when it names none.
    behind.setInitParameter(XmlaServlet.PARAM_CHAR_ENCODING, "UTF-8");
    // It is set up by the context, but no path leads to it.
    context.getServletHandler().addServlet(behind);
    final ServletHolder front = new ServletHolder(gate);
    front.setAsyncSupported(true);
    context.addServlet(front, "/*");
    final ServletHolder beside = new ServletHolder(page);
    PageHandler.paths().forEach(path -> context.addServlet(beside, path));
    return context;
  }

  private static QueuedThreadPool daemonThreads() {
    final QueuedThreadPool threads = new QueuedThreadPool(MOST_THREADS);
    threads.setDaemon(true);
    return threads;
  }

  private static HttpConfiguration configuration() {
    final HttpConfiguration configuration = new HttpConfiguration();
    configuration.setSendServerVersion(false);
    // One request for each connection: see ClientWatch.
    configuration.setPersistentConnectionsEnabled(false);
    configuration.setDelayDispatchUntilContent(false);
    configuration.setMinRequestDataRate(Limits.BYTES_PER_SECOND);
    configuration.setMinResponseDataRate(Limits.BYTES_PER_SECOND);
    return configuration;
  }

  void start() throws Exception {
    server.start();
  }

  void join() throws InterruptedException {
    server.join();
  }

  String address() {
    return address;
  }

  int port() {
    return port;
  }

  /** Where it answers, once it does. */
  String url() {
    return "http://" + RequestCheck.hostOf(address) + ":" + connector.getLocalPort() + RequestCheck.PATH;
  }
}
