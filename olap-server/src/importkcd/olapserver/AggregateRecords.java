package importkcd.olapserver;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import org.w3c.dom.Element;
import org.w3c.dom.NodeList;

/**
 * What kcd aggregate has noted about the aggregate tables of a published directory, in its
 * aggregates.xml.
 */
record AggregateRecords(List<Table> tables) {
  private static final String FILE = "aggregates.xml";

  /** A query about something that a table was made of, and what it gave when that was built. */
  record Fingerprint(String query, String text) {}

  /**
   * An aggregate table.
   *
   * @param built when that was
   * @param facts those of its cube; without a query in the records of older versions
   * @param dimensions the tables of dimensions that it takes; without a query when there are none
   */
  record Table(
      String database, String name, String built, Fingerprint facts, Fingerprint dimensions) {}

  static Path file(Path directory) {
    return directory.resolve(FILE);
  }

  /** Without a file there are none. */
  static AggregateRecords read(Path file) throws IOException {
    final List<Table> tables = new ArrayList<>();
    if (Files.exists(file)) {
      final NodeList elements =
          PublishedContent.check(Files.readAllBytes(file)).getElementsByTagName("Table");
      for (int i = 0; i < elements.getLength(); ++i) {
        final Element table = (Element) elements.item(i);
        tables.add(
            new Table(
                table.getAttribute("database"),
                table.getAttribute("name"),
                table.getAttribute("built"),
                new Fingerprint(text(table, "FactsQuery"), text(table, "FactsFingerprint")),
                new Fingerprint(text(table, "DimensionsQuery"), text(table, "DimensionsFingerprint"))));
      }
    }
    return new AggregateRecords(tables);
  }

  /** That of a table that was finished; null when there is none. */
  Table of(String database, String name) {
    for (final Table table : tables) {
      if (table.database().equalsIgnoreCase(database) && table.name().equals(name)) {
        return table.built().isEmpty() ? null : table;
      }
    }
    return null;
  }

  private static String text(Element table, String child) {
    final NodeList children = table.getElementsByTagName(child);
    return children.getLength() == 0 ? "" : children.item(0).getTextContent();
  }
}
