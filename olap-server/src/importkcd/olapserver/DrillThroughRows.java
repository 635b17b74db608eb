package importkcd.olapserver;

import static importkcd.olapserver.Delegation.call;
import static importkcd.olapserver.Delegation.proxy;

import java.sql.ResultSet;
import java.sql.SQLException;
import mondrian.calc.ResultStyle;
import mondrian.olap.DrillThrough;
import mondrian.olap.Query;
import mondrian.rolap.RolapCell;
import mondrian.rolap.RolapConnection;
import mondrian.rolap.SqlStatement;
import mondrian.server.Execution;
import mondrian.xmla.XmlaHandler.XmlaExtra;
import org.olap4j.OlapConnection;
import org.olap4j.OlapException;
import org.olap4j.OlapStatement;

/**
 * Makes DRILLTHROUGH work: this release of the engine wraps the rows behind a cell in a way that the
 * Java versions since 9 refuse. The engine's connection is handed on with another wrapping.
 */
final class DrillThroughRows {
  private DrillThroughRows() {}

  static OlapConnection over(OlapConnection engine) {
    return proxy(
        OlapConnection.class,
        (self, method, arguments) ->
            method.getName().equals("unwrap") && arguments[0] == XmlaExtra.class
                ? extra((OlapConnection) self, engine)
                : call(engine, method, arguments));
  }

  private static XmlaExtra extra(OlapConnection handedOut, OlapConnection engine) throws SQLException {
    final XmlaExtra extra = engine.unwrap(XmlaExtra.class);
    return proxy(
        XmlaExtra.class,
        (self, method, arguments) -> {
          if (method.getName().equals("executeDrillthrough")) {
            if (arguments[4] != null) {
              // Otherwise a row of zeros would come first, in place of their number.
              ((int[]) arguments[4])[0] = -1;
            }
            return rows((OlapStatement) arguments[0], (String) arguments[1], (boolean) arguments[2]);
          }
          for (int i = 0; arguments != null && i < arguments.length; ++i) {
            arguments[i] = arguments[i] == handedOut ? engine : arguments[i];
          }
          return call(extra, method, arguments);
        });
  }

  private static ResultSet rows(OlapStatement statement, String mdx, boolean extended)
      throws SQLException {
    final RolapConnection connection = statement.getConnection().unwrap(RolapConnection.class);
    try {
      if (!(connection.parseStatement(mdx) instanceof DrillThrough question)) {
        throw new OlapException("this is no DRILLTHROUGH statement");
      }
      final Query query = question.getQuery();
      query.setResultStyle(ResultStyle.LIST);
      final Execution execution =
          new Execution(query.getStatement(), query.getStatement().getQueryTimeoutMillis());
      final RolapCell cell =
          (RolapCell) connection.execute(execution).getCell(new int[query.getAxes().length]);
      if (!cell.canDrillThrough()) {
        throw new OlapException("there are no rows behind a cell that is computed in this way");
      }
      return closingToo(
          cell.drillThroughInternal(
              question.getMaxRowCount(),
              question.getFirstRowOrdinal(),
              question.getReturnList(),
              extended,
              org.apache.log4j.Logger.getLogger(DrillThroughRows.class)));
    } catch (RuntimeException error) {
      throw new OlapException(reason(error), error);
    }
  }

  private static String reason(Throwable error) {
    Throwable last = error;
    while (last.getCause() != null) {
      last = last.getCause();
    }
    return String.valueOf(last.getMessage());
  }

  /** The rows, whose end is the end of their statement. */
  private static ResultSet closingToo(SqlStatement statement) {
    final ResultSet rows = statement.getResultSet();
    return proxy(
        ResultSet.class,
        (self, method, arguments) -> {
          if (method.getName().equals("close")) {
            statement.close();
            return null;
          }
          return call(rows, method, arguments);
        });
  }
}
