package importkcd.olapserver;

import java.io.IOException;
import java.nio.file.Path;
import javax.servlet.ServletConfig;
import javax.servlet.ServletException;
import javax.servlet.http.HttpServletRequest;
import javax.servlet.http.HttpServletResponse;
import mondrian.server.RepositoryContentFinder;
import mondrian.xmla.XmlaHandler.ConnectionFactory;
import mondrian.xmla.impl.DynamicDatasourceXmlaServlet;

/** The engine's XMLA servlet over a published directory. */
final class XmlaDirectoryServlet extends DynamicDatasourceXmlaServlet implements RequestGate.Engine {
  private static final long serialVersionUID = 1;

  private final transient Path directory;
  private transient PublishedContent content;
  private transient ConnectionFactory connections;

  XmlaDirectoryServlet(Path directory) {
    this.directory = directory;
    addCallback(new RoleHeader());
    addCallback(new PublishedDescriptions(() -> content));
  }

  @Override
  public void answer(HttpServletRequest request, HttpServletResponse response)
      throws ServletException, IOException {
    doPost(request, response);
  }

  /** What tells which tables and columns are missing. */
  Runnable warehouseCheck() {
    return new WarehouseCheck(connections, content::catalogues);
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
    connections = new EngineConnections(engine, new ReplacedSchemas(server, content::schemas));
    return connections;
  }
}
