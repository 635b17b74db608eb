package importkcd.olapserver;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import javax.servlet.http.HttpServletResponse;

/** Why a request never reaches the engine: an HTTP status and a reason in one line. */
record Refusal(int status, String reason) {
  void send(HttpServletResponse response) throws IOException {
    final byte[] line = (reason + "\n").getBytes(StandardCharsets.UTF_8);
    response.setStatus(status);
    response.setContentType("text/plain;charset=utf-8");
    response.setContentLength(line.length);
    response.getOutputStream().write(line);
    // It must not wait for a body that was announced and may never come.
    response.flushBuffer();
  }
}
