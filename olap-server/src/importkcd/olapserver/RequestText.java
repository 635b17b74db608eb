package importkcd.olapserver;

import java.io.ByteArrayInputStream;
import java.io.IOException;
import java.util.Locale;
import javax.servlet.http.HttpServletResponse;
import javax.xml.XMLConstants;
import javax.xml.parsers.ParserConfigurationException;
import javax.xml.parsers.SAXParserFactory;
import org.xml.sax.Attributes;
import org.xml.sax.InputSource;
import org.xml.sax.SAXException;
import org.xml.sax.SAXParseException;
import org.xml.sax.helpers.DefaultHandler;

/**
 * Reads a request's XML before the engine does, with the same parser and hence in the same
 * encoding, but one that refuses every document type: no entity, no file and no address that a
 * request names is ever looked at.
 */
final class RequestText {
  private static final int DEEPEST = 100;

  /** The parser's message holds its name. */
  private static final String NO_DOCTYPE = "http://apache.org/xml/features/disallow-doctype-decl";

  private RequestText() {}

  /** Nothing when the engine may read it. */
  static Refusal refusal(byte[] body) {
    try {
      final SAXParserFactory factory = SAXParserFactory.newDefaultInstance();
      factory.setFeature(XMLConstants.FEATURE_SECURE_PROCESSING, true);
      factory.setFeature(NO_DOCTYPE, true);
      factory.setNamespaceAware(true);
      factory.newSAXParser().parse(new InputSource(new ByteArrayInputStream(body)), new Reader());
      return null;
    } catch (ForbiddenText forbidden) {
      return new Refusal(HttpServletResponse.SC_FORBIDDEN, forbidden.getMessage());
    } catch (SAXException | IOException | ParserConfigurationException error) {
      if (String.valueOf(error.getMessage()).contains(NO_DOCTYPE)) {
        return new Refusal(
            HttpServletResponse.SC_BAD_REQUEST, "a request may not declare a document type");
      }
      return new Refusal(HttpServletResponse.SC_BAD_REQUEST, "the request cannot be read: " + oneLine(error));
    }
  }

  private static String oneLine(Exception error) {
    final String place =
        error instanceof SAXParseException at ? " (line " + at.getLineNumber() + ")" : "";
    return String.valueOf(error.getMessage()).replaceAll("\\s+", " ") + place;
  }

  private static final class ForbiddenText extends SAXException {
    private static final long serialVersionUID = 1;

    ForbiddenText(String message) {
      super(message);
    }
  }

  private static final class Reader extends DefaultHandler {
    /** A cell property by which MDX names a class or brings a script along, which the engine would run. */
    private static final String FORMATTER = "CELL_FORMATTER";

    private int depth;

    /** The end of the text so far: what is looked for may come in pieces. */
    private String tail = "";

    @Override
    public void startElement(String uri, String localName, String name, Attributes attributes)
        throws SAXException {
      if (++depth > DEEPEST) {
        throw new SAXException("its elements are nested too deeply");
      }
    }

    @Override
    public void endElement(String uri, String localName, String name) {
      --depth;
    }

    @Override
    public void characters(char[] characters, int start, int length) throws SAXException {
      final String text = tail + new String(characters, start, length).toUpperCase(Locale.ROOT);
      if (text.contains(FORMATTER)) {
        throw new ForbiddenText("a question may not bring its own cell formatter");
      }
      tail = text.substring(Math.max(0, text.length() - FORMATTER.length()));
    }

    /** Without this the parser prints it. */
    @Override
    public void fatalError(SAXParseException error) throws SAXException {
      throw error;
    }
  }
}
