package importkcd.olapserver;

import java.io.ByteArrayInputStream;
import java.io.IOException;
import java.io.StringWriter;
import java.net.URI;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import javax.xml.parsers.DocumentBuilder;
import javax.xml.parsers.DocumentBuilderFactory;
import javax.xml.parsers.ParserConfigurationException;
import javax.xml.transform.TransformerException;
import javax.xml.transform.TransformerFactory;
import javax.xml.transform.dom.DOMSource;
import javax.xml.transform.stream.StreamResult;
import mondrian.olap.Util;
import mondrian.server.DynamicContentFinder;
import org.w3c.dom.Document;
import org.w3c.dom.Element;
import org.w3c.dom.NodeList;
import org.xml.sax.SAXException;
import org.xml.sax.helpers.DefaultHandler;

/**
 * The directory's datasources.xml, read anew whenever the engine asks, with names in place of the
 * connections to data warehouses. A file that is missing or broken would stop every request and end
 * the engine's refreshing for good: the last good content counts instead, until the file is whole
 * again.
 */
final class PublishedContent extends DynamicContentFinder {
  private static final String FILE = "datasources.xml";

  // Without initializers: the base's constructor asks for the content already.
  private String lastGood;

  private List<Published> published;

  /** What the engine gets in place of schemas that it refuses, by the catalogues' names. */
  private Map<String, Reduced> reduced;

  private String lastFault;

  /**
   * A catalogue as it was published.
   *
   * @param connection the engine's connect string, with a name for the data warehouse
   * @param schema the file
   */
  record Published(String name, String connection, Path schema) {}

  /** A text that counts instead of a schema's file, as long as that is the one of this identity. */
  record Reduced(String identity, String schema) {}

  PublishedContent(Path directory) {
    super(file(directory).toUri().toString());
  }

  static Path file(Path directory) {
    return directory.resolve(FILE);
  }

  /** Throws an exception whose message says what is wrong with a file's content. */
  static Document check(byte[] content) throws IOException {
    try {
      final DocumentBuilderFactory factory = DocumentBuilderFactory.newInstance();
      factory.setFeature("http://apache.org/xml/features/nonvalidating/load-external-dtd", false);
      final DocumentBuilder builder = factory.newDocumentBuilder();
      builder.setErrorHandler(new DefaultHandler());
      return builder.parse(new ByteArrayInputStream(content));
    } catch (SAXException | ParserConfigurationException error) {
      throw new IOException(error.getMessage(), error);
    }
  }

  @Override
  public synchronized String getContent() {
    try {
      final byte[] bytes = Files.readAllBytes(Path.of(URI.create(url)));
      final Document content = check(bytes);
      final List<Published> its = new ArrayList<>();
      lastGood = named(content, its);
      Warehouses.serve(its);
      published = its;
      lastFault = null;
    } catch (IOException error) {
      report(error);
    }
    if (lastGood == null) {
      throw new IllegalStateException("there is no usable " + FILE);
    }
    return lastGood;
  }

  synchronized List<Published> published() {
    return published == null ? List.of() : published;
  }

  /** The one of that name; null when there is none. */
  Published published(String catalogue) {
    for (final Published one : published()) {
      if (one.name().equals(catalogue)) {
        return one;
      }
    }
    return null;
  }

  /** The catalogues' names. */
  List<String> catalogues() {
    return published().stream().map(Published::name).toList();
  }

  /** Has the engine read a text in place of a catalogue's schema; null ends that. */
  synchronized void replace(String catalogue, Reduced by) {
    final Map<String, Reduced> all = new HashMap<>(reduced == null ? Map.of() : reduced);
    if (by == null) {
      all.remove(catalogue);
    } else {
      all.put(catalogue, by);
    }
    reduced = all;
  }

  /** What the engine reads in place of a catalogue's schema; null when it reads that. */
  synchronized String reduced(Published catalogue) {
    final Reduced by = reduced == null ? null : reduced.get(catalogue.name());
    try {
      return by != null && by.identity().equals(FollowedFile.identity(catalogue.schema())) ? by.schema() : null;
    } catch (IOException error) {
      return null;
    }
  }

  /** Letters beyond ASCII stand in addresses of schemas as they are, which is no URI to Path.of(). */
  private static Path pathOf(String address) {
    final URI uri = URI.create(address);
    if (!"file".equals(uri.getScheme()) || uri.getAuthority() != null) {
      throw new IllegalArgumentException(address);
    }
    return Path.of(uri.getPath());
  }

  private String named(Document content, List<Published> its) throws IOException {
    final NodeList catalogues = content.getElementsByTagName("Catalog");
    for (int i = 0; i < catalogues.getLength(); ++i) {
      final Element catalogue = (Element) catalogues.item(i);
      final Element info = (Element) catalogue.getElementsByTagName("DataSourceInfo").item(0);
      final Element schema = (Element) catalogue.getElementsByTagName("Definition").item(0);
      if (info == null || schema == null) {
        throw new IOException("a catalogue lacks its data source or its schema");
      }
      final String connection = Warehouses.named(info.getTextContent());
      final Published one;
      try {
        final Path file = pathOf(schema.getTextContent().strip());
        one = new Published(catalogue.getAttribute("name"), connection, file);
      } catch (IllegalArgumentException error) {
        throw new IOException("a schema's address is none of a file", error);
      }
      its.add(one);
      final String other = reduced(one);
      info.setTextContent(other == null ? connection : withSchema(connection, other));
    }
    try {
      final StringWriter text = new StringWriter();
      TransformerFactory.newDefaultInstance()
          .newTransformer()
          .transform(new DOMSource(content), new StreamResult(text));
      // The engine puts system properties in place of "${NAME}" before it reads the text as XML.
      return text.toString().replace("${", "&#36;{");
    } catch (TransformerException error) {
      throw new IOException(error.getMessage(), error);
    }
  }

  private static String withSchema(String connection, String schema) {
    final Util.PropertyList properties = Util.parseConnectString(connection);
    properties.put("CatalogContent", schema);
    return properties.toString();
  }

  @Override
  public synchronized void reloadDataSources() {
    try {
      super.reloadDataSources();
    } catch (RuntimeException error) {
      report(error);
    }
  }

  private void report(Exception error) {
    final String fault = error.toString();
    if (!fault.equals(lastFault)) {
      lastFault = fault;
      Lines.printError(FILE + " is left as it was: " + error.getMessage());
    }
  }
}
