package importkcd.olapserver;

import java.io.IOException;
import java.nio.ByteBuffer;
import java.nio.channels.SeekableByteChannel;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.StandardOpenOption;
import java.nio.file.attribute.PosixFilePermissions;
import java.time.Instant;
import java.time.temporal.ChronoUnit;
import java.util.LinkedHashMap;
import java.util.Map;
import java.util.Set;
import org.eclipse.jetty.server.Request;
import org.eclipse.jetty.server.RequestLog;
import org.eclipse.jetty.server.Response;
import org.eclipse.jetty.util.ajax.JSON;

/**
 * A line of JSON for each request, and the metrics of all. A log file is readable by its owner only,
 * and opened for each line, so that it can be moved away at any time.
 */
final class AccessLog implements RequestLog {
  private final Path file;
  private final Metrics metrics;
  private final long started = System.nanoTime();
  private final Instant startedAt = Instant.now();
  private boolean failed;

  /** Without a file only the metrics are kept. The exception says why the file cannot be used. */
  AccessLog(Path file, Metrics metrics) throws IOException {
    this.file = file;
    this.metrics = metrics;
    if (file != null) {
      try {
        append(new byte[0]);
      } catch (IOException error) {
        throw new IOException("cannot write to " + file + ": " + FollowedFile.reason(error), error);
      }
    }
  }

  @Override
  public void log(Request request, Response response) {
    final long duration = duration(request);
    final int status = response.getCommittedMetaData().getStatus();
    final RequestLogEntry entry = RequestLogEntry.of(request);
    metrics.request(status);
    if (entry.isQuestion()) {
      metrics.question(duration, entry.cells(), entry.hasFailed());
    }
    if (file == null) {
      return;
    }
    final Map<String, Object> line = new LinkedHashMap<>();
    line.put("time", Instant.ofEpochMilli(request.getTimeStamp()).truncatedTo(ChronoUnit.MILLIS).toString());
    line.put("user", request.getRemoteUser());
    line.put("status", status);
    line.put("milliseconds", duration / 1_000_000);
    // One that cannot be read has none.
    line.put("path", request.getHttpURI() == null ? null : request.getHttpURI().getPath());
    line.putAll(entry.words());
    write((new JSON().toJSON(line) + "\n").getBytes(StandardCharsets.UTF_8));
  }

  /** From the request's first line to the end of its answer. */
  private long duration(Request request) {
    final long now = startedAt.toEpochMilli() * 1_000_000 + (System.nanoTime() - started);
    return Math.max(0, now - request.getTimeStamp() * 1_000_000);
  }

  private synchronized void write(byte[] line) {
    try {
      append(line);
      failed = false;
    } catch (IOException error) {
      if (!failed) {
        failed = true;
        Lines.printError("cannot write to " + file + ": " + FollowedFile.reason(error));
      }
    }
  }

  private void append(byte[] line) throws IOException {
    try (SeekableByteChannel out =
        Files.newByteChannel(
            file,
            Set.of(StandardOpenOption.CREATE, StandardOpenOption.APPEND, StandardOpenOption.WRITE),
            PosixFilePermissions.asFileAttribute(PosixFilePermissions.fromString("rw-------")))) {
      final ByteBuffer rest = ByteBuffer.wrap(line);
      while (rest.hasRemaining()) {
        out.write(rest);
      }
    }
  }
}
