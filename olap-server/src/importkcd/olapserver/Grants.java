package importkcd.olapserver;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.function.Function;
import org.eclipse.jetty.util.ajax.JSON;

/** Who sees what: the roles of each login in each database. */
interface Grants {
  /** Stands for every database, and for everything in a database. */
  String ALL = "*";

  /** How a database is seen: wholly, or as roles see it together. */
  record View(boolean isWhole, List<String> roles) {
    static final View WHOLE = new View(true, List.of());

    /** The same for one role only; null when it is none of these. */
    View narrowedTo(String role) {
      return isWhole || roles.contains(role) ? new View(false, List.of(role)) : null;
    }
  }

  /** How a user sees a database; null when it is not there for that user. */
  View view(String user, String database);

  /** Everybody who is let in sees everything. */
  Grants EVERYTHING = (user, database) -> View.WHOLE;

  /**
   * Those of a file: {"USER": {"DATABASE": ["ROLE", ...], ...}, ...}. A "*" as database stands for
   * those that have no entry of their own, a "*" among the roles for everything.
   */
  static Grants of(Path file) throws IOException {
    final FollowedFile<Map<String, Map<String, View>>> followed = new FollowedFile<>(file, Grants::read);
    return (user, database) -> {
      final Map<String, View> its = followed.get().getOrDefault(user, Map.of());
      final View view = its.containsKey(database) ? its.get(database) : its.get(ALL);
      return view == null || !view.isWhole() && view.roles().isEmpty() ? null : view;
    };
  }

  /** Those of the imported documents: the roles in whose user lists the user stands. */
  static Grants ofDocuments(Function<String, PublishedSchema> schemas) {
    return (user, database) -> {
      final List<String> roles = new ArrayList<>();
      schemas.apply(database).roles().forEach((role, its) -> {
        if (its.lists(user)) {
          roles.add(role);
        }
      });
      return roles.isEmpty() ? null : new View(false, roles);
    };
  }

  private static Map<String, Map<String, View>> read(byte[] content) throws IOException {
    final Object text;
    try {
      text = new JSON().fromJSON(new String(content, StandardCharsets.UTF_8));
    } catch (RuntimeException error) {
      throw new IOException("it is no JSON: " + String.valueOf(error.getMessage()).lines().findFirst().orElse(""));
    }
    final Map<String, Map<String, View>> grants = new HashMap<>();
    for (final var user : object(text, "the file").entrySet()) {
      final Map<String, View> databases = new HashMap<>();
      for (final var database : object(user.getValue(), "what '" + user.getKey() + "' has").entrySet()) {
        final String whose = user.getKey() + "' in '" + database.getKey();
        databases.put(String.valueOf(database.getKey()), view(database.getValue(), whose));
      }
      grants.put(String.valueOf(user.getKey()), databases);
    }
    return grants;
  }

  private static Map<?, ?> object(Object value, String what) throws IOException {
    if (value instanceof Map<?, ?> map) {
      return map;
    }
    throw new IOException(what + " is no object of JSON");
  }

  private static View view(Object value, String whose) throws IOException {
    if (!(value instanceof Object[] names)) {
      throw new IOException("the roles of '" + whose + "' are no list of names");
    }
    final List<String> roles = new ArrayList<>();
    for (final Object name : names) {
      if (!(name instanceof String role)) {
        throw new IOException("the roles of '" + whose + "' are no list of names");
      }
      roles.add(role);
    }
    return roles.contains(ALL) ? View.WHOLE : new View(false, roles);
  }
}
