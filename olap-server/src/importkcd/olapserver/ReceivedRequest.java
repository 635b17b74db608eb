package importkcd.olapserver;

import java.io.ByteArrayInputStream;
import java.util.List;
import javax.servlet.ReadListener;
import javax.servlet.ServletInputStream;
import javax.servlet.http.HttpServletRequest;
import javax.servlet.http.HttpServletRequestWrapper;

/** A question as the engine gets it: its text, and the roles as which it is asked. */
final class ReceivedRequest extends HttpServletRequestWrapper {
  private final ByteArrayInputStream body;

  private final List<String> roles;

  /** Whether the answer is to be XML, whatever the client takes. */
  private final boolean inXml;

  ReceivedRequest(HttpServletRequest request, byte[] body, List<String> roles, boolean inXml) {
    super(request);
    this.inXml = inXml;
    this.body = new ByteArrayInputStream(body);
    this.roles = roles;
  }

  /** None: it sees everything. */
  List<String> roles() {
    return roles;
  }

  /** The engine knows this one only; the encoding is the text's own matter. */
  @Override
  public String getContentType() {
    return "text/xml";
  }

  @Override
  public String getHeader(String name) {
    return inXml && name.equalsIgnoreCase("Accept") ? null : super.getHeader(name);
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
