package importkcd.olapserver;

import java.io.IOException;
import java.io.InputStream;
import java.io.UncheckedIOException;
import java.util.Collection;
import java.util.Map;
import javax.servlet.ServletException;
import javax.servlet.http.HttpServlet;
import javax.servlet.http.HttpServletRequest;
import javax.servlet.http.HttpServletResponse;

/**
 * The page on which people ask the cubes: a few files of this program's own, the same for everybody.
 * What it asks goes the way of all questions.
 */
final class PageHandler extends HttpServlet {
  private static final long serialVersionUID = 1;

  private static final Map<String, String> TYPES =
      Map.of(
          "/", "text/html; charset=utf-8",
          "/page.js", "text/javascript; charset=utf-8",
          "/page.css", "text/css; charset=utf-8",
          "/icon.svg", "image/svg+xml");

  private final transient RequestCheck check;

  PageHandler(RequestCheck check) {
    this.check = check;
  }

  /** The paths that it answers; "" is the address without a path. */
  static Collection<String> paths() {
    return TYPES.keySet().stream().map(path -> path.equals("/") ? "" : path).toList();
  }

  @Override
  protected void service(HttpServletRequest request, HttpServletResponse response)
      throws ServletException, IOException {
    if (request.getMethod().equals("GET") || request.getMethod().equals("HEAD")) {
      super.service(request, response);
    } else {
      // Nothing else may be done here; the check says so.
      check.refusal(request).send(response);
    }
  }

  @Override
  protected void doGet(HttpServletRequest request, HttpServletResponse response) throws IOException {
    final Refusal refusal = check.hostRefusal(request);
    if (refusal != null) {
      refusal.send(response);
      return;
    }
    final String path = request.getRequestURI();
    final byte[] content = content(path.equals("/") ? "/index.html" : path);
    response.setContentType(TYPES.get(path));
    response.setContentLength(content.length);
    response.setHeader("Cache-Control", "no-cache");
    response.setHeader(
        "Content-Security-Policy",
        "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' data:; connect-src 'self'; "
            + "frame-ancestors 'none'; base-uri 'none'; form-action 'none'");
    response.setHeader("X-Content-Type-Options", "nosniff");
    response.setHeader("Referrer-Policy", "no-referrer");
    response.setHeader("Cross-Origin-Opener-Policy", "same-origin");
    response.getOutputStream().write(content);
  }

  private static byte[] content(String path) {
    try (InputStream file = PageHandler.class.getResourceAsStream("/page" + path)) {
      if (file == null) {
        throw new IllegalStateException("the host was built without its page");
      }
      return file.readAllBytes();
    } catch (IOException error) {
      throw new UncheckedIOException(error);
    }
  }
}
