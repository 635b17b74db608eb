package importkcd.olapserver;

import java.io.IOException;
import java.io.PrintStream;
import java.net.BindException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import mondrian.xmla.XmlaServlet;
import org.eclipse.jetty.server.HttpConfiguration;
import org.eclipse.jetty.server.HttpConnectionFactory;
import org.eclipse.jetty.server.Server;
import org.eclipse.jetty.server.ServerConnector;
import org.eclipse.jetty.servlet.ServletContextHandler;
import org.eclipse.jetty.servlet.ServletHolder;
import org.eclipse.jetty.util.thread.QueuedThreadPool;

/**
 * The OLAP engine as a service: answers MDX over XMLA from the catalogues that a directory's
 * datasources.xml names.
 *
 * <p>Arguments: DIRECTORY ADDRESS PORT (0 is any free port). Once it answers, it prints one line
 * that ends with its address. It ends with status 0 when it is asked to (SIGINT, SIGTERM) and with
 * 1, after a message on standard error, when it cannot start.
 */
public final class OlapServer {
  /** The longest wait for a client that has fallen silent. */
  private static final int IDLE_MILLISECONDS = 600_000;

  private static final String PATH = "/xmla";

  private OlapServer() {}

  public static void main(String[] arguments) {
    if (arguments.length != 3) {
      fail("usage: DIRECTORY ADDRESS PORT");
    }
    final Path directory = Path.of(arguments[0]);
    final String address = arguments[1];
    final int port = Integer.parseInt(arguments[2]);
    setEngineProperties();
    try {
      PublishedContent.check(Files.readAllBytes(PublishedContent.file(directory)));
    } catch (IOException error) {
      fail(PublishedContent.file(directory) + " cannot be used: " + error.getMessage());
    }
    serve(directory, address, port);
  }

  private static void setEngineProperties() {
    // This release of the engine answers some questions from the wrong cached figures otherwise.
    System.setProperty("mondrian.rolap.EnableInMemoryRollup", "false");
    // A formula that names a member or level which is not there costs its own answers only.
    setDefault("mondrian.rolap.ignoreInvalidMembers", "true");
    // How soon a newly published catalogue is seen, in milliseconds.
    setDefault("mondrian.xmla.SchemaRefreshInterval", "1000");
    setDefault("org.slf4j.simpleLogger.defaultLogLevel", "error");
    // It only repeats that a question was refused, which its asker is told.
    setDefault("org.slf4j.simpleLogger.log.mondrian.xmla.XmlaServlet", "off");
    setDefault("org.eclipse.jetty.util.log.announce", "false");
  }

  private static void setDefault(String name, String value) {
    if (System.getProperty(name) == null) {
      System.setProperty(name, value);
    }
  }

  private static void serve(Path directory, String address, int port) {
    final Server server = new Server(daemonThreads());
    final ServerConnector connector = connector(server, address, port);
    server.addConnector(connector);
    final ServletContextHandler context = new ServletContextHandler(ServletContextHandler.NO_SESSIONS);
    final ServletHolder holder = new ServletHolder(new XmlaDirectoryServlet(directory));
    // At the start and not with the first question, so that a fault shows at once.
    holder.setInitOrder(0);
    // Faults would come in the request's encoding, or in Latin-1 when it names none.
    holder.setInitParameter(XmlaServlet.PARAM_CHAR_ENCODING, "UTF-8");
    context.addServlet(holder, PATH);
    server.setHandler(context);
    try {
      server.start();
    } catch (IOException error) {
      fail(bindFailure(error, address, port));
    } catch (Exception error) {
      fail("the OLAP engine cannot start: " + lastCause(error));
    }
    stopWhenAsked();
    announce(directory, address, connector.getLocalPort());
    try {
      server.join();
    } catch (InterruptedException error) {
      Thread.currentThread().interrupt();
    }
  }

  private static QueuedThreadPool daemonThreads() {
    final QueuedThreadPool threads = new QueuedThreadPool();
    threads.setDaemon(true);
    return threads;
  }

  private static ServerConnector connector(Server server, String address, int port) {
    final HttpConfiguration configuration = new HttpConfiguration();
    configuration.setSendServerVersion(false);
    final ServerConnector connector =
        new ServerConnector(server, new HttpConnectionFactory(configuration));
    connector.setHost(address);
    connector.setPort(port);
    connector.setIdleTimeout(IDLE_MILLISECONDS);
    return connector;
  }

  private static String bindFailure(IOException error, String address, int port) {
    final Throwable cause = error.getCause() == null ? error : error.getCause();
    if (cause instanceof BindException && String.valueOf(cause.getMessage()).contains("in use")) {
      return "port " + port + " of " + address + " is in use";
    }
    return "cannot listen on port " + port + " of " + address + ": " + cause.getMessage();
  }

  private static String lastCause(Throwable error) {
    Throwable cause = error;
    while (cause.getCause() != null) {
      cause = cause.getCause();
    }
    return cause.getMessage() == null ? cause.toString() : cause.getMessage();
  }

  /** A stop is no failure, although the machine's own status for a signal is one. */
  private static void stopWhenAsked() {
    Runtime.getRuntime().addShutdownHook(new Thread(() -> Runtime.getRuntime().halt(0)));
  }

  private static void announce(Path directory, String address, int port) {
    final String host = address.contains(":") ? "[" + address + "]" : address;
    final PrintStream out = new PrintStream(System.out, true, StandardCharsets.UTF_8);
    out.println("Serving " + directory + " at http://" + host + ":" + port + PATH);
  }

  private static void fail(String message) {
    new PrintStream(System.err, true, StandardCharsets.UTF_8).println(message);
    Runtime.getRuntime().halt(1);
  }
}
