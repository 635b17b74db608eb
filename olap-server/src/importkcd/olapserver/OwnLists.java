package importkcd.olapserver;

import java.util.ArrayList;
import java.util.List;
import java.util.Map;
import org.w3c.dom.Document;
import org.w3c.dom.Element;
import org.w3c.dom.Node;
import org.w3c.dom.NodeList;

/**
 * Lists that the engine does not have: measure groups, of which each cube is one here, key
 * performance indicators, of which documents have none, and the cubes that cannot be asked now.
 */
final class OwnLists {
  private static final String UNSERVED = "KCD_UNSERVED_CUBES";
  private static final String GROUPS = "MDSCHEMA_MEASUREGROUPS";
  private static final String GROUP_DIMENSIONS = "MDSCHEMA_MEASUREGROUP_DIMENSIONS";
  private static final String INDICATORS = "MDSCHEMA_KPIS";

  static final List<String> NAMES = List.of(UNSERVED, GROUPS, GROUP_DIMENSIONS, INDICATORS);

  static final String AUTHENTICATION = "AuthenticationMode";
  private static final String BY_LOGIN = "Authenticated";

  private static final String CUBE = "CUBE_NAME";
  private static final String GROUP = "MEASUREGROUP_NAME";
  private static final String DIMENSION = "DIMENSION_UNIQUE_NAME";
  private static final String MEASURES_DIMENSION_TYPE = "2";

  private final XmlaAnswers answers;
  private final XmlaDirectoryServlet engine;

  OwnLists(XmlaAnswers answers, XmlaDirectoryServlet engine) {
    this.answers = answers;
    this.engine = engine;
  }

  void answer(XmlaQuestion question, XmlaAnswers.Asked asked) throws Exception {
    final Rowset list =
        switch (question.list()) {
          case UNSERVED -> unserved(question, asked);
          case GROUPS -> groups(question, asked);
          case GROUP_DIMENSIONS -> groupDimensions(question, asked);
          default -> new Rowset(List.of("CATALOG_NAME", "SCHEMA_NAME", CUBE, GROUP, "KPI_NAME", "KPI_CAPTION",
              "KPI_DESCRIPTION", "KPI_DISPLAY_FOLDER", "KPI_VALUE", "KPI_GOAL", "KPI_STATUS", "KPI_TREND"));
        };
    XmlaAnswers.sendRows(list, question, asked);
  }

  private Rowset unserved(XmlaQuestion question, XmlaAnswers.Asked asked) throws Exception {
    final Rowset list = new Rowset(List.of("CATALOG_NAME", CUBE, "REASON"));
    for (final String database : answers.databases(question, asked)) {
      final Grants.View view = answers.view(database, asked);
      engine
          .faults()
          .of(database)
          .forEach(
              (cube, reason) -> {
                if (question.admits(CUBE, cube) && engine.schema(database).shows(cube, view)) {
                  list.add("CATALOG_NAME", database, CUBE, cube, "REASON", reason);
                }
              });
    }
    return list;
  }

  private Rowset groups(XmlaQuestion question, XmlaAnswers.Asked asked) throws Exception {
    final Rowset list =
        new Rowset(
            List.of("CATALOG_NAME", "SCHEMA_NAME", CUBE, GROUP, "DESCRIPTION", "IS_WRITE_ENABLED", "MEASUREGROUP_CAPTION"));
    for (final Map<String, String> cube : rows("MDSCHEMA_CUBES", List.of(CUBE), question, asked)) {
      final String name = cube.get(CUBE);
      if (question.admits(GROUP, name)) {
        list.add("CATALOG_NAME", cube.get("CATALOG_NAME"), "SCHEMA_NAME", cube.get("SCHEMA_NAME"), CUBE, name,
            GROUP, name, "DESCRIPTION", cube.get("DESCRIPTION"), "IS_WRITE_ENABLED", "false",
            "MEASUREGROUP_CAPTION", name);
      }
    }
    return list;
  }

  private Rowset groupDimensions(XmlaQuestion question, XmlaAnswers.Asked asked) throws Exception {
    final Rowset list =
        new Rowset(
            List.of("CATALOG_NAME", "SCHEMA_NAME", CUBE, GROUP, "MEASUREGROUP_CARDINALITY", DIMENSION,
                "DIMENSION_CARDINALITY", "DIMENSION_IS_VISIBLE", "DIMENSION_IS_FACT_DIMENSION", "DIMENSION_GRANULARITY"));
    for (final Map<String, String> row :
        rows("MDSCHEMA_DIMENSIONS", List.of(CUBE, DIMENSION), question, asked)) {
      final String cube = row.get(CUBE);
      if (question.admits(GROUP, cube) && !MEASURES_DIMENSION_TYPE.equals(row.get("DIMENSION_TYPE"))) {
        list.add("CATALOG_NAME", row.get("CATALOG_NAME"), "SCHEMA_NAME", row.get("SCHEMA_NAME"), CUBE, cube,
            GROUP, cube, "MEASUREGROUP_CARDINALITY", "MANY", DIMENSION, row.get(DIMENSION),
            "DIMENSION_CARDINALITY", "ONE", "DIMENSION_IS_VISIBLE", "true",
            "DIMENSION_IS_FACT_DIMENSION", "false", "DIMENSION_GRANULARITY", row.get("DEFAULT_HIERARCHY"));
      }
    }
    return list;
  }

  /** The rows of one of the engine's lists, of all databases that the asker sees. */
  private List<Map<String, String>> rows(
      String list, List<String> restrictions, XmlaQuestion question, XmlaAnswers.Asked asked) throws Exception {
    final List<Map<String, String>> all = new ArrayList<>();
    for (final String database : answers.databases(question, asked)) {
      all.addAll(answers.rows(question.forList(list, restrictions), database, asked));
    }
    return all;
  }

  /** Adds the names of these lists to the engine's list of lists. */
  static void addNames(Document lists, XmlaQuestion question) {
    final Element root = (Element) lists.getElementsByTagName("root").item(0);
    for (final String name : NAMES) {
      if (root != null && question.admits("SchemaName", name)) {
        final String space = root.getNamespaceURI();
        final Element row = (Element) root.appendChild(lists.createElementNS(space, "row"));
        row.appendChild(lists.createElementNS(space, "SchemaName")).setTextContent(name);
      }
    }
  }

  /** Says in the engine's list of data sources, which knows of no logins, that they are asked for. */
  static void askForLogins(Document sources, XmlaQuestion question) {
    final NodeList modes = sources.getElementsByTagName(AUTHENTICATION);
    for (int i = modes.getLength() - 1; i >= 0; --i) {
      final Node mode = modes.item(i);
      mode.setTextContent(BY_LOGIN);
      if (!question.admits(AUTHENTICATION, BY_LOGIN)) {
        mode.getParentNode().getParentNode().removeChild(mode.getParentNode());
      }
    }
  }
}
