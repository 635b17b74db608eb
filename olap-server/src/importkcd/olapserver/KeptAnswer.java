package importkcd.olapserver;

import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.io.PrintWriter;
import java.nio.charset.StandardCharsets;
import javax.servlet.ServletOutputStream;
import javax.servlet.WriteListener;
import javax.servlet.http.HttpServletResponse;
import javax.servlet.http.HttpServletResponseWrapper;
import org.w3c.dom.Document;

/** An answer of the engine that is kept: to go on as it is, or to be read. */
final class KeptAnswer extends HttpServletResponseWrapper {
  private final ByteArrayOutputStream bytes = new ByteArrayOutputStream();

  private final boolean isRead;

  KeptAnswer(HttpServletResponse response, boolean isRead) {
    super(response);
    this.isRead = isRead;
  }

  /** Whether this host reads it, for which it must be XML. */
  boolean isRead() {
    return isRead;
  }

  Document document() throws IOException {
    return PublishedContent.check(bytes.toByteArray());
  }

  /** Lets the answer go on. */
  void send() throws IOException {
    getResponse().getOutputStream().write(bytes.toByteArray());
  }

  @Override
  public ServletOutputStream getOutputStream() {
    return new ServletOutputStream() {
      @Override
      public void write(int value) {
        bytes.write(value);
      }

      @Override
      public void write(byte[] piece, int start, int length) {
        bytes.write(piece, start, length);
      }

      @Override
      public boolean isReady() {
        return true;
      }

      @Override
      public void setWriteListener(WriteListener listener) {
        throw new IllegalStateException("everything is taken at once");
      }
    };
  }

  @Override
  public PrintWriter getWriter() {
    return new PrintWriter(bytes, true, StandardCharsets.UTF_8);
  }

  @Override
  public void flushBuffer() {
    // Nothing has been sent.
  }
}
