package importkcd.olapserver;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.Map;
import org.eclipse.jetty.util.ajax.JSON;
import org.w3c.dom.Document;
import org.w3c.dom.Element;
import org.w3c.dom.Node;

/**
 * Facts of a cube that are a union of partitions, and what is known about the rows of each of them.
 *
 * @param view how statements name the union when the data warehouse has a view of it; null when they
 *     hold its text
 * @param union the text of it
 */
record PartitionedFacts(String view, String union, List<Part> parts) {
  private static final String ANNOTATION = "importkcd.partitions";
  private static final String BETWEEN_PARTS = "\nunion all\n";

  /** A partition: its query, and what all of its rows have in common. */
  record Part(String query, List<Slice> slices) {}

  /**
   * A column that has one value in all rows of a partition.
   *
   * @param table the alias under which statements have the column's table
   * @param join what ties that to the facts; null when it is the facts
   */
  record Slice(String table, String column, String value, boolean isNumber, Join join) {}

  /** The columns by which a dimension's table is joined to the facts. */
  record Join(String factColumn, String table, String column) {}

  static List<PartitionedFacts> read(Path schema) throws IOException {
    final String text = Files.readString(schema);
    if (!text.contains(ANNOTATION)) {
      return List.of();
    }
    final Document document = PublishedContent.check(text.getBytes(StandardCharsets.UTF_8));
    final List<PartitionedFacts> all = new ArrayList<>();
    for (final Element cube : children(document.getDocumentElement(), "Cube")) {
      for (final Element annotations : children(cube, "Annotations")) {
        for (final Element annotation : children(annotations, "Annotation")) {
          if (ANNOTATION.equals(annotation.getAttribute("name"))) {
            add(document, cube, annotation.getTextContent(), all);
          }
        }
      }
    }
    return all;
  }

  /** The text of the union of some of its parts. */
  static String union(List<Part> parts) {
    return String.join(BETWEEN_PARTS, parts.stream().map(Part::query).toList());
  }

  private static void add(Document document, Element cube, String json, List<PartitionedFacts> all) {
    try {
      final Element relation = relation(cube);
      final List<Part> parts = new ArrayList<>();
      for (final Object part : (Object[]) JSON.parse(json)) {
        final Map<?, ?> its = (Map<?, ?>) part;
        final List<Slice> slices = new ArrayList<>();
        for (final Object slice : (Object[]) its.get("slices")) {
          addSlice(document, cube, relation.getAttribute("alias"), (Map<?, ?>) slice, slices);
        }
        parts.add(new Part(withLineFeeds(its.get("query").toString()), slices));
      }
      final boolean isView = relation.getTagName().equals("Table");
      final String union = union(parts).strip();
      if (isView || withLineFeeds(relation.getTextContent()).strip().equals(union)) {
        all.add(new PartitionedFacts(isView ? relation.getAttribute("name") : null, union, parts));
      }
    } catch (RuntimeException error) {
      // Not as it is understood here: the cube's questions read all partitions.
    }
  }

  private static void addSlice(
      Document document, Element cube, String facts, Map<?, ?> slice, List<Slice> slices) {
    final String table = slice.get("table").toString();
    final List<Join> joins = new ArrayList<>();
    for (final Element part : children(cube, null)) {
      if (part.getTagName().equals("DimensionUsage")) {
        addJoins(shared(document, part.getAttribute("source")), part.getAttribute("foreignKey"), table, joins);
      } else if (part.getTagName().equals("Dimension")) {
        addJoins(part, part.getAttribute("foreignKey"), table, joins);
      }
    }
    // The engine has other names for the tables of a dimension that are those of one before it.
    if (table.equals(facts) == joins.isEmpty()) {
      slices.add(
          new Slice(
              table,
              slice.get("column").toString(),
              slice.get("value").toString(),
              Boolean.TRUE.equals(slice.get("number")),
              joins.isEmpty() ? null : joins.get(0)));
    }
  }

  /** The joins of a dimension's hierarchies that have a table of this alias. */
  private static void addJoins(Element dimension, String foreignKey, String table, List<Join> joins) {
    for (final Element hierarchy : children(dimension, "Hierarchy")) {
      final List<String> tables = new ArrayList<>();
      addAliases(hierarchy, tables);
      if (tables.contains(table)) {
        final String keyTable = hierarchy.getAttribute("primaryKeyTable");
        joins.add(
            new Join(
                foreignKey,
                keyTable.isEmpty() ? tables.get(0) : keyTable,
                hierarchy.getAttribute("primaryKey")));
      }
    }
  }

  private static void addAliases(Element parent, List<String> aliases) {
    for (final Element part : children(parent, null)) {
      final String alias = part.getAttribute("alias");
      switch (part.getTagName()) {
        case "Table" -> aliases.add(alias.isEmpty() ? part.getAttribute("name") : alias);
        case "View" -> aliases.add(alias);
        case "Join" -> addAliases(part, aliases);
        default -> {
          // A level, or what else a hierarchy has.
        }
      }
    }
  }

  private static Element shared(Document document, String name) {
    for (final Element dimension : children(document.getDocumentElement(), "Dimension")) {
      if (dimension.getAttribute("name").equals(name)) {
        return dimension;
      }
    }
    throw new IllegalArgumentException(name);
  }

  private static Element relation(Element cube) {
    for (final Element part : children(cube, null)) {
      if (part.getTagName().equals("View") || part.getTagName().equals("Table")) {
        return part;
      }
    }
    throw new IllegalArgumentException(cube.getAttribute("name"));
  }

  /** As texts come from XML. */
  private static String withLineFeeds(String text) {
    return text.replace("\r\n", "\n").replace('\r', '\n');
  }

  private static List<Element> children(Element parent, String name) {
    final List<Element> result = new ArrayList<>();
    for (Node child = parent.getFirstChild(); child != null; child = child.getNextSibling()) {
      if (child instanceof Element element && (name == null || element.getTagName().equals(name))) {
        result.add(element);
      }
    }
    return result;
  }
}
