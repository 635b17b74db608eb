package importkcd.olapserver;

import java.util.Locale;
import java.util.Map;
import java.util.concurrent.ConcurrentSkipListMap;
import java.util.concurrent.atomic.AtomicLong;
import java.util.concurrent.atomic.LongAdder;

/** What happened since the start, in Prometheus' text form. */
final class Metrics {
  static final String CONTENT_TYPE = "text/plain; version=0.0.4; charset=utf-8";

  /** Upper bounds of the histogram of questions' times, in seconds. */
  private static final double[] BOUNDS = {0.01, 0.03, 0.1, 0.3, 1, 3, 10, 30, 100, 300};

  private final Map<Integer, LongAdder> requests = new ConcurrentSkipListMap<>();
  private final LongAdder[] within = new LongAdder[BOUNDS.length];
  private final LongAdder questions = new LongAdder();
  private final LongAdder nanoseconds = new LongAdder();
  private final LongAdder failures = new LongAdder();
  private final LongAdder cells = new LongAdder();
  private final LongAdder goodLogins = new LongAdder();
  private final LongAdder wrongLogins = new LongAdder();
  private final LongAdder hashes = new LongAdder();
  private final AtomicLong running = new AtomicLong();

  Metrics() {
    for (int i = 0; i < within.length; ++i) {
      within[i] = new LongAdder();
    }
  }

  void request(int status) {
    requests.computeIfAbsent(status, one -> new LongAdder()).increment();
  }

  void questionBegins() {
    running.incrementAndGet();
  }

  void questionEnds() {
    running.decrementAndGet();
  }

  /** A question was answered or refused by the engine. */
  void question(long itsNanoseconds, int itsCells, boolean failed) {
    questions.increment();
    nanoseconds.add(itsNanoseconds);
    cells.add(itsCells);
    if (failed) {
      failures.increment();
    }
    for (int i = 0; i < BOUNDS.length; ++i) {
      if (itsNanoseconds <= BOUNDS[i] * 1e9) {
        within[i].increment();
      }
    }
  }

  /** A password was looked at that was not known to be right. */
  void login(boolean right) {
    (right ? goodLogins : wrongLogins).increment();
  }

  void passwordHashed() {
    hashes.increment();
  }

  String text(Map<AggregateChecks.State, Integer> aggregates) {
    final StringBuilder text = new StringBuilder();
    head(text, "requests_total", "counter", "HTTP requests by the status of their answers.");
    requests.forEach((status, count) -> line(text, "requests_total{status=\"" + status + "\"}", count.sum()));
    head(text, "question_seconds", "histogram", "Times that questions took.");
    for (int i = 0; i < BOUNDS.length; ++i) {
      line(text, "question_seconds_bucket{le=\"" + bound(BOUNDS[i]) + "\"}", within[i].sum());
    }
    line(text, "question_seconds_bucket{le=\"+Inf\"}", questions.sum());
    text.append("importkcd_question_seconds_sum ")
        .append(String.format(Locale.ROOT, "%.6f", nanoseconds.sum() / 1e9))
        .append('\n');
    line(text, "question_seconds_count", questions.sum());
    one(text, "question_failures_total", "counter", "Questions that were not answered.", failures.sum());
    one(text, "cells_total", "counter", "Cells of answers.", cells.sum());
    one(text, "questions_running", "gauge", "Questions that are being answered.", running.get());
    head(text, "logins_total", "counter", "Passwords that were checked.");
    line(text, "logins_total{result=\"right\"}", goodLogins.sum());
    line(text, "logins_total{result=\"wrong\"}", wrongLogins.sum());
    one(text, "password_hashes_total", "counter", "Computations of bcrypt.", hashes.sum());
    head(text, "aggregate_tables", "gauge", "Aggregate tables that are read, by what their last check said.");
    aggregates.forEach(
        (state, count) -> line(text, "aggregate_tables{state=\"" + state.label() + "\"}", count));
    final Runtime machine = Runtime.getRuntime();
    one(text, "heap_bytes", "gauge", "Memory in use.", machine.totalMemory() - machine.freeMemory());
    one(text, "heap_limit_bytes", "gauge", "Memory that may be used.", machine.maxMemory());
    return text.toString();
  }

  private static String bound(double seconds) {
    return seconds == Math.rint(seconds) ? String.valueOf((long) seconds) : String.valueOf(seconds);
  }

  private static void one(StringBuilder text, String name, String type, String help, long value) {
    head(text, name, type, help);
    line(text, name, value);
  }

  private static void head(StringBuilder text, String name, String type, String help) {
    text.append("# HELP importkcd_").append(name).append(' ').append(help).append('\n');
    text.append("# TYPE importkcd_").append(name).append(' ').append(type).append('\n');
  }

  private static void line(StringBuilder text, String name, long value) {
    text.append("importkcd_").append(name).append(' ').append(value).append('\n');
  }
}
