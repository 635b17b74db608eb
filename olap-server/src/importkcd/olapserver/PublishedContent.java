package importkcd.olapserver;

import java.io.ByteArrayInputStream;
import java.io.IOException;
import java.io.StringWriter;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import javax.xml.parsers.DocumentBuilder;
import javax.xml.parsers.DocumentBuilderFactory;
import javax.xml.parsers.ParserConfigurationException;
import javax.xml.transform.TransformerException;
import javax.xml.transform.TransformerFactory;
import javax.xml.transform.dom.DOMSource;
import javax.xml.transform.stream.StreamResult;
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

  /** Without an initializer: the base's constructor asks for the content already. */
  private String lastGood;

  private List<String> schemas;

  private List<String> catalogues;

  private String lastFault;

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
      final byte[] bytes = Files.readAllBytes(Path.of(java.net.URI.create(url)));
      final Document content = check(bytes);
      lastGood = named(content);
      schemas = texts(content.getElementsByTagName("Definition"));
      catalogues = names(content.getElementsByTagName("Catalog"));
      lastFault = null;
    } catch (IOException error) {
      report(error);
    }
    if (lastGood == null) {
      throw new IllegalStateException("there is no usable " + FILE);
    }
    return lastGood;
  }

  /** The addresses of the schemas' files. */
  synchronized List<String> schemas() {
    return schemas;
  }

  /** The catalogues' names. */
  synchronized List<String> catalogues() {
    return catalogues;
  }

  private static List<String> texts(NodeList elements) {
    final List<String> texts = new ArrayList<>();
    for (int i = 0; i < elements.getLength(); ++i) {
      texts.add(elements.item(i).getTextContent().strip());
    }
    return texts;
  }

  private static List<String> names(NodeList elements) {
    final List<String> names = new ArrayList<>();
    for (int i = 0; i < elements.getLength(); ++i) {
      names.add(((Element) elements.item(i)).getAttribute("name"));
    }
    return names;
  }

  private static String named(Document content) throws IOException {
    final NodeList catalogues = content.getElementsByTagName("DataSourceInfo");
    for (int i = 0; i < catalogues.getLength(); ++i) {
      final Element info = (Element) catalogues.item(i);
      info.setTextContent(Warehouses.named(info.getTextContent()));
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
      System.err.println(FILE + " is left as it was: " + error.getMessage());
    }
  }
}
