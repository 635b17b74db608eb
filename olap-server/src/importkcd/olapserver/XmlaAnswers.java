package importkcd.olapserver;

import java.io.IOException;
import java.net.URLDecoder;
import java.nio.charset.StandardCharsets;
import java.util.ArrayList;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.Set;
import javax.servlet.http.HttpServletRequest;
import javax.servlet.http.HttpServletResponse;
import mondrian.xmla.PropertyDefinition;
import mondrian.xmla.RowsetDefinition;
import org.w3c.dom.Document;
import org.w3c.dom.NodeList;

/**
 * Answers what the gate lets through: each question is bound to what its asker may see, and goes to
 * the engine for one database at a time, so that neither the roles of one count in another nor a
 * broken one keeps the others from answering.
 *
 * <p>The header "Olap-Role" carries a role's name, percent-encoded UTF-8. Without logins it says in
 * whose view a question is asked; with them it can only narrow what a login sees.
 */
final class XmlaAnswers {
  /** One question's request and response. */
  record Asked(HttpServletRequest request, HttpServletResponse response) {
    /** The login's name; null without logins. */
    String user() {
      return request.getRemoteUser();
    }

    Asked with(HttpServletResponse other) {
      return new Asked(request, other);
    }
  }

  private static final String ROLE_HEADER = "Olap-Role";
  private static final String NO_DATABASE = "there is no such database for this login";

  private static final String DATABASES = "DBSCHEMA_CATALOGS";
  private static final String LISTS = "DISCOVER_SCHEMA_ROWSETS";
  private static final String PROPERTIES = "DISCOVER_PROPERTIES";
  private static final String SOURCES = "DISCOVER_DATASOURCES";

  /** These are the same for all databases. */
  private static final Set<String> GENERAL =
      Set.of(
          SOURCES,
          LISTS,
          "DISCOVER_ENUMERATORS",
          PROPERTIES,
          "DISCOVER_KEYWORDS",
          "DISCOVER_LITERALS",
          "DBSCHEMA_PROVIDER_TYPES",
          "MDSCHEMA_FUNCTIONS");

  private final XmlaDirectoryServlet engine;
  private final Grants grants;
  private final boolean hasLogins;
  private final OwnLists own;

  XmlaAnswers(XmlaDirectoryServlet engine, Grants grants, boolean hasLogins) {
    this.engine = engine;
    this.grants = grants;
    this.hasLogins = hasLogins;
    own = new OwnLists(this, engine);
  }

  void answer(XmlaQuestion question, Asked asked) throws Exception {
    final XmlaQuestion known = withKnownProperties(question);
    RequestLogEntry.of(asked.request()).asks(known);
    if (!known.isDiscover() && known.statement() == null) {
      forget(known, asked);
    } else if (!known.isDiscover()) {
      execute(known, asked);
    } else if (OwnLists.NAMES.contains(known.list())) {
      own.answer(known, asked);
    } else if (known.list().equals(DATABASES)) {
      listDatabases(known, asked);
    } else {
      discover(known, asked);
    }
  }

  /** The databases that a question is about and that its asker may see. */
  List<String> databases(XmlaQuestion question, Asked asked) throws IOException {
    final List<String> visible = new ArrayList<>();
    for (final String name : engine.content().catalogues()) {
      if ((question.catalogue() == null || question.catalogue().equals(name))
          && question.admits(XmlaQuestion.CATALOGUE_RESTRICTION, name)
          && view(name, asked) != null) {
        visible.add(name);
      }
    }
    return visible;
  }

  /** How the asker sees a database; null when it is not there for the asker. */
  Grants.View view(String database, Asked asked) {
    final Grants.View granted = hasLogins ? grants.view(asked.user(), database) : Grants.View.WHOLE;
    final String role = roleHeader(asked.request());
    if (granted == null || role == null) {
      return granted;
    }
    return granted.narrowedTo(role);
  }

  private static String roleHeader(HttpServletRequest request) {
    final String value = request.getHeader(ROLE_HEADER);
    if (value == null) {
      return null;
    }
    try {
      return URLDecoder.decode(value, StandardCharsets.UTF_8);
    } catch (IllegalArgumentException error) {
      return value;
    }
  }

  private void execute(XmlaQuestion question, Asked asked) throws Exception {
    String database = question.catalogue();
    if (database == null) {
      final List<String> visible = databases(question, asked);
      if (visible.size() != 1 && hasLogins) {
        refuse(visible.isEmpty() ? NO_DATABASE : "the question names no database", asked);
        return;
      }
      database = visible.isEmpty() ? "" : visible.get(0);
    }
    final String refusal = refusal(database, asked);
    if (refusal != null) {
      refuse(refusal, asked);
    } else {
      RequestLogEntry.of(asked.request()).asks(question.about(database));
      noteRefusal(ask(question.about(database), view(database, asked), asked), asked);
    }
  }

  /** Forgets the figures of those databases that the asker sees wholly. */
  private void forget(XmlaQuestion question, Asked asked) throws IOException {
    int count = 0;
    for (final String database : databases(question, asked)) {
      if (view(database, asked).isWhole()) {
        engine.forgetFigures(database);
        ++count;
      }
    }
    if (count == 0) {
      refuse("this login may not have figures forgotten", asked);
    } else {
      Rowset.sendNothing(asked.response());
    }
  }

  private static void refuse(String reason, Asked asked) throws IOException {
    Rowset.refuse(asked.response(), reason);
    noteRefusal(false, asked);
  }

  private static void noteRefusal(boolean isAnswered, Asked asked) {
    if (!isAnswered) {
      RequestLogEntry.of(asked.request()).fails();
    }
  }

  /** Why a database may not be asked; null when it may. */
  private String refusal(String database, Asked asked) {
    if (!hasLogins) {
      return null;
    }
    if (!engine.content().catalogues().contains(database) || grants.view(asked.user(), database) == null) {
      return NO_DATABASE;
    }
    return view(database, asked) == null
        ? "this login does not have the role '" + roleHeader(asked.request()) + "'"
        : null;
  }

  /** Asks the engine as a view sees it; null is for what concerns no database. False when it refuses. */
  private boolean ask(XmlaQuestion question, Grants.View view, Asked asked) throws Exception {
    List<String> roles = List.of();
    if (view != null && !view.isWhole()) {
      final List<String> known = engine.schema(question.catalogue()).known(view.roles());
      // The engine says that there is no such role.
      roles = known.isEmpty() ? view.roles().subList(0, 1) : known;
    }
    final boolean isRead = asked.response() instanceof KeptAnswer kept && kept.isRead();
    return engine.answer(
        new ReceivedRequest(asked.request(), question.envelope(), roles, isRead), asked.response());
  }

  private void discover(XmlaQuestion asIs, Asked asked) throws Exception {
    final XmlaQuestion question = withKnownRestrictions(asIs);
    if (question == null) {
      sendRows(new Rowset(List.of("PropertyName")), asIs, asked);
      return;
    }
    final boolean isGeneral = GENERAL.contains(question.list());
    final List<String> databases =
        isGeneral ? engine.content().catalogues() : databases(question, asked);
    if (databases.isEmpty()) {
      nothing(question, asked);
      return;
    }
    final boolean isAboutLogins = hasLogins && question.list().equals(SOURCES);
    final boolean isPassedOn = databases.size() == 1 && !question.list().equals(LISTS) && !isAboutLogins;
    final XmlaQuestion passedOn = isAboutLogins ? question.without(OwnLists.AUTHENTICATION) : question;
    KeptAnswer refusal = null;
    Document all = null;
    for (final String database : databases) {
      final KeptAnswer answer = new KeptAnswer(asked.response(), !isPassedOn);
      if (!ask(passedOn.about(database), isGeneral ? null : view(database, asked), asked.with(answer))) {
        refusal = refusal == null ? answer : refusal;
      } else if (isPassedOn) {
        answer.send();
        return;
      } else if (all == null) {
        all = answer.document();
      } else {
        addRows(answer.document(), all);
      }
      if (isGeneral && all != null) {
        break;
      }
    }
    if (all == null) {
      refusal.send();
      noteRefusal(false, asked);
      return;
    }
    if (question.list().equals(LISTS)) {
      OwnLists.addNames(all, question);
    } else if (isAboutLogins) {
      OwnLists.askForLogins(all, question);
    }
    asked.response().getOutputStream().write(PublishedDescriptions.bytes(all));
  }

  private void nothing(XmlaQuestion question, Asked asked) throws Exception {
    if (hasLogins || question.catalogue() == null) {
      sendRows(new Rowset(List.of(XmlaQuestion.CATALOGUE_RESTRICTION)), question, asked);
    } else {
      // In the engine's own words.
      noteRefusal(ask(question, view(question.catalogue(), asked), asked), asked);
    }
  }

  private static void addRows(Document from, Document to) {
    final NodeList roots = to.getElementsByTagName("root");
    final NodeList rows = from.getElementsByTagName("row");
    for (int i = 0; i < rows.getLength() && roots.getLength() > 0; ++i) {
      roots.item(0).appendChild(to.importNode(rows.item(i), true));
    }
  }

  /** From what is published: so one that the engine cannot load is listed, too. */
  private void listDatabases(XmlaQuestion question, Asked asked) throws Exception {
    final Rowset list =
        new Rowset(List.of("CATALOG_NAME", "DESCRIPTION", "ROLES", "DATE_MODIFIED"));
    for (final String name : databases(question, asked)) {
      final PublishedSchema schema = engine.schema(name);
      final Grants.View granted = hasLogins ? grants.view(asked.user(), name) : Grants.View.WHOLE;
      final List<String> roles =
          granted.isWhole() ? schema.roles().keySet().stream().sorted().toList() : schema.known(granted.roles());
      list.add("CATALOG_NAME", name, "DESCRIPTION", schema.description(), "ROLES", String.join(",", roles));
    }
    sendRows(list, question, asked);
  }

  /** Sends a list in the form that the question wants. */
  static void sendRows(Rowset list, XmlaQuestion question, Asked asked) throws IOException {
    final String content = question.properties().getOrDefault("Content", "SchemaData");
    list.send(asked.response(), content.startsWith("Schema"), content.endsWith("Data"));
  }

  /** The rows of a list of the engine's, for one database. */
  List<Map<String, String>> rows(XmlaQuestion question, String database, Asked asked) throws Exception {
    final KeptAnswer answer = new KeptAnswer(asked.response(), true);
    ask(withKnownRestrictions(question).about(database), view(database, asked), asked.with(answer));
    return Rowset.rowsOf(answer.document().getDocumentElement());
  }

  /** Clients send properties of other servers, at which the engine would refuse to answer. */
  private static XmlaQuestion withKnownProperties(XmlaQuestion question) {
    final Map<String, String> known = new LinkedHashMap<>(question.properties());
    known.keySet().removeIf(name -> !isProperty(name));
    known.values().removeIf(String::isEmpty);
    return new XmlaQuestion(
        question.list(), question.statement(), question.restrictions(), known, question.session());
  }

  private static boolean isProperty(String name) {
    for (final PropertyDefinition property : PropertyDefinition.values()) {
      if (property.name().equals(name)) {
        return true;
      }
    }
    return false;
  }

  /** The same for restrictions; null when nothing can be among the properties that are asked for. */
  private static XmlaQuestion withKnownRestrictions(XmlaQuestion question) {
    for (final RowsetDefinition list : RowsetDefinition.values()) {
      if (list.name().equals(question.list())) {
        final Map<String, List<String>> known = new LinkedHashMap<>(question.restrictions());
        known.keySet().removeIf(name -> list.lookupColumn(name) == null);
        if (list.name().equals(PROPERTIES) && known.size() < question.restrictions().size()) {
          return null;
        }
        return new XmlaQuestion(question.list(), null, known, question.properties(), question.session());
      }
    }
    return question;
  }
}
