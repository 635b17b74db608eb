package importkcd.olapserver;

/**
 * What requests may take. Each limit is a system property, importkcd.NAME, with a default that
 * suits people and their programs.
 */
final class Limits {
  /** Bytes of a request's body. */
  static final int BODY_BYTES = value("bodyBytes", 8 << 20);

  /** Bytes of all bodies that are being received or answered. */
  static final int ALL_BODY_BYTES = value("allBodyBytes", 64 << 20);

  /** Seconds in which a request must have arrived, with its body. */
  static final int RECEIVE_SECONDS = value("receiveSeconds", 30);

  /** Seconds for which a client may fall silent while something is awaited from it. */
  static final int IDLE_SECONDS = value("idleSeconds", 15);

  /** Bytes that a client must take or give in each second, on the average. */
  static final int BYTES_PER_SECOND = value("bytesPerSecond", 200);

  static final int CONNECTIONS = value("connections", 1000);

  /** Questions that are answered at the same time. */
  static final int QUESTIONS = value("questions", 16);

  /** Questions that wait for their turn. */
  static final int WAITING_QUESTIONS = value("waitingQuestions", 200);

  /** Bytes of the figures that are kept for later questions: by default a quarter of the heap. */
  static final long FIGURE_BYTES = Long.getLong("importkcd.figureBytes", Runtime.getRuntime().maxMemory() / 4);

  /** Seconds that one query of a check of aggregate tables may take. */
  static final int CHECK_SECONDS = value("checkSeconds", 3600);

  /** Whether the data warehouses are looked at when the engine starts; not for a single question. */
  static final boolean CHECK = !"false".equals(System.getProperty("importkcd.check"));

  private Limits() {}

  private static int value(String name, int otherwise) {
    return Integer.getInteger("importkcd." + name, otherwise);
  }
}
