package importkcd.olapserver;

import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.util.Map;
import java.util.function.Function;
import javax.servlet.ServletConfig;
import javax.servlet.http.HttpServletRequest;
import javax.servlet.http.HttpServletResponse;
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
 * Puts the descriptions of the published schemas into the list of cubes, where the engine has words
 * of its own: it invents those of cubes that have none.
 */
final class PublishedDescriptions implements XmlaRequestCallback {
  private static final String LIST = PublishedDescriptions.class.getName();
  private static final String CUBES = "MDSCHEMA_CUBES";

  private final Function<String, PublishedSchema> schemas;

  PublishedDescriptions(Function<String, PublishedSchema> schemas) {
    this.schemas = schemas;
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
    if (type.equals(CUBES)) {
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
    if (context.get(LIST) == null || soapParts[1] == null) {
      return;
    }
    final Document answer = PublishedContent.check(soapParts[1]);
    final NodeList rows = answer.getElementsByTagName("row");
    for (int i = 0; i < rows.getLength(); ++i) {
      final Element row = (Element) rows.item(i);
      describe(row, schemas.apply(text(row, "CATALOG_NAME")).cubes().get(text(row, "CUBE_NAME")));
    }
    soapParts[1] = bytes(answer);
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

  /** An answer as it is sent, without a declaration. */
  static byte[] bytes(Document answer) throws TransformerException {
    final Transformer transformer = TransformerFactory.newDefaultInstance().newTransformer();
    transformer.setOutputProperty(OutputKeys.OMIT_XML_DECLARATION, "yes");
    transformer.setOutputProperty(OutputKeys.ENCODING, "UTF-8");
    final ByteArrayOutputStream text = new ByteArrayOutputStream();
    transformer.transform(new DOMSource(answer), new StreamResult(text));
    return text.toByteArray();
  }
}
