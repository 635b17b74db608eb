package importkcd.olapserver;

import java.io.ByteArrayInputStream;
import java.io.IOException;
import java.util.ArrayDeque;
import java.util.ArrayList;
import java.util.Deque;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Locale;
import java.util.Map;
import java.util.Set;
import java.util.regex.Pattern;
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
 * Reads a request's XML, with a parser that refuses every document type: no entity, no file and no
 * address that a request names is ever looked at.
 */
final class RequestText {
  private static final int DEEPEST = 100;

  /** The parser's message holds its name. */
  private static final String NO_DOCTYPE = "http://apache.org/xml/features/disallow-doctype-decl";

  private RequestText() {}

  /** What a request asks, or why it is refused; one of them is null. */
  record Read(XmlaQuestion question, Refusal refusal) {}

  static Read read(byte[] body) {
    final Reader reader = new Reader();
    final Refusal refusal = refusal(body, reader);
    return refusal == null ? new Read(reader.question(), null) : new Read(null, refusal);
  }

  private static Refusal refusal(byte[] body, Reader reader) {
    try {
      final SAXParserFactory factory = SAXParserFactory.newDefaultInstance();
      factory.setFeature(XMLConstants.FEATURE_SECURE_PROCESSING, true);
      factory.setFeature(NO_DOCTYPE, true);
      factory.setNamespaceAware(true);
      factory.newSAXParser().parse(new InputSource(new ByteArrayInputStream(body)), reader);
      return reader.isQuestion()
          ? null
          : new Refusal(
              HttpServletResponse.SC_BAD_REQUEST, "the request is neither a Discover nor an Execute");
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

    private static final String LIST_PATH = "Envelope/Body/Discover/RequestType";
    private static final String RESTRICTION_PATH =
        "Envelope/Body/Discover/Restrictions/RestrictionList/";
    private static final String STATEMENT_PATH = "Envelope/Body/Execute/Command/Statement";
    private static final String FORGET_PATH = "Envelope/Body/Execute/Command/ClearCache";
    private static final String SESSION_PATH = "Envelope/Header/";
    private static final Set<String> SESSIONS = Set.of("BeginSession", "Session", "EndSession");
    private static final Pattern PROPERTY_PATH =
        Pattern.compile("Envelope/Body/(?:Discover|Execute)/Properties/PropertyList/([^/]+)");

    private final Deque<String> paths = new ArrayDeque<>();
    private final Map<String, List<String>> restrictions = new LinkedHashMap<>();
    private final Map<String, String> properties = new LinkedHashMap<>();
    private final StringBuilder text = new StringBuilder();
    private String method;
    private String list = "";
    private String statement = "";
    private boolean forgets;
    private XmlaQuestion.Session session;
    private int depth;

    /** The end of the text so far: what is looked for may come in pieces. */
    private String tail = "";

    @Override
    public void startElement(String uri, String localName, String name, Attributes attributes)
        throws SAXException {
      if (++depth > DEEPEST) {
        throw new SAXException("its elements are nested too deeply");
      }
      final String above = paths.isEmpty() ? "" : paths.peek() + "/";
      paths.push(above + localName);
      text.setLength(0);
      if (above.equals("Envelope/Body/")) {
        if (method != null) {
          throw new SAXException("it asks more than one question");
        }
        method = localName;
      } else if (paths.peek().equals(FORGET_PATH)) {
        forgets = true;
      } else if (above.equals(SESSION_PATH) && SESSIONS.contains(localName)) {
        session = new XmlaQuestion.Session(localName, attributes.getValue("SessionId"));
      }
    }

    boolean isQuestion() {
      return "Discover".equals(method) || "Execute".equals(method);
    }

    XmlaQuestion question() {
      final boolean discovers = "Discover".equals(method);
      return new XmlaQuestion(
          discovers ? list : null, discovers || forgets ? null : statement, restrictions, properties, session);
    }

    /** An element has come to its end. */
    private void take(String path) {
      final var property = PROPERTY_PATH.matcher(path);
      if (property.matches()) {
        properties.put(property.group(1), text.toString());
      } else if (path.equals(LIST_PATH)) {
        list = text.toString().strip();
      } else if (path.equals(FORGET_PATH + "/Object/DatabaseID")) {
        properties.put(XmlaQuestion.CATALOGUE, text.toString());
      } else if (path.equals(STATEMENT_PATH)) {
        statement = text.toString();
      } else if (path.startsWith(RESTRICTION_PATH)) {
        takeRestriction(path.substring(RESTRICTION_PATH.length()));
      }
    }

    private void takeRestriction(String name) {
      if (name.endsWith("/Value")) {
        restrictions
            .computeIfAbsent(name.substring(0, name.indexOf('/')), one -> new ArrayList<>())
            .add(text.toString());
      } else if (name.indexOf('/') < 0 && !restrictions.containsKey(name) && !text.isEmpty()) {
        restrictions.put(name, new ArrayList<>(List.of(text.toString())));
      }
    }

    @Override
    public void endElement(String uri, String localName, String name) {
      --depth;
      take(paths.pop());
      text.setLength(0);
    }

    @Override
    public void characters(char[] characters, int start, int length) throws SAXException {
      text.append(characters, start, length);
      final String seen = tail + new String(characters, start, length).toUpperCase(Locale.ROOT);
      if (seen.contains(FORMATTER)) {
        throw new ForbiddenText("a question may not bring its own cell formatter");
      }
      tail = seen.substring(Math.max(0, seen.length() - FORMATTER.length()));
    }

    /** Without this the parser prints it. */
    @Override
    public void fatalError(SAXParseException error) throws SAXException {
      throw error;
    }
  }
}
