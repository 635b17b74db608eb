package importkcd.olapserver;

import java.io.ByteArrayInputStream;
import javax.servlet.ReadListener;
import javax.servlet.ServletInputStream;
import javax.servlet.http.HttpServletRequest;
import javax.servlet.http.HttpServletRequestWrapper;

/** A request whose body has been received and found good. */
final class ReceivedRequest extends HttpServletRequestWrapper {
  private final ByteArrayInputStream body;

  ReceivedRequest(HttpServletRequest request, byte[] body) {
    super(request);
    this.body = new ByteArrayInputStream(body);
  }

  /** The engine knows this one only; the encoding is the text's own matter. */
  @Override
  public String getContentType() {
    return "text/xml";
  }

  @Override
  public ServletInputStream getInputStream() {
    return new ServletInputStream() {
      @Override
      public int read() {
        return body.read();
      }

      @Override
      public int read(byte[] bytes, int start, int length) {
        return body.read(bytes, start, length);
      }

      @Override
      public boolean isFinished() {
        return body.available() == 0;
      }

      @Override
      public boolean isReady() {
        return true;
      }

      @Override
      public void setReadListener(ReadListener listener) {
        throw new IllegalStateException("everything is there");
      }
    };
  }
}
