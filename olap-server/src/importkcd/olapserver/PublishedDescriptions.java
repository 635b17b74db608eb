package importkcd.olapserver;

import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.io.InputStream;
import java.net.URI;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.function.Supplier;
import javax.servlet.ServletConfig;
import javax.servlet.http.HttpServletRequest;
import javax.servlet.http.HttpServletResponse;
import javax.xml.stream.XMLInputFactory;
import javax.xml.stream.XMLStreamException;
import javax.xml.stream.XMLStreamReader;
import javax.xml.transform.OutputKeys;
import javax.xml.transform.Transformer;
import javax.xml.transform.TransformerException;
import javax.xml.transform.TransformerFactory;
import javax.xml.transform.dom.DOMSource;
import javax.xml.transform.stream.StreamResult;
import mondrian.xmla.XmlaRequestCallback;
import org.w3c.dom.Document;
import org.w3c.dom.Element;
import org.w3c.dom.Node;
import org.w3c.dom.NodeList;

/**
 * Puts the descriptions of the published schemas into the lists of databases and cubes, where the
 * engine has words of its own: it does not know descriptions of databases, and invents those of
 * cubes that have none.
 */
final class PublishedDescriptions implements XmlaRequestCallback {
  private static final String LIST = PublishedDescriptions.class.getName();
  private static final String DATABASES = "DBSCHEMA_CATALOGS";
  private static final String CUBES = "MDSCHEMA_CUBES";

  private static final int SCHEMA_DEPTH = 1;
  private static final int CUBE_DEPTH = 2;

  private final Supplier<PublishedContent> content;

  PublishedDescriptions(Supplier<PublishedContent> content) {
    this.content = content;
  }

  @Override
  public void init(ServletConfig config) {}

  @Override
  public boolean processHttpHeader(
      HttpServletRequest request, HttpServletResponse response, Map<String, Object> context) {
    return true;
  }

  @Override
  public String generateSessionId(Map<String, Object> context) {
    return null;
  }

  @Override
  public void preAction(
      HttpServletRequest request, Element[] soapParts, Map<String, Object> context) {
    final NodeList types = soapParts[1].getElementsByTagNameNS("*", "RequestType");
    final String type = types.getLength() == 0 ? "" : types.item(0).getTextContent().strip();
    if (type.equals(DATABASES) || type.equals(CUBES)) {
      context.put(LIST, type);
    }
  }

  @Override
  public void postAction(
      HttpServletRequest request,
      HttpServletResponse response,
      byte[][] soapParts,
      Map<String, Object> context)
      throws IOException, TransformerException {
    final Object list = context.get(LIST);
    if (list == null || soapParts[1] == null) {
      return;
    }
    final boolean ofCubes = list.equals(CUBES);
    final Document answer = PublishedContent.check(soapParts[1]);
    final NodeList rows = answer.getElementsByTagName("row");
    final Map<String, Schema> schemas = new HashMap<>();
    for (int i = 0; i < rows.getLength(); ++i) {
      final Element row = (Element) rows.item(i);
      final Schema schema =
          schemas.computeIfAbsent(text(row, "CATALOG_NAME"), name -> schema(name, ofCubes));
      describe(
          row, ofCubes ? schema.cubes().get(text(row, "CUBE_NAME")) : schema.description());
    }
    soapParts[1] = bytes(answer);
  }

  /** What a schema says of itself and, where they were asked for, of its cubes. */
  private record Schema(String description, Map<String, String> cubes) {}

  private Schema schema(String catalogue, boolean withCubes) {
    final PublishedContent published = content.get();
    final List<String> catalogues = published.catalogues();
    final int place = catalogues.indexOf(catalogue);
    if (place >= 0) {
      try {
        return read(Path.of(URI.create(published.schemas().get(place))), withCubes);
      } catch (IOException | XMLStreamException | RuntimeException error) {
        // It is being replaced: no description is better than invented words.
      }
    }
    return new Schema(null, Map.of());
  }

  private static Schema read(Path file, boolean withCubes) throws IOException, XMLStreamException {
    final XMLInputFactory factory = XMLInputFactory.newDefaultFactory();
    factory.setProperty(XMLInputFactory.SUPPORT_DTD, false);
    try (InputStream bytes = Files.newInputStream(file)) {
      final XMLStreamReader reader = factory.createXMLStreamReader(bytes);
      String description = null;
      final Map<String, String> cubes = new HashMap<>();
      int depth = 0;
      while (reader.hasNext() && (withCubes || depth == 0)) {
        final int event = reader.next();
        if (event == XMLStreamReader.END_ELEMENT) {
          --depth;
        } else if (event == XMLStreamReader.START_ELEMENT) {
          ++depth;
          final String own = reader.getAttributeValue(null, "description");
          if (depth == SCHEMA_DEPTH) {
            description = own;
          } else if (depth == CUBE_DEPTH && reader.getLocalName().endsWith("Cube")) {
            cubes.put(reader.getAttributeValue(null, "name"), own);
          }
        }
      }
      return new Schema(description, cubes);
    }
  }

  private static String text(Element row, String column) {
    final NodeList found = row.getElementsByTagName(column);
    return found.getLength() == 0 ? "" : found.item(0).getTextContent();
  }

  private static void describe(Element row, String description) {
    final NodeList found = row.getElementsByTagName("DESCRIPTION");
    if (found.getLength() == 0) {
      return;
    }
    final Node column = found.item(0);
    if (description == null) {
      row.removeChild(column);
    } else {
      column.setTextContent(description);
    }
  }

  private static byte[] bytes(Document answer) throws TransformerException {
    final Transformer transformer = TransformerFactory.newDefaultInstance().newTransformer();
    transformer.setOutputProperty(OutputKeys.OMIT_XML_DECLARATION, "yes");
    transformer.setOutputProperty(OutputKeys.ENCODING, "UTF-8");
    final ByteArrayOutputStream text = new ByteArrayOutputStream();
    transformer.transform(new DOMSource(answer), new StreamResult(text));
    return text.toByteArray();
  }
}
