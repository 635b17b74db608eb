package importkcd.olapserver;

import java.io.IOException;
import java.net.BindException;
import java.net.InetAddress;
import java.net.UnknownHostException;
import java.nio.file.Files;
import java.nio.file.Path;
import mondrian.olap.MondrianProperties;
import mondrian.spi.SegmentCache;

/**
 * The OLAP engine as a service: answers MDX over XMLA from the catalogues that a directory's
 * datasources.xml names.
 *
 * <p>Its arguments are those of Options. Once it answers, it prints one line that ends with its
 * address. It ends with status 0 when it is asked to (SIGINT, SIGTERM) and with 1, after a message on
 * standard error, when it cannot start.
 */
public final class OlapServer {
  private OlapServer() {}

  public static void main(String[] arguments) {
    final Options options;
    try {
      options = Options.of(arguments);
    } catch (IllegalArgumentException error) {
      fail(Options.USAGE);
      return;
    }
    setProperties(options.questionSeconds);
    final Path list = PublishedContent.file(options.directory);
    try {
      PublishedContent.check(Files.readAllBytes(list));
    } catch (IOException error) {
      fail(list + " cannot be used: " + error.getMessage());
    }
    final XmlaDirectoryServlet engine = new XmlaDirectoryServlet(options.directory);
    try {
      serve(options, new WebServer(options, engine, new Metrics()), engine);
    } catch (IOException error) {
      fail(error.getMessage());
    }
  }

  private static void setProperties(int seconds) {
    // No XML that anything here reads may reach out for other files.
    System.setProperty("javax.xml.accessExternalDTD", "");
    System.setProperty("javax.xml.accessExternalSchema", "");
    // This release of the engine answers some questions from the wrong cached figures otherwise.
    System.setProperty("mondrian.rolap.EnableInMemoryRollup", "false");
    // KeptFigures is in its place.
    System.setProperty("mondrian.rolap.star.disableLocalSegmentCache", "true");
    // Aggregate tables that a schema declares are read; others that only have a fitting name are not.
    System.setProperty("mondrian.rolap.aggregates.Use", "true");
    System.setProperty("mondrian.rolap.aggregates.Read", "true");
    System.setProperty("mondrian.rolap.aggregates.rules", "/importkcd/olapserver/AggregateRules.xml");
    System.setProperty("mondrian.spi.dataSourceResolverClass", Warehouses.class.getName());
    System.setProperty("mondrian.rolap.queryTimeout", String.valueOf(seconds));
    // A formula that names a member or level which is not there costs its own answers only.
    setDefault("mondrian.rolap.ignoreInvalidMembers", "true");
    // How soon a newly published catalogue is seen, in milliseconds.
    setDefault("mondrian.xmla.SchemaRefreshInterval", "1000");
    setDefault("org.slf4j.simpleLogger.defaultLogLevel", "error");
    // It only repeats that a question was refused, which its asker is told.
    setDefault("org.slf4j.simpleLogger.log.mondrian.xmla.XmlaServlet", "off");
    setDefault("org.eclipse.jetty.util.log.announce", "false");
    try {
      EndableCompiler.install();
    } catch (ReflectiveOperationException error) {
      fail("this is another release of the OLAP engine than the expected one: " + error);
    }
    dropOthersProperties();
    SegmentCache.SegmentCacheInjector.addCache(new KeptFigures(Limits.FIGURE_BYTES));
  }

  private static void setDefault(String name, String value) {
    if (System.getProperty(name) == null) {
      System.setProperty(name, value);
    }
  }

  /** The engine reads a file mondrian.properties of the folder in which it happens to be started. */
  private static void dropOthersProperties() {
    final MondrianProperties properties = MondrianProperties.instance();
    properties.clear();
    for (final String name : System.getProperties().stringPropertyNames()) {
      if (name.startsWith("mondrian.")) {
        properties.setProperty(name, System.getProperty(name));
      }
    }
  }

  private static void serve(Options options, WebServer server, XmlaDirectoryServlet engine) {
    try {
      server.start();
    } catch (IOException error) {
      fail(bindFailure(error, server));
    } catch (Exception error) {
      fail("the OLAP engine cannot start: " + lastCause(error));
    }
    stopWhenAsked();
    announce(options, server);
    if (Limits.CHECK) {
      final Thread check = new Thread(() -> engine.faults().tell(), "cube-check");
      check.setDaemon(true);
      check.start();
      if (options.aggregateSeconds > 0) {
        engine.aggregates().start(options.aggregateSeconds);
      }
    }
    try {
      server.join();
    } catch (InterruptedException error) {
      Thread.currentThread().interrupt();
    }
  }

  private static String bindFailure(IOException error, WebServer server) {
    final String place = server.place();
    final Throwable cause = error.getCause() == null ? error : error.getCause();
    if (cause instanceof BindException && String.valueOf(cause.getMessage()).contains("in use")) {
      return place + " is in use";
    }
    return "cannot listen on " + place + ": " + cause.getMessage();
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

  private static void announce(Options options, WebServer server) {
    if (server.administrationUrl() != null) {
      Lines.printError("Health and metrics at " + server.administrationUrl());
    }
    if (options.users != null && !options.isEncrypted() && !isLoopback(options.address)) {
      Lines.printError("Logins are not encrypted here; put a proxy with TLS in front, or name a certificate");
    }
    Lines.print("Serving " + options.directory + " at " + server.url());
  }

  private static boolean isLoopback(String address) {
    try {
      return InetAddress.getByName(address).isLoopbackAddress();
    } catch (UnknownHostException error) {
      return false;
    }
  }

  private static void fail(String message) {
    Lines.printError(message);
    Runtime.getRuntime().halt(1);
  }
}
