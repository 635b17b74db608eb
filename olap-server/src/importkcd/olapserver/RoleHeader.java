package importkcd.olapserver;

import java.net.URLDecoder;
import java.nio.charset.StandardCharsets;
import java.util.Map;
import javax.servlet.ServletConfig;
import javax.servlet.http.HttpServletRequest;
import javax.servlet.http.HttpServletResponse;
import mondrian.xmla.XmlaConstants;
import mondrian.xmla.XmlaRequestCallback;
import org.w3c.dom.Element;

/**
 * Lets a request be answered as a role sees it: the header "Olap-Role" carries the role's name,
 * percent-encoded UTF-8. A request without it sees everything.
 */
final class RoleHeader implements XmlaRequestCallback {
  private static final String HEADER = "Olap-Role";

  @Override
  public void init(ServletConfig config) {}

  @Override
  public boolean processHttpHeader(
      HttpServletRequest request, HttpServletResponse response, Map<String, Object> context) {
    final String value = request.getHeader(HEADER);
    if (value != null) {
      final String role = URLDecoder.decode(value, StandardCharsets.UTF_8);
      // The engine takes a list here, in which a doubled comma stands for one in a name.
      context.put(XmlaConstants.CONTEXT_ROLE_NAME, role.replace(",", ",,"));
    }
    return true;
  }

  @Override
  public void preAction(
      HttpServletRequest request, Element[] soapParts, Map<String, Object> context) {}

  @Override
  public String generateSessionId(Map<String, Object> context) {
    return null;
  }

  @Override
  public void postAction(
      HttpServletRequest request,
      HttpServletResponse response,
      byte[][] soapParts,
      Map<String, Object> context) {}
}
