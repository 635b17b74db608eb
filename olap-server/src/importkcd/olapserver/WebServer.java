package importkcd.olapserver;

import java.io.IOException;
import java.nio.ByteBuffer;
import java.nio.charset.StandardCharsets;
import javax.servlet.Servlet;
import javax.servlet.ServletRequest;
import javax.servlet.ServletResponse;
import javax.servlet.http.HttpServletRequest;
import javax.servlet.http.HttpServletRequestWrapper;
import javax.servlet.http.HttpServletResponse;
import mondrian.xmla.XmlaServlet;
import org.eclipse.jetty.http.HttpFields;
import org.eclipse.jetty.http.HttpHeader;
import org.eclipse.jetty.http.HttpStatus;
import org.eclipse.jetty.http.HttpVersion;
import org.eclipse.jetty.security.ConstraintMapping;
import org.eclipse.jetty.security.ConstraintSecurityHandler;
import org.eclipse.jetty.security.LoginService;
import org.eclipse.jetty.security.ServerAuthException;
import org.eclipse.jetty.security.authentication.BasicAuthenticator;
import org.eclipse.jetty.server.Authentication;
import org.eclipse.jetty.server.ConnectionLimit;
import org.eclipse.jetty.server.HttpConfiguration;
import org.eclipse.jetty.server.HttpConnectionFactory;
import org.eclipse.jetty.server.Request;
import org.eclipse.jetty.server.SecureRequestCustomizer;
import org.eclipse.jetty.server.Server;
import org.eclipse.jetty.server.ServerConnector;
import org.eclipse.jetty.server.SslConnectionFactory;
import org.eclipse.jetty.server.handler.ContextHandlerCollection;
import org.eclipse.jetty.server.handler.ErrorHandler;
import org.eclipse.jetty.servlet.ServletContextHandler;
import org.eclipse.jetty.servlet.ServletHolder;
import org.eclipse.jetty.util.security.Constraint;
import org.eclipse.jetty.util.thread.QueuedThreadPool;

/**
 * The HTTP side: one connector for questions, behind a login where there are users, with the gate in
 * front of the engine, and one on the loopback interface for who looks after the service.
 */
final class WebServer {
  private static final int MOST_THREADS = 32;
  private static final String LOOPBACK = "127.0.0.1";
  private static final long STRICT_TRANSPORT_SECONDS = 365L * 24 * 3600;

  /** Names by which the contexts know their connectors. */
  private static final String QUESTIONS = "questions";

  private static final String ADMINISTRATION = "administration";

  private final Server server = new Server(daemonThreads());
  private final Options options;
  private final ServerConnector connector;
  private final ServerConnector administration;
  private final TlsFiles tls;

  /** The exception says which file cannot be used. */
  WebServer(Options options, XmlaDirectoryServlet engine, Metrics metrics) throws IOException {
    this.options = options;
    tls = options.isEncrypted() ? new TlsFiles(options.certificate, options.key) : null;
    final ClientWatch watch = new ClientWatch(options.questionSeconds);
    connector = connector(QUESTIONS, options.address, options.port, tls, watch);
    administration =
        options.adminPort < 0
            ? null
            : connector(ADMINISTRATION, LOOPBACK, options.adminPort, null, watch);
    final LoginService users = options.users == null ? null : new Users(options.users, metrics);
    final XmlaAnswers answers = new XmlaAnswers(engine, grants(engine), users != null);
    final RequestCheck check = new RequestCheck(options.address, options.hosts);
    final ServletContextHandler questions =
        questions(engine, new RequestGate(answers, check, watch, metrics), new PageHandler(check));
    if (options.publicHealth) {
      final StateServlet health = new StateServlet(check, engine, null, users == null);
      questions.addServlet(new ServletHolder(health), StateServlet.HEALTH);
    }
    if (users != null) {
      questions.setSecurityHandler(login(users));
    }
    final ContextHandlerCollection contexts = new ContextHandlerCollection(questions);
    if (administration != null) {
      contexts.addHandler(state(new StateServlet(check, engine, metrics, true)));
    }
    server.setHandler(contexts);
    server.setRequestLog(new AccessLog(options.accessLog, metrics));
    server.setErrorHandler(new PlainErrors());
  }

  private Grants grants(XmlaDirectoryServlet engine) throws IOException {
    return switch (options.grantsFrom) {
      case FILE -> Grants.of(options.grants);
      case DOCUMENTS -> Grants.ofDocuments(engine::schema);
      case NOTHING -> Grants.EVERYTHING;
    };
  }

  private static ServletContextHandler questions(
      XmlaDirectoryServlet engine, RequestGate gate, PageHandler page) {
    final ServletContextHandler context = context(QUESTIONS);
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

  private static ServletContextHandler state(StateServlet servlet) {
    final ServletContextHandler context = context(ADMINISTRATION);
    context.addServlet(new ServletHolder(servlet), "/*");
    return context;
  }

  private static ServletContextHandler context(String itsConnector) {
    final ServletContextHandler context = new ServletContextHandler(ServletContextHandler.NO_SESSIONS);
    context.setVirtualHosts(new String[] {"@" + itsConnector});
    return context;
  }

  /** Everything needs a login, except for health where that is public. */
  private ConstraintSecurityHandler login(LoginService users) {
    final ConstraintSecurityHandler handler = new ConstraintSecurityHandler();
    final BasicAuthenticator authenticator = new Basic();
    authenticator.setCharset(StandardCharsets.UTF_8);
    handler.setAuthenticator(authenticator);
    handler.setRealmName(users.getName());
    handler.setLoginService(users);
    final Constraint anybody = new Constraint(Constraint.__BASIC_AUTH, Constraint.ANY_AUTH);
    anybody.setAuthenticate(true);
    handler.addConstraintMapping(mapping("/*", anybody));
    if (options.publicHealth) {
      handler.addConstraintMapping(mapping(StateServlet.HEALTH, new Constraint()));
    }
    return handler;
  }

  private static ConstraintMapping mapping(String path, Constraint constraint) {
    final ConstraintMapping mapping = new ConstraintMapping();
    mapping.setPathSpec(path);
    mapping.setConstraint(constraint);
    return mapping;
  }

  private ServerConnector connector(
      String name, String address, int port, TlsFiles encryption, ClientWatch watch) {
    final HttpConfiguration configuration = configuration();
    final HttpConnectionFactory http = new HttpConnectionFactory(configuration);
    final ServerConnector result;
    if (encryption == null) {
      result = new ServerConnector(server, 1, 1, http);
    } else {
      final SecureRequestCustomizer customizer = new SecureRequestCustomizer(false);
      customizer.setStsMaxAge(STRICT_TRANSPORT_SECONDS);
      configuration.addCustomizer(customizer);
      result =
          new ServerConnector(
              server, 1, 1, new SslConnectionFactory(encryption.context(), HttpVersion.HTTP_1_1.asString()), http);
    }
    result.setName(name);
    result.setHost(address);
    result.setPort(port);
    result.setIdleTimeout(Limits.IDLE_SECONDS * 1000L);
    result.addBean(watch);
    server.addConnector(result);
    server.addBean(new ConnectionLimit(Limits.CONNECTIONS, result));
    return result;
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
    if (tls != null) {
      tls.follow();
    }
  }

  void join() throws InterruptedException {
    server.join();
  }

  /** The place that cannot be listened on, when the start failed for that. */
  String place() {
    return connector.isOpen() && administration != null
        ? "port " + options.adminPort + " of " + LOOPBACK
        : "port " + options.port + " of " + options.address;
  }

  /** Where it answers, once it does. */
  String url() {
    return (tls == null ? "http://" : "https://")
        + RequestCheck.hostOf(options.address)
        + ":"
        + connector.getLocalPort()
        + RequestCheck.PATH;
  }

  /** Where health and metrics are, once they are; null when they are nowhere of their own. */
  String administrationUrl() {
    return administration == null ? null : "http://" + LOOPBACK + ":" + administration.getLocalPort();
  }

  /** The library's, which stumbles over a header that is no Base 64: that is a missing login. */
  private static final class Basic extends BasicAuthenticator {
    @Override
    public Authentication validateRequest(
        ServletRequest request, ServletResponse response, boolean mandatory) throws ServerAuthException {
      try {
        return super.validateRequest(request, response, mandatory);
      } catch (IllegalArgumentException error) {
        final HttpServletRequest without =
            new HttpServletRequestWrapper((HttpServletRequest) request) {
              @Override
              public String getHeader(String name) {
                return name.equalsIgnoreCase(HttpHeader.AUTHORIZATION.asString())
                    ? null
                    : super.getHeader(name);
              }
            };
        return super.validateRequest(without, response, mandatory);
      }
    }
  }

  /** Errors as lines of text, that repeat nothing of the request. */
  private static final class PlainErrors extends ErrorHandler {
    @Override
    public void handle(
        String target, Request base, HttpServletRequest request, HttpServletResponse response)
        throws IOException {
      base.setHandled(true);
      new Refusal(response.getStatus(), words(response.getStatus())).send(response);
    }

    @Override
    public ByteBuffer badMessageError(int status, String reason, HttpFields fields) {
      fields.put(HttpHeader.CONTENT_TYPE, "text/plain;charset=utf-8");
      return ByteBuffer.wrap((words(status) + "\n").getBytes(StandardCharsets.UTF_8));
    }

    private static String words(int status) {
      return status == HttpServletResponse.SC_UNAUTHORIZED
          ? "this server asks for a login"
          : HttpStatus.getMessage(status);
    }
  }
}
