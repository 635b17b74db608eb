package importkcd.olapserver;

import java.util.Map;
import java.util.stream.Collectors;
import javax.servlet.ServletConfig;
import javax.servlet.http.HttpServletRequest;
import javax.servlet.http.HttpServletResponse;
import mondrian.xmla.XmlaConstants;
import mondrian.xmla.XmlaRequestCallback;
import org.w3c.dom.Element;

/** Lets the engine answer as a question's roles see it. One without roles sees everything. */
final class QuestionRoles implements XmlaRequestCallback {
  @Override
  public void init(ServletConfig config) {}

  @Override
  public boolean processHttpHeader(
      HttpServletRequest request, HttpServletResponse response, Map<String, Object> context) {
    final ReceivedRequest received = (ReceivedRequest) request;
    if (!received.roles().isEmpty()) {
      // The engine takes a list here, in which a doubled comma stands for one in a name.
      context.put(
          XmlaConstants.CONTEXT_ROLE_NAME,
          received.roles().stream().map(role -> role.replace(",", ",,")).collect(Collectors.joining(",")));
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
      Map<String, Object> context) {
    RequestLogEntry.of(request).isAnsweredBy(soapParts[1]);
  }
}
