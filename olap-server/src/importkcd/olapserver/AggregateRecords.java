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

  /**
   * An aggregate table.
   *
   * @param built when that was
   * @param query about all that the table was made of
   * @param fingerprint what the query gave when the table was built
   */
  record Table(String database, String name, String built, String query, String fingerprint) {}

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
                text(table, "FingerprintQuery"),
                text(table, "Fingerprint")));
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
