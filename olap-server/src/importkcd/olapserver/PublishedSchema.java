package importkcd.olapserver;

import java.io.IOException;
import java.io.InputStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.HashSet;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.Set;
import javax.xml.stream.XMLInputFactory;
import javax.xml.stream.XMLStreamException;
import javax.xml.stream.XMLStreamReader;

/**
 * What a published schema says about its database and cubes. The descriptions may be null.
 *
 * @param cubes the descriptions by the names of the cubes, in their order
 * @param aggregates the aggregate tables of those cubes that have some
 */
record PublishedSchema(
    String description,
    Map<String, String> cubes,
    Map<String, Role> roles,
    Map<String, List<String>> aggregates) {
  /** Of one that is not there, or is being replaced. */
  static final PublishedSchema NONE = new PublishedSchema(null, Map.of(), Map.of(), Map.of());

  private static final int SCHEMA_DEPTH = 1;
  private static final int OBJECT_DEPTH = 2;

  /** A role: the list of its users as the document has it, and the cubes that it sees. */
  record Role(String userList, Set<String> cubes) {
    /** Whether a login's name is on the list, alone or behind the name of a domain. */
    boolean lists(String user) {
      for (final String entry : userList.split(";")) {
        final String name = entry.strip();
        if (name.equalsIgnoreCase(user)
            || name.substring(name.lastIndexOf('\\') + 1).equalsIgnoreCase(user)) {
          return true;
        }
      }
      return false;
    }
  }

  static PublishedSchema read(Path file) throws IOException {
    final XMLInputFactory factory = XMLInputFactory.newDefaultFactory();
    factory.setProperty(XMLInputFactory.SUPPORT_DTD, false);
    try (InputStream bytes = Files.newInputStream(file)) {
      return new Walk(factory.createXMLStreamReader(bytes)).schema();
    } catch (XMLStreamException error) {
      throw new IOException(error.getMessage(), error);
    }
  }

  /** Whether a view sees a cube. */
  boolean shows(String cube, Grants.View view) {
    return view.isWhole()
        || view.roles().stream().anyMatch(role -> roles.containsKey(role) && roles.get(role).cubes().contains(cube));
  }

  /** The roles of a view that are there; an unknown one would keep the engine from answering at all. */
  List<String> known(List<String> names) {
    final List<String> there = new ArrayList<>(names);
    there.retainAll(roles.keySet());
    return there;
  }

  private static final class Walk {
    private final XMLStreamReader reader;
    private final Map<String, String> cubes = new LinkedHashMap<>();
    private final Map<String, Role> roles = new LinkedHashMap<>();
    private final Map<String, List<String>> aggregates = new LinkedHashMap<>();
    private String description;
    private String cubeName;
    private String roleName;
    private String userList = "";
    private Set<String> granted = new HashSet<>();
    private int depth;

    Walk(XMLStreamReader reader) {
      this.reader = reader;
    }

    PublishedSchema schema() throws XMLStreamException {
      while (reader.hasNext()) {
        final int event = reader.next();
        if (event == XMLStreamReader.START_ELEMENT) {
          ++depth;
          begin(reader.getLocalName());
        } else if (event == XMLStreamReader.END_ELEMENT) {
          if (depth == OBJECT_DEPTH && reader.getLocalName().equals("Role")) {
            roles.put(roleName, new Role(userList, granted));
          }
          --depth;
        }
      }
      return new PublishedSchema(description, cubes, roles, aggregates);
    }

    private void begin(String element) throws XMLStreamException {
      if (depth == SCHEMA_DEPTH) {
        description = attribute("description");
      } else if (depth == OBJECT_DEPTH && element.endsWith("Cube")) {
        cubeName = attribute("name");
        cubes.put(cubeName, attribute("description"));
      } else if (depth == OBJECT_DEPTH && element.equals("Role")) {
        roleName = attribute("name");
        userList = "";
        granted = new HashSet<>();
      } else if (element.equals("AggName")) {
        aggregates.computeIfAbsent(cubeName, cube -> new ArrayList<>()).add(attribute("name"));
      } else if (element.equals("CubeGrant") && "all".equals(attribute("access"))) {
        granted.add(attribute("cube"));
      } else if (element.equals("Annotation") && "user_list".equals(attribute("name")) && roleName != null) {
        userList = reader.getElementText();
        // Its end is read by that.
        --depth;
      }
    }

    private String attribute(String name) {
      return reader.getAttributeValue(null, name);
    }
  }
}
