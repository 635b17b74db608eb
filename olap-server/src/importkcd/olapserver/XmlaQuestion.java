package importkcd.olapserver;

import java.io.ByteArrayOutputStream;
import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import javax.xml.stream.XMLOutputFactory;
import javax.xml.stream.XMLStreamException;
import javax.xml.stream.XMLStreamWriter;

/**
 * What a request asks. The engine never gets a client's own text but one that is written from this:
 * nothing can be said to it past what was read here.
 *
 * @param list what a Discover asks for; null for an Execute
 * @param statement what an Execute asks; null for a Discover, and for the order to forget figures
 * @param restrictions the values of each
 * @param session the element of the SOAP header about a session, or null
 */
record XmlaQuestion(
    String list,
    String statement,
    Map<String, List<String>> restrictions,
    Map<String, String> properties,
    Session session) {

  /** "BeginSession", "Session" or "EndSession", and the number that the last two carry. */
  record Session(String element, String id) {}

  static final String CATALOGUE = "Catalog";
  static final String CATALOGUE_RESTRICTION = "CATALOG_NAME";

  private static final String SOAP = "http://schemas.xmlsoap.org/soap/envelope/";
  private static final String XMLA = "urn:schemas-microsoft-com:xml-analysis";

  boolean isDiscover() {
    return list != null;
  }

  /** The database that it is about; null when it names none. */
  String catalogue() {
    return properties.get(CATALOGUE);
  }

  /** The same, asked about one database. */
  XmlaQuestion about(String catalogue) {
    final Map<String, String> itsProperties = new LinkedHashMap<>(properties);
    itsProperties.put(CATALOGUE, catalogue);
    final Map<String, List<String>> itsRestrictions = new LinkedHashMap<>(restrictions);
    if (itsRestrictions.containsKey(CATALOGUE_RESTRICTION)) {
      itsRestrictions.put(CATALOGUE_RESTRICTION, List.of(catalogue));
    }
    return new XmlaQuestion(list, statement, itsRestrictions, itsProperties, session);
  }

  /** Another list's rows, with some of the restrictions. */
  XmlaQuestion forList(String other, List<String> kept) {
    final Map<String, List<String>> some = new LinkedHashMap<>(restrictions);
    some.keySet().retainAll(kept);
    return new XmlaQuestion(other, null, some, Map.of("Format", "Tabular", "Content", "Data"), null);
  }

  /** The same, not restricted by that. */
  XmlaQuestion without(String restriction) {
    final Map<String, List<String>> others = new LinkedHashMap<>(restrictions);
    others.remove(restriction);
    return new XmlaQuestion(list, statement, others, properties, session);
  }

  /** Whether a row with this value may be in the answer. */
  boolean admits(String restriction, String value) {
    final List<String> wanted = restrictions.getOrDefault(restriction, List.of());
    return wanted.isEmpty() || wanted.contains(value);
  }

  /** The request's text for the engine, in UTF-8. */
  byte[] envelope() {
    final ByteArrayOutputStream bytes = new ByteArrayOutputStream();
    try {
      final XMLStreamWriter out =
          XMLOutputFactory.newDefaultFactory().createXMLStreamWriter(bytes, StandardCharsets.UTF_8.name());
      out.writeStartDocument(StandardCharsets.UTF_8.name(), "1.0");
      begin(out, "Envelope", SOAP);
      if (session != null) {
        begin(out, "Header", SOAP);
        begin(out, session.element(), XMLA);
        if (session.id() != null) {
          out.writeAttribute("SessionId", session.id());
        }
        out.writeEndElement();
        out.writeEndElement();
      }
      begin(out, "Body", SOAP);
      begin(out, isDiscover() ? "Discover" : "Execute", XMLA);
      if (isDiscover()) {
        text(out, "RequestType", list);
        writeRestrictions(out);
      } else {
        begin(out, "Command", XMLA);
        text(out, "Statement", statement);
        out.writeEndElement();
      }
      begin(out, "Properties", XMLA);
      begin(out, "PropertyList", XMLA);
      for (final var property : properties.entrySet()) {
        text(out, property.getKey(), property.getValue());
      }
      out.writeEndDocument();
      out.close();
    } catch (XMLStreamException error) {
      throw new IllegalStateException(error);
    }
    return bytes.toByteArray();
  }

  private void writeRestrictions(XMLStreamWriter out) throws XMLStreamException {
    begin(out, "Restrictions", XMLA);
    begin(out, "RestrictionList", XMLA);
    for (final var restriction : restrictions.entrySet()) {
      if (restriction.getValue().size() == 1) {
        text(out, restriction.getKey(), restriction.getValue().get(0));
      } else {
        begin(out, restriction.getKey(), XMLA);
        for (final String value : new ArrayList<>(restriction.getValue())) {
          text(out, "Value", value);
        }
        out.writeEndElement();
      }
    }
    out.writeEndElement();
    out.writeEndElement();
  }

  private static void begin(XMLStreamWriter out, String element, String namespace)
      throws XMLStreamException {
    out.writeStartElement(element);
    out.writeDefaultNamespace(namespace);
  }

  private static void text(XMLStreamWriter out, String element, String value) throws XMLStreamException {
    begin(out, element, XMLA);
    out.writeCharacters(value);
    out.writeEndElement();
  }
}
