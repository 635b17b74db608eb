package importkcd.olapserver;

import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import javax.servlet.http.HttpServletResponse;
import javax.xml.stream.XMLOutputFactory;
import javax.xml.stream.XMLStreamException;
import javax.xml.stream.XMLStreamWriter;
import org.w3c.dom.Element;
import org.w3c.dom.Node;
import org.w3c.dom.NodeList;

/**
 * A list of this host's own, in the form of an answer to a Discover, and the form of a refusal.
 *
 * @param columns all that a row may have; their values are texts
 */
record Rowset(List<String> columns, List<Map<String, String>> rows) {
  private static final String SOAP = "http://schemas.xmlsoap.org/soap/envelope/";
  private static final String XMLA = "urn:schemas-microsoft-com:xml-analysis";
  private static final String ROWSET = XMLA + ":rowset";
  private static final String SCHEMA = "http://www.w3.org/2001/XMLSchema";

  Rowset(List<String> columns) {
    this(columns, new ArrayList<>());
  }

  /** Adds a row of some of the columns: names and values in turn. A null is no value. */
  void add(String... namesAndValues) {
    final Map<String, String> row = new LinkedHashMap<>();
    for (int i = 0; i < namesAndValues.length; i += 2) {
      if (namesAndValues[i + 1] != null) {
        row.put(namesAndValues[i], namesAndValues[i + 1]);
      }
    }
    rows.add(row);
  }

  /** What elements of the name "row" say, each column's first text. */
  static List<Map<String, String>> rowsOf(Element answer) {
    final List<Map<String, String>> result = new ArrayList<>();
    final NodeList rows = answer.getElementsByTagName("row");
    for (int i = 0; i < rows.getLength(); ++i) {
      final Map<String, String> row = new LinkedHashMap<>();
      for (Node column = rows.item(i).getFirstChild(); column != null; column = column.getNextSibling()) {
        if (column instanceof Element element) {
          row.putIfAbsent(element.getTagName(), element.getTextContent());
        }
      }
      result.add(row);
    }
    return result;
  }

  void send(HttpServletResponse response, boolean withSchema, boolean withRows) throws IOException {
    send(response, out -> {
      out.writeStartElement("DiscoverResponse");
      out.writeDefaultNamespace(XMLA);
      out.writeStartElement("return");
      out.writeStartElement("root");
      out.writeDefaultNamespace(ROWSET);
      if (withSchema) {
        writeSchema(out);
      }
      for (final Map<String, String> row : withRows ? rows : List.<Map<String, String>>of()) {
        out.writeStartElement("row");
        for (final var column : row.entrySet()) {
          out.writeStartElement(column.getKey());
          out.writeCharacters(column.getValue());
          out.writeEndElement();
        }
        out.writeEndElement();
      }
    });
  }

  private void writeSchema(XMLStreamWriter out) throws XMLStreamException {
    out.writeStartElement("xsd", "schema", SCHEMA);
    out.writeNamespace("xsd", SCHEMA);
    out.writeNamespace("sql", "urn:schemas-microsoft-com:xml-sql");
    out.writeAttribute("targetNamespace", ROWSET);
    out.writeAttribute("elementFormDefault", "qualified");
    out.writeStartElement("xsd", "element", SCHEMA);
    out.writeAttribute("name", "root");
    out.writeStartElement("xsd", "complexType", SCHEMA);
    out.writeStartElement("xsd", "sequence", SCHEMA);
    out.writeEmptyElement("xsd", "element", SCHEMA);
    out.writeAttribute("name", "row");
    out.writeAttribute("type", "row");
    out.writeAttribute("minOccurs", "0");
    out.writeAttribute("maxOccurs", "unbounded");
    out.writeEndElement();
    out.writeEndElement();
    out.writeEndElement();
    out.writeStartElement("xsd", "complexType", SCHEMA);
    out.writeAttribute("name", "row");
    out.writeStartElement("xsd", "sequence", SCHEMA);
    for (final String column : columns) {
      out.writeEmptyElement("xsd", "element", SCHEMA);
      out.writeAttribute("sql", "urn:schemas-microsoft-com:xml-sql", "field", column);
      out.writeAttribute("name", column);
      out.writeAttribute("type", "xsd:string");
      out.writeAttribute("minOccurs", "0");
    }
    out.writeEndElement();
    out.writeEndElement();
    out.writeEndElement();
  }

  /** The answer to an order. */
  static void sendNothing(HttpServletResponse response) throws IOException {
    send(response, out -> {
      out.writeStartElement("ExecuteResponse");
      out.writeDefaultNamespace(XMLA);
      out.writeStartElement("return");
      out.writeStartElement("root");
      out.writeDefaultNamespace(XMLA + ":empty");
    });
  }

  /** Refuses a question in the form in which the engine does. */
  static void refuse(HttpServletResponse response, String reason) throws IOException {
    send(response, out -> {
      out.writeStartElement("SOAP-ENV", "Fault", SOAP);
      out.writeStartElement("faultcode");
      out.writeCharacters("SOAP-ENV:Client");
      out.writeEndElement();
      out.writeStartElement("faultstring");
      out.writeCharacters(reason);
      out.writeEndElement();
      out.writeStartElement("detail");
      out.writeStartElement("error");
      out.writeStartElement("desc");
      out.writeCharacters(reason);
    });
  }

  private interface Content {
    void write(XMLStreamWriter out) throws XMLStreamException;
  }

  private static void send(HttpServletResponse response, Content content) throws IOException {
    final ByteArrayOutputStream bytes = new ByteArrayOutputStream();
    try {
      final XMLStreamWriter out =
          XMLOutputFactory.newDefaultFactory().createXMLStreamWriter(bytes, StandardCharsets.UTF_8.name());
      out.writeStartDocument(StandardCharsets.UTF_8.name(), "1.0");
      out.writeStartElement("SOAP-ENV", "Envelope", SOAP);
      out.writeNamespace("SOAP-ENV", SOAP);
      out.writeStartElement("SOAP-ENV", "Body", SOAP);
      content.write(out);
      out.writeEndDocument();
      out.close();
    } catch (XMLStreamException error) {
      throw new IOException(error.getMessage(), error);
    }
    response.setContentType("text/xml;charset=utf-8");
    response.getOutputStream().write(bytes.toByteArray());
  }
}
