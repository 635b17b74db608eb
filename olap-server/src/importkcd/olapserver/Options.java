package importkcd.olapserver;

import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;

/** What the host was told when it was started: a directory, then NAME=VALUE words. */
final class Options {
  /** Whether everybody who logs in sees everything, and what says so otherwise. */
  enum GrantsFrom {
    NOTHING,
    FILE,
    DOCUMENTS
  }

  static final String USAGE =
      "usage: DIRECTORY [address=ADDRESS] [port=N] [seconds=N] [host=NAME]... [users=FILE]"
          + " [grants=FILE|grants-from-documents=yes] [certificate=PEM key=PEM] [access-log=FILE]"
          + " [admin-port=N] [public-health=yes] [check-aggregates=SECONDS]";

  final Path directory;
  String address = "127.0.0.1";

  /** 0 is any free port. */
  int port;

  /** A question ends after so many seconds; never with 0. */
  int questionSeconds;

  /** Names that requests may be meant for. */
  final List<String> hosts = new ArrayList<>();

  /** Who may log in; null when everybody may ask. */
  Path users;

  GrantsFrom grantsFrom = GrantsFrom.NOTHING;
  Path grants;
  Path certificate;
  Path key;
  Path accessLog;

  /** Where health and metrics are answered on the loopback interface; below 0 is nowhere, 0 any free port. */
  int adminPort = -1;

  /** Whether health is answered where questions are. */
  boolean publicHealth;

  /** How often aggregate tables are compared with the facts; never with 0. */
  int aggregateSeconds = 900;

  private Options(Path directory) {
    this.directory = directory;
  }

  /** Throws IllegalArgumentException when there is a word that it does not know. */
  static Options of(String[] arguments) {
    if (arguments.length == 0) {
      throw new IllegalArgumentException(USAGE);
    }
    final Options options = new Options(Path.of(arguments[0]));
    for (int i = 1; i < arguments.length; ++i) {
      final int equal = arguments[i].indexOf('=');
      if (equal < 0) {
        throw new IllegalArgumentException(USAGE);
      }
      options.take(arguments[i].substring(0, equal), arguments[i].substring(equal + 1));
    }
    return options;
  }

  private void take(String name, String value) {
    switch (name) {
      case "address" -> address = value;
      case "port" -> port = Integer.parseInt(value);
      case "seconds" -> questionSeconds = Integer.parseInt(value);
      case "host" -> hosts.add(value);
      case "users" -> users = Path.of(value);
      case "grants" -> {
        grantsFrom = GrantsFrom.FILE;
        grants = Path.of(value);
      }
      case "grants-from-documents" -> grantsFrom = GrantsFrom.DOCUMENTS;
      case "certificate" -> certificate = Path.of(value);
      case "key" -> key = Path.of(value);
      case "access-log" -> accessLog = Path.of(value);
      case "admin-port" -> adminPort = Integer.parseInt(value);
      case "public-health" -> publicHealth = true;
      case "check-aggregates" -> aggregateSeconds = Integer.parseInt(value);
      default -> throw new IllegalArgumentException(USAGE);
    }
  }

  boolean isEncrypted() {
    return certificate != null;
  }
}
