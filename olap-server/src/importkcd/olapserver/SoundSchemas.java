package importkcd.olapserver;

import java.io.IOException;
import java.io.StringWriter;
import java.nio.file.Files;
import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.concurrent.ConcurrentHashMap;
import javax.xml.transform.OutputKeys;
import javax.xml.transform.Transformer;
import javax.xml.transform.TransformerException;
import javax.xml.transform.TransformerFactory;
import javax.xml.transform.dom.DOMSource;
import javax.xml.transform.stream.StreamResult;
import mondrian.olap.Connection;
import mondrian.olap.DriverManager;
import mondrian.olap.Util;
import org.w3c.dom.Document;
import org.w3c.dom.Element;
import org.w3c.dom.Node;

/**
 * Lets a broken cube silence only itself. The engine refuses a schema as a whole; then each cube is
 * tried alone, and the engine gets a schema of those that it takes.
 */
final class SoundSchemas {
  /** After this a schema is tried again as it is: tables may have come that were missing. */
  private static final long RETRY_NANOSECONDS = 30_000_000_000L;

  /** The engine looks every second what it is to read. */
  private static final long NOTICED_NANOSECONDS = 3_000_000_000L;

  /** What became of a schema: its cubes that are not served, since when, and when that was looked at last. */
  private record Tried(
      String identity, Map<String, String> unserved, boolean somethingIsServed, long since, long time) {
    Tried again() {
      return new Tried(identity, unserved, somethingIsServed, since, System.nanoTime());
    }
  }

  private final PublishedContent content;
  private final Map<String, Tried> tried = new ConcurrentHashMap<>();

  SoundSchemas(PublishedContent content) {
    this.content = content;
  }

  boolean isPublished(String catalogue) {
    return catalogue != null && content.published(catalogue) != null;
  }

  /** The cubes of a catalogue that the engine does not get, and why. */
  Map<String, String> unserved(String catalogue) {
    final PublishedContent.Published published = content.published(catalogue);
    final Tried its = published == null ? null : tried.get(catalogue);
    return its != null && its.somethingIsServed() && its.identity().equals(identity(published))
        ? its.unserved()
        : Map.of();
  }

  /** Has the engine try a schema again as it is when it was reduced a while ago. */
  void reconsider(String catalogue) {
    final Tried its = catalogue == null ? null : tried.get(catalogue);
    if (its == null || System.nanoTime() - its.time() < RETRY_NANOSECONDS) {
      return;
    }
    synchronized (this) {
      final PublishedContent.Published published = content.published(catalogue);
      if (tried.get(catalogue) != its || published == null) {
        return;
      }
      if (!its.identity().equals(identity(published)) || fault(published, null) == null) {
        tried.remove(catalogue);
        content.replace(catalogue, null);
      } else {
        tried.put(catalogue, its.again());
      }
    }
  }

  /**
   * Has the engine read what is sound of a schema that it refuses; it notices soon. False when there
   * is nothing, or when it refuses that, too.
   */
  synchronized boolean reduce(String catalogue) {
    final PublishedContent.Published published = isPublished(catalogue) ? content.published(catalogue) : null;
    if (published == null) {
      return false;
    }
    final String identity = identity(published);
    final Tried before = tried.get(catalogue);
    final long now = System.nanoTime();
    if (before != null && before.identity().equals(identity)) {
      return before.somethingIsServed() && now - before.since() < NOTICED_NANOSECONDS;
    }
    try {
      final Parts parts = new Parts(PublishedContent.check(Files.readAllBytes(published.schema())));
      final Map<String, String> unserved = new LinkedHashMap<>();
      final List<String> sound = new ArrayList<>();
      for (final String cube : parts.cubes) {
        note(cube, fault(published, parts.with(List.of(cube), false)), sound, unserved);
      }
      for (final String cube : sound.isEmpty() ? List.<String>of() : parts.virtualCubes) {
        final List<String> all = new ArrayList<>(sound);
        all.add(cube);
        note(cube, fault(published, parts.with(all, false)), sound, unserved);
      }
      final String rest = parts.with(sound, true);
      final boolean isServed =
          !sound.isEmpty() && !unserved.isEmpty() && fault(published, rest) == null;
      tried.put(catalogue, new Tried(identity, unserved, isServed, now, now));
      if (isServed) {
        content.replace(catalogue, new PublishedContent.Reduced(identity, rest));
      }
      return isServed;
    } catch (IOException error) {
      return false;
    }
  }

  private static void note(String cube, String fault, List<String> sound, Map<String, String> unserved) {
    if (fault == null) {
      sound.add(cube);
    } else {
      unserved.put(cube, fault);
    }
  }

  private static String identity(PublishedContent.Published published) {
    try {
      return FollowedFile.identity(published.schema());
    } catch (IOException error) {
      return "";
    }
  }

  /** Why the engine refuses a schema, null when it takes it. Without a text it is the published one. */
  private static String fault(PublishedContent.Published published, String schema) {
    final Util.PropertyList properties = Util.parseConnectString(published.connection());
    properties.put("Catalog", published.schema().toUri().toString());
    // It is of no use to anybody else.
    properties.put("UseSchemaPool", "false");
    try {
      // Not by its address, in which the engine misreads letters beyond ASCII.
      properties.put("CatalogContent", schema == null ? Files.readString(published.schema()) : schema);
      final Connection connection = DriverManager.getConnection(properties, null);
      connection.close();
      return null;
    } catch (IOException | RuntimeException error) {
      return CubeFaults.reason(error);
    }
  }

  /** A schema that can be written with some of its cubes only. */
  private static final class Parts {
    private final List<String> cubes = new ArrayList<>();
    private final List<String> virtualCubes = new ArrayList<>();
    private final Document schema;

    Parts(Document schema) {
      this.schema = schema;
      for (final Element element : children(schema.getDocumentElement())) {
        if (element.getTagName().equals("Cube")) {
          cubes.add(element.getAttribute("name"));
        } else if (element.getTagName().equals("VirtualCube")) {
          virtualCubes.add(element.getAttribute("name"));
        }
      }
    }

    String with(List<String> some, boolean withRoles) throws IOException {
      final Document copy = (Document) schema.cloneNode(true);
      for (final Element element : children(copy.getDocumentElement())) {
        final boolean isCube = element.getTagName().endsWith("Cube");
        final boolean isRole = element.getTagName().equals("Role");
        if (isCube && !some.contains(element.getAttribute("name")) || isRole && !withRoles) {
          element.getParentNode().removeChild(element);
        } else if (isRole) {
          dropGrants(element, some);
        }
      }
      return text(copy);
    }

    private static void dropGrants(Element role, List<String> some) {
      for (final Element part : children(role)) {
        for (final Element grant : children(part)) {
          if (grant.getTagName().equals("CubeGrant") && !some.contains(grant.getAttribute("cube"))) {
            part.removeChild(grant);
          }
        }
      }
    }

    private static List<Element> children(Element parent) {
      final List<Element> result = new ArrayList<>();
      for (Node child = parent.getFirstChild(); child != null; child = child.getNextSibling()) {
        if (child instanceof Element element) {
          result.add(element);
        }
      }
      return result;
    }

    private static String text(Document document) throws IOException {
      try {
        final StringWriter text = new StringWriter();
        final Transformer transformer = TransformerFactory.newDefaultInstance().newTransformer();
        transformer.setOutputProperty(OutputKeys.OMIT_XML_DECLARATION, "yes");
        transformer.transform(new DOMSource(document), new StreamResult(text));
        return text.toString().replace("${", "&#36;{");
      } catch (TransformerException error) {
        throw new IOException(error.getMessage(), error);
      }
    }
  }
}
