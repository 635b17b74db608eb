package importkcd.olapserver;

import java.io.IOException;
import java.nio.ByteBuffer;
import java.nio.channels.SocketChannel;
import java.util.Map;
import java.util.concurrent.ConcurrentHashMap;
import java.util.concurrent.Executors;
import java.util.concurrent.ScheduledExecutorService;
import java.util.concurrent.TimeUnit;
import org.eclipse.jetty.io.Connection;
import org.eclipse.jetty.io.EndPoint;

/**
 * Looks after the clients from outside of their requests: closes connections whose request does
 * not arrive in time, however slowly it trickles, and ends the questions of clients that have left
 * or that take too long.
 *
 * <p>Each connection carries one request. Hence whatever comes while its question is answered is of
 * no interest, and reading is the way to learn that the client has closed it.
 */
final class ClientWatch implements Connection.Listener {
  private static final int LOOK_MILLISECONDS = 250;

  /** The engine ends questions by itself, with a better reason; this is for what it does not see. */
  private static final int GRACE_SECONDS = 3;

  private static final String LATE = "the question ended, because it took too long";

  /** A client that has only said that it sends nothing more looks alike, and is told. */
  private static final String LEFT =
      "the question ended, because its client has closed the connection";

  private record Asked(SocketChannel channel, Question question, long deadline) {}

  private final ScheduledExecutorService timer =
      Executors.newSingleThreadScheduledExecutor(
          work -> {
            final Thread thread = new Thread(work, "client-watch");
            thread.setDaemon(true);
            return thread;
          });

  /** Until when each client's request has to arrive. */
  private final Map<EndPoint, Long> receiving = new ConcurrentHashMap<>();
  private final Map<EndPoint, Asked> asked = new ConcurrentHashMap<>();
  private final long questionNanoseconds;

  /** Questions are ended after so many seconds; 0 is never. */
  ClientWatch(int questionSeconds) {
    questionNanoseconds =
        questionSeconds == 0 ? 0 : TimeUnit.SECONDS.toNanos((long) questionSeconds + GRACE_SECONDS);
    timer.scheduleWithFixedDelay(
        this::look, LOOK_MILLISECONDS, LOOK_MILLISECONDS, TimeUnit.MILLISECONDS);
  }

  @Override
  public void onOpened(Connection connection) {
    // The inner end of an encrypted connection gets no time of its own.
    receiving.putIfAbsent(
        ofSocket(connection.getEndPoint()),
        System.nanoTime() + TimeUnit.SECONDS.toNanos(Limits.RECEIVE_SECONDS));
  }

  @Override
  public void onClosed(Connection connection) {
    receiving.remove(ofSocket(connection.getEndPoint()));
    questionEnded(connection.getEndPoint());
  }

  /** The client's request is there, with its body. */
  void received(EndPoint client) {
    receiving.remove(ofSocket(client));
  }

  /** An encrypted connection has two ends on this side, of which the inner one leads to the other. */
  private static EndPoint ofSocket(EndPoint client) {
    return client.getTransport() instanceof EndPoint outer ? outer : client;
  }

  /** From now on the question ends when the client leaves, until questionEnded() is called. */
  void questionBegins(EndPoint client, Question question) {
    final EndPoint its = ofSocket(client);
    if (its.getTransport() instanceof SocketChannel channel) {
      asked.put(its, new Asked(channel, question, System.nanoTime() + questionNanoseconds));
    }
  }

  void questionEnded(EndPoint client) {
    asked.remove(ofSocket(client));
  }

  private void look() {
    receiving.forEach(
        (client, deadline) -> {
          if (System.nanoTime() - deadline > 0 && receiving.remove(client) != null) {
            client.close();
          }
        });
    final ByteBuffer ignored = ByteBuffer.allocate(1024);
    asked.forEach(
        (client, its) -> {
          final boolean late =
              questionNanoseconds > 0 && System.nanoTime() - its.deadline() > 0;
          if ((late || hasLeft(its.channel(), ignored)) && asked.remove(client) != null) {
            its.question().end(late ? LATE : LEFT);
          }
        });
  }

  private static boolean hasLeft(SocketChannel channel, ByteBuffer ignored) {
    try {
      return channel.read(ignored.clear()) < 0;
    } catch (IOException error) {
      return true;
    }
  }
}
