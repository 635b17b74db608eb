package importkcd.olapserver;

import java.util.Collections;
import java.util.HashSet;
import java.util.List;
import java.util.Locale;
import java.util.Set;
import java.util.regex.Pattern;
import javax.servlet.http.HttpServletRequest;
import javax.servlet.http.HttpServletResponse;
import mondrian.xmla.XmlaUtil;

/**
 * What must be right about a request before its body is read. A web page that somebody looks at must
 * not be able to ask in that person's name, with the login that the browser remembers or without
 * one, neither under a name of its own for this host nor by a request that browsers send without
 * asking first.
 */
final class RequestCheck {
  static final String PATH = "/xmla";

  private static final int MISDIRECTED = 421;

  private static final Pattern MEDIA_TYPE =
      Pattern.compile("(?i)(text|application)/xml(\\s*;\\s*charset\\s*=\\s*(\"[\\w.:-]+\"|[\\w.:-]+))?\\s*");

  private static final Pattern HOST = Pattern.compile("(\\[[0-9a-f:.%]+\\]|[^:\\[\\]]+)(:[0-9]{1,5})?");

  private final Set<String> hosts = new HashSet<>(List.of("localhost", "127.0.0.1", "[::1]"));

  /** The address that is listened on, and the further names that requests may be meant for. */
  RequestCheck(String address, List<String> names) {
    hosts.add(hostOf(address));
    names.forEach(name -> hosts.add(hostOf(name)));
  }

  /** Nothing when the request may go on. */
  Refusal refusal(HttpServletRequest request) {
    final Refusal refusal = hostRefusal(request);
    if (refusal != null) {
      return refusal;
    }
    // What is behind a proxy does not know by which of the two the browser came.
    final String own = "://" + request.getHeader("Host");
    final List<String> origins = Collections.list(request.getHeaders("Origin"));
    if (!origins.stream()
        .allMatch(origin -> origin.equalsIgnoreCase("http" + own) || origin.equalsIgnoreCase("https" + own))) {
      return new Refusal(HttpServletResponse.SC_FORBIDDEN, "web pages of other origins may not ask");
    }
    if (!PATH.equals(request.getRequestURI())) {
      return new Refusal(HttpServletResponse.SC_NOT_FOUND, "there is only " + PATH);
    }
    if (!"POST".equals(request.getMethod())) {
      return new Refusal(HttpServletResponse.SC_METHOD_NOT_ALLOWED, "questions come by POST");
    }
    return contentRefusal(request);
  }

  /** Nothing when the request is meant for this host. */
  Refusal hostRefusal(HttpServletRequest request) {
    final List<String> host = Collections.list(request.getHeaders("Host"));
    // The request line may name a host as well, which counts more.
    if (host.size() != 1 || !isOurs(host.get(0), request) || !isOurs(request.getServerName(), request)) {
      return new Refusal(MISDIRECTED, "this is not the host that the request is meant for; see kcd serve --host");
    }
    return null;
  }

  private static Refusal contentRefusal(HttpServletRequest request) {
    final List<String> types = Collections.list(request.getHeaders("Content-Type"));
    if (types.size() != 1 || !MEDIA_TYPE.matcher(types.get(0)).matches()) {
      return new Refusal(
          HttpServletResponse.SC_UNSUPPORTED_MEDIA_TYPE, "the content type must be text/xml or application/xml");
    }
    if (request.getHeader("Content-Encoding") != null) {
      return new Refusal(
          HttpServletResponse.SC_UNSUPPORTED_MEDIA_TYPE, "content encodings are not understood");
    }
    final String accept = request.getHeader("Accept");
    if (accept != null && XmlaUtil.chooseResponseMimeType(accept) == null) {
      return new Refusal(
          HttpServletResponse.SC_NOT_ACCEPTABLE, "answers are text/xml, application/xml or application/json");
    }
    return null;
  }

  /** A number that the request came in at is as good as the one that is listened on. */
  private boolean isOurs(String header, HttpServletRequest request) {
    final var host = HOST.matcher(header.toLowerCase(Locale.ROOT));
    return host.matches()
        && (hosts.contains(host.group(1)) || host.group(1).equals(hostOf(request.getLocalAddr())));
  }

  /** How a header names an address: IPv6 in brackets. */
  static String hostOf(String address) {
    final String folded = address.toLowerCase(Locale.ROOT);
    return folded.contains(":") && !folded.startsWith("[") ? "[" + folded + "]" : folded;
  }
}
