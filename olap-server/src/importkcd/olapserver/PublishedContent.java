package importkcd.olapserver;

import java.io.ByteArrayInputStream;
import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import javax.xml.parsers.DocumentBuilder;
import javax.xml.parsers.DocumentBuilderFactory;
import javax.xml.parsers.ParserConfigurationException;
import mondrian.server.DynamicContentFinder;
import org.xml.sax.SAXException;
import org.xml.sax.helpers.DefaultHandler;

/**
 * The directory's datasources.xml, read anew whenever the engine asks. A file that is missing or
 * broken would stop every request and end the engine's refreshing for good: the last good content
 * counts instead, until the file is whole again.
 */
final class PublishedContent extends DynamicContentFinder {
  private static final String FILE = "datasources.xml";

  /** Without an initializer: the base's constructor asks for the content already. */
  private String lastGood;

  private String lastFault;

  PublishedContent(Path directory) {
    super(file(directory).toUri().toString());
  }

  static Path file(Path directory) {
    return directory.resolve(FILE);
  }

  /** Throws an exception whose message says what is wrong with a file's content. */
  static void check(byte[] content) throws IOException {
    try {
      final DocumentBuilderFactory factory = DocumentBuilderFactory.newInstance();
      factory.setFeature("http://apache.org/xml/features/nonvalidating/load-external-dtd", false);
      final DocumentBuilder builder = factory.newDocumentBuilder();
      builder.setErrorHandler(new DefaultHandler());
      builder.parse(new ByteArrayInputStream(content));
    } catch (SAXException | ParserConfigurationException error) {
      throw new IOException(error.getMessage(), error);
    }
  }

  @Override
  public synchronized String getContent() {
    try {
      final byte[] bytes = Files.readAllBytes(Path.of(java.net.URI.create(url)));
      check(bytes);
      lastGood = new String(bytes, StandardCharsets.UTF_8);
      lastFault = null;
    } catch (IOException error) {
      report(error);
    }
    if (lastGood == null) {
      throw new IllegalStateException("there is no usable " + FILE);
    }
    return lastGood;
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
