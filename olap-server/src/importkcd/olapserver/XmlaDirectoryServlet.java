package importkcd.olapserver;

import java.io.IOException;
import java.nio.file.Path;
import java.util.Map;
import java.util.concurrent.CancellationException;
import java.util.concurrent.ConcurrentHashMap;
import javax.servlet.ServletConfig;
import javax.servlet.ServletException;
import javax.servlet.http.HttpServletRequest;
import javax.servlet.http.HttpServletResponse;
import mondrian.server.RepositoryContentFinder;
import mondrian.xmla.XmlaConstants;
import mondrian.xmla.XmlaException;
import mondrian.xmla.XmlaHandler.ConnectionFactory;
import mondrian.xmla.impl.DynamicDatasourceXmlaServlet;

/** The engine's XMLA servlet over a published directory. */
final class XmlaDirectoryServlet extends DynamicDatasourceXmlaServlet {
  private static final long serialVersionUID = 1;

  private final transient Path directory;

  /** Whether this thread's question was refused. */
  private final transient ThreadLocal<Boolean> refused = ThreadLocal.withInitial(() -> false);

  private transient PublishedContent content;
  private transient ReplacedSchemas replaced;
  private transient CubeFaults faults;
  private transient AggregateChecks aggregates;
  private final transient Map<Path, Known> known = new ConcurrentHashMap<>();

  /** What a schema's file said when it was the one of this identity. */
  private record Known(String identity, PublishedSchema schema) {}

  XmlaDirectoryServlet(Path directory) {
    this.directory = directory;
    addCallback(new QuestionRoles());
    addCallback(new PublishedDescriptions(this::schema));
  }

  /** Answers a question; false when the answer is a refusal. */
  boolean answer(HttpServletRequest request, HttpServletResponse response)
      throws ServletException, IOException {
    refused.set(false);
    doPost(request, response);
    return !refused.get();
  }

  @Override
  protected void handleFault(
      HttpServletResponse response, byte[][] soapParts, Phase phase, Throwable error) {
    refused.set(true);
    // Whatever the engine stumbled over when it was to stop.
    final Question question = Question.current();
    final boolean isEnded = question != null && question.takeEnd();
    super.handleFault(response, soapParts, phase, isEnded ? ended(question.endReason()) : error);
  }

  private static XmlaException ended(String reason) {
    return new XmlaException(
        XmlaConstants.CLIENT_FAULT_FC,
        XmlaConstants.UNKNOWN_ERROR_CODE,
        reason,
        new CancellationException(reason));
  }

  PublishedContent content() {
    return content;
  }

  /** What a database's schema says; nothing while it is being replaced. */
  PublishedSchema schema(String database) {
    final PublishedContent.Published published = content.published(database);
    if (published == null) {
      return PublishedSchema.NONE;
    }
    try {
      final String identity = FollowedFile.identity(published.schema());
      final Known before = known.get(published.schema());
      if (before != null && before.identity().equals(identity)) {
        return before.schema();
      }
      final PublishedSchema schema = PublishedSchema.read(published.schema());
      known.put(published.schema(), new Known(identity, schema));
      return schema;
    } catch (IOException error) {
      return PublishedSchema.NONE;
    }
  }

  /** Forgets a database's figures. */
  void forgetFigures(String database) throws IOException {
    final PublishedContent.Published published = content.published(database);
    if (published != null) {
      replaced.forgetFigures(published);
    }
  }

  /** Which cubes cannot be asked, and why. */
  CubeFaults faults() {
    return faults;
  }

  /** How the aggregate tables are. */
  AggregateChecks aggregates() {
    return aggregates;
  }

  @Override
  protected String makeDataSourcesUrl(ServletConfig config) {
    return PublishedContent.file(directory).toUri().toString();
  }

  @Override
  protected RepositoryContentFinder makeContentFinder(String dataSourcesUrl) {
    content = new PublishedContent(directory);
    return content;
  }

  @Override
  protected ConnectionFactory createConnectionFactory(ServletConfig config)
      throws ServletException {
    final ConnectionFactory engine = super.createConnectionFactory(config);
    final SoundSchemas sound = new SoundSchemas(content);
    replaced = new ReplacedSchemas(server, content);
    final ConnectionFactory connections = new EngineConnections(engine, replaced, sound);
    faults = new CubeFaults(connections, content, this::schema, sound);
    aggregates = new AggregateChecks(directory, content, this::schema);
    return connections;
  }
}
