package importkcd.olapserver;

import java.nio.file.Path;
import javax.servlet.ServletConfig;
import mondrian.server.RepositoryContentFinder;
import mondrian.xmla.impl.DynamicDatasourceXmlaServlet;

/** The engine's XMLA servlet over a published directory. */
final class XmlaDirectoryServlet extends DynamicDatasourceXmlaServlet {
  private static final long serialVersionUID = 1;

  private final transient Path directory;

  XmlaDirectoryServlet(Path directory) {
    this.directory = directory;
    addCallback(new RoleHeader());
  }

  @Override
  protected String makeDataSourcesUrl(ServletConfig config) {
    return PublishedContent.file(directory).toUri().toString();
  }

  @Override
  protected RepositoryContentFinder makeContentFinder(String dataSourcesUrl) {
    return new PublishedContent(directory);
  }
}
