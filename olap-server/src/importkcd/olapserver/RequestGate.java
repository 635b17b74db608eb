package importkcd.olapserver;

import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.util.concurrent.ArrayBlockingQueue;
import java.util.concurrent.RejectedExecutionException;
import java.util.concurrent.ThreadPoolExecutor;
import java.util.concurrent.TimeUnit;
import java.util.concurrent.TimeoutException;
import java.util.concurrent.atomic.AtomicLong;
import javax.servlet.AsyncContext;
import javax.servlet.ReadListener;
import javax.servlet.ServletInputStream;
import javax.servlet.http.HttpServlet;
import javax.servlet.http.HttpServletRequest;
import javax.servlet.http.HttpServletResponse;
import org.eclipse.jetty.http.BadMessageException;
import org.eclipse.jetty.io.EndPoint;
import org.eclipse.jetty.server.Request;

/**
 * The way of a request to the engine: what it says about itself is checked, its body is received
 * within bounds and without a thread waiting for it, its text is checked, and then it is answered
 * by one of a few threads.
 */
final class RequestGate extends HttpServlet {
  private static final long serialVersionUID = 1;

  private final transient XmlaAnswers answers;
  private final transient RequestCheck check;
  private final transient ClientWatch watch;
  private final transient Metrics metrics;
  private final transient AtomicLong allBytes = new AtomicLong();
  private final transient ThreadPoolExecutor questions =
      new ThreadPoolExecutor(
          Limits.QUESTIONS,
          Limits.QUESTIONS,
          1,
          TimeUnit.MINUTES,
          new ArrayBlockingQueue<>(Limits.WAITING_QUESTIONS),
          work -> {
            final Thread thread = new Thread(work, "question");
            thread.setDaemon(true);
            return thread;
          });

  RequestGate(XmlaAnswers answers, RequestCheck check, ClientWatch watch, Metrics metrics) {
    this.answers = answers;
    this.check = check;
    this.watch = watch;
    this.metrics = metrics;
    questions.allowCoreThreadTimeOut(true);
  }

  @Override
  protected void service(HttpServletRequest request, HttpServletResponse response)
      throws IOException {
    Refusal refusal = check.refusal(request);
    if (refusal == null && request.getContentLengthLong() > Limits.BODY_BYTES) {
      refusal = tooLarge();
    }
    if (refusal != null) {
      if (refusal.status() == HttpServletResponse.SC_METHOD_NOT_ALLOWED) {
        response.setHeader("Allow", "POST");
      }
      refusal.send(response);
      return;
    }
    final AsyncContext context = request.startAsync();
    // Receiving and answering have their own limits.
    context.setTimeout(0);
    final ServletInputStream input = request.getInputStream();
    input.setReadListener(new Reception(context, input));
  }

  private static Refusal tooLarge() {
    return new Refusal(
        HttpServletResponse.SC_REQUEST_ENTITY_TOO_LARGE,
        "a request has " + Limits.BODY_BYTES + " bytes at most");
  }

  private static Refusal busy() {
    return new Refusal(HttpServletResponse.SC_SERVICE_UNAVAILABLE, "too many questions at once");
  }

  /** Receives one body, and lets the question be answered when it is there. */
  private final class Reception implements ReadListener {
    private final AsyncContext context;
    private final ServletInputStream input;
    private final ByteArrayOutputStream body = new ByteArrayOutputStream();
    private final byte[] piece = new byte[16_384];
    private boolean over;

    Reception(AsyncContext context, ServletInputStream input) {
      this.context = context;
      this.input = input;
    }

    @Override
    public void onDataAvailable() throws IOException {
      while (!over && input.isReady()) {
        final int count = input.read(piece);
        if (count < 0) {
          return;
        }
        take(count);
      }
    }

    private void take(int count) {
      if (body.size() + count > Limits.BODY_BYTES) {
        end(tooLarge());
      } else if (allBytes.addAndGet(count) > Limits.ALL_BODY_BYTES) {
        allBytes.addAndGet(-count);
        end(busy());
      } else {
        body.write(piece, 0, count);
      }
    }

    @Override
    public void onAllDataRead() {
      if (over) {
        return;
      }
      final EndPoint client = endPoint();
      watch.received(client);
      final Question question = new Question();
      watch.questionBegins(client, question);
      try {
        questions.execute(
            () -> {
              try {
                question.answer(() -> answer(question));
              } finally {
                watch.questionEnded(client);
                end(null);
              }
            });
      } catch (RejectedExecutionException error) {
        watch.questionEnded(client);
        end(busy());
      }
    }

    private void answer(Question question) {
      final HttpServletRequest request = (HttpServletRequest) context.getRequest();
      final HttpServletResponse response = (HttpServletResponse) context.getResponse();
      metrics.questionBegins();
      try {
        final RequestText.Read read = RequestText.read(body.toByteArray());
        if (read.refusal() != null) {
          read.refusal().send(response);
        } else if (question.endReason() != null) {
          throw new InterruptedException();
        } else {
          answers.answer(read.question(), new XmlaAnswers.Asked(request, response));
        }
      } catch (Exception error) {
        // The client is gone, or too slow; the engine's own errors are answers.
        RequestLogEntry.of(request).fails();
        sayWhyItEnded(question, response);
      } finally {
        metrics.questionEnds();
      }
    }

    private static void sayWhyItEnded(Question question, HttpServletResponse response) {
      if (question.takeEnd() && !response.isCommitted()) {
        try {
          response.resetBuffer();
          Rowset.refuse(response, question.endReason());
        } catch (IOException error) {
          // The client is gone.
        }
      }
    }

    @Override
    public void onError(Throwable error) {
      final boolean late =
          error instanceof TimeoutException
              || (error instanceof BadMessageException bad
                  && bad.getCode() == HttpServletResponse.SC_REQUEST_TIMEOUT);
      end(
          late
              ? new Refusal(
                  HttpServletResponse.SC_REQUEST_TIMEOUT, "the request did not arrive in time")
              : new Refusal(HttpServletResponse.SC_BAD_REQUEST, "the request cannot be received"));
    }

    private EndPoint endPoint() {
      return Request.getBaseRequest(context.getRequest()).getHttpChannel().getEndPoint();
    }

    /** Says why, unless there is nothing to say, and lets go of everything; once. */
    private synchronized void end(Refusal refusal) {
      if (over) {
        return;
      }
      over = true;
      allBytes.addAndGet(-body.size());
      try {
        if (refusal != null) {
          refusal.send((HttpServletResponse) context.getResponse());
        }
      } catch (IOException error) {
        // The client is gone.
      } finally {
        context.complete();
      }
    }
  }
}
