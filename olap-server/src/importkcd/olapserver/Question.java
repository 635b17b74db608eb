package importkcd.olapserver;

import java.sql.SQLException;
import java.util.ArrayList;
import java.util.List;
import mondrian.olap.MondrianException;
import mondrian.server.Statement;

/** A question that is being answered, in a way that lets it be ended from outside. */
final class Question {
  private static final ThreadLocal<Question> CURRENT = new ThreadLocal<>();

  private final List<Statement> statements = new ArrayList<>();
  private Thread thread;
  private String endReason;

  /** The question that this thread answers; null when it answers none. */
  static Question current() {
    return CURRENT.get();
  }

  /** Answers it in this thread. */
  void answer(Runnable work) {
    begin();
    CURRENT.set(this);
    try {
      work.run();
    } finally {
      CURRENT.remove();
      finish();
    }
  }

  private synchronized void begin() {
    thread = Thread.currentThread();
  }

  /** Why it was ended from outside; null when it was not. */
  synchronized String endReason() {
    return endReason;
  }

  /** Whether it was ended from outside; then this thread may go on to say so. */
  synchronized boolean takeEnd() {
    if (endReason != null) {
      Thread.interrupted();
    }
    return endReason != null;
  }

  private synchronized void finish() {
    thread = null;
    statements.clear();
    // It may have come too late to be noticed; the thread goes on to other questions.
    Thread.interrupted();
  }

  /** Adds what the engine does for the question. */
  synchronized void add(Statement statement) {
    if (endReason != null) {
      cancel(statement);
    }
    statements.add(statement);
  }

  /** Ends it: what is being computed or waited for stops soon. */
  synchronized void end(String reason) {
    endReason = reason;
    statements.forEach(Question::cancel);
    if (thread != null) {
      thread.interrupt();
    }
  }

  private static void cancel(Statement statement) {
    try {
      statement.cancel();
    } catch (SQLException | MondrianException error) {
      // It had come to its end by itself.
    }
  }
}
